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
constexpr long kMostBytes = 32 << 20;  // behind 64 MiB still below the limit of 100 MiB

const vesktest::PrivateHost& host() {
    static const vesktest::PrivateHost s_host;
    return s_host;
}

// Before the file grows to the limit at which it is rotated. One thread does it for all.
void cut(const std::string& file, bool mine, long size) {
    if (mine && truncate(file.c_str(), size) != 0) {
        std::abort();
    }
}

// Adds a side that writes lines into the file, of which each run finds this many bytes.
template <typename Statement>
benchmark::internal::Benchmark* addSide(const std::string& row, const std::string& side,
                                        const char* path, long size, Statement statement) {
    const std::string file = host().path(path);
    return bench::add(row, side, [file, size, statement](benchmark::State& state) {
        cut(file, state.thread_index() == 0, size);
        long bytes = 0;
        for (auto pass : state) {
            static_cast<void>(pass);
            statement();
            bytes += static_cast<long>(kFinishedLine.size());
            if (bytes > kMostBytes / state.threads()) {
                cut(file, state.thread_index() == 0, size);
                bytes = 0;
            }
        }
    });
}

void writeFinishedLine(int file) {
    if (write(file, kFinishedLine.data(), kFinishedLine.size()) < 0) {
        std::abort();
    }
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

    const auto byLibrary = [] {
        stg::logLine(kText, 0);
    };
    const auto byHand = [floorFile] {
        writeFinishedLine(floorFile);
    };
    const auto byPeer = [] {
        s_peer.info("CVMWareZNVDeviceTalker::executeCMD: Return code: {}", 0);
    };
    addSide("log line", "library", vesktest::kLogPath, 0, byLibrary);
    addSide("log line", "floor", kFloorPath, 0, byHand);
    addSide("log line", "spdlog", kPeerPath, 0, byPeer);
    for (const int threads : {2, 4, 16, 64}) {
        const std::string row = "log line, " + std::to_string(threads) + " threads";
        addSide(row, "library", vesktest::kLogPath, 0, byLibrary)->Threads(threads)->UseRealTime();
        addSide(row, "floor", kFloorPath, 0, byHand)->Threads(threads)->UseRealTime();
        addSide(row, "spdlog", kPeerPath, 0, byPeer)->Threads(threads)->UseRealTime();
    }
    for (const long kib : {1L, 1024L, 16384L, 65536L}) {
        const std::string row = "log line behind " + std::to_string(kib) + " KiB";
        addSide(row, "library", vesktest::kLogPath, kib * 1024, byLibrary);
        addSide(row, "floor", kFloorPath, kib * 1024, byHand);
    }
}
