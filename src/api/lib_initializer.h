// Makes and unmakes the talker of the operating system, and asks it for the controller. Called at
// set-up and tear-down only.
#pragma once

#include "VeskNvme.h"

class CLibInitializer {
public:
    CLibInitializer();
    ~CLibInitializer();

    static VOID_ createOSdeviceTalkerInstance();
    // Without a talker the next three do no more than log.
    static BOOL_TYPE checkControllerExistence();
    static UCHAR_ getControllerCount();
    static VOID_ deleteOSdeviceTalkerInstance();
};
