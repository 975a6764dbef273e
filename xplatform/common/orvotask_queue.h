// What a task has queued. Internal: the public operations are in orvotask.h.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "xplatform/common/orvostl.h"
#include "xplatform/common/orvotask.h"

// One queued call.
struct task_context {
    CScopeCall call;
    etask_mode mode = ETASK_MODE_ONCE;
    int64_t interval = 0;  // the delay, milliseconds
    uint64_t due = 0;      // a tick of orvo_gettickcount64()
    uint32_t id = 0;
    uint64_t push_time = 0;  // milliseconds since 1970
};

// A task's queues. Its operations, and what they read, are for the holder of `lock`; items are made and destroyed
// outside it, because that runs code of the calls' owners.
struct local_context {
    using list = orvostl::list<task_context>;
    using item = std::unique_ptr<list::Item>;

    explicit local_context(const char* task_name) : name(task_name ? task_name : "") { where.insert(0, nullptr); }

    // No room for another id.
    bool full() const { return where.size() >= 0x7FFFFFFF; }
    // Gives the call the next free id, which it answers, and queues it.
    unsigned int add_ready(item call);
    unsigned int add_delayed(item call);
    // Puts a delayed call in its place, behind those that are due no later.
    void insert_by_due(item call);
    // Takes the cancelled calls out of the queues, into `dropped`.
    void drop_cancelled(list& dropped);
    // Take a call out of its queue, null when there is none to run. A periodic one keeps its id.
    item take_ready();
    item take_due(uint64_t now);

    mutable std::mutex lock;
    std::condition_variable changed;  // something was queued or cancelled, or the worker is to end
    list ready;                       // first in, first out
    list delayed;                     // ascending due
    orvostl::set<unsigned int> cancelled;
    orvostl::map<unsigned int, list*> where;  // each id's queue; 0 is there from the start, so nobody gets it
    unsigned int next_id = 1;
    const std::string name;
    task_observer observer = nullptr;

  private:
    unsigned int take_id(list* queue);
    static item take_first(list& queue);
};
