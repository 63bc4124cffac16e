// Speaks to libvmkmgmt.so with records laid out by hand, so that the host's own idea of them is
// tested, too.
#pragma once

#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace simtest {

using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;

std::string text(const Bytes& bytes, std::size_t offset, std::size_t width);

// What a connection is opened with: 80 bytes of signature, then 64 for each callback. The address
// of the callbacks is filled in when it is opened.
constexpr std::size_t kCallbacks = 80;
constexpr std::size_t kSecondCallback = 144;
struct Opening {
    std::array<std::uint8_t, 208> bytes = {};
    std::uint64_t cookie = 0;
    bool withCallbacks = true;

    int open(std::uint64_t* handle);
};
Opening listOpening();
Opening adapterOpening(const std::string& signatureName = "nvmeMgmt-vmhba2");

using CommandRecord = std::array<std::uint8_t, 120>;
CommandRecord eventRead(std::uint32_t offset, std::uint32_t length);
CommandRecord diskRead(std::uint32_t id);
CommandRecord volumeRead(std::uint32_t id);
CommandRecord smartRead(std::uint32_t id);
CommandRecord locate(std::uint32_t cdw14);

struct Result {
    int code = -1;             // of the call
    std::uint16_t status = 0;  // completion status word
    Bytes data;                // 4096 bytes, those that did not arrive 0xA5
};

// A connection for as long as the object lives.
class Connection {
public:
    explicit Connection(const std::string& signatureName = "nvmeMgmt-vmhba2");
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::uint64_t handle() const { return m_handle; }
    Result send(const CommandRecord& command);

    Bytes area();  // the 64 KiB of the event log

private:
    std::uint64_t m_handle = 0;
};

// The lines that a reader of the log gets: page by page from byte 40 on, and of a line that is cut
// at a page end the rest among the first 8 bytes of the next page, if it ends there.
Lines readableLines(const Bytes& area);

// A healthy host whose clock stands at 0 until it is moved by hand. Each look at it, and each
// command, is a connection of its own.
class RawHost : public ::testing::Test {
protected:
    RawHost() { load(vesksim::Scenario()); }
    ~RawHost() override { host().load({}); }  // the clock is a member

    static vesksim::SimulatedHost& host() { return vesksim::SimulatedHost::instance(); }
    void load(const vesksim::Scenario& scenario);
    void load(const std::string& name) { load(vesksim::loadScenario(name)); }
    void moveTo(double seconds) { m_seconds = seconds; }

    static Result send(const CommandRecord& command) { return Connection().send(command); }
    static Bytes area() { return Connection().area(); }
    static Lines lines() { return readableLines(area()); }
    static std::vector<unsigned> blinking() { return host().locatingDisks("vmhba2"); }

private:
    std::atomic<double> m_seconds = 0;
};

// The healthy host with a log of these.
vesksim::Scenario withEvents(const std::vector<vesksim::EventEntry>& events,
                             const std::vector<vesksim::ScheduledEvent>& schedule = {});

}  // namespace simtest
