#include "scripted_driver.h"

#include "transport/vmk_mgmt.h"

#include "noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace vesktest {
namespace {

constexpr std::size_t kSignatureSize = 80;
constexpr std::size_t kTextSize = 32;
constexpr std::size_t kAdapterSize = 80;
constexpr std::size_t kMostAdapters = 64;
constexpr std::uint64_t kListCallback = 16;
constexpr std::uint64_t kCommandCallback = 17;

constexpr std::size_t kCompletionStatusOffset = 78;
constexpr std::size_t kUioStatusOffset = 84;
constexpr std::size_t kDataAddressOffset = 104;
constexpr std::size_t kDataAddressEnd = 112;

std::atomic<ScriptedDriver*> s_live{nullptr};

std::vector<std::uint8_t> parseHex(std::string text) {
    const std::string given = text;
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    if (text.empty() || text.size() % 2 != 0 ||
        text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        throw std::invalid_argument("not bytes in hexadecimal: \"" + given + "\"");
    }
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string hexText(const std::uint8_t* bytes, std::size_t size) {
    std::ostringstream text;
    text << std::hex;
    for (std::size_t i = 0; i < size; ++i) {
        text << (i == 0 ? "" : " ") << (bytes[i] < 16 ? "0" : "")
             << static_cast<unsigned>(bytes[i]);
    }
    return text.str();
}

// One line for each byte that differs; `from` to `to` is left out.
std::string differences(const std::uint8_t* expected, const std::uint8_t* actual, std::size_t size,
                        std::size_t from, std::size_t to) {
    std::ostringstream text;
    for (std::size_t i = 0; i < size; ++i) {
        if ((i < from || i >= to) && expected[i] != actual[i]) {
            text << "  byte " << i << " is " << hexText(actual + i, 1) << ", expected "
                 << hexText(expected + i, 1) << "\n";
        }
    }
    return text.str();
}

std::string numberDifference(const char* what, std::uint64_t actual, std::uint64_t expected) {
    if (actual == expected) {
        return {};
    }
    std::ostringstream text;
    text << "  " << what << " is " << actual << ", expected " << expected << "\n";
    return text.str();
}

void checkText(const std::string& text) {
    if (text.size() > kTextSize) {
        throw std::invalid_argument("longer than 32 characters: \"" + text + "\"");
    }
}

void putNumber(std::uint8_t* place, std::uint32_t number) {
    std::memcpy(place, &number, sizeof number);
}

void putAdapter(std::uint8_t* place, const AdapterLiteral& adapter, std::uint32_t seed) {
    const std::vector<std::uint8_t> rest = noise(kAdapterSize, seed);
    std::memcpy(place, rest.data(), kAdapterSize);
    // With the NUL, where there is room for it.
    std::memcpy(place, adapter.name.c_str(), std::min(adapter.name.size() + 1, kTextSize));
    std::memcpy(place + kTextSize, adapter.signature.c_str(),
                std::min(adapter.signature.size() + 1, kTextSize));
}

// Writes the reply into the record and the buffer; the text says what does not fit together.
std::string deliver(const Reply& reply, std::uint8_t* bytes) {
    void* data = nullptr;
    std::memcpy(&data, bytes + kDataAddressOffset, sizeof data);
    if (reply.bufferSize != 0 && data == nullptr) {
        return "  no buffer for the reply\n";
    }
    if (reply.bufferSize != 0) {
        std::vector<std::uint8_t> image = noise(reply.bufferSize, 0xA5);
        std::copy(reply.bytes.begin(), reply.bytes.end(), image.begin());
        std::memcpy(data, image.data(), image.size());
    }
    std::memcpy(bytes + kCompletionStatusOffset, &reply.completionStatus,
                sizeof reply.completionStatus);
    std::memcpy(bytes + kUioStatusOffset, &reply.uioStatus, sizeof reply.uioStatus);
    return {};
}

int refuseWithoutDriver(const char* function) {
    ADD_FAILURE() << function << " was called while no ScriptedDriver lives";
    return -1;
}

}  // namespace

Record record(std::initializer_list<HexAt> pieces, bool expectData) {
    Record result;
    result.expectData = expectData;
    std::array<bool, kRecordSize> given{};
    std::fill(given.begin() + kDataAddressOffset, given.begin() + kDataAddressEnd, true);
    for (const HexAt& piece : pieces) {
        const std::vector<std::uint8_t> bytes = parseHex(piece.bytes);
        if (piece.offset >= kRecordSize || bytes.size() > kRecordSize - piece.offset) {
            throw std::invalid_argument("outside the record: \"" + piece.bytes + "\"");
        }
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (std::exchange(given[piece.offset + i], true)) {
                throw std::invalid_argument("given twice, or the data address: \"" + piece.bytes +
                                            "\"");
            }
            result.bytes[piece.offset + i] = bytes[i];
        }
    }
    return result;
}

