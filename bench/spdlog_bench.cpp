// The same log line through spdlog's asynchronous logger, which gets it as finished text.
#include <benchmark/benchmark.h>
#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <string>

namespace {

void BM_spdlog(benchmark::State& state) {
    const std::string path = "/tmp/orvo_bench_spdlog_" + std::to_string(getpid());
    // Room for every line, so that the caller never waits for the file.
    spdlog::init_thread_pool(1 << 15, 1);
    {
        const auto logger = spdlog::rotating_logger_mt<spdlog::async_factory>("bench", path, 5242880, 3);
        for (auto _ : state) logger->info("orvo_screencapture_set_fps, fps: 30");
        logger->flush();
        spdlog::drop_all();
    }
    spdlog::shutdown();
    unlink(path.c_str());
}
BENCHMARK(BM_spdlog)->Name("spdlog/to_file")->Iterations(20000);

}  // namespace
