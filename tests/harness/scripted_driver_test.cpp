// The scripted driver answers the calls of its script and fails a test for every other call.
#include "scripted_driver.h"

#include "from_library.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using harness::LibraryCalls;
using vesktest::record;
using vesktest::Record;
using vesktest::RecordBytes;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::SignatureLiteral;

const char kTable[64] = {};
const SignatureLiteral kGlobal = {0x01000000, "nvmeMgmt", "VMware", 1, kTable};

std::vector<std::uint8_t> signatureBytes() {
    std::vector<std::uint8_t> bytes(80, 0);
    bytes[3] = 1;
    std::memcpy(&bytes[4], "nvmeMgmt", 8);
    std::memcpy(&bytes[36], "VMware", 6);
    bytes[68] = 1;
    const void* const table = kTable;
    std::memcpy(&bytes[72], &table, 8);
    return bytes;
}

// The same command as an expectation and as the bytes that come.
Record commandE2(bool expectData = true) {
    return record({{0, "e2"}, {40, "00 04 00 00"}, {96, "8084 1E 00"}}, expectData);
}

RecordBytes commandBytes(void* data) {
    RecordBytes bytes{};
    bytes[0] = 0xe2;
    bytes[41] = 4;
    bytes[96] = 0x80;
    bytes[97] = 0x84;
    bytes[98] = 0x1e;
    std::memcpy(&bytes[104], &data, 8);
    return bytes;
}

int invoke(const LibraryCalls& calls, std::uint64_t handle, std::uint32_t code,
           RecordBytes& bytes) {
    return calls.invokeDriver(handle, 0, 17, 2, &code, bytes.data());
}

class DriverScript : public harness::FromLibrary {
protected:
    std::vector<std::uint8_t> m_data = std::vector<std::uint8_t>(9, 0);
    RecordBytes m_bytes = commandBytes(m_data.data());
    std::uint64_t m_handle = 1;
};

INSTANTIATE_TEST_SUITE_P(Harness, DriverScript, harness::bothLibraries(), harness::libraryName);

}  // namespace

TEST_P(DriverScript, IsFollowed) {
    ScriptedDriver driver;
    driver.expectOpen(kGlobal, 0, 0x55);
    driver.expectAdapterList(0x55, {{"vmhba1", "sig1"}, {std::string(32, 'n'), "sig2"}}, 3);
    driver.expectClose(0x55, 4);
    driver.expectOpen(kGlobal, 9, 0x66);
    Reply reply;
    reply.bytes = {1, 0, 3};
    reply.bufferSize = 8;
    reply.completionStatus = 0x0203;
    reply.uioStatus = 0x04050607;
    reply.resultCode = 12;
    driver.expectCommand(commandE2(), reply);

    EXPECT_EQ(calls().openDriver(signatureBytes().data(), 0, &m_handle), 0);
    EXPECT_EQ(m_handle, 0x55U);
    EXPECT_EQ(driver.openCount(), 1U);

    std::uint32_t listed = 0;
    std::vector<char> list(5120, 0);
    EXPECT_EQ(calls().invokeDriver(0x55, 0, 16, 2, &listed, list.data()), 0);
    EXPECT_EQ(listed, 3U);
    EXPECT_STREQ(&list[0], "vmhba1");
    EXPECT_STREQ(&list[32], "sig1");
    EXPECT_NE(list[79], 0) << "noise behind the texts";
    EXPECT_EQ(std::string(&list[80], 32), "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn");
    EXPECT_STREQ(&list[112], "sig2");
    EXPECT_EQ(list[160], 0) << "nothing behind the last entry";

    EXPECT_EQ(calls().closeDriver(0x55), 4);
    EXPECT_EQ(driver.openCount(), 0U);
    m_handle = 1;
    EXPECT_EQ(calls().openDriver(signatureBytes().data(), 0, &m_handle), 9);
    EXPECT_EQ(m_handle, 1U) << "no handle comes with a failure";

    const RecordBytes sent = m_bytes;
    EXPECT_EQ(invoke(calls(), 0x55, 1, m_bytes), 12);
    EXPECT_EQ(driver.lastRecord(), sent);
    EXPECT_EQ(m_data[0], 1);
    EXPECT_EQ(m_data[1], 0);
    EXPECT_EQ(m_data[2], 3);
    EXPECT_EQ(std::count(m_data.begin() + 3, m_data.begin() + 8, 0), 0) << "noise";
    EXPECT_EQ(m_data[8], 0);
    EXPECT_EQ(m_bytes[78], 0x03);
    EXPECT_EQ(m_bytes[79], 0x02);
    EXPECT_EQ(m_bytes[84], 0x07);
    EXPECT_EQ(m_bytes[87], 0x04);
    EXPECT_EQ(driver.callCount(), 5U);
}

