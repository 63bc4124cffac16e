#include "transport/i_device_talker.h"

#include "support/trace.h"

std::pair<STDSTR, IZNVDeviceTalker*> IZNVDeviceTalker::OS_OSTYPEPTR_PAIR("", nullptr);

IZNVDeviceTalker::IZNVDeviceTalker() : handle(nullptr), bdf{0, 0, 0} {
    LOG_ENTRY;
    LOG_EXIT;
}

IZNVDeviceTalker::~IZNVDeviceTalker() = default;

HANDLE IZNVDeviceTalker::getHandle() {
    return handle;
}

VOID_ IZNVDeviceTalker::setHandle(HANDLE newHandle) {
    handle = newHandle;
}

BDF IZNVDeviceTalker::getBDF() {
    return bdf;
}

VOID_ IZNVDeviceTalker::setBDF(BDF address) {
    bdf = address;
}
