// Task threads and the queue runner: a model of the queues, cancelling, dead targets, stopping and starting again.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "common/utils/orvo_queue_runner.h"
#include "support/runtime/log_lines.h"
#include "xplatform/common/orvotask_io.h"
#include "xplatform/common/orvotask_queue.h"

namespace {

using ORVO::BASE::COrvoQueueRunner;
using Ids = std::vector<unsigned>;

constexpr long long kHour = 3600000;  // milliseconds

// What a call is for. It may be gone before the call runs, and asks about its task when it dies, which hangs under the
// task's lock.
class Target : public CRefCount {
  public:
    explicit Target(std::function<void(Target&)> body, CORVOTaskBase** task = nullptr)
        : body_(std::move(body)), task_(task) {
        ++living;
    }
    ~Target() override {
        --living;
        if (task_ && *task_) (*task_)->IsIdle();
    }
    bool IsValid() override { return valid; }
    unsigned int work(CRefCount*) { return body_(*this), 5; }
    CScopeCall call(unsigned int* result = nullptr) { return {this, this, &Target::work, nullptr, result}; }
    bool valid = true;
    static inline int living = 0;

  private:
    std::function<void(Target&)> body_;
    CORVOTaskBase** task_;
};

class Tasks : public testing::Test {
  protected:
    void SetUp() override { support::capture_log(); }
    // How often the task code has logged a line: its level, its number and its text.
    ptrdiff_t logged(const std::string& line) {
        for (const support::LogLine& each : support::take_log()) {
            if (each.module == "task")
                lines_.push_back(std::to_string(each.level) + " " + std::to_string(each.line) + " " + each.message);
        }
        return std::count(lines_.begin(), lines_.end(), line);
    }
    std::function<void()> note(unsigned number) {
        return [this, number] { order_.push_back(number); };
    }
    COrvoQueueRunner runner_;
    Ids order_;
    std::vector<std::string> lines_;
};

// A task that is stepped by hand, its worker never started, beside a model of its queues. No clock decides: a delayed
// call is due since ever, or since it was queued, or in an hour.
class StepsOfATask {
  public:
    explicit StepsOfATask(unsigned seed) : random_(seed) {
        seen_ = {};
        task_->SetTaskObserver([](CORVOTaskBase*, task_observer_info* info) {
            EXPECT_TRUE(info->push_time != 0 && (info->start_time != 0) == (info->state != TASK_STATE_QUEUED) &&
                        (info->end_time != 0) == (info->state == TASK_STATE_FINISHED));
            seen_.emplace_back(info->id, info->type, info->state);
        });
    }
    ~StepsOfATask() {
        CORVOTaskBase* const task = std::exchange(task_, nullptr);
        task->Release();
        EXPECT_EQ(Target::living, 0) << "what the task still had";
    }
    void step() {
        const unsigned kind = random_() % 8;
        if (kind < 4) push(kind);
        if (kind == 4) cancel();
        if (kind == 5) {
            for (auto& queue : queues_)
                if (!queue.empty() && random_() % 4 == 0) queue[random_() % queue.size()].target->valid = false;
        }
        if (kind > 5) pass();
        EXPECT_EQ(task_->IsIdle(), std::all_of(queues_, queues_ + 4, [](auto& queue) { return queue.empty(); }));
    }
    int targets_gone = 0;  // of periodic calls

  private:
    struct Call {
        unsigned id;
        Target* target;
        bool periodic;
    };

    // At the end of queue 0, the ready calls; 1, due since ever; 2, due now; or 3, due later.
    void push(unsigned queue) {
        const unsigned act = random_() % 4, id = next_id_++;
        auto* target = new Target(
            [=, this](Target& self) {
                ran_.push_back(id);
                if (act == 1) push(0);
                if (act == 2) cancel();
                if (act == 3) self.valid = false;
            },
            &task_);
        const auto mode = static_cast<etask_mode>(random_() % 3);
        const long long delays[] = {0, INT64_MIN, 0, kHour};
        EXPECT_EQ(queue == 0 ? CORVOTaskBase::PushTask(task_, target->call())
                             : CORVOTaskBase::PushDelayTask(task_, target->call(), delays[queue], mode),
                  id);
        EXPECT_EQ(seen_.back(), std::tuple(id, queue == 0 ? 1 : 2, 1));
        seen_.pop_back();
        target->Release();
        queues_[queue].push_back({id, target, queue != 0 && mode == ETASK_MODE_PERIODIC});
    }
    void cancel() {
        const unsigned id = random_() % (next_id_ + 3) + 1;
        EXPECT_EQ(CORVOTaskBase::CancelTask(task_, id), 1);
        cancelled_.insert(id);
    }
    void pass() {
        for (auto& queue : queues_) std::erase_if(queue, [&](const Call& call) { return cancelled_.count(call.id); });
        cancelled_.clear();
        Ids runs;
        std::vector<std::tuple<unsigned, int, int>> states;
        std::vector<Call> again;
        unsigned due = queues_[1].empty() ? 2 : 1;
        for (const unsigned from : {0u, due}) {
            if (queues_[from].empty()) continue;
            const Call call = queues_[from].front();
            queues_[from].erase(queues_[from].begin());
            for (const int state : {2, 3}) states.emplace_back(call.id, from == 0 ? 1 : 2, state);
            if (call.target->valid) runs.push_back(call.id);
            if (call.target->valid && call.periodic) again.push_back(call);
            targets_gone += !call.target->valid && call.periodic;
        }
        EXPECT_EQ(task_->Eachloop(), !states.empty());
        EXPECT_EQ(std::exchange(ran_, {}), runs);
        EXPECT_EQ(std::exchange(seen_, {}), states);
        for (const Call& call : again) queues_[due].push_back(call);
    }

