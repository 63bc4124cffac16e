// A driver that refuses, dies or lies: each call answers within its promises, in the memory of its
// caller, and works again when the driver does.
#include "operation.h"
#include "platform_calls.h"
#include "swept_host.h"

#include "api/command_handler.h"
#include "events/event_builder.h"
#include "transport/nvme_adapter_list.h"
#include "transport/nvme_uio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

constexpr unsigned long kPassThrough = 17;

// What a driver makes of a command; the honest answer can be had through the last argument.
using CommandAnswer = std::function<int(nvme_uio& uio, const std::function<int()>& honest)>;

HostileDriver driverThat(CommandAnswer answer) {
    return [answer = std::move(answer)](unsigned long callbackId, void*, void* parameter1,
                                        const std::function<int()>& honest) {
        return callbackId == kPassThrough ? answer(*static_cast<nvme_uio*>(parameter1), honest)
                                          : honest();
    };
}

// The reply's place, empty for a command without one.
struct Data {
    explicit Data(const nvme_uio& uio)
        : begin(static_cast<unsigned char*>(uio.dataAddress)),
          size(uio.dataAddress != nullptr ? uio.dataLength : 0) {}
    unsigned char* begin;
    std::size_t size;
};

class HostileDriverTest : public ::testing::Test {
protected:
    HostileDriverTest() : m_host(scenarioFor(false)) {
        EXPECT_EQ(m_host.start(), 1);
        EXPECT_TRUE(m_host.gate().waitForSleeper(1));
        m_mapping = m_host.files().read(kMappingIniPath);
        for (const Operation& operation : operations()) {
            m_healthy.push_back(guarded(operation.run));
        }
    }

    static void poll() { stg::dispatch(VeskNVMe_GetEvent); }
    void forgetEvents() {
        CEventBuilder::destroyEventsInEventsMap();
        m_host.files().writeMappingIni(m_mapping);
    }

    // Every call against this driver, and then against the honest one again. `lies`: the replies
    // may hold anything, and so may the records.
    void expectCallsToLast(const CommandAnswer& answer, bool lies) {
        for (std::size_t index = 0; index < operations().size(); ++index) {
            const Operation& operation = operations()[index];
            SCOPED_TRACE(operation.name);
            const bool events = std::string(operation.name) == "ZT_EVT_GetEvent";
            if (events) {
                forgetEvents();
            }
            Answer got;
            {
                const DriverInBetween driver(driverThat(answer));
                if (events) {
                    poll();
                }
                got = guarded(operation.run);
            }
            if (lies) {
                EXPECT_EQ(got.thrown, "");
                EXPECT_TRUE(got.result == 0 || got.result == 1) << got.result;
                expectTerminatedTexts(operation.name, got);
            } else {
                EXPECT_EQ(wrongWith(operation, got, m_healthy[index]), "");
            }
            if (events) {
                forgetEvents();
                poll();
            }
            const Answer next = guarded(operation.run);
            EXPECT_EQ(next.result, m_healthy[index].result);
            EXPECT_EQ(next.records, m_healthy[index].records);
        }
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
    std::vector<Answer> m_healthy;
};

TEST_F(HostileDriverTest, PlatformErrorsAreAnsweredWithZeros) {
    for (const int code : {1, -1, 2, 0x0BAD0001, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(code);
        expectCallsToLast([code](nvme_uio&, const std::function<int()>&) { return code; }, false);
    }
}

// Phase bit and the bits above type and code say nothing.
TEST_F(HostileDriverTest, EveryKindOfStatusIsAnsweredWithZeros) {
    for (unsigned status = 0x0002; status <= 0xFFFF; status += 0x0123) {
        SCOPED_TRACE(status);
        expectCallsToLast(
            [status](nvme_uio& uio, const std::function<int()>&) {
                uio.completionStatus = static_cast<USHORT_INT>(status);
                uio.uioStatus = status * 65537;
                return 0;
            },
            false);
    }
}

TEST_F(HostileDriverTest, RepliesOfAnyBytesStayWithinTheRecords) {
    std::mt19937 random(20261122);
    std::vector<unsigned char> stale(4096);
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
        {"noise", 100,
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
        {"noise in one byte of an honest reply", 100,
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
            expectCallsToLast(lie.answer, true);
        }
    }
}

// The device goes at this command of a poll, and is back at the next poll.
TEST_F(HostileDriverTest, DeviceThatDiesInMidPollCostsNoEventOfThePagesBehind) {
    const std::vector<unsigned> all = eventNumbers(m_healthy.back());
    ASSERT_EQ(all.size(), 4U);
    for (int lastCommand = 0; lastCommand <= 17; ++lastCommand) {
        SCOPED_TRACE(lastCommand);
        forgetEvents();
        std::set<unsigned> delivered;
        {
            int commands = 0;
            const DriverInBetween driver(
                driverThat([&commands, lastCommand](nvme_uio&, const std::function<int()>& honest) {
                    return ++commands > lastCommand ? -1 : honest();
                }));
            poll();
        }
        for (int round = 0; round < 2; ++round) {
            for (const unsigned number : eventNumbers(guarded(operations().back().run))) {
                EXPECT_TRUE(delivered.insert(number).second) << number << " comes twice";
            }
            poll();
        }
        EXPECT_EQ(std::vector<unsigned>(delivered.begin(), delivered.end()), all);
    }
}

// ---- Set-up ----

TEST(HostileStart, AdapterListsOfAnyBytesLeadToAControllerOrToNone) {
    std::mt19937 random(20261122);
    int found = 0;
    for (int round = 0; round < 60; ++round) {
        SimHost host(scenarioFor(false));
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
            EXPECT_TRUE(host.gate().waitForSleeper(1));
            host.gate().releaseAll();
            ZNV_Library_Finalize();
        }
        EXPECT_EQ(Resources().handles, 0U);
        CommandHandler::m_ControllerCount = 0;
        if (HasFailure()) {
            break;
        }
    }
    EXPECT_GE(found, 20);
}

}  // namespace
