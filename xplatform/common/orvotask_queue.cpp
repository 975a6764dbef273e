// What a task has queued.
#include "xplatform/common/orvotask_queue.h"

unsigned int local_context::take_id(list* queue) {
    while (!where.insert(next_id, queue)) ++next_id;
    return next_id++;
}

unsigned int local_context::add_ready(item call) {
    unsigned int id = call->element.id = take_id(&ready);
    ready.insert(ready.end(), *call.release());
    return id;
}

unsigned int local_context::add_delayed(item call) {
    unsigned int id = call->element.id = take_id(&delayed);
    insert_by_due(std::move(call));
    return id;
}

void local_context::insert_by_due(item call) {
    auto place = delayed.end();
    for (auto before = place; !delayed.empty() && place != delayed.begin(); place = before) {
        --before;
        if (before->due <= call->element.due) break;
    }
    delayed.insert(place, *call.release());
}

void local_context::drop_cancelled(list& dropped) {
    for (auto id = cancelled.begin(); !id.atEnd(); ++id) {
        auto* node = where.findnode(*id);
        if (!node) continue;
        list& queue = *node->value;
        for (auto call = queue.begin(); call != queue.end(); ++call) {
            if (call->id != *id) continue;
            list::Item& found = *call.getItem();
            queue.Detach(found);
            dropped.insert(dropped.end(), found);
            break;
        }
        where.erase(*id);
    }
    cancelled.clear();
}

local_context::item local_context::take_first(list& queue) {
    item first(queue.begin().getItem());
    queue.Detach(*first);
    return first;
}

local_context::item local_context::take_ready() {
    if (ready.empty()) return nullptr;
    item call = take_first(ready);
    where.erase(call->element.id);
    return call;
}

local_context::item local_context::take_due(uint64_t now) {
    if (delayed.empty() || delayed.begin()->due > now) return nullptr;
    item call = take_first(delayed);
    if (call->element.mode != ETASK_MODE_PERIODIC) where.erase(call->element.id);
    return call;
}
