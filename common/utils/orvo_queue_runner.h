// The queue runner: any callable, run on a chosen task thread.
#ifndef ORVO_QUEUE_RUNNER_H
#define ORVO_QUEUE_RUNNER_H

#include <functional>
#include <memory>

#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvoevent.h"
#include "xplatform/common/orvotask.h"

namespace ORVO::BASE {

// A job of the queue runner.
class ORVO_API orvo_task_call_base {
  public:
    virtual ~orvo_task_call_base();
    virtual void run() = 0;
};

// A closure, and an event to signal after it has run, or null. The caller owns the event.
class ORVO_API orvo_functor_task : public orvo_task_call_base {
  public:
    orvo_functor_task(std::function<void()>&& fn, orvoevent* event);
    ~orvo_functor_task() override;
    // An empty closure throws std::bad_function_call.
    void run() override;

  private:
    std::function<void()> fn_;
    orvoevent* event_;
};

// The argument of the runner's calls: it owns one job.
class ORVO_API tagCallTaskArg : public CRefCount {
  public:
    explicit tagCallTaskArg(std::unique_ptr<orvo_task_call_base> job);
    ~tagCallTaskArg() override;
    orvo_task_call_base& job() const { return *job_; }

  private:
    std::unique_ptr<orvo_task_call_base> job_;
};

// Posts closures to task threads. A closure that is still queued when the runner dies is dropped without a run; let no
// task run one at that moment: stop the tasks first. Threads: every operation may be called from any thread.
class ORVO_API COrvoQueueRunner {
  public:
    COrvoQueueRunner();
    ~COrvoQueueRunner();
    COrvoQueueRunner(const COrvoQueueRunner&) = delete;
    COrvoQueueRunner& operator=(const COrvoQueueRunner&) = delete;

    // Runs the closure on the task, after the calls that it has queued. A null task ends the process.
    // Result: the call's id for CORVOTaskBase::CancelTask(); 0, with a line in the log, when it could not be queued.
    unsigned int AsyncRun(std::function<void()>&& fn, CORVOTaskBase* task);
    // The same after a delay in milliseconds; below 1 means at once. `event`, unless null, is signalled after the run;
    // with an event any other delay than 0 ends the process. A null task is refused with 0 and a line in the log.
    // An exception that leaves the closure ends the process.
    unsigned int add_job(std::function<void()>&& fn, CORVOTaskBase* task, long long delayInMiliseconds,
                         orvoevent* event);
    // What a task calls: runs the argument's job. Result: 0.
    unsigned int invoke(tagCallTaskArg* argument);

  private:
    CScopeHolder<COrvoQueueRunner, false, CRefCountSafe>* const holder_;
};

}  // namespace ORVO::BASE

#endif
