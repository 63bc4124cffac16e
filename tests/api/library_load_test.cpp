// What the library is and does by being loaded alone.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "events/event_monitor.h"
#include "scripted_driver.h"
#include "support/ini_files.h"
#include "support/logger.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <dlfcn.h>
#include <link.h>
#include <string>

namespace {

// The loaded object that an address lies in.
const link_map* objectOf(const void* address) {
    Dl_info info{};
    void* object = nullptr;
    dladdr1(address, &info, &object, RTLD_DL_LINKMAP);
    return static_cast<const link_map*>(object);
}

// The one that this data of the library lies in.
const link_map* library() {
    return objectOf(&stg::lout);
}

// Null if the name is unknown or another object's.
const void* symbolOfLibrary(const char* name) {
    const void* const symbol = dlsym(RTLD_DEFAULT, name);
    return symbol != nullptr && objectOf(symbol) == library() ? symbol : nullptr;
}

std::string sonameOf(const link_map& object) {
    const char* texts = nullptr;
    std::size_t offset = 0;
    for (const ElfW(Dyn)* entry = object.l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_STRTAB) {
            texts = reinterpret_cast<const char*>(entry->d_un.d_ptr);
        } else if (entry->d_tag == DT_SONAME) {
            offset = entry->d_un.d_val;
        }
    }
    return texts != nullptr && offset != 0 ? texts + offset : "";
}

}  // namespace

TEST(LibraryLoad, TouchesNoDevice) {
    const vesktest::ScriptedDriver driver;
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
    EXPECT_EQ(IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.first, "");
    EXPECT_EQ(IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second, nullptr);
}

TEST(LibraryLoad, StartsNoThreadAndNoLog) {
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_FALSE(stg::lout.isActive());
}

TEST(LibraryLoad, ReadsNoConfiguration) {
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "");
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_DebugValue, 0);
}

TEST(LibraryLoad, LeavesAllStateZero) {
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 0);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 0);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 0);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(CController::firwareVer.majorVersion, 0);
    EXPECT_EQ(CController::firwareVer.minorVersion, 0);
    EXPECT_EQ(CController::firwareVer.revisionNumber, 0);
    EXPECT_EQ(CController::firwareVer.buildNumber, 0);
}

TEST(LibraryLoad, LibraryGoesByItsSoname) {
    ASSERT_NE(library(), nullptr);
    EXPECT_EQ(sonameOf(*library()), "libVeskNvme.so");
}

TEST(LibraryLoad, SeventeenFunctionsHaveUnmangledNames) {
    for (const char* const name :
         {"ZT_API_Initialize", "ZT_API_Finalize", "ZNV_Library_Initialize", "ZNV_Library_Finalize",
          "ZT_Adapter_GetCount", "ZT_Adapter_GetInfo", "ZT_Adapter_GetConfig",
          "ZT_Adapter_Get_OEM_Data", "ZT_PD_GetHDInfo_Ext", "ZT_PD_GetConfig",
          "ZT_PD_GetHDRaidStatus", "ZT_PD_GetFreeSpaceInfo", "ZT_PD_GET_SMART_INFO",
          "ZT_PD_OEMData", "ZT_LD_GetInfo", "ZT_LD_GetConfig", "ZT_EVT_GetEvent"}) {
        EXPECT_NE(symbolOfLibrary(name), nullptr) << name;
    }
}

TEST(LibraryLoad, ClassesBehindTheRecordsAreReachable) {
    for (const char* const name :
         {"_ZN11CControllerC1Ev", "_ZNK11CController11getVendorIDEv", "_ZN6CEventC1Ev",
          "_ZN6CEvent13getSequenceNoEv", "_ZN11CController10firwareVerE", "globalSignature",
          "globalCallbacks", "nvmeCallbacks"}) {
        EXPECT_NE(symbolOfLibrary(name), nullptr) << name;
    }
}