TEST_P(DriverScript, RefusesAWrongSignature) {
    for (const std::size_t wrong : {0U, 4U, 12U, 35U, 36U, 42U, 67U, 68U, 72U}) {
        ScriptedDriver driver;
        driver.expectOpen(kGlobal, 0, 0x55);
        std::vector<std::uint8_t> signature = signatureBytes();
        signature[wrong] = static_cast<std::uint8_t>(signature[wrong] ^ 0x10);
        int result = 0;
        EXPECT_NONFATAL_FAILURE(result = calls().openDriver(signature.data(), 0, &m_handle),
                                "  byte " + std::to_string(wrong) + " is ");
        EXPECT_EQ(result, -1);
        EXPECT_EQ(m_handle, 1U);
    }
    SignatureLiteral withoutTable = kGlobal;
    withoutTable.callbacks = nullptr;
    ScriptedDriver driver;
    driver.expectOpen(withoutTable, 0, 0x55);
    driver.expectOpen(kGlobal, 0, 0x55);
    EXPECT_EQ(calls().openDriver(signatureBytes().data(), 0, &m_handle), 0);
    EXPECT_NONFATAL_FAILURE(calls().openDriver(signatureBytes().data(), 5, &m_handle),
                            "cookie is 5");
}

TEST_P(DriverScript, RefusesAWrongRecord) {
    const LibraryCalls& library = calls();
    for (std::size_t wrong = 0; wrong < vesktest::kRecordSize; ++wrong) {
        if (wrong >= 104 && wrong < 112) {
            continue;  // any address will do
        }
        ScriptedDriver driver;
        driver.expectCommand(commandE2());
        RecordBytes bytes = m_bytes;
        bytes[wrong] = static_cast<std::uint8_t>(bytes[wrong] ^ 0x01);
        EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, bytes),
                                "  byte " + std::to_string(wrong) + " is ");
    }
    ScriptedDriver driver;
    RecordBytes withoutData = commandBytes(nullptr);
    driver.expectCommand(commandE2());
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, withoutData), "the data address is null");
    driver.expectCommand(commandE2(false));
    EXPECT_EQ(invoke(library, 1, 1, withoutData), 0);
    driver.expectCommand(commandE2(false));
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, m_bytes), "the data address is not null");
}

TEST_P(DriverScript, RefusesWrongArguments) {
    const LibraryCalls& library = calls();
    std::uint32_t code = 1;
    ScriptedDriver driver;
    driver.expectOpen(kGlobal, 0, 0x55);
    EXPECT_EQ(library.openDriver(signatureBytes().data(), 0, &m_handle), 0);
    for (int i = 0; i < 6; ++i) {
        driver.expectCommand(commandE2());
    }
    EXPECT_NONFATAL_FAILURE(invoke(library, 0x54, 1, m_bytes), "handle is 84, expected 85");
    EXPECT_NONFATAL_FAILURE(invoke(library, 0x55, 2, m_bytes), "request code is 2, expected 1");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 1, 17, 2, &code, m_bytes.data()),
                            "instance is 1");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 0, 18, 2, &code, m_bytes.data()),
                            "no such callback");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 0, 17, 3, &code, m_bytes.data()),
                            "parameter count is 3");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 0, 17, 2, &code, nullptr),
                            "a null parameter");
    Record other = commandE2();
    other.requestCode = 3;
    other.handle = 0x77;
    driver.expectCommand(other);
    EXPECT_EQ(invoke(library, 0x77, 3, m_bytes), 0);
    driver.expectAdapterList(0x55, {}, 0);
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x56, 0, 16, 2, &code, m_bytes.data()),
                            "handle is 86, expected 85");
    driver.expectClose(0x55);
    EXPECT_NONFATAL_FAILURE(library.closeDriver(0x56), "handle is 86, expected 85");
}

