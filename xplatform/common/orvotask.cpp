// Task threads: the worker and the operations on its queues. The numbers in the log lines are fixed, wherever the code
// that writes them stands: readers of logs know the messages by them.
#include "xplatform/common/orvotask.h"

#include <poll.h>

#include <algorithm>

#include "xplatform/common/orvosys_thread.h"
#include "xplatform/common/orvosyslog.h"
#include "xplatform/common/orvotask_queue.h"
#include "xplatform/common/orvothread_slots.h"
#include "xplatform/common/orvoutil.h"

namespace {

constexpr char kModule[] = "task";
constexpr uint64_t kNanosecondsPerMillisecond = 1000000;

// The tick that lies `delay` milliseconds ahead.
uint64_t due_after(int64_t delay) {
    uint64_t now = orvo_gettickcount64();
    uint64_t due = now + static_cast<uint64_t>(delay);
    return delay < 0 && due > now ? 0 : due;
}

local_context::item make_item(const CScopeCall& call, long long delay, etask_mode mode) {
    auto item = std::make_unique<local_context::list::Item>(task_context{});
    task_context& context = item->element;
    context.call = call;
    context.mode = mode;
    context.interval = delay;
    context.due = due_after(delay);
    context.push_time = orvo_gettimeofday_millisecond();
    return item;
}

// Queues the call and calls the observer, both under the lock. Result: the id; 0 when there is no room.
unsigned int push(CORVOTaskBase* task, local_context& context, local_context::item item, task_type type) {
    std::lock_guard guard(context.lock);
    if (context.full()) return 0;
    uint64_t push_time = item->element.push_time;
    unsigned int id =
        type == TASK_TYPE_IMMEDIATE ? context.add_ready(std::move(item)) : context.add_delayed(std::move(item));
    CORVOTaskBase::Observer(task, context.observer, id, type, TASK_STATE_QUEUED, push_time, 0, 0);
    context.wake();
    return id;
}

// Runs a call between its observer's two notices. Result: the call's.
unsigned int run(CORVOTaskBase* task, task_observer observer, const task_context& context, task_type type) {
    uint64_t start = orvo_gettimeofday_millisecond();
    CORVOTaskBase::Observer(task, observer, context.id, type, TASK_STATE_RUNNING, context.push_time, start, 0);
    unsigned int result = context.call();
    CORVOTaskBase::Observer(task, observer, context.id, type, TASK_STATE_FINISHED, context.push_time, start,
                            observer ? orvo_gettimeofday_millisecond() : 0);
    return result;
}

}  // namespace

CORVOTaskBase::CORVOTaskBase(const char* name, int idleInterval, ethread_priority priority)
    : idle_interval_(static_cast<uint64_t>(std::max(idleInterval, 1)) * kNanosecondsPerMillisecond),
      priority_(priority),
      context_(std::make_unique<local_context>(name)) {
    if (name) {
        orvo_syslog(ESYSLOG_NOTICE, kModule, 81, "create a Task[%s]", name);
    } else {
        orvo_syslog(ESYSLOG_NOTICE, kModule, 83, "create a Task[unname]");
    }
}

CORVOTaskBase::~CORVOTaskBase() {
    Join();
    int id = thread_id_;
    if (context_->has_name) {
        orvo_syslog(ESYSLOG_NOTICE, kModule, 95, "delete a Task[%s][%d]", GetName(), id);
    } else {
        orvo_syslog(ESYSLOG_NOTICE, kModule, 97, "delete a Task[unname][%d]", id);
    }
}

bool CORVOTaskBase::Start() {
    auto refuse = [] {
        orvo_syslog(ESYSLOG_WARN, kModule, 229, "thread[%d] aready started!", orvothread_selfid());
        return false;
    };
    // Asked before the lock too: a worker that calls this while another thread joins it must not wait for that thread.
    if (thread_.load()) return refuse();
    std::lock_guard guard(start_stop_);
    if (thread_.load()) return refuse();
    stop_ = false;
    context_->waker.open();
    thread_ = orvothread_create([](void* task) { static_cast<CORVOTaskBase*>(task)->Runloop(); }, this, priority_);
    return thread_.load() != nullptr;
}

bool CORVOTaskBase::Stop() {
    if (!thread_.load()) {
        orvo_syslog(ESYSLOG_WARN, kModule, 255, "thread[%d] has not started yet!", orvothread_selfid());
        return false;
    }
    RequestStop();
    if (GetCurrentTask() != this) Join();
    return true;
}

