// Makes and unmakes the talker of the operating system, and asks it for the controller. Called at
// set-up and tear-down only.
#pragma once

#include "VeskNvme.h"

class CLibInitializer {
public:
    CLibInitializer();
    ~CLibInitializer();

    static VOID_ createOSdeviceTalkerInstance();
    // The next three do nothing without a talker.
    static BOOL_TYPE checkControllerExistence();
    static UCHAR_ getControllerCount();
    static VOID_ deleteOSdeviceTalkerInstance();
};
