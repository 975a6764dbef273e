// Task threads and the queue runner: order, delays, cancelling, dead targets, stopping and starting again.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "common/utils/orvo_queue_runner.h"
#include "support/runtime/log_lines.h"
#include "xplatform/common/orvotask.h"
#include "xplatform/common/orvoutil.h"

namespace {

using ORVO::BASE::COrvoQueueRunner;

// A call whose run the test decides, with a holder that can be told to be gone.
class Target : public CRefCount {
  public:
    explicit Target(std::function<unsigned int()> body) : body_(std::move(body)) {}
    bool IsValid() override { return valid; }
    unsigned int work(CRefCount*) { return body_(); }
    CScopeCall call(unsigned int* result = nullptr) { return {this, this, &Target::work, nullptr, result}; }
    std::atomic<bool> valid{true};

  private:
    std::function<unsigned int()> body_;
};

// A task that the test steps by hand: its worker is never started.
class Stepped : public CORVOTaskBase {
  public:
    Stepped() : CORVOTaskBase("stepped", 1, ETHREAD_PRIORITY_NORMAL) {}
    int passes_until_idle() {
        int passes = 0;
        while (Eachloop()) ++passes;
        return passes;
    }
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
    std::function<void()> note(int number) {
        return [this, number] { order_.push_back(number); };
    }
    COrvoQueueRunner runner_;
    std::vector<int> order_;
    std::vector<std::string> lines_;
};

TEST_F(Tasks, RunInOrderOneAPassUnderUniqueIds) {
    Stepped task;
    for (int i = 1; i <= 2; ++i) EXPECT_EQ(runner_.AsyncRun(note(i), &task), static_cast<unsigned>(i));
    EXPECT_FALSE(task.IsIdle());
    EXPECT_TRUE(task.Eachloop());
    EXPECT_EQ(order_, std::vector<int>({1}));
    EXPECT_EQ(runner_.AsyncRun(note(3), &task), 3u);
    EXPECT_EQ(task.passes_until_idle(), 2);
    EXPECT_EQ(order_, std::vector<int>({1, 2, 3}));
    EXPECT_TRUE(task.IsIdle());
}

TEST_F(Tasks, DelayedCallsKeepTheOrderOfEqualTimes) {
    Stepped task;
    // Further ahead than the others, and pushed first: it must not hold them back.
    runner_.add_job(note(9), &task, 3600000, nullptr);
    EXPECT_FALSE(task.Eachloop());
    for (int i = 1; i <= 5; ++i) runner_.add_job(note(i), &task, 20, nullptr);
    orvo_msleep(25);
    EXPECT_EQ(task.passes_until_idle(), 5);
    EXPECT_EQ(order_, std::vector<int>({1, 2, 3, 4, 5}));
    EXPECT_FALSE(task.IsIdle());
}

TEST_F(Tasks, CancelTakesEffectAtTheNextPass) {
    Stepped task;
    unsigned int first = runner_.AsyncRun(note(1), &task);
    unsigned int second = runner_.AsyncRun(note(2), &task);
    unsigned int delayed = runner_.add_job(note(3), &task, 1, nullptr);
    for (unsigned int id : {second, delayed, 4711u}) EXPECT_EQ(CORVOTaskBase::CancelTask(&task, id), 1);
    orvo_msleep(3);
    EXPECT_EQ(task.passes_until_idle(), 1);
    EXPECT_EQ(order_, std::vector<int>({1}));
    EXPECT_EQ(CORVOTaskBase::CancelTask(&task, 0), 0);
    EXPECT_EQ(CORVOTaskBase::CancelTask(nullptr, first), 0);
    EXPECT_EQ(CORVOTaskBase::CancelTask(first), 0);  // no task has this thread
    EXPECT_EQ(logged("1 192 cancel task illegal argument!"), 3);
}

TEST_F(Tasks, DroppedClosuresDieOutsideTheLock) {
    Stepped task;
    struct Pushes {
        Stepped& task;
        COrvoQueueRunner& runner;
        ~Pushes() {
            runner.AsyncRun([] {}, &task);
        }
    };
    auto pushes = std::make_shared<Pushes>(Pushes{task, runner_});
    task.passes_until_idle();
    unsigned int id = runner_.AsyncRun([kept = std::move(pushes)] {}, &task);
    CORVOTaskBase::CancelTask(&task, id);
    task.Eachloop();
    EXPECT_FALSE(task.IsIdle());
}

TEST_F(Tasks, PeriodicCallsGoOnUntilTheirTargetIsGoneOrTheyCancelThemselves) {
    for (const bool cancels : {false, true}) {
        Stepped task;
        int runs = 0;
        unsigned int id = 0;
        auto* target = new Target([&] {
            if (++runs == 3 && cancels) CORVOTaskBase::CancelTask(&task, id);
            return 0u;
        });
        id = CORVOTaskBase::PushDelayTask(&task, target->call(), 0, ETASK_MODE_PERIODIC);
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(task.Eachloop());
        target->valid = cancels;
        EXPECT_EQ(task.passes_until_idle(), cancels ? 0 : 1);
        EXPECT_EQ(runs, 3);
        EXPECT_TRUE(task.IsIdle());
        EXPECT_EQ(logged("1 575 object is not valid anymore for task[" + std::to_string(id) +
                         "], just remove it! please call CancelTask when object destroyed...."),
                  1);
        EXPECT_EQ(target->Release(), 1);  // the dropped call holds nothing any more
    }
}

TEST_F(Tasks, CallsAnswerNineForADeadTarget) {
    unsigned int result = 77;
    auto* target = new Target([] { return 5u; });
    CScopeCall call = target->call(&result);
    EXPECT_EQ(call(), 5u);
    EXPECT_EQ(result, 5u);
    result = 77;
    target->valid = false;
    EXPECT_EQ(call(), 9u);
    EXPECT_EQ(result, 77u);
    EXPECT_EQ(target->Release(), 0);  // the call still holds it
    CScopeCall copy = call;
    call = CScopeCall();
    EXPECT_EQ(copy(), 9u);
    EXPECT_EQ(call(), 9u);
}

TEST_F(Tasks, ADeadRunnersClosuresAreDropped) {
    Stepped task;
    {
        COrvoQueueRunner brief;
        brief.AsyncRun(note(1), &task);
    }
    EXPECT_TRUE(task.Eachloop());
    EXPECT_TRUE(order_.empty());
    EXPECT_EQ(logged("3 81 create a Task[stepped]"), 1);
    EXPECT_EQ(lines_.size(), 1u) << "a call that runs once is dropped without a message";
}

TEST_F(Tasks, TellTheObserverEachState) {
    static std::vector<std::string> seen;
    seen.clear();
    Stepped task;
    task.SetTaskObserver([](CORVOTaskBase* of, task_observer_info* info) {
        bool times = info->push_time != 0 && (info->start_time != 0) == (info->state != TASK_STATE_QUEUED) &&
                     (info->end_time != 0) == (info->state == TASK_STATE_FINISHED);
        seen.push_back(std::string(of->GetName()) + std::to_string(info->id) + std::to_string(info->type) +
                       std::to_string(info->state) + (times ? "" : " times"));
    });
    runner_.AsyncRun([] {}, &task);
    runner_.add_job([] {}, &task, 1, nullptr);
    orvo_msleep(3);
    task.passes_until_idle();
    EXPECT_EQ(seen, std::vector<std::string>(
                        {"stepped111", "stepped221", "stepped112", "stepped113", "stepped222", "stepped223"}));
    task.SetTaskObserver(nullptr);
    runner_.AsyncRun([] {}, &task);
    EXPECT_EQ(seen.size(), 6u);
}

TEST_F(Tasks, StopRunsWhatIsReadyAndKeepsWhatIsDelayed) {
    auto* task = new CORVOTaskBase("worker", 1, ETHREAD_PRIORITY_NORMAL);
    EXPECT_FALSE(task->Stop());
    for (int i = 1; i <= 3; ++i) runner_.AsyncRun(note(i), task);
    runner_.add_job(note(9), task, 3600000, nullptr);
    EXPECT_TRUE(task->Start());
    EXPECT_FALSE(task->Start());
    EXPECT_TRUE(task->Stop());
    EXPECT_EQ(order_, std::vector<int>({1, 2, 3}));
    EXPECT_FALSE(task->IsStarted());
    runner_.AsyncRun(note(4), task);
    EXPECT_TRUE(task->Start());
    EXPECT_TRUE(task->IsStarted());
    EXPECT_TRUE(task->Stop());
    EXPECT_EQ(order_, std::vector<int>({1, 2, 3, 4}));
    EXPECT_EQ(task->Release(), 1);
    std::string self = "thread[" + std::to_string(orvothread_selfid()) + "]";
    EXPECT_EQ(logged("3 81 create a Task[worker]"), 1);
    EXPECT_EQ(logged("2 255 " + self + " has not started yet!"), 1);
    EXPECT_EQ(logged("2 229 " + self + " aready started!"), 1);
    for (const char* line : {"3 281 enter Runloop", "3 312 thread worker will stop", "3 349 thread worker stop"}) {
        EXPECT_EQ(logged(line), 2) << line;
    }
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
            auto* target = new Target([&] { return pushed = true, 0u; });
            CORVOTaskBase::PushTask(target->call());
            target->Release();
            EXPECT_TRUE(task->Stop());  // only asks
            EXPECT_FALSE(task->IsStarted());
        },
        task, 0, done);
    EXPECT_EQ(orvoevent_timedwait(done, 10000), 0);
    EXPECT_EQ(task->Release(), 1);  // joins
    EXPECT_TRUE(inside);
    EXPECT_TRUE(pushed);
    EXPECT_EQ(CORVOTaskBase::GetCurrentTask(), nullptr);
    orvoevent_destory(done);
}

