#include "api/lib_initializer.h"

#include "support/log_line.h"
#include "transport/i_device_talker.h"
#include "transport/vmware_device_talker.h"

CLibInitializer::CLibInitializer() = default;

CLibInitializer::~CLibInitializer() = default;

VOID_ CLibInitializer::createOSdeviceTalkerInstance() {
    auto& talker = IZNVDeviceTalker::OS_OSTYPEPTR_PAIR;
    talker.first = "Vmware";
    talker.second = CVMWareZNVDeviceTalker::getUniqueInstance();
    // ODDITY: the line names a function that is not there; log readers know it by this text.
    // Pinned by LibInitializer.CreationLogsTheSystem.
    stg::logLine("libVeskNvme: CLibInitializer::initializeOStype(): OS found = ", talker.first);
}

BOOL_TYPE CLibInitializer::checkControllerExistence() {
    stg::logLine("libVeskNvme: CLibInitializer::checkControllerExistence()");
    IZNVDeviceTalker* const talker = stg::liveDeviceTalker();
    return talker != nullptr && talker->checkControllerExistence();
}

UCHAR_ CLibInitializer::getControllerCount() {
    // ODDITY: "Count" for a function named getControllerCount; kept for the readers of the log.
    // Pinned by LibInitializer.EachOperationLogsItsLine.
    stg::logLine("libVeskNvme: CLibInitializer::checkControllerCount()");
    IZNVDeviceTalker* const talker = stg::liveDeviceTalker();
    return talker != nullptr ? talker->getControllerCount() : static_cast<UCHAR_>(0);
}

VOID_ CLibInitializer::deleteOSdeviceTalkerInstance() {
    stg::logLine("libVeskNvme: CLibInitializer::deleteOSdeviceTalkerInstance()");
    IZNVDeviceTalker* const talker = stg::liveDeviceTalker();
    if (talker != nullptr) {
        // ODDITY: the pair keeps its pointer to the talker that goes here; commands are stopped by
        // stg::liveDeviceTalker(). Pinned by LibInitializer.PairKeepsItsPointerAfterDeletion.
        talker->destroyOSdeviceTalker();
    }
}
