// The tables that go over to the driver's side, byte by byte.
#include "transport/management.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <type_traits>

namespace {

// On x86-64 a call without a prototype of the parameters serves a platform function of either kind;
// the fixed form leaves AL undefined for a variadic one.
static_assert(std::is_same_v<decltype(vmk_MgmtUserCallbackInvokeInt),
                             int(unsigned long, unsigned long, unsigned long, unsigned int, ...)>);

template <std::size_t Size, typename Object>
std::array<std::uint8_t, Size> bytesOf(const Object& object) {
    static_assert(sizeof object == Size, "layout");
    std::array<std::uint8_t, Size> bytes{};
    std::memcpy(bytes.data(), &object, Size);
    return bytes;
}

TEST(ManagementTables, GlobalCallbackListsAdapters) {
    const std::array<std::uint8_t, 64> expected = {
        1, 0, 0, 0, 0, 0, 0, 0, 0,    0,    0, 0, 0, 0, 0, 0,  //
        1, 2, 0, 0, 4, 0, 0, 0, 0,    0x14, 0, 0, 0, 0, 0, 0,  //
        0, 0, 0, 0, 1, 0, 0, 0, 1,    0,    0, 0, 0, 0, 0, 0,  //
        0, 0, 0, 0, 0, 0, 0, 0, 0x10, 0,    0, 0, 0, 0, 0, 0};
    EXPECT_EQ((bytesOf<64>(globalCallbacks)), expected);
}

TEST(ManagementTables, AdapterCallbacksAreTheUnusedOneAndThePassThrough) {
    const std::array<std::uint8_t, 128> expected = {
        1, 0, 0, 0, 0, 0, 0, 0, 0,    0, 0, 0, 0, 0, 0, 0,  //
        1, 2, 0, 0, 4, 0, 0, 0, 0xD0, 0, 0, 0, 0, 0, 0, 0,  //
        0, 0, 0, 0, 0, 0, 0, 0, 1,    0, 0, 0, 0, 0, 0, 0,  //
        0, 0, 0, 0, 0, 0, 0, 0, 0x10, 0, 0, 0, 0, 0, 0, 0,  //
        1, 0, 0, 0, 0, 0, 0, 0, 0,    0, 0, 0, 0, 0, 0, 0,  //
        1, 2, 0, 0, 4, 0, 0, 0, 0x78, 0, 0, 0, 0, 0, 0, 0,  //
        0, 0, 0, 0, 0, 0, 0, 0, 2,    0, 0, 0, 0, 0, 0, 0,  //
        0, 0, 0, 0, 0, 0, 0, 0, 0x11, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ((bytesOf<128>(nvmeCallbacks)), expected);
}

TEST(ManagementTables, GlobalSignatureNamesTheManagementInterface) {
    std::array<std::uint8_t, 80> expected{};
    expected[3] = 1;
    std::memcpy(&expected[4], "nvmeMgmt", 8);
    std::memcpy(&expected[36], "VMware", 6);
    expected[68] = 1;
    const void* const table = globalCallbacks;
    std::memcpy(&expected[72], &table, 8);
    EXPECT_EQ((bytesOf<80>(globalSignature)), expected);
}

TEST(ManagementTables, AreExported) {
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "globalSignature"), static_cast<const void*>(&globalSignature));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "globalCallbacks"), static_cast<const void*>(globalCallbacks));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "nvmeCallbacks"), static_cast<const void*>(nvmeCallbacks));
}

}  // namespace
