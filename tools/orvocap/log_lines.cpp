// Finds the starts of the logged lines and undoes their scrambling.
#include "log.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "ScreenCapture/log/sym_encrypt.h"

namespace orvocap {

namespace {

constexpr size_t kKeyLength = 3;
constexpr size_t kMaxPiece = 1 << 20;  // a file without line feeds is no log; it is passed on in pieces
constexpr char kStamp[] = "[0000-00-00 00:00:00]";
constexpr char kNotice[] = "*** ";
constexpr size_t kStampLength = sizeof(kStamp) - 1;
constexpr size_t kFewest = 5;  // so many bytes of a stamp that was cut are enough to know it

// A piece of the file read at each of the places of a line where it may begin.
struct Readings {
    explicit Readings(const std::string& piece) {
        for (size_t place = 0; place < kKeyLength; ++place) {
            std::string padded(place, 'x');
            padded += piece;
            orvo::strutf8 text;
            text.assign(padded.data(), padded.size());
            const orvo::strutf8 plain = ORVO::ScreenCapture::sym_encrypt(text);
            at[place].assign(plain.c_str() + place, piece.size());
        }
    }

    // The piece from a byte on, read as the start of a line.
    std::string_view as_line_from(size_t byte) const {
        return std::string_view(at[(kKeyLength - byte % kKeyLength) % kKeyLength]).substr(byte);
    }

    std::string at[kKeyLength];
};

bool isStamp(std::string_view plain) {
    const size_t length = std::min(plain.size(), kStampLength);
    if (length < kFewest) return false;
    for (size_t i = 0; i < length; ++i) {
        const bool digit = plain[i] >= '0' && plain[i] <= '9';
        if (kStamp[i] == '0' ? !digit : plain[i] != kStamp[i]) return false;
    }
    return true;
}

bool isLineStart(std::string_view plain) {
    return plain.substr(0, sizeof(kNotice) - 1) == kNotice || isStamp(plain);
}

// How much a text looks like a log: it is mostly small letters, digits, blanks and brackets.
ptrdiff_t likeness(const std::string& plain) {
    return std::count_if(plain.begin(), plain.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= ':') || c == ' ' || c == '[' || c == ']';
    });
}

// The place where a piece reads best.
size_t likeliest(const Readings& readings) {
    const auto* best = std::max_element(std::begin(readings.at), std::end(readings.at),
                                        [](const auto& a, const auto& b) { return likeness(a) < likeness(b); });
    return static_cast<size_t>(best - readings.at);
}

}  // namespace

void LogLines::feed(const char* bytes, size_t length) {
    pending_.append(bytes, length);
    size_t begin = 0;
    for (size_t end; (end = pending_.find('\n', begin)) != std::string::npos; begin = end + 1) {
        decode(pending_.substr(begin, end - begin), true);
    }
    pending_.erase(0, begin);
    if (pending_.size() < kMaxPiece) return;
    decode(pending_, false);
    pending_.clear();
}

void LogLines::finish() {
    if (in_line_ || !pending_.empty()) decode(pending_, true);
    pending_.clear();
    knows_place_ = false;
}

void LogLines::decode(const std::string& piece, bool ends_line) {
    const Readings readings(piece);
    size_t place = knows_place_ ? next_place_ : likeliest(readings);  // that of the piece's first byte in its line
    if (isLineStart(readings.as_line_from(0))) place = 0;
    std::string plain;
    size_t begin = 0;
    // A line that was written after a piece of another one is out of step with it.
    for (size_t i = 1; i + kStampLength <= piece.size(); ++i) {
        if ((place + i) % kKeyLength == 0 || !isLineStart(readings.as_line_from(i))) continue;
        plain.append(readings.at[place % kKeyLength], begin, i - begin).append(1, '\n');
        begin = i;
        place = kKeyLength - i % kKeyLength;
    }
    plain.append(readings.at[place % kKeyLength], begin);
    if (ends_line) plain += '\n';
    next_place_ = place + piece.size() + (ends_line ? 1 : 0);
    knows_place_ = true;
    in_line_ = !ends_line;
    output_(plain);
}

}  // namespace orvocap
