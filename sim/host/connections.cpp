#include "sim/host/connections.h"

#include "sim/scenario/noise.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace vesksim {

namespace {

constexpr std::uint32_t kDriverSide = 1;
constexpr std::uint8_t kParameters = 2;
constexpr std::uint32_t kIn = 0;
constexpr std::uint32_t kOut = 1;
constexpr std::uint32_t kInOut = 2;
constexpr std::uint32_t kRequestPassThrough = 1;

// What the driver registered for one row of a table.
struct RegisteredCallback {
    std::uint64_t id;
    std::uint32_t sizes[kParameters];
    std::uint32_t types[kParameters];
};

const std::vector<RegisteredCallback>& registered(ConnectionKind kind) {
    static const std::vector<RegisteredCallback> kList = {
        {kCallbackDriver, {4, kAdapterArrayBytes}, {kOut, kOut}},
    };
    static const std::vector<RegisteredCallback> kAdapter = {
        {kCallbackDriver, {4, 208}, {kIn, kOut}},
        {kCallbackPassThrough, {4, sizeof(PassThroughRecord)}, {kIn, kInOut}},
    };
    return kind == ConnectionKind::kAdapterList ? kList : kAdapter;
}

Refusal checkRow(const CallbackEntry& row, const RegisteredCallback& wanted) {
    if (row.location != kDriverSide) {
        return {MgmtError::kWrongLocation, fmt::format("location {}, 1 is wanted", row.location)};
    }
    if (row.callback != 0) {
        return {MgmtError::kCallbackNotNull, "a function address, null is wanted"};
    }
    if (row.synchronous != 1) {
        return {MgmtError::kNotSynchronous,
                fmt::format("synchronous {}, 1 is wanted", row.synchronous)};
    }
    if (row.parameterCount != kParameters) {
        return {MgmtError::kWrongNumParms,
                fmt::format("{} parameters, 2 are wanted", row.parameterCount)};
    }
    if (row.callbackId != wanted.id) {
        return {MgmtError::kWrongCallbackId,
                fmt::format("callback id {}, {} is wanted", row.callbackId, wanted.id)};
    }
    for (std::size_t i = 0; i < kParameters; ++i) {
        if (row.parameterSizes[i] != wanted.sizes[i]) {
            return {MgmtError::kWrongParmSize,
                    fmt::format("size {} of parameter {}, {} is wanted", row.parameterSizes[i], i,
                                wanted.sizes[i])};
        }
        if (row.parameterTypes[i] != wanted.types[i]) {
            return {MgmtError::kWrongParmType,
                    fmt::format("direction {} of parameter {}, {} is wanted", row.parameterTypes[i],
                                i, wanted.types[i])};
        }
    }
    return {};
}

}  // namespace

std::string fieldText(const char (&field)[32]) {
    const char* end = std::find(std::begin(field), std::end(field), '\0');
    return end == std::end(field) ? std::string() : std::string(std::begin(field), end);
}

Refusal checkSignature(const SignatureRecord& signature) {
    if (signature.version != kInterfaceVersion) {
        return {MgmtError::kWrongVersion, fmt::format("version {:#010x}, {:#010x} is wanted",
                                                      signature.version, kInterfaceVersion)};
    }
    if (fieldText(signature.vendor) != "VMware") {
        return {MgmtError::kWrongVendor,
                fmt::format("vendor \"{}\", \"VMware\" is wanted", fieldText(signature.vendor))};
    }
    if (fieldText(signature.name).empty()) {
        return {MgmtError::kUnknownSignature, "a name that is empty or not NUL terminated"};
    }
    return {};
}

Refusal checkCallbacks(const SignatureRecord& signature, ConnectionKind kind) {
    const std::vector<RegisteredCallback>& wanted = registered(kind);
    if (signature.callbackCount != wanted.size()) {
        return {MgmtError::kWrongCallbackCount,
                fmt::format("{} callbacks, {} wanted", signature.callbackCount, wanted.size())};
    }
    if (signature.callbacks == 0) {
        return {MgmtError::kNullCallbackTable, "no callback table"};
    }
    const auto* rows = reinterpret_cast<const unsigned char*>(signature.callbacks);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        CallbackEntry row;
        std::memcpy(&row, rows + i * sizeof(row), sizeof(row));
        Refusal refusal = checkRow(row, wanted[i]);
        if (refusal.error != MgmtError::kNone) {
            refusal.reason = fmt::format("callback table, row {}: {}", i, refusal.reason);
            return refusal;
        }
    }
    return {};
}

bool ownsCallback(ConnectionKind kind, std::uint64_t callbackId) {
    const std::vector<RegisteredCallback>& table = registered(kind);
    return std::any_of(table.begin(), table.end(), [callbackId](const RegisteredCallback& row) {
        return row.id == callbackId;
    });
}

Refusal checkPassThrough(std::uint32_t code, const PassThroughRecord& record) {
    if (code != kRequestPassThrough) {
        return {MgmtError::kWrongRequestCode, fmt::format("request code {}, 1 is wanted", code)};
    }
    if (record.direction > 1) {
        return {MgmtError::kWrongDirection,
                fmt::format("direction {}, 0 or 1 is wanted", record.direction)};
    }
    if (record.direction == 1 && record.dataAddress == 0) {
        return {MgmtError::kDirectionWithoutData, "direction 1 without a data address"};
    }
    if (record.direction == 0 && record.dataAddress != 0) {
        return {MgmtError::kDataWithoutDirection, "direction 0 with a data address"};
    }
    return {};
}

std::uint64_t HandleTable::add(ConnectionKind kind, const std::string& adapter) {
    // Scrambled, so that a caller who takes a handle for an index or an address finds out. The
    // scrambler maps one number to 0 only, hence at most one more round.
    std::uint64_t handle = 0;
    while (handle == 0) {
        handle = mix(++m_given);
    }
    m_connections[handle] = {kind, adapter, true};
    return handle;
}

Connection* HandleTable::find(std::uint64_t handle) {
    const auto found = m_connections.find(handle);
    return found == m_connections.end() ? nullptr : &found->second;
}

std::size_t HandleTable::openCount() const {
    return static_cast<std::size_t>(
        std::count_if(m_connections.begin(), m_connections.end(),
                      [](const auto& entry) { return entry.second.open; }));
}

}  // namespace vesksim
