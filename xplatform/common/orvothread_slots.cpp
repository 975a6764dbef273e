// Values kept by thread, on one system key with a table for each thread.
#include "xplatform/common/orvothread_slots.h"

#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>

#include "xplatform/common/orvobarray.h"
#include "xplatform/common/orvothread.h"

namespace {

constexpr int kOutOfSlots = 12;
constexpr int kOutOfRange = 34;
constexpr size_t kMaxSlots = 1024;
constexpr int kTableStep = 16;  // a thread's table grows by this many values

// A slot number in use and its place in the threads' tables. It stays for good.
struct orvothread_key_t {
    unsigned int slot = 0;
    int place = 0;

    constexpr unsigned int key() const { return slot; }
};
using Keys = orvo::barray<orvothread_key_t, unsigned int, kMaxSlots>;

// The runtime's own numbers have the first places from the start: callers cannot take them away.
constexpr Keys reserved_keys() {
    Keys reserved;
    for (unsigned int place = 0; place < orvo::kReservedSlots; ++place)
        reserved.insert({orvo::kThreadNameSlot + place, static_cast<int>(place)});
    return reserved;
}
constinit std::mutex keys_lock;
constinit Keys keys = reserved_keys();

// Result: the slot's place; -1 when the number is unknown and not to be added, or beyond the limit.
int place_of(unsigned int slot, bool add) {
    // Without the lock: the runtime's own numbers are asked for with every log line.
    if (slot - orvo::kThreadNameSlot < orvo::kReservedSlots) return static_cast<int>(slot - orvo::kThreadNameSlot);
    std::lock_guard guard(keys_lock);
    if (const orvothread_key_t* used = keys.find(slot)) return used->place;
    int place = static_cast<int>(keys.size());
    return add && keys.insert({slot, place}) ? place : -1;
}

// A thread's values by place, `size` of them after this head; freed with the thread.
struct alignas(void*) Table {
    int size;

    void*& value(int place) { return reinterpret_cast<void**>(this + 1)[place]; }
};

// Result: the one system key of all tables; null when the host has used up the system's keys.
const pthread_key_t* table_key() {
    struct Key {
        pthread_key_t key{};
        bool made = pthread_key_create(&key, free) == 0;
    };
    static const Key key;
    return key.made ? &key.key : nullptr;
}

// Makes room for a place in the calling thread's table. Result: the table; null when there is no memory.
Table* table_with(int place) {
    const pthread_key_t* key = table_key();
    if (!key) return nullptr;
    auto* table = static_cast<Table*>(pthread_getspecific(*key));
    int old_size = table ? table->size : 0;
    if (place < old_size) return table;
    int size = place / kTableStep * kTableStep + kTableStep;
    void* memory = calloc(1, sizeof(Table) + sizeof(void*) * static_cast<size_t>(size));
    if (!memory) return nullptr;
    auto* bigger = static_cast<Table*>(memory);
    bigger->size = size;
    for (int i = 0; i < old_size; ++i) bigger->value(i) = table->value(i);
    bool kept = pthread_setspecific(*key, bigger) == 0;
    free(kept ? table : bigger);
    return kept ? bigger : nullptr;
}

}  // namespace

extern "C" {

int orvothread_setspecific(int slot, void* value) {
    if (slot < 0) {
        errno = kOutOfRange;
        return kOutOfRange;
    }
    return orvothread_setspecific_private(static_cast<unsigned int>(slot), value);
}

int orvothread_setspecific_private(unsigned int slot, void* value) {
    int place = place_of(slot, true);
    Table* table = place < 0 ? nullptr : table_with(place);
    if (!table) return kOutOfSlots;
    table->value(place) = value;
    return 0;
}

void* orvothread_getspecific(unsigned int slot) {
    int place = place_of(slot, false);
    const pthread_key_t* key = table_key();
    if (place < 0 || !key) return nullptr;
    auto* table = static_cast<Table*>(pthread_getspecific(*key));
    return table && place < table->size ? table->value(place) : nullptr;
}

}  // extern "C"
