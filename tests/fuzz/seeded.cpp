// Runs a fuzzer's body without the fuzzer: on the files of its corpus, and on bytes from seeds. What its model does not
// agree with ends the process. usage: seeded_NAME CORPUS_FOLDER; ORVO_TEST_SEED chooses one seed.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "tests/fuzz/fuzz.h"

namespace {

std::string input;      // the file that was read last
unsigned int seed = 0;  // 0: files only

void run(const std::vector<uint8_t>& bytes) {
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

std::vector<uint8_t> bytesOf(unsigned int number) {
    std::mt19937 random(number);
    std::vector<uint8_t> bytes(random() % 1024);
    // Whole ranges of numbers, or mostly small ones and text.
    const bool isText = random() % 2;
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(isText && random() % 4 ? 32 + random() % 95 : random());
    return bytes;
}

}  // namespace

int main(int count, char** words) {
    if (count != 2) return 2;
    std::signal(SIGABRT, [](int) { std::fprintf(stderr, "input %s, or seed %u\n", input.c_str(), seed); });
    for (const auto& file : std::filesystem::directory_iterator(words[1])) {
        input = file.path();
        std::ifstream stream(file.path(), std::ios::binary);
        run({std::istreambuf_iterator<char>(stream), {}});
    }
    const char* const only = std::getenv("ORVO_TEST_SEED");
    const unsigned int seeds = std::getenv("ORVO_TEST_FULL") ? 20000 : 2000;
    for (seed = 1; seed <= seeds && !only; ++seed) run(bytesOf(seed));
    if (only) run(bytesOf(seed = static_cast<unsigned int>(std::atoi(only))));
    return EXIT_SUCCESS;
}
