// Records of the additions, which begin with the size that the host was compiled with (structSize).
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "xplatform/common/orvosyslog.h"

namespace orvo::api {

// Above this the host has not set the size: no version of a record comes near it.
constexpr uint32_t kMaxRecordSize = 4096;

// Whether a record was given and its size is that of some version; first: the size in the first version.
template <typename Record>
bool hasSize(const Record* record, uint32_t first) {
    if (!record) return false;
    if (record->structSize >= first && record->structSize <= kMaxRecordSize) return true;
    syslog_ex(1, ESYSLOG_WARN, "SC", __LINE__, "structSize is %u and has to be at least %u; the record is not filled",
              record->structSize, first);
    return false;
}

// Fills a record that has a size with as much of the answer as the host knows; what only the host knows becomes zero.
template <typename Record>
void fill(Record* record, const Record& answer) {
    constexpr size_t head = sizeof(record->structSize);
    const size_t size = record->structSize, known = std::min(size, sizeof(answer));
    char* const bytes = reinterpret_cast<char*>(record);
    std::memcpy(bytes + head, reinterpret_cast<const char*>(&answer) + head, known - head);
    std::memset(bytes + known, 0, size - known);
}

}  // namespace orvo::api
