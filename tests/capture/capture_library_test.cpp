// libvesk-capture.so as a host has it: between its calls and the platform's library.
#include "capture/capture_format.h"
#include "platform_for_capture.h"
#include "scratch_file.h"
#include "size_limit.h"
#include "transport/management_tables.h"
#include "transport/nvme_adapter_list.h"
#include "transport/vmk_mgmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

extern "C" void vesk_capture_end(void);
extern "C" const char* vesk_capture_problem(void);

namespace {

using namespace veskcap;

const ManagementCallback kListTable[1] = {
    {1, 0, nullptr, 1, 2, 0, {4, 5120, 0, 0}, {1, 1, 0, 0}, 0, 16}};
const ManagementCallback kTable[2] = {
    {1, 0, nullptr, 1, 2, 0, {4, 208, 0, 0}, {0, 1, 0, 0}, 0, 16},
    {1, 0, nullptr, 1, 2, 0, {4, 120, 0, 0}, {0, 2, 0, 0}, 0, 17}};

ManagementSignature signatureOf(const char* name, const ManagementCallback* table, unsigned count) {
    ManagementSignature signature = {};
    signature.version = 0x01000000;
    std::strcpy(signature.name, name);
    std::strcpy(signature.vendor, "VMware");
    signature.numCallbacks = count;
    signature.callbacks = table;
    return signature;
}

class CaptureLibrary : public testing::Test {
protected:
    CaptureLibrary() {
        setenv("VESK_CAPTURE", m_file.name(), 1);
        unsetenv("VESK_CAPTURE_MASK");
    }

    unsigned long open() {
        const ManagementSignature signature = signatureOf("adapter", kTable, 2);
        unsigned long handle = 0;
        EXPECT_EQ(vmk_MgmtUserInit(&signature, 0, &handle), 0);
        return handle;
    }

    static nvme_uio command(void* buffer, unsigned size, unsigned cdw14) {
        nvme_uio uio = {};
        uio.opcode = 0xE2;
        uio.direction = 1;
        uio.cdw14 = cdw14;
        uio.dataAddress = buffer;
        uio.dataLength = size;
        return uio;
    }

    static int send(unsigned long handle, nvme_uio& uio) {
        UNSIGNED_INTEGER code = 1;
        return vmk_MgmtUserCallbackInvokeInt(handle, 0, 17, 2, &code, &uio);
    }

    ReadCapture capture() const { return readCapture(m_file.content()); }

    ScratchFile m_file;
};

TEST_F(CaptureLibrary, RecordsWhatPassed) {
    const unsigned long handle = open();
    char buffer[64] = {};
    nvme_uio uio = command(buffer, sizeof(buffer), 'A');
    EXPECT_EQ(send(handle, uio), 0);
    EXPECT_EQ(std::string(buffer, 64), std::string(64, 'A'));
    EXPECT_EQ(uio.dataAddress, buffer);
    EXPECT_EQ(vmk_MgmtUserDestroy(handle), 0);

    const ReadCapture read = capture();
    EXPECT_EQ(read.damage, "");
    EXPECT_EQ(read.records[0].header.type, kStartRecord);
    const std::vector<Record> exchanges = read.exchanges();
    ASSERT_EQ(exchanges.size(), 3U);
    EXPECT_EQ(exchanges[0].exchange.handle, handle);
    EXPECT_EQ(exchanges[0].find(kSignature)->bytes.substr(4, 7), "adapter");
    EXPECT_EQ(exchanges[0].find(kCallbackTable)->header.length, 128U);
    EXPECT_EQ(exchanges[1].exchange.callbackId, 17U);
    EXPECT_EQ(exchanges[1].find(kDataOut)->bytes, std::string(64, 'A'));
    EXPECT_EQ(exchanges[1].find(kArgumentIn, 0)->bytes, std::string(1, '\1'));
    nvme_uio answered = {};
    const std::string& out = exchanges[1].find(kArgumentOut, 1)->bytes;
    std::memcpy(&answered, out.data(), out.size());
    EXPECT_EQ(answered.completionStatus, 1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(answered.dataAddress), 1U) << "no address";
    EXPECT_EQ(exchanges[2].exchange.call, kDestroy);
    EXPECT_EQ(exchanges[2].header.pid, static_cast<std::uint32_t>(getpid()));
}

TEST_F(CaptureLibrary, ChangesNeitherArgumentsNorResultsNorErrno) {
    const unsigned long handle = open();
    PlatformCall seen;
    for (const int result : {0, 5, -1}) {
        for (unsigned count = 0; count <= 6; ++count) {
            setPlatformAnswer([&](const PlatformCall& call) {
                seen = call;
                return result;
            });
            UNSIGNED_INTEGER code = 1;
            nvme_uio uio = {};
            char others[4] = {};
            errno = 11;
            EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(handle, 3, 17, count, &code, &uio, &others[0],
                                                    &others[1], &others[2], &others[3]),
                      result);
            EXPECT_EQ(errno, kPlatformErrno);
            EXPECT_EQ(errnoBeforePlatform(), 11);
            EXPECT_EQ(seen.handle, handle);
            EXPECT_EQ(seen.instanceId, 3U);
            EXPECT_EQ(seen.callbackId, 17U);
            EXPECT_EQ(seen.parameterCount, count);
            void* const sent[6] = {&code, &uio, &others[0], &others[1], &others[2], &others[3]};
            EXPECT_TRUE(std::equal(sent, sent + count, seen.parameters)) << count;
        }
    }
    errno = 12;
    EXPECT_EQ(vmk_MgmtUserInit(nullptr, 0, nullptr), 1001);
    EXPECT_EQ(errno, kPlatformErrno);
    EXPECT_EQ(errnoBeforePlatform(), 12);
    errno = 13;
    EXPECT_EQ(vmk_MgmtUserDestroy(0), 1020);
    EXPECT_EQ(errnoBeforePlatform(), 13);
}

