// What a task has queued.
#include "xplatform/common/orvotask_queue.h"

unsigned int local_context::take_id(list::Item* call) {
    while (!where.insert(next_id, call)) ++next_id;
    return call->element.id = next_id++;
}

unsigned int local_context::add_ready(item call) {
    unsigned int id = take_id(call.get());
    ready.insert(ready.end(), *call.release());
    return id;
}

unsigned int local_context::add_delayed(item call) {
    unsigned int id = take_id(call.get());
    insert_by_due(call);
    return id;
}

void local_context::insert_by_due(item& call) {
    task_context& context = call->element;
    auto* node = where.findnode(context.id);
    if (!node) return;
    context.turn = next_turn_++;
    node->value = call.get();
    delayed.emplace(std::pair(context.due, context.turn), std::move(call));
}

void local_context::drop_cancelled(list& dropped) {
    for (auto id = cancelled.begin(); !id.atEnd(); ++id) {
        auto* node = where.findnode(*id);
        if (!node) continue;
        if (list::Item* call = node->value) {
            if (call->element.turn == 0) {
                ready.Detach(*call);
            } else {
                // The list of dropped calls owns it from here.
                static_cast<void>(delayed.extract({call->element.due, call->element.turn}).mapped().release());
            }
            dropped.insert(dropped.end(), *call);
        }
        where.erase(*id);
    }
    cancelled.clear();
}

local_context::item local_context::take_ready() {
    if (ready.empty()) return nullptr;
    item call(ready.begin().getItem());
    ready.Detach(*call);
    where.erase(call->element.id);
    return call;
}

local_context::item local_context::take_due(uint64_t now) {
    if (delayed.empty() || delayed.begin()->first.first > now) return nullptr;
    item call = std::move(delayed.extract(delayed.begin()).mapped());
    if (call->element.mode != ETASK_MODE_PERIODIC) {
        where.erase(call->element.id);
    } else {
        where.findnode(call->element.id)->value = nullptr;
    }
    return call;
}

void local_context::wake() {
    woken = true;
    if (!resting) return;
    resting = false;
    waker.signal();
}