void CORVOTaskBase::RequestStop() {
    std::lock_guard guard(context_->lock);
    stop_ = true;
    context_->wake();
}

void CORVOTaskBase::Join() {
    std::lock_guard guard(start_stop_);
    orvothread* thread = thread_.load();
    if (!thread) return;
    RequestStop();
    orvothread_terminate(thread, -1);
    thread_ = nullptr;
    context_->waker.close();
}

bool CORVOTaskBase::IsStarted() const {
    return thread_.load() && !stop_;
}

bool CORVOTaskBase::IsIdle() const {
    if (stop_) return true;
    std::lock_guard guard(context_->lock);
    return context_->ready.empty() && context_->delayed.empty();
}

bool CORVOTaskBase::HasReady() const {
    std::lock_guard guard(context_->lock);
    return !context_->ready.empty();
}

// In nanoseconds, up to the limit; 0 while calls are ready. To the beginning of the millisecond in which the first
// delayed call is due: whole milliseconds would wake the worker up to one too late, with each period of a periodic
// call.
uint64_t CORVOTaskBase::TimeToNextCall(uint64_t limit) const {
    std::lock_guard guard(context_->lock);
    if (!context_->ready.empty()) return 0;
    if (context_->delayed.empty()) return limit;
    uint64_t due = context_->delayed.begin()->first.first;
    uint64_t now = orvo::sys::tick_nanoseconds();
    if (due <= now / kNanosecondsPerMillisecond) return 0;
    if (due > UINT64_MAX / kNanosecondsPerMillisecond) return limit;
    return std::min(limit, due * kNanosecondsPerMillisecond - now);
}

void CORVOTaskBase::AwaitCall() {
    Rest(TimeToNextCall(UINT64_MAX));
}

// The worker's one way to wait. Whoever queues a call sets a mark, which is cleared before a pass looks at the queues:
// what comes after that look keeps the worker from sleeping. The waker costs its system call only while the worker does
// sleep.
void CORVOTaskBase::Rest(uint64_t nanoseconds) {
    local_context& context = *context_;
    if (!context.waker.is_open()) nanoseconds = std::min(nanoseconds, idle_interval_);
    {
        std::lock_guard guard(context.lock);
        if (nanoseconds == 0 || context.woken || stop_) return;
        context.resting = true;
    }
    WaitFor(context.waker.descriptor(), nanoseconds);
    {
        std::lock_guard guard(context.lock);
        context.resting = false;
    }
    context.waker.drain();
}

void CORVOTaskBase::WaitFor(int descriptor, uint64_t nanoseconds) {
    pollfd readable{descriptor, POLLIN, 0};
    orvo::sys::poll_within(&readable, 1, nanoseconds);
}

const char* CORVOTaskBase::GetName() const {
    return context_->name.c_str();
}

void CORVOTaskBase::SetTaskObserver(task_observer observer) {
    std::lock_guard guard(context_->lock);
    context_->observer = observer;
}

void CORVOTaskBase::Observer(CORVOTaskBase* task, task_observer observer, uint32_t id, task_type type,
                             task_state_type state, uint64_t push, uint64_t start, uint64_t end) {
    if (!task || !observer) return;
    task_observer_info info{id, type, state, push, start, end};
    observer(task, &info);
}

CORVOTaskBase* CORVOTaskBase::GetCurrentTask() {
    return static_cast<CORVOTaskBase*>(orvothread_getspecific(orvo::kThreadTaskSlot));
}

unsigned int CORVOTaskBase::PushTask(CORVOTaskBase* task, const CScopeCall& call) {
    if (!task) {
        orvo_syslog(ESYSLOG_ERROR, kModule, 119, "push task illegal argument!");
        return 0;
    }
    unsigned int id = push(task, *task->context_, make_item(call, 0, ETASK_MODE_ONCE), TASK_TYPE_IMMEDIATE);
    if (id == 0) orvo_syslog(ESYSLOG_ERROR, kModule, 126, "not enough space to place more task!");
    return id;
}

unsigned int CORVOTaskBase::PushTask(const CScopeCall& call) {
    return PushTask(GetCurrentTask(), call);
}

