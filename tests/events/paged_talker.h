// A talker of the test's own that answers reads of the event log out of an EventArea.
#pragma once

#include "event_page.h"

#include "transport/i_device_talker.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace vesktest {

class PagedTalker : public IZNVDeviceTalker {
public:
    struct Read {
        UNSIGNED_INTEGER offset;
        UNSIGNED_INTEGER length;
        friend bool operator==(const Read& a, const Read& b) {
            return a.offset == b.offset && a.length == b.length;
        }
    };

    // Takes the place of the library's talker for as long as it lives.
    PagedTalker() { OS_OSTYPEPTR_PAIR.second = this; }
    ~PagedTalker() override { OS_OSTYPEPTR_PAIR.second = nullptr; }

    BOOL_TYPE checkControllerExistence() override { return true; }
    UCHAR_ getControllerCount() override { return 1; }
    VOID_ destroyOSdeviceTalker() override {}
    RESULT executeIOCTL(znvTalkerMulti*) override { return 1; }

    RESULT executeCMD(CCommandDword* command, ULONG_INT code) override {
        reads.push_back({command->getcdw13(), command->getcdw14()});
        codes.push_back(code);
        if (hook && !hook(reads.size())) {
            return 1;
        }
        if (command->getcdw_6_7() != nullptr) {
            const std::string bytes = area.read(command->getcdw13(), command->getcdw14());
            std::memcpy(command->getcdw_6_7(), bytes.data(), bytes.size());
        }
        return 0;
    }

    // For a read's number, from 1 on: false lets it fail. May throw.
    std::function<bool(std::size_t)> hook;
    EventArea area;
    std::vector<Read> reads;
    std::vector<ULONG_INT> codes;
};

}  // namespace vesktest