    std::mt19937 random_;
    CORVOTaskBase* task_ = new CORVOTaskBase("stepped", 1, ETHREAD_PRIORITY_NORMAL);
    std::vector<Call> queues_[4];
    std::set<unsigned> cancelled_;
    unsigned next_id_ = 1;
    Ids ran_;
    static inline std::vector<std::tuple<unsigned, int, int>> seen_;  // id, type and state
};

TEST_F(Tasks, FollowTheirModel) {
    for (unsigned seed = 1; seed <= 100 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        StepsOfATask steps(seed);
        for (int i = 0; i < 200 && !HasFailure(); ++i) steps.step();
        int gone = 0;
        for (const auto& message : support::take_messages("task"))
            gone += message.rfind("1 object is not valid anymore for task[", 0) == 0;
        EXPECT_EQ(gone, steps.targets_gone);
    }
}

TEST_F(Tasks, IdsInUseAreNotGivenAgain) {
    local_context queues("ids");
    Ids ids;
    for (const unsigned next : {1u, 0xFFFFFFFFu, 0xFFFFFFFFu}) {
        queues.next_id = next;
        ids.push_back(queues.add_ready(std::make_unique<local_context::list::Item>(task_context{})));
    }
    EXPECT_EQ(ids, (Ids{1, 0xFFFFFFFF, 2}));
    while (auto call = queues.take_ready()) EXPECT_NE(call->element.id, 0u);
}

TEST_F(Tasks, CallsAnswerNineForADeadTarget) {
    unsigned int result = 77;
    auto* target = new Target([](Target& self) { self.valid = false; });
    CScopeCall call = target->call(&result);
    EXPECT_EQ(target->Release(), 0) << "the call holds it";
    EXPECT_EQ(call(), 5u);
    EXPECT_EQ(std::exchange(result, 77), 5u);
    CScopeCall copy = call;
    EXPECT_EQ(call(), 9u);
    call = CScopeCall();
    EXPECT_EQ(call(), 9u);
    EXPECT_EQ(copy(), 9u);
    EXPECT_EQ(result, 77u);
    copy = call;
    EXPECT_EQ(Target::living, 0);
}

TEST_F(Tasks, MisuseIsRefusedOrEndsTheProcess) {
    CORVOTaskBase task("misused", 1, ETHREAD_PRIORITY_NORMAL);
    for (const int delay : {0, 5}) EXPECT_EQ(runner_.add_job([] {}, nullptr, delay, nullptr), 0u);
    EXPECT_EQ(CORVOTaskBase::CancelTask(&task, 0) + CORVOTaskBase::CancelTask(nullptr, 1), 0);
    EXPECT_EQ(CORVOTaskBase::CancelTask(1), 0) << "no task has this thread";
    EXPECT_EQ(logged("1 119 push task illegal argument!") + logged("1 148 push delay illegal argument!"), 2);
    EXPECT_EQ(logged("1 192 cancel task illegal argument!"), 3);
    {
        COrvoQueueRunner brief;
        brief.AsyncRun(note(1), &task);
    }
    EXPECT_TRUE(task.Eachloop() && order_.empty()) << "a dead runner's closures are dropped";
    orvoevent* event = orvoevent_create(0, 0);
    using support::assertion;
    EXPECT_DEATH(runner_.AsyncRun([] {}, nullptr), assertion("orvo_queue_runner.cpp", 37, "AsyncRun", "pTask"));
    EXPECT_DEATH(runner_.add_job([] {}, &task, 5, event), assertion("runner.cpp", 95, "add_job", "event == nullptr"));
    EXPECT_DEATH(runner_.add_job([] {}, &task, -5, event), assertion("runner.cpp", 96, "add_job", "delay.* == 0"));
    orvoevent_destory(event);
}

TEST_F(Tasks, StopRunsWhatIsReadyAndKeepsWhatIsDelayed) {
    auto* task = new CORVOTaskBase("worker", 1, ETHREAD_PRIORITY_NORMAL);
    EXPECT_FALSE(task->Stop());
    runner_.add_job(note(9), task, kHour, nullptr);
    for (unsigned start = 0; start < 2; ++start) {
        for (unsigned i = 0; i < 3; ++i) runner_.AsyncRun(note(3 * start + i), task);
        EXPECT_TRUE(task->Start() && !task->Start() && task->IsStarted());
        EXPECT_TRUE(task->Stop() && !task->IsStarted());
    }
    EXPECT_EQ(order_, (Ids{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(task->Release(), 1);
    const std::string self = "thread[" + std::to_string(orvothread_selfid()) + "]";
    const std::pair<std::string, int> expected[] = {
        {"3 81 create a Task[worker]", 1},         {"2 255 " + self + " has not started yet!", 1},
        {"2 229 " + self + " aready started!", 2}, {"3 281 enter Runloop", 2},
        {"3 312 thread worker will stop", 2},      {"3 349 thread worker stop", 2}};
    for (const auto& [line, times] : expected) EXPECT_EQ(logged(line), times) << line;
    EXPECT_EQ(lines_.back().rfind("3 95 delete a Task[worker][", 0), 0u);
}

TEST_F(Tasks, RunOnTheirWorkerAndStopFromThere) {
    CORVOTaskBase* task = ORVOTaskCreate("self", static_cast<ethread_priority>(2));
    orvoevent* done = orvoevent_create(0, 0);
    task->Start();
    bool inside = false, pushed = false;
    runner_.add_job(
        [&] {
            inside = CORVOTaskBase::GetCurrentTask() == task && orvothread_getname() == task->GetName();
            auto* target = new Target([&](Target&) { pushed = true; });
            CORVOTaskBase::PushTask(target->call());
            target->Release();
            EXPECT_TRUE(task->Stop() && !task->IsStarted()) << "only asks";
        },
        task, 0, done);
    EXPECT_EQ(orvoevent_wait(done), 0);
    EXPECT_EQ(task->Release(), 1) << "joins";
    EXPECT_TRUE(inside && pushed);
    EXPECT_EQ(CORVOTaskBase::GetCurrentTask(), nullptr);
    orvoevent_destory(done);
}

TEST_F(Tasks, TakeCallsFromManyThreads) {
    CORVOTaskBase task(nullptr, 1, ETHREAD_PRIORITY_LOW);
    EXPECT_STREQ(task.GetName(), "");
    EXPECT_EQ(logged("3 83 create a Task[unname]"), 1);
    task.Start();
    constexpr size_t kThreads = 4, kCalls = 500;
    std::vector<std::vector<size_t>> runs(kThreads);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (size_t i = 0; i < kCalls; ++i) {
                runner_.AsyncRun([&runs, t, i] { runs[t].push_back(i); }, &task);
                CORVOTaskBase::CancelTask(&task, runner_.add_job([] { ADD_FAILURE(); }, &task, kHour, nullptr));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    task.Stop();
    for (const auto& run : runs) EXPECT_TRUE(run.size() == kCalls && std::is_sorted(run.begin(), run.end()));
}

// A worker with nothing to do for an hour, or for ever.
class Resting : public CORVOTaskIO {
  public:
    explicit Resting(bool awaits) : CORVOTaskIO("resting", kHour, ETHREAD_PRIORITY_NORMAL), awaits_(awaits) {}
    ~Resting() override { Join(); }
    void OnIdle() override {
        rests++;
        if (awaits_) AwaitCall();
    }
    std::atomic<int> rests{0};

  private:
    const bool awaits_;
};

// The worker rests before each act, and would rest on without what the act does.
TEST_F(Tasks, ARestEndsWithWhatThereIsToDo) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    for (const bool awaits : {false, true}) {
        Resting task(awaits);
        task.Start();
        while (task.rests == 0) std::this_thread::yield();
        const auto after = [](const std::function<void(std::function<void()>)>& act) {
            const auto done = std::make_shared<std::promise<void>>();
            auto future = done->get_future();
            act([done] { done->set_value(); });
            future.wait();
        };
        for (const int delay : {0, 1, 20})
            after([&](auto done) { runner_.add_job(std::move(done), &task, delay, nullptr); });
        std::promise<void> dropped;
        auto is_dropped = dropped.get_future();
        const auto id = runner_.add_job([kept = std::make_shared<std::promise<void>>(std::move(dropped))] {}, &task,
                                        kHour, nullptr);
        CORVOTaskBase::CancelTask(&task, id);
        is_dropped.wait();
        EXPECT_LT(task.rests, 20) << "it does rest";
        for (const unsigned timeout : {1u, 3600000u}) {
            after([&](auto done) {
                static std::function<void()> called;
                called = std::move(done);
                const auto callback = [](orvofe*, long long, int, void*) { called(); };
                runner_.AsyncRun(
                    [=] { orvofe_addonce(CORVOTaskIO::GetFevent(), ends[0], 2, callback, nullptr, nullptr, timeout); },
                    &task);
                EXPECT_EQ(timeout > 1 ? write(ends[1], "x", 1) : 1, 1);
            });
        }
        EXPECT_TRUE(task.Stop());
        char byte;
        EXPECT_EQ(read(ends[0], &byte, 1), 1);
    }
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
