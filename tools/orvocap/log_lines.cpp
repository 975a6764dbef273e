// Finds the starts of the logged lines and undoes their scrambling.
#include "log_lines.h"

#include <algorithm>
#include <cctype>

#include "ScreenCapture/log/sym_encrypt.h"

namespace orvocap {

namespace {

constexpr size_t kKeyLength = 3;
constexpr size_t kLongestPiece = 1 << 20;  // a file without line feeds is no log; it is passed on in pieces
constexpr char kStamp[] = "[0000-00-00 00:00:00]";
constexpr char kNotice[] = "*** ";
constexpr size_t kStampLength = sizeof(kStamp) - 1;
constexpr size_t kFewest = 5;  // so many bytes of a stamp that was cut are enough to know it

// The plain text of bytes that begin at a place in their logged line.
std::string unscrambled(const char* bytes, size_t length, size_t place) {
    const size_t skipped = place % kKeyLength;
    std::string padded(skipped, 'x');
    padded.append(bytes, length);
    orvo::strutf8 text;
    text.assign(padded.data(), static_cast<unsigned int>(padded.size()));
    const orvo::strutf8 plain = ORVO::ScreenCapture::sym_encrypt(text);
    return {plain.c_str() + skipped, length};
}

bool isStamp(const std::string& plain) {
    const size_t length = std::min(plain.size(), kStampLength);
    if (length < kFewest) return false;
    for (size_t i = 0; i < length; ++i) {
        const bool digit = std::isdigit(static_cast<unsigned char>(plain[i])) != 0;
        if (kStamp[i] == '0' ? !digit : plain[i] != kStamp[i]) return false;
    }
    return true;
}

bool startsLine(const char* bytes, size_t length) {
    const std::string plain = unscrambled(bytes, std::min(length, kStampLength), 0);
    return plain.rfind(kNotice, 0) == 0 || isStamp(plain);
}

// How much the bytes look like text.
size_t printable(const std::string& plain) {
    return static_cast<size_t>(std::count_if(plain.begin(), plain.end(), [](char c) { return c >= ' ' && c <= '~'; }));
}

}  // namespace

void LogLines::feed(const char* bytes, size_t length) {
    pending_.append(bytes, length);
    size_t begin = 0;
    for (size_t end; (end = pending_.find('\n', begin)) != std::string::npos; begin = end + 1) {
        decode(pending_.substr(begin, end - begin), true);
    }
    pending_.erase(0, begin);
    if (pending_.size() < kLongestPiece) return;
    decode(pending_, false);
    pending_.clear();
}

void LogLines::finish() {
    if (!pending_.empty()) decode(pending_, true);
    pending_.clear();
    knows_place_ = false;
}

// Where in its logged line the piece begins: at the start, at the place that was reached, or, when a file begins in
// the middle of a line, where it reads best.
size_t LogLines::phase_of(const std::string& piece) const {
    if (startsLine(piece.data(), piece.size())) return 0;
    if (knows_place_) return next_place_;
    size_t best = 0, most = 0;
    for (size_t phase = 0; phase < kKeyLength; ++phase) {
        const size_t count = printable(unscrambled(piece.data(), piece.size(), phase));
        if (count > most) {
            best = phase;
            most = count;
        }
    }
    return best;
}

void LogLines::decode(const std::string& piece, bool ends_line) {
    size_t begin = 0, place = phase_of(piece);
    std::string plain;
    // A line that was written behind a piece of another one starts out of step with it.
    for (size_t i = 1; i + kStampLength <= piece.size(); ++i) {
        if ((place + i - begin) % kKeyLength == 0 || !startsLine(piece.data() + i, piece.size() - i)) continue;
        plain += unscrambled(piece.data() + begin, i - begin, place) + '\n';
        begin = i;
        place = 0;
    }
    plain += unscrambled(piece.data() + begin, piece.size() - begin, place);
    if (ends_line) plain += '\n';
    next_place_ = place + (piece.size() - begin) + (ends_line ? 1 : 0);
    knows_place_ = true;
    output_(plain);
}

}  // namespace orvocap
