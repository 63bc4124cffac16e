// Puts the simulated host under a program that was built for the real one, which need not know:
//   VESKSIM_FOLDER=DIR LD_PRELOAD=libvesk-simhost.so PROGRAM
// The host's files stand in DIR. VESKSIM_SCENARIO names the host, VESKSIM_SECOND_MS how many
// milliseconds a second of sleep() takes, so that a tear-down need not wait for a polling interval.
#include "sim/host/host_folder.h"
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

namespace {

std::chrono::milliseconds lengthOfASecond(const char* text) {
    constexpr unsigned kMost = 1000000;
    unsigned milliseconds = 0;
    const char* const end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, milliseconds);
    if (error != std::errc() || stop != end || milliseconds > kMost) {
        throw std::invalid_argument("VESKSIM_SECOND_MS is '" + std::string(text) +
                                    "'; give the milliseconds that a second of sleep() is to "
                                    "take, 0 to 1000000, or leave it out");
    }
    return std::chrono::milliseconds(milliseconds);
}

void startHost() {
    const char* const folder = std::getenv("VESKSIM_FOLDER");
    if (folder == nullptr || *folder == '\0') {
        std::fputs("libvesk-simhost: say in VESKSIM_FOLDER where the host's files may lie\n",
                   stderr);
        std::_Exit(2);
    }
    std::filesystem::create_directories(folder);
    const std::string root = std::filesystem::absolute(folder).string();
    vesksim::writeHostFiles(root, vesksim::SimulatedHost::instance().scenario());
    vesksim::setHostRoot(root);
    if (const char* const milliseconds = std::getenv("VESKSIM_SECOND_MS")) {
        const std::chrono::milliseconds second = lengthOfASecond(milliseconds);
        vesksim::setSleepHandler([second](unsigned seconds) {
            std::this_thread::sleep_for(seconds * second);
            return 0U;
        });
    }
}

__attribute__((constructor)) void loaded() {
    try {
        startHost();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "libvesk-simhost: %s\n", error.what());
        std::_Exit(2);
    }
}

}  // namespace
