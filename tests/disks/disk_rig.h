// The library's disk part over a scripted driver and a connection that no discovery had to find,
// with the trace log running.
#pragma once

#include "connected_talker.h"
#include "disk_records.h"
#include "scripted_driver.h"
#include "traced_host.h"

#include "api/error_state.h"

#include <cstdint>
#include <string>

namespace vesktest {

// The four commands as they go out.
inline Record diskInfoCommand(const std::string& id) {
    return connectedRecord({{0, "E2"},
                            {40, "00 04"},
                            {48, "E1"},
                            {56, id},
                            {81, "01"},
                            {88, "00 10"},
                            {96, "80 84 1E 00 00 00 00 00"}});
}

inline Record volumeInfoCommand(const std::string& id) {
    return connectedRecord({{0, "E2"},
                            {40, "00 04"},
                            {48, "E2"},
                            {56, id},
                            {81, "01"},
                            {88, "00 10"},
                            {96, "80 84 1E 00 00 00 00 00"}});
}

inline Record healthCommand(const std::string& id) {
    return connectedRecord({{0, "C2"},
                            {4, id},
                            {40, "02 00 7F 00"},
                            {56, "02"},
                            {60, "FF FF FF FF"},
                            {80, id},
                            {81, "01"},
                            {88, "00 02"},
                            {96, "80 84 1E 00 00 00 00 00"}});
}

inline Record locateCommand(const std::string& target) {
    return connectedRecord(
        {{0, "E2"}, {48, "E1 07"}, {56, target}, {81, "01"}, {96, "80 84 1E 00 00 00 00 00"}});
}

class DiskRig {
public:
    DiskRig() {
        VeskNVMeLibrary_Error::setErrorCode(0);
        host.forgetLines();
    }

    // `id` is the byte of the command that names the target, in hexadecimal.
    void expectDisk(const std::string& id, const Bytes& page) {
        driver.expectCommand(diskInfoCommand(id), replyOf(page));
    }
    void expectVolume(const std::string& id, const Bytes& page) {
        driver.expectCommand(volumeInfoCommand(id), replyOf(page));
    }
    void expectHealth(const std::string& id, const Bytes& page) {
        driver.expectCommand(healthCommand(id), replyOf(page));
    }

    // The lines of what is under test: neither trace lines nor those of a command that succeeds.
    LogLines messages() const {
        LogLines result;
        for (const std::string& line : host.messages()) {
            if (line != "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful" &&
                line != "CVMWareZNVDeviceTalker::executeCMD: Return code: 0") {
                result.push_back(line);
            }
        }
        return result;
    }

    TracedHost host;
    ScriptedDriver driver;
    ConnectedTalker connected{driver};

private:
    static Reply replyOf(const Bytes& page) {
        Reply reply;
        reply.bytes = page;
        reply.bufferSize = page.size();
        return reply;
    }
};

// A command that the controller refuses: its buffer stays as it is.
inline Reply refusal() {
    Reply reply;
    reply.completionStatus = 0x0002;
    return reply;
}

}  // namespace vesktest
