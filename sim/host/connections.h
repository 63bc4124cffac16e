// Management connections: the rules of opening and using one, the numbers that tell which rule a
// call broke, and the handles of those that were opened.
#pragma once

#include "sim/host/wire.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace vesksim {

// What the management interface answers to a call that breaks its rules. Each rule has a number of
// its own, so that the number in a log names the mistake; they are decimal, as logs show them.
enum class MgmtError : int {
    kNone = 0,

    // vmk_MgmtUserInit
    kNullSignature = 1001,       // no signature
    kNullHandleAddress = 1002,   // nowhere to write the handle to
    kCookieNotZero = 1003,       // a cookie other than 0
    kWrongVersion = 1004,        // interface version other than 0x01000000
    kWrongVendor = 1005,         // vendor other than "VMware", or not NUL terminated
    kUnknownSignature = 1006,    // a name that no driver registered, or not NUL terminated
    kWrongCallbackCount = 1007,  // 1 is right for the adapter list, 2 for an adapter
    kNullCallbackTable = 1008,   // no callback table
    kWrongLocation = 1009,       // entry: location other than 1
    kCallbackNotNull = 1010,     // entry: a function address on the calling side
    kNotSynchronous = 1011,      // entry: synchronous other than 1
    kWrongNumParms = 1012,       // entry: parameter count other than 2
    kWrongCallbackId = 1013,     // entry: another callback id than the driver registered there
    kWrongParmSize = 1014,       // entry: size of a parameter
    kWrongParmType = 1015,       // entry: direction of a parameter

    // vmk_MgmtUserCallbackInvokeInt and vmk_MgmtUserDestroy
    kUnknownHandle = 1020,  // a handle that was never given out
    kClosedHandle = 1021,   // a handle that was destroyed before

    // vmk_MgmtUserCallbackInvokeInt
    kInstanceNotZero = 1030,      // an instance id other than 0
    kForeignCallback = 1031,      // a callback id that is not in the table of this handle
    kWrongParameterCount = 1032,  // a parameter count other than 2
    kNullParameter = 1033,        // the address of a parameter is null
    kNotAnswered = 1034,          // callback 16 of an adapter: declared, but not served here
    kAdapterGone = 1035,          // the adapter of this handle is no longer in the host

    // pass-through, callback 17
    kWrongRequestCode = 1040,      // a request code other than 1
    kWrongDirection = 1041,        // a direction other than 0 and 1
    kDirectionWithoutData = 1042,  // direction 1 without a data address
    kDataWithoutDirection = 1043,  // direction 0 with a data address

    // any call
    kNoHost = 1099,  // the scenario cannot be loaded; the reason stands on standard error
};

struct Refusal {
    MgmtError error = MgmtError::kNone;
    std::string reason;
};

enum class ConnectionKind { kAdapterList, kAdapter };

// Text of a NUL-padded field; empty if it is not terminated.
std::string fieldText(const char (&field)[32]);

// Version, vendor and the termination of the name.
Refusal checkSignature(const SignatureRecord& signature);
// Number of callbacks and each row of the table, which must be readable.
Refusal checkCallbacks(const SignatureRecord& signature, ConnectionKind kind);

// Whether the table of such a connection holds this callback.
bool ownsCallback(ConnectionKind kind, std::uint64_t callbackId);

// The request code and what the record of a pass-through says about its data.
Refusal checkPassThrough(std::uint32_t code, const PassThroughRecord& record);

struct Connection {
    ConnectionKind kind = ConnectionKind::kAdapterList;
    std::string adapter;  // empty for the adapter list
    bool open = true;
};

// The management handles of the process. Not synchronised.
class HandleTable {
public:
    // Never 0 and never a number that was given out before, also not before a clear().
    std::uint64_t add(ConnectionKind kind, const std::string& adapter);
    // Open or closed; null if the handle was never given out.
    Connection* find(std::uint64_t handle);
    std::size_t openCount() const;
    void clear() { m_connections.clear(); }

private:
    std::uint64_t m_given = 0;
    std::map<std::uint64_t, Connection> m_connections;
};

}  // namespace vesksim
