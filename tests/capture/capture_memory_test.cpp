// libvesk-capture.so where there is no memory: recording ends and says so, and the host's calls go
// on.
#include "capture/capture_format.h"
#include "memory_faults.h"
#include "platform_for_capture.h"
#include "scratch_file.h"
#include "transport/management_tables.h"
#include "transport/nvme_adapter_list.h"
#include "transport/vmk_mgmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

extern "C" const char* vesk_capture_problem(void);

namespace {

using namespace veskcap;

constexpr std::size_t kReply = 4096;
constexpr const char* kSerial = "DISK87654321";

const ManagementCallback kListTable[1] = {
    {1, 0, nullptr, 1, 2, 0, {4, 5120, 0, 0}, {1, 1, 0, 0}, 0, 16}};
// The first parameter is larger than what is copied in place.
const ManagementCallback kTable[2] = {
    {1, 0, nullptr, 1, 2, 0, {200, 208, 0, 0}, {0, 1, 0, 0}, 0, 18},
    {1, 0, nullptr, 1, 2, 0, {4, 120, 0, 0}, {0, 2, 0, 0}, 0, 17}};

int answer(const PlatformCall& call) {
    if (call.callbackId == 16) {
        const UNSIGNED_INTEGER count = 1;
        std::memcpy(call.parameters[0], &count, sizeof(count));
        nvmeAdapterInfo info = {};
        std::strcpy(info.signature, "adapter");
        std::memcpy(call.parameters[1], &info, sizeof(info));
    } else if (call.callbackId == 17) {
        auto* const uio = static_cast<nvme_uio*>(call.parameters[1]);
        auto* const reply = static_cast<char*>(uio->dataAddress);
        std::memset(reply, 'r', uio->dataLength);
        if (uio->opcode == 6) {
            std::copy_n("\x4B\x1B", 2, reply);
            std::copy_n("CTRL12345678        ", 20, reply + 4);
        } else if (uio->cdw12 == 0xE1) {
            std::copy_n("DISK87654321        ", 20, reply + 60);
        } else if (uio->cdw12 == 0x4FE) {
            std::strcpy(reply + 40, "[SEQ]1[MSG]PD_Drive DISK87654321 and WX11A2345678 in_INFO\n");
        }
        uio->completionStatus = 1;
    }
    return 0;
}

unsigned long open(const char* name, const ManagementCallback* table, unsigned count) {
    ManagementSignature signature = {};
    signature.version = kManagementVersion;
    std::strcpy(signature.name, name);
    std::strcpy(signature.vendor, "VMware");
    signature.numCallbacks = count;
    signature.callbacks = table;
    unsigned long handle = 0;
    return vmk_MgmtUserInit(&signature, 0, &handle) == 0 ? handle : 0;
}

bool fetches(unsigned long handle, UCHAR_ opcode, unsigned cdw12) {
    static char buffer[kReply];
    std::memset(buffer, 0, sizeof(buffer));
    nvme_uio uio = {};
    uio.opcode = opcode;
    uio.cdw12 = cdw12;
    uio.cdw10 = 1;
    uio.direction = 1;
    uio.dataAddress = buffer;
    uio.dataLength = sizeof(buffer);
    UNSIGNED_INTEGER code = 1;
    return vmk_MgmtUserCallbackInvokeInt(handle, 0, 17, 2, &code, &uio) == 0 &&
           uio.completionStatus == 1 && uio.dataAddress == buffer && buffer[kReply - 1] == 'r';
}

// What a host does with the platform's library; true if all of it works.
bool hostWorks() {
    const unsigned long list = open("nvmeMgmt", kListTable, 1);
    nvme_adapter_list adapters = {};
    bool good =
        list != 0 &&
        vmk_MgmtUserCallbackInvokeInt(list, 0, 16, 2, &adapters.count, adapters.adapter) == 0 &&
        adapters.count == 1 && vmk_MgmtUserDestroy(list) == 0;
    const unsigned long adapter = open("adapter", kTable, 2);
    for (const unsigned cdw12 : {0x4FEU, 0xE1U, 0xE0U}) {
        good = good && fetches(adapter, 0xE2, cdw12);
    }
    char in[200] = {1};
    char out[208] = {};
    good = good && fetches(adapter, 6, 0) &&
           vmk_MgmtUserCallbackInvokeInt(adapter, 0, 18, 2, in, out) == 0;
    return good && vmk_MgmtUserDestroy(adapter) == 0;
}

enum Outcome { kAllRecorded, kEnded, kWrong };

// What the loader allocates it finds again in places that the leak check does not look at; it knows
// that of a loader which calls malloc itself, and here a function of the test is between the two.
// NOLINTBEGIN: the sanitizer's names
extern "C" const char* __lsan_default_suppressions() {
    return "leak:ld-linux\n";
}
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}
// NOLINTEND

// Looking for leaks takes a sanitizer seconds: some of the processes end in a way that lets it.
constexpr unsigned kLeaksEach = 32;

// In a process of its own.
template <class Fault>
Outcome withFault(unsigned nth, vesktest::Repeat repeat, const ScratchFile& said) {
    const pid_t child = fork();
    if (child == 0) {
        static_cast<void>(!std::freopen(said.name(), "w", stderr));
        bool triggered = false;
        bool good = false;
        {
            const Fault fault(vesktest::AllocationSize::any(), nth, repeat);
            good = hostWorks();
            triggered = fault.triggered();
        }
        good = good && hostWorks();
        const char* const problem = vesk_capture_problem();
        const bool told = problem != nullptr && std::strstr(problem, "out of memory") != nullptr;
        const Outcome outcome = !good || told != triggered || (problem != nullptr && !told)
                                    ? kWrong
                                    : (triggered ? kEnded : kAllRecorded);
        if (nth % kLeaksEach == 0) {
            std::exit(outcome);
        }
        _exit(outcome);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? static_cast<Outcome>(WEXITSTATUS(status)) : kWrong;
}

// key: of the masks, null for none.
void sweep(const char* key) {
    if (key != nullptr) {
        setenv("VESK_CAPTURE_MASK", key, 1);
    } else {
        unsetenv("VESK_CAPTURE_MASK");
    }
    setPlatformAnswer(answer);
    for (const vesktest::Repeat repeat : {vesktest::Repeat::kOnce, vesktest::Repeat::kEachLater}) {
        unsigned nth = 1;
        for (; nth < 1000; ++nth) {
            const ScratchFile file;
            const ScratchFile said;
            setenv("VESK_CAPTURE", file.name(), 1);
            const Outcome outcome = withFault<vesktest::FailNew>(nth, repeat, said);
            const std::string text = said.content();
            ASSERT_NE(outcome, kWrong) << nth << ": " << text;
            const std::string content = file.content();
            if (!content.empty()) {
                const ReadCapture read = readCapture(content);
                EXPECT_EQ(read.damage, "") << nth;
            }
            if (key != nullptr) {
                EXPECT_EQ(content.find(kSerial), std::string::npos) << nth;
            }
            if (outcome == kAllRecorded) {
                EXPECT_EQ(text, "");
                break;
            }
            EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << nth << ": " << text;
            EXPECT_NE(text.find(file.path()), std::string::npos) << nth << ": " << text;
        }
        EXPECT_GT(nth, 10U);
        EXPECT_LT(nth, 1000U);
    }
}

TEST(CaptureWithoutMemory, EndsRecordingSaysSoAndTheHostGoesOn) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    sweep(nullptr);
}

TEST(CaptureWithoutMemory, LeavesNoSerialNumberEither) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    sweep("a key that needs memory of its own");
}

}  // namespace
