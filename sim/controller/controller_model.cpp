#include "sim/controller/controller_model.h"

#include "sim/controller/pages.h"
#include "sim/scenario/noise.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace vesksim {

namespace {

constexpr std::size_t kPageBytes = 4096;
constexpr std::uint8_t kCnsController = 1;
constexpr std::uint32_t kAdapterInfoTarget = 0xD;
constexpr std::uint8_t kGetLogPage = 2;
constexpr std::uint8_t kSmartLogPage = 2;
constexpr std::uint32_t kAllNamespaces = 0xFFFFFFFF;

Answer invalidOpcode() {
    return {0x01, 0, {}};
}
Answer invalidField() {
    return {0x02, 0, {}};
}
Answer invalidLogPage() {
    return {0x09, 1, {}};
}

// The controller sends as many dwords as the command asks for, and never more than there are.
Answer send(std::vector<std::uint8_t> data, std::uint64_t dwords) {
    data.resize(static_cast<std::size_t>(std::min<std::uint64_t>(data.size(), dwords * 4)));
    return {0, 0, std::move(data)};
}

// Nothing for a command that the controller does not know.
std::optional<CommandClass> classify(const ReceivedCommand& command) {
    if (command.opcode == kOpcodeIdentify) {
        return CommandClass::kIdentify;
    }
    if (command.opcode == kOpcodeDiskPassThrough) {
        return CommandClass::kSmart;
    }
    if (command.opcode != kOpcodeVendor) {
        return std::nullopt;
    }
    switch (command.cdw12) {
    case kAdapterInformation:
    case kAdapterOemData:
        return CommandClass::kAdapter;
    case kPhysicalDiskInformation:
        return CommandClass::kPhysicalDisk;
    case kSetLed:
        return CommandClass::kLed;
    case kVirtualDiskInformation:
        return CommandClass::kVirtualDisk;
    case kReadEventLog:
        return CommandClass::kEvents;
    default:
        return std::nullopt;
    }
}

}  // namespace

ControllerModel::ControllerModel(const Adapter& adapter, std::uint64_t noiseSeed, double now)
    : m_noiseSeed(noiseSeed),
      m_adapter(adapter),
      m_events(adapter, noiseSeed),
      m_eventsBegan(now) {}

void ControllerModel::update(const Adapter& adapter, double now) {
    if (eventSource(adapter) != eventSource(m_adapter)) {
        m_events = EventLog(adapter, m_noiseSeed);
        m_eventsBegan = now;
    }
    m_adapter = adapter;
}

ControllerState ControllerModel::state(double now) {
    m_events.advance(now - m_eventsBegan);
    return {locatingDisks(), m_events.state()};
}

void ControllerModel::restore(const ControllerState& state, double now) {
    m_blinking = {};
    for (const unsigned slot : state.locatingDisks) {
        if (slot < kLedSlots && findDisk(m_adapter, slot) != nullptr) {
            m_blinking.at(slot) = true;
        }
    }
    if (state.events.source == eventSource(m_adapter)) {
        m_events.restore(state.events);
        m_eventsBegan = now - state.events.seconds;
    }
}

CommandOverride ControllerModel::failureOf(const ReceivedCommand& command, double now) {
    const auto commandClass = classify(command);
    if (!commandClass) {
        return {};
    }
    const std::uint32_t answered = m_commandCounts[*commandClass]++;
    const auto failure = m_adapter.failures.find(*commandClass);
    if (failure == m_adapter.failures.end() || answered < failure->second.afterCommands ||
        now - m_eventsBegan < failure->second.afterSeconds) {
        return {};
    }
    return failure->second;
}

std::vector<unsigned> ControllerModel::locatingDisks() const {
    std::vector<unsigned> slots;
    for (unsigned slot = 0; slot < kLedSlots; ++slot) {
        if (m_blinking.at(slot)) {
            slots.push_back(slot);
        }
    }
    return slots;
}

Answer ControllerModel::answer(const ReceivedCommand& command, double now) {
    // Equal commands get equal noise, different ones different noise.
    std::uint64_t seed = mix(m_noiseSeed ^ command.opcode);
    for (const std::uint32_t dword : {command.nsid, command.cdw10, command.cdw12, command.cdw14}) {
        seed = mix(seed ^ dword);
    }
    if (command.opcode == kOpcodeIdentify) {
        if ((command.cdw10 & 0xFFU) != kCnsController) {
            return invalidField();
        }
        return send(identifyPage(m_adapter, seed), kPageBytes / 4);
    }
    if (m_adapter.pciIds.vendor != kControllerVendorId) {
        return invalidOpcode();
    }
    switch (command.opcode) {
    case kOpcodeVendor:
        return answerVendor(command, seed, now);
    case kOpcodeDiskPassThrough:
        return readDiskLogPage(command, seed);
    default:
        return invalidOpcode();
    }
}

Answer ControllerModel::answerVendor(const ReceivedCommand& command, std::uint64_t seed,
                                     double now) {
    switch (command.cdw12) {
    case kAdapterInformation:
        if (command.cdw14 != kAdapterInfoTarget) {
            return invalidField();
        }
        return send(adapterInfoPage(m_adapter, seed), command.cdw10);
    case kPhysicalDiskInformation:
        return send(physicalDiskReply(m_adapter, command.cdw14, seed), command.cdw10);
    case kSetLed:
        return setLed(command.cdw14);
    case kVirtualDiskInformation:
        return send(virtualDiskReply(m_adapter, command.cdw14, seed), command.cdw10);
    case kAdapterOemData:
        return send(noise(kPageBytes, seed), command.cdw10);
    case kReadEventLog:
        return readEvents(command, now);
    default:
        return invalidField();
    }
}

Answer ControllerModel::readEvents(const ReceivedCommand& command, double now) {
    // The length stands in cdw14; the dword count in cdw10 has no meaning for the log.
    if (command.cdw14 == 0) {
        return invalidField();
    }
    if (command.cdw13 == 0) {
        m_events.advance(now - m_eventsBegan);
    }
    return {0, 0, m_events.read(command.cdw13, std::min(command.cdw14, command.dataLength))};
}

Answer ControllerModel::readDiskLogPage(const ReceivedCommand& command, std::uint64_t seed) const {
    const Disk* disk = findDisk(m_adapter, command.nsid);
    if (disk == nullptr || command.cdw14 != kGetLogPage || command.cdw15 != kAllNamespaces) {
        return invalidField();
    }
    if ((command.cdw10 & 0xFFU) != kSmartLogPage) {
        return invalidLogPage();
    }
    return send(smartPage(disk->smart, seed), std::uint64_t{command.cdw10 >> 16U} + 1);
}

Answer ControllerModel::setLed(std::uint32_t target) {
    constexpr std::uint32_t kSlotBits = 0x00000003;
    constexpr std::uint32_t kStart = 0x00020000;
    const std::uint32_t slot = target & kSlotBits;
    const std::uint32_t action = target & ~kSlotBits;
    if ((action != 0 && action != kStart) || findDisk(m_adapter, slot) == nullptr) {
        return invalidField();
    }
    m_blinking.at(slot) = action == kStart;
    return {};
}

}  // namespace vesksim