ScriptedDriver::ScriptedDriver() {
    ScriptedDriver* none = nullptr;
    if (!s_live.compare_exchange_strong(none, this)) {
        ADD_FAILURE() << "another ScriptedDriver lives; it keeps the calls";
    }
}

ScriptedDriver::~ScriptedDriver() {
    ScriptedDriver* self = this;
    s_live.compare_exchange_strong(self, nullptr);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_script.empty()) {
        return;
    }
    std::string missing;
    for (const Expectation& expectation : m_script) {
        missing += "  " + describe(expectation) + "\n";
    }
    ADD_FAILURE() << "calls that did not come:\n" << missing;
}

void ScriptedDriver::expectOpen(const SignatureLiteral& signature, int resultCode,
                                std::uint64_t handleToGive) {
    checkText(signature.name);
    checkText(signature.vendor);
    expect(Open{signature, resultCode, handleToGive});
    if (resultCode == 0) {
        m_scriptedHandle = handleToGive;
    }
}

void ScriptedDriver::expectAdapterList(std::uint64_t handle,
                                       const std::vector<AdapterLiteral>& adapters,
                                       std::uint32_t claimedCount, int resultCode) {
    if (adapters.size() > kMostAdapters) {
        throw std::invalid_argument("more than 64 adapters");
    }
    for (const AdapterLiteral& adapter : adapters) {
        checkText(adapter.name);
        checkText(adapter.signature);
    }
    expect(AdapterList{handle, adapters, claimedCount, resultCode});
}

void ScriptedDriver::expectCommand(const Record& expected, const Reply& reply) {
    if (reply.bytes.size() > reply.bufferSize) {
        throw std::invalid_argument("the reply is longer than its buffer");
    }
    Command command{expected, reply};
    if (!command.record.handle) {
        command.record.handle = m_scriptedHandle;
    }
    expect(std::move(command));
}

void ScriptedDriver::expectClose(std::uint64_t handle, int resultCode) {
    expect(Close{handle, resultCode});
}

std::size_t ScriptedDriver::callCount() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_callCount;
}

std::size_t ScriptedDriver::openCount() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_openCount;
}

RecordBytes ScriptedDriver::lastRecord() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastRecord;
}

int ScriptedDriver::onOpen(const void* signature, std::uint64_t cookie, std::uint64_t* handle) {
    const Step step = take();
    const auto* const open = step.expectation ? std::get_if<Open>(&*step.expectation) : nullptr;
    if (open == nullptr) {
        return fail(step, "an open", "");
    }
    if (signature == nullptr || handle == nullptr) {
        return fail(step, "an open", "  a null address\n");
    }
    std::array<std::uint8_t, kSignatureSize> actual{};
    std::memcpy(actual.data(), signature, actual.size());
    std::array<std::uint8_t, kSignatureSize> expected{};
    putNumber(expected.data(), open->signature.version);
    std::copy(open->signature.name.begin(), open->signature.name.end(), expected.begin() + 4);
    std::copy(open->signature.vendor.begin(), open->signature.vendor.end(), expected.begin() + 36);
    putNumber(expected.data() + 68, open->signature.numCallbacks);
    std::memcpy(expected.data() + 72, &open->signature.callbacks, 8);
    // Without an address to compare with, the last 8 bytes are left out.
    const std::size_t end = open->signature.callbacks == nullptr ? 72 : kSignatureSize;
    const std::string problem = numberDifference("cookie", cookie, 0) +
                                differences(expected.data(), actual.data(), end, end, end);
    if (!problem.empty()) {
        return fail(step, "an open", problem);
    }
    if (open->resultCode == 0) {
        *handle = open->handle;
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_openCount;
    }
    return open->resultCode;
}

int ScriptedDriver::onInvoke(std::uint64_t handle, std::uint64_t instance, std::uint64_t callbackId,
                             std::uint32_t parameterCount, void* parameter0, void* parameter1) {
    if (callbackId == kCommandCallback && parameter1 != nullptr) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::memcpy(m_lastRecord.data(), parameter1, kRecordSize);
    }
    const Step step = take();
    const std::string call = "callback " + std::to_string(callbackId);
    std::string problem = numberDifference("instance", instance, 0) +
                          numberDifference("parameter count", parameterCount, 2);
    if (parameter0 == nullptr || parameter1 == nullptr) {
        problem += "  a null parameter\n";
    }
    if (!problem.empty()) {
        return fail(step, call, problem);
    }
    if (callbackId == kListCallback) {
        return listAdapters(step, handle, parameter0, parameter1);
    }
    if (callbackId == kCommandCallback) {
        return runCommand(step, handle, parameter0, parameter1);
    }
    return fail(step, call, "  no such callback\n");
}

int ScriptedDriver::onClose(std::uint64_t handle) {
    const Step step = take();
    const auto* const close = step.expectation ? std::get_if<Close>(&*step.expectation) : nullptr;
    const std::string problem =
        close == nullptr ? std::string() : numberDifference("handle", handle, close->handle);
    if (close == nullptr || !problem.empty()) {
        return fail(step, "a close of handle " + std::to_string(handle), problem);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_openCount != 0) {
        --m_openCount;
    }
    return close->resultCode;
}