TEST_F(CaptureLibrary, RecordsWhatIsSentAndOfAFailureNoData) {
    const unsigned long handle = open();
    char buffer[32];
    std::memset(buffer, 'W', sizeof(buffer));
    nvme_uio write = command(buffer, sizeof(buffer), 0);
    write.direction = 2;
    EXPECT_EQ(send(handle, write), 0);
    setPlatformAnswer([](const PlatformCall&) { return 9; });
    nvme_uio read = command(buffer, sizeof(buffer), 0);
    EXPECT_EQ(send(handle, read), 9);
    const std::vector<Record> exchanges = capture().exchanges();
    EXPECT_EQ(exchanges[1].find(kDataIn)->bytes, std::string(32, 'W'));
    EXPECT_EQ(exchanges[2].exchange.result, 9);
    EXPECT_EQ(exchanges[2].find(kDataOut), nullptr);
}

TEST_F(CaptureLibrary, TakesThreadsAtOnce) {
    const unsigned long handle = open();
    std::vector<std::thread> threads;
    for (unsigned number = 1; number <= 8; ++number) {
        threads.emplace_back([=] {
            for (int i = 0; i < 250; ++i) {
                char buffer[512] = {};
                nvme_uio uio = command(buffer, sizeof(buffer), number);
                EXPECT_EQ(send(handle, uio), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const ReadCapture read = capture();
    EXPECT_EQ(read.damage, "");
    std::map<char, int> counts;
    for (const Record& record : read.exchanges()) {
        if (const Piece* data = record.find(kDataOut)) {
            EXPECT_EQ(data->bytes, std::string(512, data->bytes[0]));
            ++counts[data->bytes[0]];
        }
    }
    EXPECT_EQ(counts.size(), 8U);
    for (const auto& [number, count] : counts) {
        EXPECT_EQ(count, 250) << static_cast<int>(number);
    }
}

// Whatever lock another thread holds at the time.
TEST_F(CaptureLibrary, TellsForkedChildrenApartAndNoneOfThemHangs) {
    const unsigned long handle = open();
    std::atomic<bool> done{false};
    std::thread busy([&] {
        while (!done) {
            char buffer[64] = {};
            nvme_uio uio = command(buffer, sizeof(buffer), 1);
            send(handle, uio);
        }
    });
    std::vector<pid_t> children;
    for (int i = 0; i < 20; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);
            char buffer[64] = {};
            nvme_uio uio = command(buffer, sizeof(buffer), 2);
            _exit(send(handle, uio) == 0 ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    done = true;
    busy.join();
    const ReadCapture read = capture();
    EXPECT_EQ(read.damage, "");
    for (const pid_t child : children) {
        const std::vector<Record> exchanges = read.exchanges();
        EXPECT_EQ(std::count_if(exchanges.begin(), exchanges.end(),
                                [child](const Record& record) {
                                    return record.header.pid == static_cast<std::uint32_t>(child);
                                }),
                  1);
    }
}

TEST_F(CaptureLibrary, EndsRecordingOnAFullDiskSaysSoOnceAndGoesOn) {
    testing::internal::CaptureStderr();
    bool good = true;
    {
        const SizeLimit limit(8000);
        const unsigned long handle = open();
        char buffer[512] = {};
        for (int i = 0; i < 100; ++i) {
            nvme_uio uio = command(buffer, sizeof(buffer), 3);
            good = good && send(handle, uio) == 0 && buffer[511] == 3;
        }
    }
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(good);
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_NE(said.find(m_file.path()), std::string::npos) << said;
    EXPECT_NE(vesk_capture_problem(), nullptr);
    const ReadCapture read = capture();
    EXPECT_GT(read.exchanges().size(), 5U);
}

// A host that limits itself when it has opened what it needs.
TEST_F(CaptureLibrary, ASizeLimitThatIsSetLaterDoesNotEndTheHost) {
    const unsigned long handle = open();
    char buffer[512] = {};
    nvme_uio uio = command(buffer, sizeof(buffer), 3);
    testing::internal::CaptureStderr();
    {
        const SizeLimit limit(100);
        EXPECT_EQ(send(handle, uio), 0);
    }
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(buffer[511], 3);
    EXPECT_EQ(capture().damage, "");
}

// Otherwise what it writes would stand behind half a record, where nothing can be read.
TEST_F(CaptureLibrary, EndsRecordingInAllForkedProcessesWhereOneCannotWrite) {
    const unsigned long handle = open();
    char buffer[512] = {};
    nvme_uio uio = command(buffer, sizeof(buffer), 3);
    EXPECT_EQ(send(handle, uio), 0);
    const std::size_t before = m_file.content().size();
    const ScratchFile said;
    const pid_t child = fork();
    if (child == 0) {
        static_cast<void>(!std::freopen(said.name(), "w", stderr));
        const SizeLimit limit(before + 300);
        _exit(send(handle, uio) == 0 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(send(handle, uio), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "the other one has said it";
    const std::string text = said.content();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    EXPECT_NE(vesk_capture_problem(), nullptr);
    EXPECT_EQ(m_file.content().size(), before);
    EXPECT_EQ(capture().damage, "");
}

TEST_F(CaptureLibrary, RecordsNothingBehindItsEnd) {
    const unsigned long handle = open();
    char buffer[16] = {};
    nvme_uio uio = command(buffer, sizeof(buffer), 4);
    EXPECT_EQ(send(handle, uio), 0);
    const std::size_t before = capture().exchanges().size();
    vesk_capture_end();
    buffer[15] = 0;
    EXPECT_EQ(send(handle, uio), 0);
    EXPECT_EQ(buffer[15], 4);
    EXPECT_EQ(capture().exchanges().size(), before);
    EXPECT_EQ(vesk_capture_problem(), nullptr);
}

TEST_F(CaptureLibrary, WithoutAFileLeadsOn) {
    unsetenv("VESK_CAPTURE");
    const unsigned long handle = open();
    char buffer[16] = {};
    nvme_uio uio = command(buffer, sizeof(buffer), 4);
    EXPECT_EQ(send(handle, uio), 0);
    EXPECT_EQ(buffer[15], 4);
    EXPECT_EQ(vesk_capture_problem(), nullptr);
}

// A host with one controller and a disk, whose serial numbers stand everywhere.
class MaskedCapture : public CaptureLibrary {
protected:
    static constexpr const char* kController = "CTRL12345678";
    static constexpr const char* kDisk = "DISK87654321";

    MaskedCapture() {
        setenv("VESK_CAPTURE_MASK", "key", 1);
        setPlatformAnswer(answer);
    }

    static void put(void* buffer, std::size_t at, const std::string& text) {
        std::memcpy(static_cast<char*>(buffer) + at, text.data(), text.size());
    }

    static int answer(const PlatformCall& call) {
        if (call.callbackId == 16) {
            const UNSIGNED_INTEGER count = 1;
            std::memcpy(call.parameters[0], &count, sizeof(count));
            nvmeAdapterInfo info = {};
            std::strcpy(info.name, "hba-DISK87654321");
            std::strcpy(info.signature, "adapter");
            std::memcpy(call.parameters[1], &info, sizeof(info));
            return 0;
        }
        auto* const uio = static_cast<nvme_uio*>(call.parameters[1]);
        uio->completionStatus = 1;
        if (uio->opcode == 6) {
            put(uio->dataAddress, 0, "\x4B\x1B");
            put(uio->dataAddress, 4, std::string(kController) + "        ");
            put(uio->dataAddress, 3000, kController);
        } else if (uio->cdw12 == 0xE1 && uio->cdw14 == 0) {
            put(uio->dataAddress, 60, std::string(kDisk) + "        ");
        } else if (uio->cdw12 == 0x4FE) {
            put(uio->dataAddress, 40, std::string("[SEQ]1[MSG]PD_Drive ") + kDisk + " in_INFO\n");
        } else if (uio->cdw12 == 0xE4) {
            put(uio->dataAddress, 100, std::string(kDisk) + kController);
        }
        return 0;
    }

    static int read(unsigned long handle, UCHAR_ opcode, unsigned cdw12, unsigned cdw14) {
        static thread_local char buffer[4096];
        std::memset(buffer, 0, sizeof(buffer));
        nvme_uio uio = command(buffer, sizeof(buffer), cdw14);
        uio.opcode = opcode;
        uio.cdw10 = opcode == 6 ? 1 : 0x400;
        uio.cdw12 = cdw12;
        return send(handle, uio);
    }

    void expectNoSerial() const {
        const std::string content = m_file.content();
        EXPECT_EQ(content.find(kController), std::string::npos);
        EXPECT_EQ(content.find(kDisk), std::string::npos);
    }
};

TEST_F(MaskedCapture, HoldsNoSerialNumberInWhateverOrderRepliesCome) {
    const ManagementSignature list = signatureOf("nvmeMgmt", kListTable, 1);
    unsigned long handle = 0;
    ASSERT_EQ(vmk_MgmtUserInit(&list, 0, &handle), 0);
    nvme_adapter_list adapters = {};
    ASSERT_EQ(vmk_MgmtUserCallbackInvokeInt(handle, 0, 16, 2, &adapters.count, adapters.adapter),
              0);
    EXPECT_STREQ(adapters.adapter[0].name, "hba-DISK87654321") << "the host gets what is true";
    expectNoSerial();

    const unsigned long adapter = open();
    for (const unsigned cdw12 : {0x4FEU, 0xE4U, 0xE1U}) {
        EXPECT_EQ(read(adapter, 0xE2, cdw12, 0), 0);
        expectNoSerial();
    }
    EXPECT_EQ(read(adapter, 6, 0, 0), 0);
    expectNoSerial();

    // One mask for one serial number.
    const std::vector<Record> exchanges = capture().exchanges();
    ASSERT_EQ(exchanges.size(), 7U);
    const std::string controller = exchanges[6].find(kDataOut)->bytes.substr(4, 12);
    const std::string disk = exchanges[5].find(kDataOut)->bytes.substr(60, 12);
    EXPECT_EQ(exchanges[6].find(kDataOut)->bytes.substr(3000, 12), controller);
    EXPECT_EQ(exchanges[4].find(kDataOut)->bytes.substr(100, 24), disk + controller);
    EXPECT_EQ(exchanges[3].find(kDataOut)->bytes.substr(60, 12), disk);
    EXPECT_EQ(exchanges[1].find(kArgumentOut, 1)->bytes.substr(4, 12), disk);
    EXPECT_EQ((capture().header.flags & kMasked), kMasked);
}

TEST_F(MaskedCapture, AsksOnAConnectionThatNoListLedTo) {
    const unsigned long adapter = open();
    EXPECT_EQ(read(adapter, 0xE2, 0x4FE, 0), 0);
    expectNoSerial();
    EXPECT_EQ(capture().exchanges().size(), 2U) << "its own questions are not recorded";
}

}  // namespace
