// A driver that refuses or lies: each call answers within its promises, in the memory of its
// caller, and works again when the driver does. With the trace log, which prints much of what a
// device says, and without.
#include "hostile_driver.h"
#include "operation.h"
#include "swept_host.h"

#include "api/command_handler.h"
#include "events/event_builder.h"
#include "support/ini_files.h"
#include "support/logger.h"
#include "transport/nvme_adapter_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

// The library tells 0 from all else and hands no code on: the least and the greatest, the sign, one
// that is even and one of the platform's.
constexpr int kCodes[] = {1, -1, 2, 0x0BAD0001, INT_MAX, INT_MIN};

// What a record holds that no controller says.
struct Constant {
    const char* operation;
    std::size_t offset;
    std::string bytes;
};

const Constant kConstants[] = {
    {"ZT_PD_GetHDInfo_Ext", 66, "\x40"},
    {"ZT_PD_GetHDInfo_Ext", 184, "\x01"},
    {"ZT_PD_GetConfig", 0, "\x01\x01"},
    {"ZT_PD_GetConfig", 3, "\x03"},
    {"ZT_PD_GET_SMART_INFO", 0, "\x4F"},
    {"ZT_PD_GET_SMART_INFO", 5, "Percent Drive Life Remaining"},
    {"ZT_PD_GET_SMART_INFO", 84,
     "\x01"
     "Available Spare"},
    {"ZT_LD_GetInfo", 8, "\x01"},
    {"ZT_LD_GetConfig", 2, "\x01"},
};

// The answer to commands that bring nothing: as many records, all of them zero.
Answer zerosLike(const std::string& operation, const Answer& healthy) {
    Answer zeros = healthy;
    if (operation == "ZT_Adapter_Get_OEM_Data") {
        return zeros;  // sends none
    }
    if (operation == "ZT_EVT_GetEvent") {
        zeros.records.clear();
    }
    for (auto& record : zeros.records) {
        const std::vector<std::uint8_t> before = record;
        std::fill(record.begin(), record.end(), std::uint8_t{0});
        for (const Constant& constant : kConstants) {
            if (operation == constant.operation) {
                std::copy(constant.bytes.begin(), constant.bytes.end(),
                          record.begin() + static_cast<std::ptrdiff_t>(constant.offset));
            }
        }
        if (operation == "ZT_Adapter_GetInfo") {
            const auto link = static_cast<std::ptrdiff_t>(CCONTROLLER_MAX_LINK_SPEED);
            std::copy_n(before.begin() + link, 4, record.begin() + link);  // from the host's files
        }
    }
    return zeros;
}

class HostileDriverTest : public ::testing::TestWithParam<bool> {
protected:
    HostileDriverTest() : m_host(scenarioFor(GetParam())) {
        EXPECT_EQ(m_host.start(), 1);
        EXPECT_TRUE(m_host.gate().waitForSleeper(1));
        m_mapping = m_host.files().read(kMappingIniPath);
        for (const Operation& operation : operations()) {
            m_healthy.push_back(guarded(operation.run));
            m_zeros.push_back(zerosLike(operation.name, m_healthy.back()));
        }
    }

    static void poll() { stg::dispatch(VeskNVMe_GetEvent); }
    void emptyLog() {
        if (GetParam()) {
            m_host.files().write(kLogPath, "");
        }
    }
    void forgetEvents() {
        CEventBuilder::destroyEventsInEventsMap();
        m_host.files().writeMappingIni(m_mapping);
    }

    // Every call against this driver, and then against the honest one again.
    using Check = std::function<void(std::size_t index, const Answer& answer)>;
    void expectCallsToLast(const CommandAnswer& answer, const Check& check) {
        for (std::size_t index = 0; index < operations().size(); ++index) {
            const Operation& operation = operations()[index];
            SCOPED_TRACE(operation.name);
            const bool events = std::string(operation.name) == "ZT_EVT_GetEvent";
            if (events) {
                forgetEvents();
            }
            emptyLog();
            Answer got;
            {
                const DriverInBetween driver(driverThat(answer));
                if (events) {
                    poll();
                }
                got = guarded(operation.run);
            }
            EXPECT_EQ(got.thrown, "");
            expectWholeLog(m_host.files(), GetParam());
            check(index, got);
            if (events) {
                forgetEvents();
                poll();
            }
            const Answer next = guarded(operation.run);
            EXPECT_EQ(next.result, m_healthy[index].result);
            EXPECT_EQ(next.records, m_healthy[index].records);
        }
    }

