// What a task has queued. Internal: the public operations are in orvotask.h.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "xplatform/common/orvostl.h"
#include "xplatform/common/orvotask.h"
#include "xplatform/common/orvowaker.h"

// One queued call.
struct task_context {
    CScopeCall call;
    etask_mode mode = ETASK_MODE_ONCE;
    int64_t interval = 0;  // the delay, milliseconds
    uint64_t due = 0;      // a tick of orvo_gettickcount64()
    uint64_t turn = 0;     // among the delayed calls that are due at the same tick; 0 for a ready call
    uint32_t id = 0;
    uint64_t push_time = 0;  // milliseconds since 1970
};

// A task's queues. Its operations, and what they read, are for the holder of `lock`; items are made and destroyed
// outside it, because that runs code of the calls' owners.
struct local_context {
    using list = orvostl::list<task_context>;
    using item = std::unique_ptr<list::Item>;

    explicit local_context(const char* task_name) : has_name(task_name), name(task_name ? task_name : "") {
        where.insert(0, nullptr);
    }

    // No room for another id.
    bool full() const { return where.size() >= 0x7FFFFFFF; }
    // Gives the call the next free id, which it answers, and queues it.
    unsigned int add_ready(item call);
    unsigned int add_delayed(item call);
    // Queues a delayed call that has an id, behind those that are due no later; one that was cancelled meanwhile stays
    // the caller's.
    void insert_by_due(item& call);
    // Takes the cancelled calls out of the queues, into `dropped`.
    void drop_cancelled(list& dropped);
    // Take a call out of its queue, null when there is none to run. A periodic one keeps its id.
    item take_ready();
    item take_due(uint64_t now);

    // Wakes the worker, or keeps it from sleeping before its next pass: something was queued or cancelled, or the
    // worker is to end.
    void wake();

    mutable std::mutex lock;
    list ready;                                             // first in, first out
    std::map<std::pair<uint64_t, uint64_t>, item> delayed;  // by due and turn
    orvostl::set<unsigned int> cancelled;
    // Each id's call; null while a periodic one runs. 0 is there from the start, so nobody gets it.
    orvostl::map<unsigned int, list::Item*> where;
    unsigned int next_id = 1;
    const bool has_name;
    const std::string name;
    task_observer observer = nullptr;
    std::atomic<bool> woken{false};  // since the worker's last pass began
    bool resting = false;            // the worker waits for the waker
    orvo::Waker waker;               // open while there is a worker

  private:
    unsigned int take_id(list::Item* call);

    uint64_t next_turn_ = 1;
};
