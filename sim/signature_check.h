// The rules of opening a management connection: what the signature and its callback table must
// hold, so that both sides mean the same parameters.
#pragma once

#include "mgmt_error.h"
#include "wire.h"

#include <string>

namespace vesksim {

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

}  // namespace vesksim