    void expectAnswers(const CommandAnswer& answer, const std::vector<Answer>& expected) {
        expectCallsToLast(answer, [&expected](std::size_t index, const Answer& got) {
            EXPECT_EQ(got.result, 0);
            EXPECT_EQ(got.header, expected[index].header);
            EXPECT_EQ(got.records, expected[index].records);
        });
    }

    // The commands fail, with nothing of a reply and with all of it: the driver writes straight
    // into the buffer that a call answers from, and how a command ended is told by the log alone.
    void
    expectFailureToBeAnsweredWithWhatWasWritten(const std::function<int(nvme_uio& uio)>& failure) {
        expectAnswers(
            [&failure](nvme_uio& uio, const std::function<int()>&) { return failure(uio); },
            m_zeros);
        expectAnswers(
            [&failure](nvme_uio& uio, const std::function<int()>& honest) {
                honest();
                return failure(uio);
            },
            m_healthy);
    }

    static void expectTerminatedTexts(const std::string& name, const Answer& answer) {
        struct LastByte {
            const char* operation;
            std::size_t offset;
        };
        // Of texts that the header calls NUL terminated.
        static const LastByte kLastBytes[] = {
            {"ZT_PD_GetHDInfo_Ext", 76 + 39}, {"ZT_PD_GetHDInfo_Ext", 116 + 19},
            {"ZT_PD_GetHDInfo_Ext", 136 + 7}, {"ZT_LD_GetInfo", 32 + 15},
            {"ZT_LD_GetConfig", 8 + 15},      {"ZT_EVT_GetEvent", 34 + 29},
            {"ZT_PD_GET_SMART_INFO", 4 + 65}, {"ZT_PD_GET_SMART_INFO", 84 + 65},
        };
        for (const LastByte& row : kLastBytes) {
            for (const auto& record : answer.records) {
                if (name == row.operation) {
                    EXPECT_EQ(record.at(row.offset), 0) << row.offset;
                }
            }
        }
    }

    SimHost m_host;
    std::string m_mapping;
    std::vector<Answer> m_healthy;  // of operations()
    std::vector<Answer> m_zeros;
};

TEST_P(HostileDriverTest, PlatformErrorsAreAnsweredWithWhatWasWritten) {
    for (const int code : kCodes) {
        SCOPED_TRACE(code);
        expectFailureToBeAnsweredWithWhatWasWritten([code](nvme_uio&) { return code; });
    }
}

TEST_P(HostileDriverTest, EveryTypeOfStatusIsAnsweredWithWhatWasWritten) {
    for (unsigned type = 0; type < 8; ++type) {
        for (const unsigned code : {0x00U, 0x01U, 0x02U, 0x80U, 0xFFU}) {
            for (const unsigned more : {0x0000U, 0x0001U, 0xF000U}) {
                const unsigned status = completion(type, code) | more;
                SCOPED_TRACE(status);
                // The log multiplies all that is done.
                const bool some = more == 0 && (code <= 0x01 || code == 0xFF);
                if (completion(type, code) != 0 && (some || !GetParam())) {
                    expectFailureToBeAnsweredWithWhatWasWritten([status](nvme_uio& uio) {
                        uio.completionStatus = static_cast<USHORT_INT>(status);
                        uio.uioStatus = status * 65537;
                        return 0;
                    });
                }
            }
        }
    }
}

