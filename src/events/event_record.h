// One event as the parser makes it and the event map keeps it: the bytes of a CEvent, from calloc,
// released with free.
#pragma once

#include "VeskNvme.h"

#include <cstddef>
#include <map>

struct _Event {
    USHORT_INT eventClass;  //  0  0 adapter, 1 virtual disk, 2 physical disk, 3 to 6, 255 unknown
    USHORT_INT eventCode;   //  2  the controller's; in what is delivered, the external one
    UNSIGNED_INTEGER timeStamp;   //  4
    USHORT_INT deviceId;          //  8
    UCHAR_ severity;              // 10  0 to 7, 255 unknown
    UCHAR_ rsvd11;                // 11
    UNSIGNED_INTEGER sequenceNo;  // 12  key of the event map
    UCHAR_ rsvd16[18];            // 16
    char description[30];         // 34  NUL terminated
};
typedef _Event* PEvent;

static_assert(sizeof(_Event) == sizeof(CEvent), "_Event");
static_assert(offsetof(_Event, eventCode) == CEVENT_CODE, "eventCode");
static_assert(offsetof(_Event, timeStamp) == CEVENT_TIME_STAMP, "timeStamp");
static_assert(offsetof(_Event, deviceId) == CEVENT_DEVICE_ID, "deviceId");
static_assert(offsetof(_Event, severity) == CEVENT_SEVERITY, "severity");
static_assert(offsetof(_Event, sequenceNo) == CEVENT_SEQUENCE_NO, "sequenceNo");
static_assert(offsetof(_Event, description) == CEVENT_DESCRIPTION, "description");

// Owns its records.
using EventMap = std::map<unsigned int, _Event*>;