std::string ScriptedDriver::describe(const Expectation& expectation) {
    if (const auto* const open = std::get_if<Open>(&expectation)) {
        return "open of \"" + open->signature.name + "\"";
    }
    if (const auto* const list = std::get_if<AdapterList>(&expectation)) {
        return "callback 16 on handle " + std::to_string(list->handle);
    }
    if (const auto* const command = std::get_if<Command>(&expectation)) {
        return "callback 17 with opcode " + hexText(command->record.bytes.data(), 1);
    }
    return "close of handle " + std::to_string(std::get<Close>(expectation).handle);
}

int ScriptedDriver::fail(const Step& step, const std::string& call, const std::string& problem) {
    ADD_FAILURE() << "call " << step.number << " is " << call << ", expected: "
                  << (step.expectation ? describe(*step.expectation) : "no further call") << "\n"
                  << problem;
    return -1;
}

void ScriptedDriver::expect(Expectation expectation) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_script.push_back(std::move(expectation));
}

ScriptedDriver::Step ScriptedDriver::take() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Step step{++m_callCount, std::nullopt};
    if (!m_script.empty()) {
        step.expectation = std::move(m_script.front());
        m_script.pop_front();
    }
    return step;
}

int ScriptedDriver::listAdapters(const Step& step, std::uint64_t handle, void* count,
                                 void* adapters) {
    const auto* const list =
        step.expectation ? std::get_if<AdapterList>(&*step.expectation) : nullptr;
    const std::string problem =
        list == nullptr ? std::string() : numberDifference("handle", handle, list->handle);
    if (list == nullptr || !problem.empty()) {
        return fail(step, "callback 16 on handle " + std::to_string(handle), problem);
    }
    std::memcpy(count, &list->claimedCount, sizeof list->claimedCount);
    auto* place = static_cast<std::uint8_t*>(adapters);
    std::uint32_t seed = 0;
    for (const AdapterLiteral& adapter : list->adapters) {
        putAdapter(place, adapter, ++seed);
        place += kAdapterSize;
    }
    return list->resultCode;
}

int ScriptedDriver::runCommand(const Step& step, std::uint64_t handle, const void* code,
                               void* bytes) {
    RecordBytes actual{};
    std::memcpy(actual.data(), bytes, kRecordSize);
    const std::string call =
        "callback 17 with the record\n  " + hexText(actual.data(), actual.size()) + "\n";
    const auto* const command =
        step.expectation ? std::get_if<Command>(&*step.expectation) : nullptr;
    if (command == nullptr) {
        return fail(step, call, "");
    }
    std::uint32_t actualCode = 0;
    std::memcpy(&actualCode, code, sizeof actualCode);
    std::uint64_t address = 0;
    std::memcpy(&address, actual.data() + kDataAddressOffset, sizeof address);

    const Record& expected = command->record;
    std::string problem = numberDifference("request code", actualCode, expected.requestCode) +
                          differences(expected.bytes.data(), actual.data(), kRecordSize,
                                      kDataAddressOffset, kDataAddressEnd);
    if (expected.handle) {
        problem += numberDifference("handle", handle, *expected.handle);
    }
    if ((address != 0) != expected.expectData) {
        problem += expected.expectData ? "  the data address is null\n"
                                       : "  the data address is not null\n";
    }
    if (!problem.empty()) {
        return fail(step, call, problem);
    }
    if (command->reply.hook) {
        command->reply.hook();
    }
    problem = deliver(command->reply, static_cast<std::uint8_t*>(bytes));
    return problem.empty() ? command->reply.resultCode : fail(step, call, problem);
}

}  // namespace vesktest

int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle) {
    vesktest::ScriptedDriver* const driver = vesktest::s_live.load();
    return driver == nullptr ? vesktest::refuseWithoutDriver("vmk_MgmtUserInit")
                             : driver->onOpen(signature, cookie, handle);
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instance,
                                  unsigned long callbackId, unsigned int parameterCount, ...) {
    std::va_list parameters;
    va_start(parameters, parameterCount);
    void* const parameter0 = va_arg(parameters, void*);
    void* const parameter1 = va_arg(parameters, void*);
    va_end(parameters);
    vesktest::ScriptedDriver* const driver = vesktest::s_live.load();
    return driver == nullptr ? vesktest::refuseWithoutDriver("vmk_MgmtUserCallbackInvokeInt")
                             : driver->onInvoke(handle, instance, callbackId, parameterCount,
                                                parameter0, parameter1);
}

int vmk_MgmtUserDestroy(unsigned long handle) {
    vesktest::ScriptedDriver* const driver = vesktest::s_live.load();
    return driver == nullptr ? vesktest::refuseWithoutDriver("vmk_MgmtUserDestroy")
                             : driver->onClose(handle);
}
