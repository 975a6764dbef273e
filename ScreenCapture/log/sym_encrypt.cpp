// How the lines of the log files are scrambled.
#include "ScreenCapture/log/sym_encrypt.h"

#include <cstddef>
#include <cstring>

namespace ORVO::ScreenCapture {

namespace {

constexpr char kKey[] = "qbt";
constexpr size_t kKeyLength = sizeof(kKey) - 1;

void scramble(char* text, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        char changed = static_cast<char>(text[i] ^ kKey[i % kKeyLength]);
        // What would turn into a forbidden byte stays as it is; undone, it would again, and stays again.
        if (should_encrypt(text[i]) && should_encrypt(changed)) text[i] = changed;
    }
}

}  // namespace

constinit const char* const kOrvoLogPass = kKey;

bool should_encrypt(char c) {
    return c != '\0' && c != '\n';
}

void sym_encrypt(char* text) {
    if (text) scramble(text, strlen(text));
}

orvo::strutf8 sym_encrypt(const orvo::strutf8& text) {
    orvo::strutf8 copy(text);
    if (!copy.empty()) scramble(copy.data(), copy.length());
    return copy;
}

}  // namespace ORVO::ScreenCapture
