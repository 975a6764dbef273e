// Task threads and the queue runner: order, delays, cancelling, dead targets, stopping and starting again.
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
#include <vector>

#include "common/utils/orvo_queue_runner.h"
#include "support/runtime/log_lines.h"
#include "xplatform/common/orvotask_io.h"
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

// What was not cancelled runs once: ready calls in the order of their pushes, delayed ones in that of their times,
// which are known up to the milliseconds that a push takes.
TEST_F(Tasks, RunInTheOrderOfTheirTimes) {
    std::mt19937 random(7);
    for (int round = 0; round < 20; ++round) {
        Stepped task;
        runner_.add_job(note(-1), &task, 3600000, nullptr);  // must not hold the others back
        std::vector<uint64_t> earliest, latest;
        std::vector<unsigned> ids;
        std::set<int> left[2];  // of the ready calls, of the delayed ones
        std::vector<bool> delayed;
        for (int i = 0; i < 200; ++i) {
            const unsigned delay = random() % 4 ? random() % 12 : 0;
            earliest.push_back(orvo_gettickcount64() + delay);
            ids.push_back(runner_.add_job(note(i), &task, delay, nullptr));
            latest.push_back(orvo_gettickcount64() + delay);
            delayed.push_back(delay != 0);
            left[delay != 0].insert(i);
            if (random() % 4) continue;
            const size_t victim = random() % ids.size();
            CORVOTaskBase::CancelTask(&task, ids[victim]);
            left[delayed[victim]].erase(static_cast<int>(victim));
        }
        orvo_msleep(15);
        order_.clear();
        task.passes_until_idle();
        EXPECT_FALSE(task.IsIdle());
        int before = -1;
        for (const int i : order_) {
            ASSERT_EQ(left[delayed[i]].erase(i), 1u);
            if (!delayed[i]) {
                EXPECT_TRUE(left[0].empty() || i < *left[0].begin());
                continue;
            }
            if (before >= 0) {
                EXPECT_LT(std::pair(earliest[before], before), std::pair(latest[i], i));
            }
            before = i;
        }
        EXPECT_TRUE(left[0].empty() && left[1].empty());
    }
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

// A worker with nothing to do for an hour, or for ever.
class Resting : public CORVOTaskIO {
  public:
    explicit Resting(bool awaits) : CORVOTaskIO("resting", 3600000, ETHREAD_PRIORITY_NORMAL), awaits_(awaits) {}
    ~Resting() override { Join(); }
    void OnIdle() override {
        rests++;
        if (awaits_) AwaitCall();
    }
    std::atomic<int> rests{0};

  private:
    const bool awaits_;
};

TEST_F(Tasks, ARestEndsWithWhatThereIsToDo) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    for (const bool awaits : {false, true}) {
        Resting task(awaits);
        task.Start();
        const auto rest_then = [&task](int number, auto&& act) {
            while (task.rests < number) std::this_thread::yield();
            std::promise<void> promise;
            auto done = promise.get_future();
            act(std::move(promise));
            done.wait();
        };
        const auto run = [this, &task](long long delay) {
            return [this, &task, delay](std::promise<void> done) {
                auto shared = std::make_shared<std::promise<void>>(std::move(done));
                return runner_.add_job([shared] { shared->set_value(); }, &task, delay, nullptr);
            };
        };
        rest_then(1, run(0));
        rest_then(2, run(1));
        rest_then(
            3, [&](std::promise<void> dropped) { CORVOTaskBase::CancelTask(&task, run(3600000)(std::move(dropped))); });
        for (const unsigned timeout : {1u, 3600000u}) {
            rest_then(1, [&](std::promise<void> called) {
                static std::promise<void> done;
                done = std::move(called);
                const auto callback = [](orvofe*, long long, int, void*) { done.set_value(); };
                runner_.AsyncRun(
                    [&, callback] {
                        orvofe_addonce(CORVOTaskIO::GetFevent(), ends[0], 2, callback, nullptr, nullptr, timeout);
                    },
                    &task);
                if (timeout > 1) {
                    EXPECT_EQ(write(ends[1], "x", 1), 1);
                }
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
