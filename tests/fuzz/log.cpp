// Scrambling undoes itself; decoded logs do not depend on how they were read, and lines come back as they were logged,
// also from a file that was cut anywhere.
#include <string>

#include "ScreenCapture/log/sym_encrypt.h"
#include "tests/fuzz/fuzz.h"
#include "tools/orvocap/log.h"

namespace {

std::string scrambled(const std::string& text) {
    orvo::strutf8 copy;
    copy.assign(text.data(), text.size());
    const orvo::strutf8 result = ORVO::ScreenCapture::sym_encrypt(copy);
    return {result.c_str(), result.size()};
}

// The plain text of a file that is read in pieces of the given size.
std::string decoded(const std::string& file, size_t piece) {
    std::string plain;
    orvocap::LogLines lines([&](const std::string& text) { plain += text; });
    for (size_t at = 0; at < file.size(); at += piece) {
        const std::string part = file.substr(at, piece);
        lines.feed(part.data(), part.size());
    }
    lines.finish();
    return plain;
}

void undoesItself(const std::string& text) {
    const std::string changed = scrambled(text);
    REQUIRE(changed.size() == text.size() && scrambled(changed) == text);
    for (size_t i = 0; i < text.size(); ++i) {
        REQUIRE((text[i] == '\n') == (changed[i] == '\n'));
        REQUIRE((text[i] == '\0') == (changed[i] == '\0'));
    }
    std::vector<char> inPlace(text.begin(), text.end());
    inPlace.push_back('\0');
    ORVO::ScreenCapture::sym_encrypt(inPlace.data());
    const size_t end = text.find('\0');
    REQUIRE(changed.substr(0, end) + text.substr(std::min(end, text.size())) ==
            std::string(inPlace.data(), text.size()));
}

// Small letters and blanks look like no time stamp wherever reading begins. A cut line may read wrong, unless enough of
// its stamp or of what a log has is left; other lines may not.
void linesComeBack(const std::string& text, size_t piece, size_t cut) {
    std::string plain;
    std::string file;
    for (size_t at = 0; at < text.size(); at += 16) {
        std::string line = "[2024-05-06 07:08:09] ";
        for (const char c : text.substr(at, 16)) line += "abcdefghijklmnopqrstuvwxyz      "[c & 31];
        plain += line + '\n';
        file += scrambled(line) + '\n';
    }
    REQUIRE(decoded(file, piece) == plain);
    if (plain.empty()) return;
    cut %= plain.size();
    const size_t begin = cut == 0 ? 0 : plain.rfind('\n', cut - 1) + 1, end = plain.find('\n', cut) + 1;
    if (cut == begin || cut - begin >= 5)
        REQUIRE(decoded(file.substr(0, cut), piece) == plain.substr(0, cut) + (cut == begin ? "" : "\n"));
    REQUIRE(decoded(file.substr(cut), piece).ends_with(plain.substr(cut == begin ? cut : end)));
    const std::string line = "[2021-03-04 05:06:07][1][notice][unnamed thread:4711][SC:12]: first \xFF\xE4\xB8\xAD\n";
    const size_t missing = cut % (line.size() - 13);
    REQUIRE(decoded(scrambled(line).substr(missing), piece) == line.substr(missing));
    // A line behind a piece of another, as after a full disk.
    if (cut - begin >= 22) {
        const std::string joint = decoded(file.substr(begin, cut - begin) + file.substr(begin), piece);
        REQUIRE(joint.ends_with(plain.substr(begin)) && joint.starts_with(plain.substr(begin, cut - begin)));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    const size_t piece = input.ConsumeIntegralInRange<size_t>(1, 40), cut = input.ConsumeIntegral<uint16_t>();
    const std::string text = input.ConsumeRemainingBytesAsString();
    undoesItself(text);
    const std::string whole = decoded(text, text.size() + 1);
    REQUIRE(whole.size() >= text.size() && decoded(text, piece) == whole);
    linesComeBack(text, piece, cut);
    return 0;
}
