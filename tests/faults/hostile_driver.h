// What the tests of hostile drivers share: a driver that answers commands as it likes.
#pragma once

#include "platform_calls.h"

#include "transport/nvme_uio.h"

#include <cstddef>
#include <functional>
#include <utility>

namespace vesktest {

constexpr unsigned long kPassThrough = 17;

// What a driver makes of a command; the honest answer can be had through the last argument.
using CommandAnswer = std::function<int(nvme_uio& uio, const std::function<int()>& honest)>;

inline HostileDriver driverThat(CommandAnswer answer) {
    return [answer = std::move(answer)](unsigned long callbackId, void*, void* parameter1,
                                        const std::function<int()>& honest) {
        return callbackId == kPassThrough ? answer(*static_cast<nvme_uio*>(parameter1), honest)
                                          : honest();
    };
}

// The reply's place, empty for a command without one.
struct Data {
    explicit Data(const nvme_uio& uio)
        : begin(static_cast<unsigned char*>(uio.dataAddress)),
          size(uio.dataAddress != nullptr ? uio.dataLength : 0) {}
    unsigned char* begin;
    std::size_t size;
};

// The bits that say of a completion how it ended. Phase bit and the bits above say nothing.
constexpr unsigned completion(unsigned type, unsigned code) {
    return type << 9U | code << 1U;
}

}  // namespace vesktest
