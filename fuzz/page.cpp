// A page of the controller's event log and the carry read behind it, through the parser and through
// a plain second reader. Input: text of the page, and behind 4056 bytes what the carry read brings.
#include "fuzz_target.h"

#include "events/event_page.h"
#include "events/owned_events.h"
#include "events/plain_event_reader.h"

#include "events/event_parser.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using veskfuzz::require;

std::map<unsigned, vesktest::EventBytes> bytesOf(const vesktest::OwnedEvents& events) {
    std::map<unsigned, vesktest::EventBytes> result;
    for (const unsigned key : events.keys()) {
        const _Event event = events.at(key);
        std::memcpy(result[key].data(), &event, sizeof event);
    }
    return result;
}

void readBoth(EventParser& parser, vesktest::OwnedEvents& events, vesktest::PlainEventReader& plain,
              const std::string& bytes) {
    std::vector<char> buffer(bytes.begin(), bytes.end());
    require(parser.parseEventBuffer(buffer.data(), events.map()) == plain.read(bytes),
            "both readers find as many new events");
    require(parser.getRemainingEvent() == plain.remaining(), "both keep the same cut line");
    require(bytesOf(events) == plain.events(), "both read the same events");
    require(std::equal(buffer.begin(), buffer.end(), bytes.begin()), "the page is not written to");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    constexpr std::size_t kTextSize = vesktest::kEventPageSize - vesktest::kEventTextStart;
    std::string page = std::string(vesktest::kEventTextStart, '[') + input.substr(0, kTextSize);
    page.resize(vesktest::kEventPageSize);

    vesktest::OwnedEvents events;
    vesktest::PlainEventReader plain;
    EventParser parser;
    readBoth(parser, events, plain, page);
    if (!plain.remaining().empty()) {
        std::string carry = page.substr(page.size() - 8);
        carry += size > kTextSize ? input.substr(kTextSize, 8) : std::string();
        carry.resize(16);
        readBoth(parser, events, plain, carry);
        require(plain.remaining().empty(), "nothing is carried twice");
    }
    return 0;
}
