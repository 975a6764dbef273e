// The queue runner. The line numbers of its assertions are fixed, so that reports stay stable.
#include "common/utils/orvo_queue_runner.h"

#include <utility>

#include "xplatform/common/orvoassert.h"

namespace ORVO::BASE {

orvo_task_call_base::~orvo_task_call_base() = default;

orvo_functor_task::orvo_functor_task(std::function<void()>&& fn, orvoevent* event)
    : fn_(std::move(fn)), event_(event) {}

orvo_functor_task::~orvo_functor_task() = default;

void orvo_functor_task::run() {
    fn_();
    if (event_) orvoevent_signal(event_);
}

tagCallTaskArg::tagCallTaskArg(std::unique_ptr<orvo_task_call_base> job) : job_(std::move(job)) {}
tagCallTaskArg::~tagCallTaskArg() = default;

COrvoQueueRunner::COrvoQueueRunner() : holder_(new CScopeHolder<COrvoQueueRunner, false, CRefCountSafe>(this)) {}

COrvoQueueRunner::~COrvoQueueRunner() {
    holder_->Clear();
    holder_->Release();
}

unsigned int COrvoQueueRunner::AsyncRun(std::function<void()>&& fn, CORVOTaskBase* task) {
    ORVO_ASSERT_AT(task != nullptr, "pTask", 37);
    return add_job(std::move(fn), task, 0, nullptr);
}

unsigned int COrvoQueueRunner::add_job(std::function<void()>&& fn, CORVOTaskBase* task, long long delayInMiliseconds,
                                       orvoevent* event) {
    if (event) {
        ORVO_ASSERT_AT(delayInMiliseconds <= 0, "event == nullptr", 95);
        ORVO_ASSERT_AT(delayInMiliseconds == 0, "delayInMiliseconds == 0", 96);
    }
    auto* argument = new tagCallTaskArg(std::make_unique<orvo_functor_task>(std::move(fn), event));
    CScopeCall call(holder_, this, &COrvoQueueRunner::invoke, argument);
    argument->Release();
    if (delayInMiliseconds < 1) return CORVOTaskBase::PushTask(task, call);
    return CORVOTaskBase::PushDelayTask(task, call, delayInMiliseconds, ETASK_MODE_ONCE);
}

unsigned int COrvoQueueRunner::invoke(tagCallTaskArg* argument) {
    argument->job().run();
    return 0;
}

}  // namespace ORVO::BASE
