#include "transport/live_talker.h"

namespace {

// The talker of the pair, if it was destroyed. Written at set-up and tear-down only, as the pair
// is.
const IZNVDeviceTalker* g_goneTalker = nullptr;

}  // namespace

IZNVDeviceTalker* liveDeviceTalker() {
    IZNVDeviceTalker* const talker = IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second;
    return talker == g_goneTalker ? nullptr : talker;
}

void markTalkerLive(const IZNVDeviceTalker* talker) {
    // A new talker may lie where the last one did.
    if (g_goneTalker == talker) {
        g_goneTalker = nullptr;
    }
}

void markTalkerGone(const IZNVDeviceTalker* talker) {
    if (talker == IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second) {
        g_goneTalker = talker;
    }
}
