// The tables that say to libvmkmgmt who calls it, and with what parameters.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

// One callback of a signature, 64 bytes.
struct ManagementCallback {
    UNSIGNED_INTEGER location;      //  0  1: runs on the driver's side
    UNSIGNED_INTEGER padding4;      //  4
    VOIDPTR callback;               //  8  null: this side only calls
    UCHAR_ synchronous;             // 16
    UCHAR_ numParms;                // 17
    USHORT_INT padding18;           // 18
    UNSIGNED_INTEGER parmSizes[4];  // 20  bytes
    UNSIGNED_INTEGER parmTypes[4];  // 36  ManagementDirection
    UNSIGNED_INTEGER padding52;     // 52
    ULONG_INT callbackId;           // 56
};
static_assert(sizeof(ManagementCallback) == 64, "ManagementCallback");
static_assert(offsetof(ManagementCallback, callback) == 8, "callback");
static_assert(offsetof(ManagementCallback, synchronous) == 16, "synchronous");
static_assert(offsetof(ManagementCallback, numParms) == 17, "numParms");
static_assert(offsetof(ManagementCallback, parmSizes) == 20, "parmSizes");
static_assert(offsetof(ManagementCallback, parmTypes) == 36, "parmTypes");
static_assert(offsetof(ManagementCallback, callbackId) == 56, "callbackId");

enum ManagementDirection : UNSIGNED_INTEGER {
    kParameterIn = 0,
    kParameterOut = 1,
    kParameterInOut = 2,
};

// What a connection is opened with, 80 bytes.
struct ManagementSignature {
    UNSIGNED_INTEGER version;             //  0
    char name[32];                        //  4  NUL padded
    char vendor[32];                      // 36  NUL padded
    UNSIGNED_INTEGER numCallbacks;        // 68
    const ManagementCallback* callbacks;  // 72
};
static_assert(sizeof(ManagementSignature) == 80, "ManagementSignature");
static_assert(offsetof(ManagementSignature, name) == 4, "name");
static_assert(offsetof(ManagementSignature, vendor) == 36, "vendor");
static_assert(offsetof(ManagementSignature, numCallbacks) == 68, "numCallbacks");
static_assert(offsetof(ManagementSignature, callbacks) == 72, "callbacks");

constexpr UNSIGNED_INTEGER kManagementVersion = 0x01000000;
constexpr ULONG_INT kAdapterListCallback = 16;
constexpr ULONG_INT kPassThroughCallback = 17;

extern "C" {

// Exported data.
extern const ManagementCallback globalCallbacks[1];
extern const ManagementCallback nvmeCallbacks[2];
extern const ManagementSignature globalSignature;
}
