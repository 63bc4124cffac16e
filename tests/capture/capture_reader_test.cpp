#include "capture/capture_reader.h"

#include "capture/capture_file.h"
#include "capture/crc32c.h"
#include "scratch_file.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace veskcap;

void append(CaptureFile& file, std::uint16_t type, const std::string& body) {
    RecordHeader header = {};
    header.type = type;
    header.pid = 42;
    std::string record = bytesOf(header) + body;
    ASSERT_TRUE(file.append(record.data(), record.size())) << file.problem();
}

std::string exchangeBody(std::uint32_t pieces) {
    ExchangeBody body = {};
    body.call = kInvoke;
    body.result = -3;
    body.pieceCount = pieces;
    return bytesOf(body);
}

// A start, a file and an exchange of two pieces, written as the library does.
std::string sample() {
    const ScratchFile scratch;
    CaptureFile file;
    EXPECT_TRUE(file.open(scratch.name(), 0, 0)) << file.problem();
    append(file, kStartRecord, bytesOf(StartBody{7, 4, 0}) + "host");
    append(file, kFileRecord, bytesOf(FileBody{8, 0, 0, 5, 3}) + "/pathabc");
    append(file, kExchangeRecord,
           exchangeBody(2) + bytesOf(PieceHeader{kArgumentIn, 1, 0, 4, 2}) + "ab" +
               bytesOf(PieceHeader{kDataOut, 0, kCut, 9, 3}) + "xyz");
    return scratch.content();
}

std::string refusal(const std::string& bytes) {
    try {
        readCapture(bytes);
    } catch (const CaptureError& error) {
        return error.what();
    }
    return "";
}

// The sum over what a test has changed.
void mendSum(std::string& bytes, std::size_t offset) {
    std::uint32_t length = 0;
    std::memcpy(&length, &bytes[offset + 4], 4);
    const std::uint32_t crc = crc32c(0, &bytes[offset + 4], 12 + length);
    std::memcpy(&bytes[offset], &crc, 4);
}

TEST(CaptureReader, GivesBackWhatWasWritten) {
    const ReadCapture capture = readCapture(sample());
    EXPECT_EQ(capture.damage, "");
    ASSERT_EQ(capture.records.size(), 3U);
    EXPECT_EQ(capture.records[0].text, "host");
    EXPECT_EQ(capture.records[0].start.time, 7U);
    EXPECT_EQ(capture.records[1].text, "/path");
    EXPECT_EQ(capture.records[1].content, "abc");
    const Record& exchange = capture.records[2];
    EXPECT_EQ(exchange.number, 3U);
    EXPECT_EQ(exchange.header.pid, 42U);
    EXPECT_EQ(exchange.exchange.result, -3);
    ASSERT_NE(exchange.find(kArgumentIn, 1), nullptr);
    EXPECT_EQ(exchange.find(kArgumentIn, 1)->bytes, "ab");
    EXPECT_EQ(exchange.find(kArgumentIn, 1)->header.length, 4U);
    EXPECT_EQ(exchange.find(kArgumentIn, 0), nullptr);
    EXPECT_EQ(exchange.find(kDataOut)->bytes, "xyz");
}

TEST(CaptureReader, OfAFileCutAnywhereShowsWhatStandsBeforeTheCut) {
    const std::string whole = sample();
    const ReadCapture capture = readCapture(whole);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string cut = whole.substr(0, size);
        if (size < sizeof(FileHeader)) {
            EXPECT_NE(refusal(cut), "") << size;
            continue;
        }
        const ReadCapture part = readCapture(cut);
        std::size_t before = 0;
        bool atBoundary = size == sizeof(FileHeader);
        for (const Record& record : capture.records) {
            const std::size_t end = record.offset + sizeof(RecordHeader) + record.header.length;
            before += end <= size ? 1 : 0;
            atBoundary = atBoundary || end == size;
        }
        EXPECT_EQ(part.records.size(), before) << size;
        EXPECT_EQ(part.damage.empty(), atBoundary) << size << part.damage;
    }
}

TEST(CaptureReader, NoticesEachByteThatIsChangedAndSaysWhere) {
    const std::string whole = sample();
    const ReadCapture capture = readCapture(whole);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 0x10);
        if (at < sizeof(FileHeader)) {
            EXPECT_NE(refusal(changed), "") << at;
            continue;
        }
        const ReadCapture part = readCapture(changed);
        EXPECT_LT(part.records.size(), 3U) << at;
        const Record& damaged = capture.records[part.records.size()];
        EXPECT_GE(at, damaged.offset);
        EXPECT_LT(at, damaged.offset + sizeof(RecordHeader) + damaged.header.length);
        EXPECT_EQ(part.damage.find("record " + std::to_string(damaged.number) + " at offset " +
                                   std::to_string(damaged.offset) + ": "),
                  0U)
            << part.damage;
    }
}

TEST(CaptureReader, RefusesWhatItCannotReadAndSaysWhy) {
    EXPECT_NE(refusal("").find("empty"), std::string::npos);
    EXPECT_NE(refusal("just a text of some length, longer than a header is").find("no capture"),
              std::string::npos);
    std::string newer = sample();
    newer[8] = 2;
    EXPECT_NE(refusal(newer).find("newer program (format 2"), std::string::npos) << refusal(newer);
    EXPECT_NE(refusal(sample().substr(0, 20)).find("offset 20"), std::string::npos);
}

struct Hostile {
    const char* what;
    std::size_t at;  // in the exchange's record
    std::uint32_t value;
    const char* reason;
};

TEST(CaptureReader, BelievesNoLength) {
    const std::size_t body = sizeof(RecordHeader);
    const std::size_t piece = body + sizeof(ExchangeBody);
    const Hostile cases[] = {
        {"a body of 4 GiB", 4, 0xFFFFFFFF, "more than a record can have"},
        {"a body behind the end", 4, 0x10000, "ends inside the record"},
        {"a call that does not exist", body + 16, 9, "does not exist"},
        {"a thousand pieces", body + 52, 1000, "more pieces"},
        {"a piece too many", body + 52, 3, "do not fit"},
        {"a piece too few", body + 52, 1, "behind its last piece"},
        {"a piece of 4 GiB", piece + 8, 0xFFFFFFFF, "do not fit"},
        {"a piece with more stored than it has", piece + 4, 1, "do not fit"},
    };
    const std::string whole = sample();
    const std::size_t offset = readCapture(whole).records[2].offset;
    for (const Hostile& hostile : cases) {
        std::string changed = whole;
        std::memcpy(&changed[offset + hostile.at], &hostile.value, 4);
        if (hostile.at >= body) {
            mendSum(changed, offset);
        }
        const ReadCapture part = readCapture(changed);
        EXPECT_EQ(part.records.size(), 2U) << hostile.what;
        EXPECT_NE(part.damage.find(hostile.reason), std::string::npos)
            << hostile.what << ": " << part.damage;
    }
}

TEST(CaptureReader, PassesOverRecordsOfALaterKind) {
    const ScratchFile scratch;
    CaptureFile file;
    ASSERT_TRUE(file.open(scratch.name(), 0, 0));
    append(file, 99, "whatever");
    append(file, kStartRecord, bytesOf(StartBody{7, 1, 0}) + "x");
    const ReadCapture capture = readCapture(scratch.content());
    ASSERT_EQ(capture.records.size(), 2U);
    EXPECT_EQ(capture.records[0].header.type, 99);
    EXPECT_EQ(capture.records[1].text, "x");
}

}  // namespace
