// What the library leaves behind when its process is killed at any system call, and what the next
// start makes of it.
#include "killed_run.h"
#include "private_host.h"
#include "sleep_gate.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "api/lib_initializer.h"
#include "sim/host/host_folder.h"
#include "sim/host/simulated_host.h"
#include "support/ini_files.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::killAtEachCall;
using vesktest::PrivateHost;
using vesktest::runAlone;

// What a child process was given, as its parent sees it.
struct Delivered {
    bool returned;
    unsigned count;
    std::array<unsigned, 64> numbers;
};

class SharedDelivered {
public:
    SharedDelivered()
        : m_place(mmap(nullptr, sizeof(Delivered), PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
          m_value(new (m_place) Delivered{}) {}
    ~SharedDelivered() { munmap(m_place, sizeof(Delivered)); }
    SharedDelivered(const SharedDelivered&) = delete;
    SharedDelivered& operator=(const SharedDelivered&) = delete;

    Delivered& value() { return *m_value; }
    void clear() { *m_value = Delivered{}; }
    std::vector<unsigned> numbers() const {
        return {m_value->numbers.begin(), m_value->numbers.begin() + m_value->count};
    }

private:
    void* m_place;
    Delivered* m_value;
};

class KilledLibrary : public testing::Test {
protected:
    KilledLibrary() {
        vesksim::SimulatedHost::instance().load(vesksim::Scenario());
        vesksim::writeHostFiles(m_files.path("/"), vesksim::Scenario());
        m_files.writeConfigIni("[Logging]\nDebug=Off\n");
    }

    void deliver() {
        CEvent events[64];
        UCHAR_ count = 0;
        ZT_EVT_GetEvent(0, 0, &count, events);
        for (unsigned i = 0; i < count; ++i) {
            m_delivered.value().numbers[i] = events[i].getSequenceNo();
        }
        m_delivered.value().count = count;
        m_delivered.value().returned = true;
    }

    // From start to stop, with one poll and one delivery.
    void live() {
        vesktest::SleepGate gate;
        ZT_API_Initialize();
        gate.waitForSleeper(1);
        deliver();
        gate.releaseAll();
        ZNV_Library_Finalize();
    }

    // The same without a thread of the library's: the same system calls each time.
    void pollAndDeliver() {
        VeskNVMeLibrary_Helper::m_LibPath = vesktest::kFirstIniFolder;
        CLibInitializer::createOSdeviceTalkerInstance();
        CLibInitializer::checkControllerExistence();
        stg::dispatch(VeskNVMe_GetEvent);
        deliver();
    }

    // The numbers that a whole life is given.
    std::vector<unsigned> nextLife() {
        m_delivered.clear();
        runAlone([this] { live(); });
        return m_delivered.numbers();
    }

    // Kills the work at each call; a life behind it gets all events or, if their mark was stored,
    // none. How many kills there were, and how many behind which the events had gone to nobody.
    struct Account {
        std::size_t kills;
        std::size_t lost;
    };
    Account killEach(const std::function<void()>& work) {
        const std::string before = m_files.read(vesktest::kMappingIniPath);
        const std::vector<unsigned> all = nextLife();
        const std::string behind = m_files.read(vesktest::kMappingIniPath);
        EXPECT_FALSE(all.empty());
        EXPECT_NE(before, behind);
        Account account = {};
        account.kills = killAtEachCall(
            [&] {
                m_files.writeMappingIni(before);
                m_delivered.clear();
            },
            work,
            [&] {
                const std::string found = m_files.read(vesktest::kMappingIniPath);
                const bool returned = m_delivered.value().returned;
                EXPECT_TRUE(found == before || found == behind) << found;
                EXPECT_FALSE(returned && found == before);
                EXPECT_EQ(nextLife(), found == before ? all : std::vector<unsigned>());
                account.lost += found == behind && !returned ? 1 : 0;
            });
        return account;
    }

    PrivateHost m_files;
    SharedDelivered m_delivered;
};

TEST_F(KilledLibrary, EventsOfALifeComeAgainUnlessTheirMarkWasStored) {
    const Account account = killEach([this] { live(); });
    EXPECT_GT(account.kills, 50U);
    EXPECT_LT(account.lost, 10U);
}

TEST_F(KilledLibrary, EventsAreLostBetweenTheStoredMarkAndTheReturnOnly) {
    const Account account = killEach([this] { pollAndDeliver(); });
    EXPECT_GT(account.kills, 30U);
    // The calls that close the file.
    EXPECT_GT(account.lost, 0U);
    EXPECT_LT(account.lost, 4U);
}

// Each line of the log is a call: of more than a thousand one in so many is enough for each day.
TEST_F(KilledLibrary, StartWithTheLogLeavesWholeLinesAndAllEvents) {
    const std::size_t step = std::getenv("VESK_KILL_ALL") != nullptr ? 1 : 61;
    m_files.writeConfigIni("[Logging]\nDebug=On\n");
    const std::string before = m_files.read(vesktest::kMappingIniPath);
    const std::vector<unsigned> all = nextLife();
    ASSERT_FALSE(all.empty());
    const auto start = [] {
        vesktest::SleepGate gate;
        ZT_API_Initialize();
        gate.waitForSleeper(1);
        _exit(0);
    };
    std::string log;  // of the last start, which is not killed
    const std::size_t kills = killAtEachCall(
        [&] {
            m_files.writeMappingIni(before);
            m_files.write(vesktest::kLogPath, "");
        },
        start,
        [&] {
            log = m_files.read(vesktest::kLogPath);
            EXPECT_TRUE(log.empty() || log.back() == '\n') << log;
            EXPECT_EQ(m_files.read(vesktest::kMappingIniPath), before);
            EXPECT_EQ(nextLife(), all);
            EXPECT_EQ(m_files.read(vesktest::kLogPath).compare(0, log.size(), log), 0)
                << "the next life goes on behind it";
        },
        vesktest::Calls::kAll, step);
    EXPECT_GT(kills * step, 1000U);
    EXPECT_NE(log.find("polling started"), std::string::npos);
}

TEST_F(KilledLibrary, MarkIsTheOldOneOrTheNewOne) {
    VeskNVMeLibrary_Helper::m_LibPath = vesktest::kFirstIniFolder;
    const struct {
        std::string before;
        INTEGER mark;
        std::string behind;
    } rows[] = {{"SequenceNumber=9\n", 10, "SequenceNumber=10"},
                {"SequenceNumber=10\n", 11, "SequenceNumber=11\n"},
                {"SequenceNumber=99999\n", 100000, "SequenceNumber=100000"},
                {"SequenceNumber=100000\n", 7, "SequenceNumber=" + std::string(6, '\0') + "7"}};
    for (const auto& row : rows) {
        killAtEachCall(
            [&] { m_files.writeMappingIni(row.before); },
            [&] { VeskNVMeLibrary_Helper::writeLastProcessedEventSeqNumberToINIFile(row.mark); },
            [&] {
                const std::string found = m_files.read(vesktest::kMappingIniPath);
                EXPECT_TRUE(found == row.before || found == row.behind) << found;
            });
        EXPECT_EQ(m_files.read(vesktest::kMappingIniPath), row.behind);
    }
}

// The log and its eight predecessors, each with its age as text.
class KilledRotation : public KilledLibrary {
protected:
    static constexpr int kOldest = 8;
    static constexpr std::uintmax_t kLimit = 0x6400000;

    std::string pathOf(int number) const {
        return vesktest::kLogPath + (number == 0 ? std::string() : "." + std::to_string(number));
    }
    void fill() {
        for (int number = 0; number <= kOldest; ++number) {
            m_files.write(pathOf(number), "file " + std::to_string(number));
        }
        // Above the limit, and no larger on the disk.
        std::filesystem::resize_file(m_files.path(pathOf(0)), kLimit + 1);
    }
    // The files' ages from the newest on, 0 to 8; "new" for what began after fill().
    std::vector<std::string> ages() const {
        std::vector<std::string> result;
        for (int number = 0; number <= kOldest; ++number) {
            if (m_files.exists(pathOf(number))) {
                std::filesystem::path path = m_files.path(pathOf(number));
                const bool large = std::filesystem::file_size(path) > kLimit;
                const std::string text = large ? "file 0" : m_files.read(pathOf(number));
                result.push_back(text.compare(0, 5, "file ") == 0 ? text.substr(5, 1) : "new");
            }
        }
        return result;
    }
};

TEST_F(KilledRotation, NoFileIsLostButTheOldestAndAtMostOneMoreAtTheNextRotation) {
    using Ages = std::vector<std::string>;
    const Ages whole = {"0", "1", "2", "3", "4", "5", "6", "7", "8"};
    const Ages withoutOldest = {"0", "1", "2", "3", "4", "5", "6", "7"};
    const Ages done = {"new", "0", "1", "2", "3", "4", "5", "6", "7"};
    // The rotation that was broken off left a gap; the next one drops number 8 all the same.
    const Ages oneMoreLost = {"new", "0", "1", "2", "3", "4", "5", "6"};
    const auto writeOneLine = [] {
        stg::lout.startDebug();
        stg::lout << "a line" << '\n';
        stg::lout.stopDebug();
    };
    std::size_t gaps = 0;
    const std::size_t kills = killAtEachCall(
        [this] { fill(); }, writeOneLine,
        [&] {
            const Ages found = ages();
            EXPECT_TRUE(found == whole || found == withoutOldest || found == done)
                << testing::PrintToString(found);
            runAlone(writeOneLine);
            const Ages next = ages();
            EXPECT_TRUE(next == done || (next == oneMoreLost && found == withoutOldest))
                << testing::PrintToString(next);
            gaps += next == oneMoreLost ? 1 : 0;
            EXPECT_NE(m_files.read(pathOf(0)).find("a line\n"), std::string::npos);
        });
    EXPECT_GT(kills, 30U);
    EXPECT_GT(gaps, 0U);
}

}  // namespace
