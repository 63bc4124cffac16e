// One line of the log, which is in the file when the statement is done, from 1 to 64 threads.
#include "bench.h"

#include "private_host.h"
#include "support/log_line.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

constexpr const char* kText = "CVMWareZNVDeviceTalker::executeCMD: Return code: ";
constexpr std::string_view kFinishedLine =
    "(T: 140737345824576) [Mon Sep 21 14:13:20 2026] CVMWareZNVDeviceTalker::executeCMD: Return "
    "code: 0\n";
constexpr const char* kFloorPath = "/scratch/log/floor.log";
constexpr const char* kPeerPath = "/scratch/log/peer.log";
constexpr long kMostBytes = 64 << 20;  // far below the limit at which the log is rotated

const vesktest::PrivateHost& host() {
    static const vesktest::PrivateHost s_host;
    return s_host;
}

// Adds a side that writes lines into the file. Starts with an empty file in each run.
template <typename Statement>
void addSide(const std::string& row, const std::string& side, const char* path, int threads,
             Statement statement) {
    const std::string file = host().path(path);
    bench::add(row, side,
               [file, statement](benchmark::State& state) {
                   if (state.thread_index() == 0 && truncate(file.c_str(), 0) != 0) {
                       std::abort();
                   }
                   long bytes = 0;
                   for (auto pass : state) {
                       static_cast<void>(pass);
                       statement();
                       bytes += static_cast<long>(kFinishedLine.size());
                       if (bytes > kMostBytes / state.threads()) {
                           state.SkipWithError("the file grows beyond what is left of the memory");
                           break;
                       }
                   }
               })
        ->Threads(threads)
        ->UseRealTime();
}

void addThreads(int threads, int floorFile, spdlog::logger& logger) {
    const std::string row =
        threads == 1 ? "log line" : "log line, " + std::to_string(threads) + " threads";
    addSide(row, "library", vesktest::kLogPath, threads, [] { stg::logLine(kText, 0); });
    addSide(row, "floor", kFloorPath, threads, [floorFile] {
        if (write(floorFile, kFinishedLine.data(), kFinishedLine.size()) < 0) {
            std::abort();
        }
    });
    addSide(row, "spdlog", kPeerPath, threads,
            [&logger] { logger.info("CVMWareZNVDeviceTalker::executeCMD: Return code: {}", 0); });
}

}  // namespace

void bench::addRows() {
    const int floorFile =
        open(host().path(kFloorPath).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    static spdlog::logger s_peer(
        "peer", std::make_shared<spdlog::sinks::basic_file_sink_mt>(host().path(kPeerPath)));
    s_peer.set_pattern("(T: %t) [%c] %v");
    s_peer.flush_on(spdlog::level::info);
    stg::lout.startDebug();
    for (const int threads : {1, 2, 4, 16, 64}) {
        addThreads(threads, floorFile, s_peer);
    }
}
