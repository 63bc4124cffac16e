// Health: asked for, decoded, shown.
#include "veskctl/health_reader.h"
#include "veskctl/health_view.h"

#include "fake_library.h"
#include "sample_disk.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using nlohmann::ordered_json;
using veskctl::addHealthSection;
using veskctl::Health;
using veskctl::healthToJson;
using veskctl::Presence;
using veskctl::Problem;
using veskctl::ProblemKind;
using veskctl::readHealth;
using veskctl::Table;

class HealthOfADisk : public testing::Test {
protected:
    HealthOfADisk() {
        library.slots[1].info = sampleDiskInfo();
        library.slots[1].health = sampleHealthRecord(0x4F);
    }

    Health read(unsigned slot) { return readHealth(library.functions(), slot, problems); }

    static std::string shown(const Health& health) {
        Table table;
        addHealthSection(health, table);
        return table.render(false);
    }

    FakeLibrary library;
    std::vector<Problem> problems;
};

TEST_F(HealthOfADisk, Json) {
    EXPECT_EQ(healthToJson(read(1)), ordered_json::parse(R"({
        "slot": 1, "present": true, "model_name": "Model X", "serial_number": "SN 0042",
        "smart_status": "ok", "smart_status_code": 79, "percentage_used": 103,
        "available_spare": 7, "available_spare_threshold": 10,
        "attributes": [
            {"id": 0, "name": "Percent Drive Life Remaining", "value_raw": 103,
             "threshold_raw": 0},
            {"id": 1, "name": "Available Spare", "value_raw": 7, "threshold_raw": 10}]})"));
    EXPECT_TRUE(problems.empty());
}

TEST_F(HealthOfADisk, Table) {
    EXPECT_EQ(shown(read(1)), "Disk 1\n"
                              "  Model            Model X\n"
                              "  Serial number    SN 0042\n"
                              "  Health status    ok\n"
                              "  Percentage used  103 % (100 is the rated life)\n"
                              "  Available spare  7 %\n"
                              "  Spare threshold  10 %\n");
}

TEST_F(HealthOfADisk, StatusCodes) {
    library.slots[1].health = sampleHealthRecord(1);
    EXPECT_EQ(healthToJson(read(1))["smart_status"], "alert");
    library.slots[1].health = sampleHealthRecord(9);
    const Health other = read(1);
    EXPECT_EQ(healthToJson(other)["smart_status"], "unknown");
    EXPECT_EQ(healthToJson(other)["smart_status_code"], 9);
    EXPECT_NE(shown(other).find("unknown (code 9)"), std::string::npos);
}

TEST_F(HealthOfADisk, AlarmsAreColouredNotCounted) {
    Table table;
    addHealthSection(read(1), table);
    const std::string text = table.render(true);
    EXPECT_NE(text.find("\x1b[33m103 % (100 is the rated life)\x1b[0m"), std::string::npos);
    EXPECT_NE(text.find("\x1b[33m7 %\x1b[0m"), std::string::npos);
    EXPECT_TRUE(problems.empty());
}

TEST_F(HealthOfADisk, AnAbsentDiskIsNotAskedForItsHealth) {
    const Health health = read(0);
    EXPECT_EQ(library.calls, std::vector<std::string>{"diskInfo 0"});
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(healthToJson(health), ordered_json::parse(R"({
        "slot": 0, "present": false, "model_name": null, "serial_number": null,
        "smart_status": "unknown", "smart_status_code": null, "percentage_used": null,
        "available_spare": null, "available_spare_threshold": null, "attributes": []})"));
    EXPECT_EQ(shown(health), "Disk 0\n  State  absent\n");
}

// It would read as a healthy one.
TEST_F(HealthOfADisk, ADiskThatDoesNotAnswerIsNotAskedForItsHealth) {
    library.slots[1].info = PD_Info();
    const Health health = read(1);
    EXPECT_EQ(library.calls, std::vector<std::string>{"diskInfo 1"});
    EXPECT_STREQ(health.status(), "unknown");
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].kind, ProblemKind::DiskNotResponding);
}

TEST_F(HealthOfADisk, ARecordThatStaysUntouchedIsNoHealth) {
    library.slots[1].health.reset();
    const Health health = read(1);
    EXPECT_FALSE(health.record.has_value());
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].message, "disk 1 did not answer the request for its health");
    EXPECT_NE(shown(health).find("  Health status    unknown\n"), std::string::npos);
}

TEST_F(HealthOfADisk, APageOfZerosIsNoHealthButTheStatusStays) {
    SMART_INFO_ARRAY record = sampleHealthRecord(0x4F);
    record.attributes[0].currentValue = 0;
    record.attributes[1].currentValue = 0;
    record.attributes[1].thresholdValue = 0;
    library.slots[1].health = record;
    const ordered_json json = healthToJson(read(1));
    EXPECT_EQ(json["smart_status"], "ok");
    EXPECT_TRUE(json["percentage_used"].is_null());
    EXPECT_TRUE(json["available_spare"].is_null());
    EXPECT_EQ(json["attributes"][1]["value_raw"], 0);
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].kind, ProblemKind::DiskNotResponding);
}

TEST_F(HealthOfADisk, ANewDiskIsNoPageOfZeros) {
    SMART_INFO_ARRAY record = sampleHealthRecord(0x4F);
    record.attributes[0].currentValue = 0;
    record.attributes[1].currentValue = 100;
    record.attributes[1].thresholdValue = 0;
    library.slots[1].health = record;
    EXPECT_EQ(healthToJson(read(1))["percentage_used"], 0);
    EXPECT_TRUE(problems.empty());
}

TEST_F(HealthOfADisk, AFailedCallIsAProblem) {
    library.results["diskHealth"] = 1;
    library.slots[1].health.reset();
    EXPECT_EQ(read(1).disk.presence, Presence::Present);
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].message,
              "the library's ZT_PD_GET_SMART_INFO failed for disk 1 with result 1 (fail)");
}

}  // namespace