TEST_P(HostileDriverTest, RepliesOfAnyBytesStayWithinTheRecords) {
    std::mt19937 random(20261122);
    std::vector<unsigned char> stale(4096);
    const int many = GetParam() ? 20 : 100;
    const struct {
        const char* what;
        int rounds;
        CommandAnswer answer;
    } kLies[] = {
        {"zeros", 1,
         [](nvme_uio& uio, const std::function<int()>&) {
             std::memset(Data(uio).begin, 0, Data(uio).size);
             return 0;
         }},
        {"ones", 1,
         [](nvme_uio& uio, const std::function<int()>&) {
             std::memset(Data(uio).begin, 0xFF, Data(uio).size);
             return 0;
         }},
        {"noise", many,
         [&random](nvme_uio& uio, const std::function<int()>&) {
             const Data data(uio);
             std::generate_n(data.begin, data.size,
                             [&random] { return static_cast<unsigned char>(random()); });
             return 0;
         }},
        {"the reply to the command before", 2,
         [&stale](nvme_uio& uio, const std::function<int()>& honest) {
             const int result = honest();
             const Data data(uio);
             std::swap_ranges(data.begin, data.begin + std::min(data.size, stale.size()),
                              stale.begin());
             return result;
         }},
        {"noise in one byte of an honest reply", many,
         [&random](nvme_uio& uio, const std::function<int()>& honest) {
             const int result = honest();
             const Data data(uio);
             if (data.size != 0) {
                 data.begin[random() % std::min<std::size_t>(data.size, 200)] =
                     static_cast<unsigned char>(random());
             }
             return result;
         }},
        {"half of an honest reply", 1,
         [](nvme_uio& uio, const std::function<int()>& honest) {
             const int result = honest();
             std::memset(Data(uio).begin + Data(uio).size / 2, 0xFF, Data(uio).size / 2);
             return result;
         }},
        {"half of an honest reply, and then a failure", 1,
         [](nvme_uio& uio, const std::function<int()>& honest) {
             honest();
             std::memset(Data(uio).begin + Data(uio).size / 2, 0xFF, Data(uio).size / 2);
             return 5;
         }},
    };
    for (const auto& lie : kLies) {
        SCOPED_TRACE(lie.what);
        for (int round = 0; round < lie.rounds && !HasFailure(); ++round) {
            expectCallsToLast(lie.answer, [](std::size_t index, const Answer& got) {
                EXPECT_TRUE(got.result == 0 || got.result == 1) << got.result;
                expectTerminatedTexts(operations()[index].name, got);
            });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Hostile, HostileDriverTest, ::testing::Bool(), nameOfMode);

// ---- Set-up ----

// Starts that know their folder and read no configuration, again and again.
class HostileStart : public ::testing::TestWithParam<bool> {
protected:
    void begin(SimHost& host) {
        CommandHandler::m_ControllerCount = 0;
        VeskNVMeLibrary_Helper::m_LibPath = kFirstIniFolder;
        if (GetParam()) {
            host.files().write(kLogPath, "");
            stg::lout.startDebug();
        }
    }
    // What began has ended; the log of all of it is there.
    void end(SimHost& host) {
        stg::lout.stopDebug();
        expectWholeLog(host.files(), GetParam());
    }
    static void stop(SimHost& host) {
        EXPECT_TRUE(host.gate().waitForSleeper(1));
        host.gate().releaseAll();
        ZNV_Library_Finalize();
    }
    // A start as it should be, with all that a host has of it.
    static void expectSoundLife(SimHost& host) {
        const std::size_t sleeps = host.gate().secondsAsked().size();
        ZNV_Library_Initialize();
        EXPECT_EQ(ZT_Adapter_GetCount(), 1);
        EXPECT_EQ(Resources().handles, 1U);
        EXPECT_TRUE(host.gate().waitForSleeper(sleeps + 1));
        EXPECT_EQ(guarded(operationOf("ZT_EVT_GetEvent").run).records.size(), 4U);
        stop(host);
        EXPECT_EQ(Resources().handles, 0U);
    }
};

TEST_P(HostileStart, AdapterListsOfAnyBytesLeadToAControllerOrToNone) {
    std::mt19937 random(20261122);
    int found = 0;
    for (int round = 0; round < 60; ++round) {
        SimHost host(scenarioFor(GetParam()));
        begin(host);
        {
            const DriverInBetween driver([&random, round](unsigned long callbackId, void* count,
                                                          void* array,
                                                          const std::function<int()>& honest) {
                const int result = honest();
                if (callbackId == kPassThrough || result != 0) {
                    return result;
                }
                const UNSIGNED_INTEGER claimed[] = {0xFFFFFFFF, 65, 64, 1, 0, 0x80000000};
                std::memcpy(count, &claimed[static_cast<std::size_t>(round) % std::size(claimed)],
                            sizeof claimed[0]);
                // All names without an end, the first with one, or what the host says.
                auto* const rows = static_cast<unsigned char*>(array);
                const std::size_t firstLie = static_cast<std::size_t>(round % 3) * 80;
                if (firstLie < 160) {
                    std::generate(rows + firstLie, rows + kMaxAdapters * sizeof(nvmeAdapterInfo),
                                  [&random] { return static_cast<unsigned char>(random() | 1); });
                }
                return result;
            });
            ZNV_Library_Initialize();
        }
        const Resources after;
        if (ZT_Adapter_GetCount() == 1 && after.handles == 1) {
            ++found;
            stop(host);
        }
        EXPECT_EQ(Resources().handles, 0U);
        end(host);
        if (HasFailure()) {
            break;
        }
    }
    EXPECT_GE(found, 20);
}

// Who it is, is believed of a device only if the command was good: the connection to it is closed.
TEST_P(HostileStart, IdentifyThatFailsFindsNoController) {
    SimHost host(scenarioFor(GetParam()));
    begin(host);
    for (unsigned type = 0; type < 8; ++type) {
        for (const unsigned code : {0x00U, 0x01U, 0xFFU}) {
            SCOPED_TRACE(completion(type, code));
            if (completion(type, code) == 0) {
                continue;
            }
            int asked = 0;
            const DriverInBetween driver(
                driverThat([&](nvme_uio& uio, const std::function<int()>& honest) {
                    ++asked;
                    const int result = honest();
                    uio.completionStatus = static_cast<USHORT_INT>(completion(type, code));
                    return result;
                }));
            ZNV_Library_Initialize();
            EXPECT_EQ(asked, 1);
            EXPECT_EQ(ZT_Adapter_GetCount(), 0);
            EXPECT_EQ(Resources().handles, 0U);
        }
    }
    ZNV_Library_Initialize();
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    stop(host);
    EXPECT_EQ(Resources().handles, 0U);
    end(host);
}

// A start that reads the configuration, which turns the log on, and that the platform refuses: it
// is no failure of the call, and no controller is there.
TEST_P(HostileStart, PlatformErrorFindsNoControllerAndTheNextStartDoes) {
    const auto listAnswers = [](int code, bool filled) {
        return [code, filled](unsigned long callbackId, void*, void*,
                              const std::function<int()>& honest) {
            const int result = callbackId == kPassThrough || filled ? honest() : 0;
            return callbackId == kPassThrough ? result : code;
        };
    };
    const struct {
        const char* what;
        std::function<void(SimHost& host, int code, const std::function<void()>& start)> run;
        std::string logged;
    } kCalls[] = {
        {"opening the list of adapters",
         [](SimHost& host, int code, const std::function<void()>& start) {
             host.driver().failOpen("nvmeMgmt", code);
             start();
             host.driver().failOpen("nvmeMgmt", 0);
         },
         "stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters: vmk_MgmtUserInit failed with "
         "return code: "},
        {"opening the adapter",
         [](SimHost& host, int code, const std::function<void()>& start) {
             host.driver().failOpen("nvmeMgmt-vmhba2", code);
             start();
             host.driver().failOpen("nvmeMgmt-vmhba2", 0);
         },
         "stg::CVmwareZNVDeviceTalker_Helper::getDeviceHandle: vmk_MgmtUserInit failed with return "
         "code: "},
        {"the list of adapters",
         [&](SimHost&, int code, const std::function<void()>& start) {
             const DriverInBetween driver(listAnswers(code, false));
             start();
         },
         "stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters: vmk_MgmtUserCallbackInvoke "
         "failed with return Code : "},
        {"the list of adapters, which is there",
         [&](SimHost&, int code, const std::function<void()>& start) {
             const DriverInBetween driver(listAnswers(code, true));
             start();
         },
         "stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters: vmk_MgmtUserCallbackInvoke "
         "failed with return Code : "},
        {"Identify",
         [](SimHost&, int code, const std::function<void()>& start) {
             const DriverInBetween driver(
                 driverThat([code](nvme_uio&, const std::function<int()>& honest) {
                     honest();
                     return code;
                 }));
             start();
         },
         "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return code: "},
    };
    for (const auto& call : kCalls) {
        for (const int code : kCodes) {
            SCOPED_TRACE(std::string(call.what) + ' ' + std::to_string(code));
            SimHost host(scenarioFor(GetParam()));
            CommandHandler::m_libraryInitialized = 0;
            CommandHandler::m_ControllerCount = 0;
            call.run(host, code, [] { EXPECT_EQ(ZT_API_Initialize(), ERR_NONE); });
            EXPECT_EQ(ZT_Adapter_GetCount(), 0);
            EXPECT_EQ(Resources().handles, 0U);
            EXPECT_EQ(contains(host.logLines(), call.logged + std::to_string(code)), GetParam());
            expectSoundLife(host);
            stg::lout.stopDebug();
            expectLiveLog(host.files(), GetParam());
        }
    }
}

// Nobody asks whether a connection was closed: there is nothing else to do with it.
TEST_P(HostileStart, CodesOfClosingAreNobodysConcern) {
    for (const int code : kCodes) {
        SCOPED_TRACE(code);
        SimHost host(scenarioFor(GetParam()));
        begin(host);
        {
            const AnswerOfDestroy answer(code);
            ZNV_Library_Initialize();
            EXPECT_EQ(ZT_Adapter_GetCount(), 1);
            EXPECT_EQ(Resources().handles, 1U);
            stop(host);
        }
        EXPECT_EQ(Resources().handles, 0U);
        expectSoundLife(host);
        end(host);
    }
}

INSTANTIATE_TEST_SUITE_P(Hostile, HostileStart, ::testing::Bool(), nameOfMode);

}  // namespace
