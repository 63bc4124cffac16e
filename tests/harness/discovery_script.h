// The driver calls of a scan for the controller, for the scripts of tests.
#pragma once

#include "scripted_driver.h"

#include "transport/management_tables.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vesktest {

constexpr std::uint64_t kListConnection = 0x1111;
constexpr std::uint64_t kControllerConnection = 0x66;

inline SignatureLiteral globalInterface() {
    return {0x01000000, "nvmeMgmt", "VMware", 1, globalCallbacks};
}

inline SignatureLiteral adapterInterface(const std::string& signature) {
    return {0x01000000, signature, "VMware", 2, nvmeCallbacks};
}

// The global connection: opened, asked, closed.
inline void expectListing(ScriptedDriver& driver, const std::vector<AdapterLiteral>& adapters,
                          std::uint32_t claimedCount) {
    driver.expectOpen(globalInterface(), 0, kListConnection);
    driver.expectAdapterList(kListConnection, adapters, claimedCount);
    driver.expectClose(kListConnection);
}

inline void expectListing(ScriptedDriver& driver, const std::vector<AdapterLiteral>& adapters) {
    expectListing(driver, adapters, static_cast<std::uint32_t>(adapters.size()));
}

inline Record identifyRecord() {
    return record({{0, "06"},
                   {40, "01 00 00 00"},
                   {81, "01"},
                   {88, "00 10 00 00"},
                   {96, "80 84 1E 00 00 00 00 00"}});
}

// A page of noise behind these first bytes.
inline Reply identifyReply(std::vector<std::uint8_t> firstBytes) {
    Reply reply;
    reply.bytes = std::move(firstBytes);
    reply.bufferSize = 4096;
    return reply;
}

// An adapter that is asked who it is over a new connection.
inline void expectIdentify(ScriptedDriver& driver, const std::string& signature,
                           std::uint64_t connection, const Reply& reply) {
    driver.expectOpen(adapterInterface(signature), 0, connection);
    driver.expectCommand(identifyRecord(), reply);
}

inline Reply controllerReply() {
    return identifyReply({0x4B, 0x1B});
}

inline Reply strangerReply() {
    return identifyReply({0x86, 0x80});
}

// The driver lists no adapter.
inline void expectNoAdapter(ScriptedDriver& driver) {
    expectListing(driver, {});
}

// The driver lists one adapter, which is the controller. Its connection stays open.
inline void expectController(ScriptedDriver& driver) {
    expectListing(driver, {{"vmhba2", "nvmeMgmt-vmhba2"}});
    expectIdentify(driver, "nvmeMgmt-vmhba2", kControllerConnection, controllerReply());
}

}  // namespace vesktest
