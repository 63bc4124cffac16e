// The library's talker with a connection that no discovery had to find.
#pragma once

#include "scripted_driver.h"

#include "api/lib_initializer.h"
#include "transport/vmware_device_talker.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace vesktest {

constexpr std::uint64_t kConnection = 0x5A01;

// From malloc, as the talker frees it.
inline nvme_handle* makeHandle(const std::string& name, std::uint64_t connection) {
    auto* const handle = static_cast<nvme_handle*>(std::calloc(1, sizeof(nvme_handle)));
    if (handle == nullptr) {
        throw std::bad_alloc();
    }
    std::strncpy(handle->name, name.c_str(), sizeof handle->name - 1);
    handle->handle = connection;
    return handle;
}

// Tears down as the library does, which closes whatever connection the talker then holds.
class TalkerInstance {
public:
    explicit TalkerInstance(ScriptedDriver& driver) : m_driver(driver) {
        CLibInitializer::createOSdeviceTalkerInstance();
    }
    ~TalkerInstance() {
        if (talker().getHandle() != nullptr) {
            m_driver.expectClose(static_cast<nvme_handle*>(talker().getHandle())->handle);
        }
        CLibInitializer::deleteOSdeviceTalkerInstance();
    }
    TalkerInstance(const TalkerInstance&) = delete;
    TalkerInstance& operator=(const TalkerInstance&) = delete;

    CVMWareZNVDeviceTalker& talker() const { return *CVMWareZNVDeviceTalker::getUniqueInstance(); }

private:
    ScriptedDriver& m_driver;
};

// The same with a connection, kConnection.
class ConnectedTalker : public TalkerInstance {
public:
    explicit ConnectedTalker(ScriptedDriver& driver, const std::string& adapterName = "vmhba2")
        : TalkerInstance(driver) {
        talker().setHandle(makeHandle(adapterName, kConnection));
    }
};

// A record that has to come over that connection.
inline Record connectedRecord(std::initializer_list<HexAt> pieces, bool expectData = true) {
    Record result = record(pieces, expectData);
    result.handle = kConnection;
    return result;
}

}  // namespace vesktest
