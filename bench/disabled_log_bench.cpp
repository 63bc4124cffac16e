// Statements of the log while it is off. By themselves, because a log that was on never goes off.
#include "bench.h"

#include "support/log_line.h"
#include "support/trace.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

void bench::addRows() {
    addLoop("disabled log statement", "library", [] {
        stg::logLine("CVMWareZNVDeviceTalker::executeCMD: Return code: ", 1);
        benchmark::ClobberMemory();
    });
    addLoop("disabled log statement", "floor", [] { benchmark::ClobberMemory(); });
    static spdlog::logger s_logger("off", std::make_shared<spdlog::sinks::null_sink_mt>());
    s_logger.set_level(spdlog::level::off);
    addLoop("disabled log statement", "spdlog", [] {
        s_logger.info("CVMWareZNVDeviceTalker::executeCMD: Return code: {}", 1);
        benchmark::ClobberMemory();
    });

    addLoop("disabled trace statement", "library", [] {
        LOG_ENTRY;
        benchmark::ClobberMemory();
    });
    addLoop("disabled trace statement", "floor", [] { benchmark::ClobberMemory(); });
}