TEST_F(Tasks, TakeCallsFromManyThreads) {
    CORVOTaskBase task(nullptr, 1, ETHREAD_PRIORITY_LOW);
    EXPECT_STREQ(task.GetName(), "");
    EXPECT_EQ(logged("3 83 create a Task[unname]"), 1);
    task.Start();
    constexpr int kThreads = 4, kCalls = 500;
    std::vector<std::vector<int>> runs(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kCalls; ++i) {
                runner_.AsyncRun([&runs, t, i] { runs[static_cast<size_t>(t)].push_back(i); }, &task);
                CORVOTaskBase::CancelTask(&task, runner_.add_job([] { ADD_FAILURE(); }, &task, 100000, nullptr));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    task.Stop();
    for (const std::vector<int>& run : runs) {
        ASSERT_EQ(run.size(), static_cast<size_t>(kCalls));
        EXPECT_TRUE(std::is_sorted(run.begin(), run.end()));
    }
}

TEST_F(Tasks, RefuseANullTaskAndAnEmptyClosure) {
    for (const int delay : {0, 5}) EXPECT_EQ(runner_.add_job([] {}, nullptr, delay, nullptr), 0u);
    EXPECT_EQ(logged("1 119 push task illegal argument!"), 1);
    EXPECT_EQ(logged("1 148 push delay illegal argument!"), 1);
    auto* argument = new ORVO::BASE::tagCallTaskArg(
        std::make_unique<ORVO::BASE::orvo_functor_task>(std::function<void()>(), nullptr));
    EXPECT_THROW(runner_.invoke(argument), std::bad_function_call);
    argument->Release();
}

using TasksDeathTest = Tasks;

TEST_F(TasksDeathTest, MisuseOfTheRunnerEndsTheProcess) {
    Stepped task;
    orvoevent* event = orvoevent_create(0, 0);
    EXPECT_DEATH(runner_.AsyncRun([] {}, nullptr), "orvo_queue_runner.cpp:37.*AsyncRun.*pTask");
    EXPECT_DEATH(runner_.add_job([] {}, &task, 5, event), "orvo_queue_runner.cpp:95.*add_job.*event == nullptr");
    EXPECT_DEATH(runner_.add_job([] {}, &task, -5, event), "orvo_queue_runner.cpp:96.*delayInMiliseconds == 0");
    orvoevent_destory(event);
}

// A worker that rests while nothing is queued.
class Resting : public CORVOTaskBase {
  public:
    Resting() : CORVOTaskBase("resting", 1, ETHREAD_PRIORITY_NORMAL) {}
    ~Resting() override { Join(); }
    void OnIdle() override {
        rests++;
        AwaitCall();
    }
    std::atomic<int> rests{0};
};

TEST_F(Tasks, ARestEndsWithACallACancellationOrTheTask) {
    Resting task;
    task.Start();
    const auto await_rest = [&task](int number) {
        while (task.rests < number) std::this_thread::yield();
    };
    await_rest(1);
    for (long long delay : {0, 1}) {
        std::promise<void> ran;
        runner_.add_job([&ran] { ran.set_value(); }, &task, delay, nullptr);
        ran.get_future().wait();
    }
    await_rest(2);
    int before = task.rests;
    CORVOTaskBase::CancelTask(&task, 1000);
    await_rest(before + 1);
    EXPECT_TRUE(task.Stop());
}

}  // namespace