TEST_P(DriverScript, RefusesExtraAndMisplacedCalls) {
    const LibraryCalls& library = calls();
    int result = 0;
    EXPECT_NONFATAL_FAILURE(result = library.closeDriver(3), "no ScriptedDriver lives");
    EXPECT_EQ(result, -1);
    std::uint32_t listed = 0;
    ScriptedDriver driver;
    EXPECT_NONFATAL_FAILURE(result = library.closeDriver(3),
                            "call 1 is a close of handle 3, expected: no further call");
    EXPECT_EQ(result, -1);
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, m_bytes), "expected: no further call");
    EXPECT_NONFATAL_FAILURE(library.openDriver(signatureBytes().data(), 0, &m_handle),
                            "expected: no further call");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(1, 0, 16, 2, &listed, m_bytes.data()),
                            "expected: no further call");
    driver.expectClose(3);
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, m_bytes), "expected: close of handle 3");
    driver.expectCommand(commandE2());
    EXPECT_NONFATAL_FAILURE(library.closeDriver(3), "expected: callback 17 with opcode e2");
}

TEST_P(DriverScript, RefusesAReplyWithoutABuffer) {
    RecordBytes bytes = commandBytes(nullptr);
    Reply reply;
    reply.bufferSize = 1;
    ScriptedDriver driver;
    driver.expectCommand(commandE2(false), reply);
    int result = 0;
    EXPECT_NONFATAL_FAILURE(result = invoke(calls(), 1, 1, bytes), "no buffer for the reply");
    EXPECT_EQ(result, -1);
}

TEST_P(DriverScript, HookMayThrowThroughTheCall) {
    Reply reply;
    reply.bytes = {1};
    reply.bufferSize = 1;
    reply.hook = [] {
        throw std::bad_alloc();
    };
    ScriptedDriver driver;
    driver.expectCommand(commandE2(), reply);
    EXPECT_THROW(invoke(calls(), 1, 1, m_bytes), std::bad_alloc);
    EXPECT_EQ(m_data[0], 0);
}

TEST(ScriptedDriverTest, ReportsMissingCalls) {
    EXPECT_NONFATAL_FAILURE(
        {
            ScriptedDriver driver;
            driver.expectClose(3);
            driver.expectCommand(commandE2());
        },
        "calls that did not come:\n  close of handle 3\n  callback 17 with opcode e2\n");
}

TEST(ScriptedDriverTest, RefusesASecondOne) {
    ScriptedDriver first;
    EXPECT_NONFATAL_FAILURE(ScriptedDriver second, "another ScriptedDriver lives");
    first.expectClose(3);
    EXPECT_EQ(harnessLibraryCalls()->closeDriver(3), 0);
}

TEST(ScriptedDriverTest, RefusesBadLiterals) {
    using Piece = vesktest::HexAt;
    for (const Piece& piece : {Piece{0, "e"}, Piece{0, "g0"}, Piece{0, ""}, Piece{119, "01 02"},
                               Piece{120, "01"}, Piece{103, "01 02"}, Piece{111, "01"}}) {
        EXPECT_THROW(record({piece}), std::invalid_argument) << piece.offset << " " << piece.bytes;
    }
    EXPECT_THROW(record({{0, "01 02"}, {1, "02"}}), std::invalid_argument);
    EXPECT_EQ(record({{112, "Ff"}}).bytes[112], 0xff);
    ScriptedDriver driver;
    Reply tooLong;
    tooLong.bytes = {1, 2};
    tooLong.bufferSize = 1;
    EXPECT_THROW(driver.expectCommand(commandE2(), tooLong), std::invalid_argument);
    EXPECT_THROW(driver.expectAdapterList(1, {{std::string(33, 'n'), ""}}, 1),
                 std::invalid_argument);
    EXPECT_THROW(driver.expectOpen({1, std::string(33, 'n'), "", 1, nullptr}, 0, 1),
                 std::invalid_argument);
}
