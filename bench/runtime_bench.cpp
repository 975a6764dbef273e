// What a log line costs its caller, how soon a task runs a call, and how well a periodic call keeps its time.
// Log lines are echoed to standard output, so the results go to standard error: runtime_bench > /dev/null
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "ScreenCapture/log/orvo_log.h"
#include "common/utils/orvo_queue_runner.h"
#include "xplatform/common/orvoevent.h"
#include "xplatform/common/orvosyslog.h"
#include "xplatform/common/orvotask_io.h"

namespace {

using Clock = std::chrono::steady_clock;
using ORVO::BASE::COrvoQueueRunner;

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

void log_one(int channel) {
    syslog_ex(channel, ESYSLOG_NOTICE, "SC", 1, "%s, fps: %d", "orvo_screencapture_set_fps", 30);
}

// Channel 0 has no hook, channel 3 one that does nothing, channel 1 the files.
constexpr int kNoHook = 0, kEmptyHook = 3, kFiles = 1;

void BM_line(benchmark::State& state) {
    for (auto _ : state) log_one(static_cast<int>(state.range(0)));
}
BENCHMARK(BM_line)->Arg(kNoHook)->Arg(kEmptyHook)->Name("line/channel");

void BM_line_below_level(benchmark::State& state) {
    syslog_setlevel_ex(kFiles, ESYSLOG_ERROR);
    for (auto _ : state) log_one(kEmptyHook);
    syslog_setlevel_ex(kFiles, ESYSLOG_DEBUG);
}
BENCHMARK(BM_line_below_level)->Name("line/below_level");

// The log thread with its files in a folder of its own.
class LogThread {
  public:
    LogThread() : task_(new CORVOTaskIO("screencap_logger", 10, ETHREAD_PRIORITY_NORMAL)) {
        char folder[] = "/tmp/orvo_bench_XXXXXX";
        if (!mkdtemp(folder)) abort();
        folder_ = folder;
        task_->Start();
        ORVO::ScreenCapture::run_log_on(&runner_, task_);
        const std::string paths[] = {folder_ + "/1", folder_ + "/2", folder_ + "/3"};
        ORVO::ScreenCapture::init_log(paths[0].c_str(), paths[1].c_str(), paths[2].c_str(), 5242880);
        ORVO::ScreenCapture::set_log_level(ESYSLOG_NOTICE);
    }
    // Returns when every line is in its file.
    ~LogThread() {
        ORVO::ScreenCapture::close_log();
        ORVO::ScreenCapture::run_log_on(nullptr, nullptr);
        task_->Stop();
        task_->Release();
        if (system(("rm -rf " + folder_).c_str()) != 0) std::cerr << "cannot remove " << folder_ << '\n';
    }

  private:
    COrvoQueueRunner runner_;
    CORVOTaskIO* task_;
    std::string folder_;
};

void BM_line_to_files(benchmark::State& state) {
    LogThread thread;
    for (auto _ : state) log_one(kFiles);
}
BENCHMARK(BM_line_to_files)->Name("line/to_files")->Iterations(20000);

void BM_eight_threads(benchmark::State& state) {
    constexpr int kThreads = 8, kLines = 7500;
    for (auto _ : state) {
        LogThread thread;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([] {
                for (int i = 0; i < kLines; ++i) log_one(kFiles);
            });
        }
        for (std::thread& each : threads) each.join();
    }
    state.SetItemsProcessed(state.iterations() * kThreads * kLines);
}
BENCHMARK(BM_eight_threads)
    ->Name("60000_lines_of_8_threads_into_files")
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// From the push to an idle task until its call runs.
void BM_push_to_idle(benchmark::State& state) {
    CORVOTaskIO task("idle", static_cast<int>(state.range(0)), ETHREAD_PRIORITY_NORMAL);
    task.Start();
    COrvoQueueRunner runner;
    orvoevent* done = orvoevent_create(0, 0);
    std::vector<double> waits;
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::microseconds(2000 + waits.size() * 3700 % 10000));
        const Clock::time_point pushed = Clock::now();
        Clock::time_point ran;
        runner.add_job([&] { ran = Clock::now(); }, &task, 0, done);
        orvoevent_wait(done);
        waits.push_back(milliseconds(ran - pushed));
    }
    orvoevent_destory(done);
    std::sort(waits.begin(), waits.end());
    state.counters["median_ms"] = waits[waits.size() / 2];
    state.counters["p99_ms"] = waits[waits.size() * 99 / 100];
    state.counters["max_ms"] = waits.back();
}
BENCHMARK(BM_push_to_idle)
    ->Name("push_to_idle_task/interval_ms")
    ->Arg(10)
    ->Iterations(200)
    ->Unit(benchmark::kMillisecond);

class Ticker : public CRefCount {
  public:
    unsigned int tick(CRefCount*) {
        times.push_back(Clock::now());
        return 0;
    }
    std::vector<Clock::time_point> times;
};

// How far the last of a minute's calls is from its place on the grid of the first. ORVO_BENCH_SECONDS shortens it.
void BM_periodic_drift(benchmark::State& state) {
    const char* text = getenv("ORVO_BENCH_SECONDS");
    const int seconds = text ? atoi(text) : 60;
    const auto interval = static_cast<int>(state.range(0));
    auto* ticker = new Ticker;
    for (auto _ : state) {
        CORVOTaskIO task("periodic", 10, ETHREAD_PRIORITY_NORMAL);
        task.Start();
        CORVOTaskBase::PushDelayTask(&task, CScopeCall(ticker, ticker, &Ticker::tick, nullptr), interval,
                                     ETASK_MODE_PERIODIC);
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        task.Stop();
    }
    const auto periods = static_cast<double>(ticker->times.size()) - 1;
    state.counters["calls"] = periods + 1;
    state.counters["drift_ms"] = milliseconds(ticker->times.back() - ticker->times.front()) - periods * interval;
    ticker->Release();
}
BENCHMARK(BM_periodic_drift)
    ->Name("periodic_call_for_a_minute/interval_ms")
    ->Arg(100)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
    syslog_hook_ex(kEmptyHook, [](int, const char*, int, const char*, int) {});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
