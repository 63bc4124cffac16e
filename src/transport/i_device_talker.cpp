#include "transport/i_device_talker.h"

#include "support/trace.h"

namespace {

// The talker of the pair, if it was destroyed. Written at set-up and tear-down only, like the pair.
const IZNVDeviceTalker* g_goneTalker = nullptr;

}  // namespace

namespace stg {

IZNVDeviceTalker* liveDeviceTalker() {
    IZNVDeviceTalker* const talker = IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second;
    return talker == g_goneTalker ? nullptr : talker;
}

void markTalkerLive(const IZNVDeviceTalker* talker) {
    if (g_goneTalker == talker) {
        g_goneTalker = nullptr;
    }
}

}  // namespace stg

IZNVDeviceTalker::IZNVDeviceTalker() {
    LOG_ENTRY;
    stg::markTalkerLive(this);
    LOG_EXIT;
}

IZNVDeviceTalker::~IZNVDeviceTalker() {
    if (this == OS_OSTYPEPTR_PAIR.second) {
        g_goneTalker = this;
    }
}

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
