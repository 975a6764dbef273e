// Task threads: named workers that run calls one at a time, in order; at once, after a delay, or periodically.
#ifndef ORVO_TASK_H
#define ORVO_TASK_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvorefcount.h"
#include "xplatform/common/orvoscopecall.h"
#include "xplatform/common/orvothread.h"

class CORVOTaskBase;
struct local_context;

// How often a delayed call runs: any value but 1 means once.
enum etask_mode : int { ETASK_MODE_ONCE = 0, ETASK_MODE_PERIODIC = 1 };

enum task_type : int { TASK_TYPE_IMMEDIATE = 1, TASK_TYPE_DELAYED = 2 };
enum task_state_type : int { TASK_STATE_QUEUED = 1, TASK_STATE_RUNNING = 2, TASK_STATE_FINISHED = 3 };

// The arguments of an observer. Times are milliseconds since 1970.
struct task_observer_info {
    uint32_t id;
    task_type type;
    task_state_type state;
    uint64_t push_time;
    uint64_t start_time;  // 0 while queued
    uint64_t end_time;    // 0 until finished
};

// Watches a task's calls. "Queued" is reported under the task's lock, on the thread that pushes: push nothing to the
// task from there, and log nothing that the task itself writes. The others are reported on the worker, outside the
// lock.
using task_observer = void (*)(CORVOTaskBase* task, task_observer_info* info);

// The plain worker. Created, not started; then started, stopping, stopped, and so on again; the queues survive a stop.
//
// Memory: reference-counted; the creator holds the first reference and the last Release() joins the thread, so it must
// not happen on the worker. A class that derives from this one calls Join() in its destructor, because the worker
// calls its virtual operations. Threads: every operation may be called from any thread, unless it says otherwise.
class ORVO_API CORVOTaskBase : public CRefCountSafe {
  public:
    // `name` is copied, null for none. A worker without calls makes a pass every `idleInterval` milliseconds, at least
    // 1; what is pushed, cancelled or due in between wakes it.
    CORVOTaskBase(const char* name, int idleInterval, ethread_priority priority);
    ~CORVOTaskBase() override;

    // One pass: drops cancelled calls, runs the first ready call and the first delayed one that is due.
    // Result: whether there was one to run. Worker only.
    virtual bool Eachloop();
    // On the worker, before its first pass and after its last. The latter logs a line here.
    virtual void OnStart();
    virtual void OnStop();
    // On the worker, before each pass that has nothing queued.
    virtual void OnIdle();
    // What the worker runs from its start to its end.
    virtual void Runloop();

    // Starts the worker. Result: true if this call started it; false if it was running already.
    bool Start();
    // Stops the worker after the ready calls and waits for its end; on the worker itself it does not wait.
    // Delayed calls stay queued for the next start. Result: false when there is no worker.
    bool Stop();
    // Whether a worker exists and was not asked to stop.
    bool IsStarted() const;
    // Whether nothing is queued, or the worker was asked to stop.
    bool IsIdle() const;
    // The name, "" for none; lives as long as the task.
    const char* GetName() const;
    // The one observer of the task's calls; null for none.
    void SetTaskObserver(task_observer observer);

    // Queues a call to run on the task as soon as the calls before it have run. The call is copied.
    // Result: its id; 0, with a line in the log, for a null task or when 2^31 calls are queued. Without a task, onto
    // the task of the calling thread.
    static unsigned int PushTask(CORVOTaskBase* task, const CScopeCall& call);
    static unsigned int PushTask(const CScopeCall& call);
    // Queues a call to run after `delayMs` milliseconds of the monotonic clock. A periodic one runs again `delayMs`
    // after each of its ends, under the same id, until it is cancelled or its target is gone.
    static unsigned int PushDelayTask(CORVOTaskBase* task, const CScopeCall& call, long long delayMs, etask_mode mode);
    static unsigned int PushDelayTask(const CScopeCall& call, long long delayMs, etask_mode mode);
    // Drops a queued call at the start of the worker's next pass; one that runs already finishes. Result: 0, with a
    // line in the log, for a null task or id 0; else 1, also for an unknown id.
    static int CancelTask(CORVOTaskBase* task, unsigned int id);
    static int CancelTask(unsigned int id);
    // The task whose worker calls this; null on any other thread.
    static CORVOTaskBase* GetCurrentTask();
    // Calls `observer`, unless it or the task is null.
    static void Observer(CORVOTaskBase* task, task_observer observer, uint32_t id, task_type type,
                         task_state_type state, uint64_t push, uint64_t start, uint64_t end);

  protected:
    // Sleeps until something is queued, cancelled or due, or the worker is asked to end, however long the idle interval
    // is: for an OnIdle without work of its own. It may return earlier. Worker only.
    void AwaitCall();
    // Waits up to `nanoseconds` (UINT64_MAX: without a limit) for the descriptor to become readable, or for what else
    // gives the task something to do. It may return earlier. The descriptor is -1 when the system has none left.
    virtual void WaitFor(int descriptor, uint64_t nanoseconds);
    // Asks the worker, if there is one, to end, and waits for its end.
    void Join();

  private:
    uint64_t TimeToNextCall(uint64_t limit) const;
    void Rest(uint64_t nanoseconds);
    void RequestStop();
    bool ShouldContinue();
    bool HasReady() const;
    bool RunReady();
    bool RunDue(uint64_t now);

    const uint64_t idle_interval_;  // nanoseconds
    const ethread_priority priority_;
    std::mutex start_stop_;
    std::atomic<orvothread*> thread_{nullptr};
    std::atomic<int> thread_id_{0};
    std::atomic<bool> stop_{false};
    const std::unique_ptr<local_context> context_;
};

// Creates a task that is not started. Intended: `priority` is its idle interval in milliseconds, and it runs at normal
// priority. Memory: the caller holds the only reference.
extern "C" ORVO_API CORVOTaskBase* ORVOTaskCreate(const char* name, ethread_priority priority);

#endif
