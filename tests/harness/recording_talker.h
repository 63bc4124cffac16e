// A talker of the test's own: notes each command instead of sending it.
#pragma once

#include "transport/i_device_talker.h"

#include <vector>

namespace vesktest {

class RecordingTalker : public IZNVDeviceTalker {
public:
    // Takes the place of the library's talker for as long as it lives.
    RecordingTalker() { OS_OSTYPEPTR_PAIR.second = this; }
    ~RecordingTalker() override { OS_OSTYPEPTR_PAIR.second = nullptr; }

    BOOL_TYPE checkControllerExistence() override { return false; }
    UCHAR_ getControllerCount() override { return 0; }
    VOID_ destroyOSdeviceTalker() override {}
    RESULT executeIOCTL(znvTalkerMulti*) override { return 1; }
    RESULT executeCMD(CCommandDword* command, ULONG_INT code) override {
        commands.push_back(command);
        codes.push_back(code);
        return result;
    }

    RESULT result = 0;
    std::vector<CCommandDword*> commands;
    std::vector<ULONG_INT> codes;
};

}  // namespace vesktest
