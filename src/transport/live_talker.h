// Whether the talker in IZNVDeviceTalker::OS_OSTYPEPTR_PAIR may be used. The pair keeps its pointer
// when the talker is destroyed, so a command after tear-down would call into freed memory.
#pragma once

#include "transport/i_device_talker.h"

// The talker of the pair; null before set-up and after tear-down.
IZNVDeviceTalker* liveDeviceTalker();

// To be called when a talker is made and when it is about to go.
void markTalkerLive(const IZNVDeviceTalker* talker);
void markTalkerGone(const IZNVDeviceTalker* talker);
