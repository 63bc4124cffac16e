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

std::string signatureDifference(const SignatureLiteral& literal, const void* actual) {
    std::array<std::uint8_t, kSignatureSize> expected{};
    std::memcpy(expected.data(), &literal.version, 4);
    std::copy(literal.name.begin(), literal.name.end(), expected.begin() + 4);
    std::copy(literal.vendor.begin(), literal.vendor.end(), expected.begin() + 36);
    std::memcpy(expected.data() + 68, &literal.numCallbacks, 4);
    std::memcpy(expected.data() + 72, &literal.callbacks, 8);
    // Without an address to compare with, the last 8 bytes are left out.
    const std::size_t end = literal.callbacks == nullptr ? 72 : kSignatureSize;
    return differences(expected.data(), static_cast<const std::uint8_t*>(actual), end, end, end);
}

std::string recordDifference(const Record& expected, const std::uint8_t* actual) {
    std::uint64_t address = 0;
    std::memcpy(&address, actual + kDataAddressOffset, sizeof address);
    std::string problem = differences(expected.bytes.data(), actual, kRecordSize,
                                      kDataAddressOffset, kDataAddressEnd);
    if ((address != 0) != expected.expectData) {
        problem += expected.expectData ? "  the data address is null\n"
                                       : "  the data address is not null\n";
    }
    return problem;
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
    std::string missing;
    for (const Expectation& expectation : m_script) {
        missing += "  " + expectation.words + "\n";
    }
    if (!missing.empty()) {
        ADD_FAILURE() << "calls that did not come:\n" << missing;
    }
}

void ScriptedDriver::expectOpen(const SignatureLiteral& signature, int resultCode,
                                std::uint64_t handleToGive) {
    checkText(signature.name);
    checkText(signature.vendor);
    expect(Kind::kOpen, "open of \"" + signature.name + "\"",
           [this, signature, resultCode, handleToGive](const Call& call, std::string& problem) {
               problem = numberDifference("cookie", call.handle, 0) +
                         signatureDifference(signature, call.signature);
               if (problem.empty() && resultCode == 0) {
                   std::memcpy(call.first, &handleToGive, sizeof handleToGive);
                   const std::lock_guard<std::mutex> lock(m_mutex);
                   ++m_openCount;
               }
               return resultCode;
           });
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
    expect(Kind::kAdapterList, "callback 16 on handle " + std::to_string(handle),
           [handle, adapters, claimedCount, resultCode](const Call& call, std::string& problem) {
               problem = numberDifference("handle", call.handle, handle);
               if (problem.empty()) {
                   std::memcpy(call.first, &claimedCount, sizeof claimedCount);
                   auto* place = static_cast<std::uint8_t*>(call.second);
                   std::uint32_t seed = 0;
                   for (const AdapterLiteral& adapter : adapters) {
                       putAdapter(place, adapter, ++seed);
                       place += kAdapterSize;
                   }
               }
               return resultCode;
           });
}

void ScriptedDriver::expectCommand(const Record& expected, const Reply& reply) {
    if (reply.bytes.size() > reply.bufferSize) {
        throw std::invalid_argument("the reply is longer than its buffer");
    }
    const std::optional<std::uint64_t> handle =
        expected.handle ? expected.handle : m_scriptedHandle;
    expect(Kind::kCommand, "callback 17 with opcode " + hexText(expected.bytes.data(), 1),
           [expected, reply, handle](const Call& call, std::string& problem) {
               std::uint32_t code = 0;
               std::memcpy(&code, call.first, sizeof code);
               auto* const bytes = static_cast<std::uint8_t*>(call.second);
               problem = numberDifference("request code", code, expected.requestCode) +
                         recordDifference(expected, bytes) +
                         numberDifference("handle", call.handle, handle.value_or(call.handle));
               if (problem.empty()) {
                   if (reply.hook) {
                       reply.hook();
                   }
                   problem = deliver(reply, bytes);
               }
               return reply.resultCode;
           });
}

void ScriptedDriver::expectClose(std::uint64_t handle, int resultCode) {
    expect(Kind::kClose, "close of handle " + std::to_string(handle),
           [this, handle, resultCode](const Call& call, std::string& problem) {
               problem = numberDifference("handle", call.handle, handle);
               const std::lock_guard<std::mutex> lock(m_mutex);
               if (problem.empty() && m_openCount != 0) {
                   --m_openCount;
               }
               return resultCode;
           });
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
    return answer({Kind::kOpen, "an open", cookie, signature, handle, nullptr},
                  signature == nullptr || handle == nullptr ? "  a null address\n" : "");
}

int ScriptedDriver::onInvoke(std::uint64_t handle, std::uint64_t instance, std::uint64_t callbackId,
                             std::uint32_t parameterCount, void* parameter0, void* parameter1) {
    Call call = {Kind::kOther, "callback " + std::to_string(callbackId),
                 handle,       nullptr,
                 parameter0,   parameter1};
    std::string problem = numberDifference("instance", instance, 0) +
                          numberDifference("parameter count", parameterCount, 2);
    if (parameter0 == nullptr || parameter1 == nullptr) {
        problem += "  a null parameter\n";
    } else if (callbackId == kListCallback) {
        call.kind = Kind::kAdapterList;
        call.words += " on handle " + std::to_string(handle);
    } else if (callbackId == kCommandCallback) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::memcpy(m_lastRecord.data(), parameter1, kRecordSize);
        call.kind = Kind::kCommand;
        call.words += " with the record\n  " + hexText(m_lastRecord.data(), kRecordSize) + "\n";
    } else {
        problem += "  no such callback\n";
    }
    return answer(call, problem);
}

int ScriptedDriver::onClose(std::uint64_t handle) {
    return answer({Kind::kClose, "a close of handle " + std::to_string(handle), handle, nullptr,
                   nullptr, nullptr},
                  "");
}

void ScriptedDriver::expect(Kind kind, const std::string& words,
                            std::function<int(const Call& call, std::string& problem)> answer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_script.push_back({kind, words, std::move(answer)});
}

int ScriptedDriver::answer(const Call& call, std::string problem) {
    std::size_t number = 0;
    Expectation next = {Kind::kOther, "no further call", nullptr};
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        number = ++m_callCount;
        if (!m_script.empty()) {
            next = std::move(m_script.front());
            m_script.pop_front();
        }
    }
    if (problem.empty() && next.kind == call.kind) {
        const int result = next.answer(call, problem);
        if (problem.empty()) {
            return result;
        }
    }
    ADD_FAILURE() << "call " << number << " is " << call.words << ", expected: " << next.words
                  << "\n"
                  << problem;
    return -1;
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
