// How the lines of the log files are scrambled.
#include "ScreenCapture/log/sym_encrypt.h"

#include <cstddef>
#include <cstring>

namespace ORVO::ScreenCapture {

namespace {

constexpr char kKey[] = "qbt";
constexpr size_t kKeyLength = sizeof(kKey) - 1;

constexpr bool is_kept(char c) {
    return c == '\0' || c == '\n';
}

void scramble(char* text, size_t length) {
    size_t key = 0;
    for (size_t i = 0; i < length; ++i) {
        const char c = text[i];
        const char changed = static_cast<char>(c ^ kKey[key]);
        // What would turn into a kept byte stays as it is; undone, it would again, and stays again.
        text[i] = is_kept(c) || is_kept(changed) ? c : changed;
        key = key + 1 == kKeyLength ? 0 : key + 1;
    }
}

}  // namespace

constinit const char* const kOrvoLogPass = kKey;

bool should_encrypt(char c) {
    return !is_kept(c);
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