unsigned int CORVOTaskBase::PushDelayTask(CORVOTaskBase* task, const CScopeCall& call, long long delayMs,
                                          etask_mode mode) {
    if (!task) {
        orvo_syslog(ESYSLOG_ERROR, kModule, 148, "push delay illegal argument!");
        return 0;
    }
    unsigned int id = push(task, *task->context_, make_item(call, delayMs, mode), TASK_TYPE_DELAYED);
    if (id == 0) orvo_syslog(ESYSLOG_ERROR, kModule, 158, "not enough space to place more task!");
    return id;
}

unsigned int CORVOTaskBase::PushDelayTask(const CScopeCall& call, long long delayMs, etask_mode mode) {
    return PushDelayTask(GetCurrentTask(), call, delayMs, mode);
}

int CORVOTaskBase::CancelTask(CORVOTaskBase* task, unsigned int id) {
    if (!task || id == 0) {
        orvo_syslog(ESYSLOG_ERROR, kModule, 192, "cancel task illegal argument!");
        return 0;
    }
    std::lock_guard guard(task->context_->lock);
    task->context_->cancelled.insert(id);
    task->context_->wake();
    return 1;
}

int CORVOTaskBase::CancelTask(unsigned int id) {
    return CancelTask(GetCurrentTask(), id);
}

void CORVOTaskBase::OnStart() {}

void CORVOTaskBase::OnIdle() {}

void CORVOTaskBase::OnStop() {
    orvo_syslog(ESYSLOG_NOTICE, kModule, 349, "thread %s stop", GetName());
}

void CORVOTaskBase::Runloop() {
    orvo_syslog(ESYSLOG_NOTICE, kModule, 281, "enter Runloop");
    while (!thread_.load()) orvo_msleep(1);
    if (orvothread_setspecific_private(orvo::kThreadTaskSlot, this) != 0) {
        orvo_syslog(ESYSLOG_ERROR, kModule, 288, "thread[%d] stop exceptly!", orvothread_selfid());
        return;
    }
    if (*GetName() && orvothread_setname(GetName()) != 0) {
        orvo_syslog(ESYSLOG_ERROR, kModule, 293, "thread[%d] stop exceptly!", orvothread_selfid());
        return;
    }
    thread_id_ = orvothread_selfid();
    OnStart();
    while (ShouldContinue()) {
        context_->woken = false;
        if (!Eachloop()) Rest(TimeToNextCall(idle_interval_));
    }
    orvo_syslog(ESYSLOG_NOTICE, kModule, 312, "thread %s will stop", GetName());
    OnStop();
}

// A stop drains the ready calls and abandons the delayed ones.
bool CORVOTaskBase::ShouldContinue() {
    if (!stop_ && IsIdle()) OnIdle();
    return !stop_ || HasReady();
}

bool CORVOTaskBase::Eachloop() {
    uint64_t now = orvo_gettickcount64();
    bool worked = RunReady();
    return RunDue(now) || worked;
}

bool CORVOTaskBase::RunReady() {
    local_context::list dropped;
    local_context::item item;
    task_observer observer = nullptr;
    {
        std::lock_guard guard(context_->lock);
        context_->drop_cancelled(dropped);
        item = context_->take_ready();
        observer = context_->observer;
    }
    if (!item) return false;
    run(this, observer, item->element, TASK_TYPE_IMMEDIATE);
    return true;
}

bool CORVOTaskBase::RunDue(uint64_t now) {
    local_context::item item;
    task_observer observer = nullptr;
    {
        std::lock_guard guard(context_->lock);
        item = context_->take_due(now);
        observer = context_->observer;
    }
    if (!item) return false;
    task_context& context = item->element;
    unsigned int result = run(this, observer, context, TASK_TYPE_DELAYED);
    if (context.mode != ETASK_MODE_PERIODIC) return true;
    if (result == CScopeCall::kTargetGone) {
        orvo_syslog(ESYSLOG_ERROR, kModule, 575,
                    "object is not valid anymore for task[%d], just remove it! please call CancelTask when object "
                    "destroyed....",
                    context.id);
        std::lock_guard guard(context_->lock);
        context_->where.erase(context.id);
        return true;
    }
    context.due = due_after(context.interval);
    context.push_time = orvo_gettimeofday_millisecond();
    std::lock_guard guard(context_->lock);
    context_->insert_by_due(item);
    return true;
}

CORVOTaskBase* ORVOTaskCreate(const char* name, ethread_priority priority) {
    return new CORVOTaskBase(name, static_cast<int>(priority), ETHREAD_PRIORITY_NORMAL);
}
