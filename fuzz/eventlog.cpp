// The controller's log from the driver to the caller: collected and delivered in rounds, against a
// plain account of which events must come. Input, with kPartEnd between: the text of the mapping
// file, then pages of the log, each as its first 8 bytes and its text; kRoundEnd ends a round.
#include "fuzz_target.h"
#include "input.h"
#include "plain_ini.h"
#include "private_host.h"

#include "events/plain_event_reader.h"

#include "events/event_builder.h"
#include "support/ini_files.h"
#include "transport/i_device_talker.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using veskfuzz::plainNumber;
using veskfuzz::plainValue;
using veskfuzz::require;
using vesktest::EventBytes;

constexpr char kRoundEnd = '\x1D';
constexpr int kMostRounds = 3;
constexpr std::size_t kPage = 4096;
constexpr std::size_t kPages = 16;
constexpr std::size_t kHead = 8;   // of a page: may hold the end of a cut line
constexpr std::size_t kText = 40;  // where a page's text begins

// The log area of one round.
class Area {
public:
    explicit Area(veskfuzz::Input pages) : m_bytes(kPages * kPage + kPage) {
        for (std::size_t page = 0; page < kPages && !pages.empty(); ++page) {
            const std::string part = pages.until(veskfuzz::kPartEnd);
            part.copy(&m_bytes[page * kPage], kHead);
            if (part.size() > kHead) {
                part.copy(&m_bytes[page * kPage + kText], kPage - kText, kHead);
            }
            m_filled = page + 1;
        }
    }

    const char* at(std::size_t offset) const { return &m_bytes[offset]; }

    // What a plain reader finds in it.
    std::map<unsigned, EventBytes> events() const {
        vesktest::PlainEventReader reader;
        // A page of zeros gives nothing; a cut line in front of one is dropped there.
        for (std::size_t page = 0; page < m_filled; ++page) {
            reader.read(std::string(at(page * kPage), kPage));
            if (!reader.remaining().empty()) {
                reader.read(std::string(at(page * kPage + kPage - kHead), 2 * kHead));
            }
        }
        return reader.events();
    }

private:
    std::vector<char> m_bytes;  // and a page behind the area, for the carry read of the last one
    std::size_t m_filled = 0;
};

class AreaTalker : public IZNVDeviceTalker {
public:
    BOOL_TYPE checkControllerExistence() override { return true; }
    UCHAR_ getControllerCount() override { return 1; }
    VOID_ destroyOSdeviceTalker() override {}
    RESULT executeIOCTL(znvTalkerMulti*) override { return 1; }
    RESULT executeCMD(CCommandDword* command, ULONG_INT) override {
        std::memcpy(command->getcdw_6_7(), area->at(command->getcdw13()), command->getcdw14());
        return 0;
    }

    const Area* area = nullptr;
};

unsigned field(const EventBytes& event, std::size_t offset) {
    return event[offset] + event[offset + 1] * 256U;
}

void setField(EventBytes& event, std::size_t offset, unsigned value) {
    event[offset] = static_cast<std::uint8_t>(value);
    event[offset + 1] = static_cast<std::uint8_t>(value >> 8U);
}

// Which events are held and which are delivered, and what becomes of the mapping file.
class Account {
public:
    explicit Account(std::string mapping) : m_mapping(std::move(mapping)) {}

    void poll(const Area& area) {
        const auto found = area.events();
        m_held.insert(found.begin(), found.end());
    }

    std::vector<EventBytes> deliver() {
        static const std::string kSections[] = {"Adapter", "VirtualDevice", "PhysicalDevice"};
        std::vector<EventBytes> delivered;
        try {
            int mark = plainNumber(
                plainValue(m_mapping, "EventSequenceNumber", "SequenceNumber").value_or("0"), 0);
            for (const auto& [number, event] : m_held) {
                if (static_cast<int>(number) <= mark || delivered.size() == 64) {
                    continue;
                }
                const unsigned eventClass = field(event, 0);
                const int code =
                    plainNumber(plainValue(m_mapping, eventClass < 3 ? kSections[eventClass] : "",
                                           std::to_string(field(event, 2)))
                                    .value_or("65535"),
                                0);
                if (code % 65536 != 65535 && code % 65536 != -1) {
                    delivered.push_back(event);
                    setField(delivered.back(), 2, static_cast<unsigned>(code));
                    mark = static_cast<int>(number);
                }
            }
            m_mapping = veskfuzz::withPlainMark(m_mapping, mark);
            m_held.clear();
        } catch (const veskfuzz::KeyAlone&) {
            // What came before that line is delivered, and all of it comes again.
        }
        return delivered;
    }

    const std::string& mapping() const { return m_mapping; }

private:
    std::string m_mapping;
    std::map<unsigned, EventBytes> m_held;
};

std::vector<EventBytes> deliver() {
    std::vector<IObject*> objects;
    CEventBuilder().getObjectVector(objects);
    std::vector<EventBytes> delivered(objects.size());
    for (std::size_t i = 0; i < objects.size(); ++i) {
        std::memcpy(delivered[i].data(), static_cast<void*>(objects[i]), delivered[i].size());
        std::free(objects[i]);
    }
    return delivered;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    static AreaTalker talker;
    IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second = &talker;
    VeskNVMeLibrary_Helper::m_LibPath = vesktest::kFirstIniFolder;

    veskfuzz::Input input(data, size);
    const std::string mapping = input.until(veskfuzz::kPartEnd);
    host.writeMappingIni(mapping);
    Account account(mapping);
    for (int round = 0; round < kMostRounds && !input.empty(); ++round) {
        const Area area(veskfuzz::Input(input.until(kRoundEnd)));
        talker.area = &area;
        CEventBuilder().buidInfo(5);
        account.poll(area);
        require(deliver() == account.deliver(), "each event is delivered when it must be");
        require(host.read(vesktest::kMappingIniPath) == account.mapping(),
                "the mark is that of the last event delivered");
    }
    CEventBuilder::destroyEventsInEventsMap();
    return 0;
}
