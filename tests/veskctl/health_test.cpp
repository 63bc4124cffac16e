// Health: asked for, decoded, shown. Whole tables stand in tests/golden.
#include "veskctl/health.h"

#include "veskctl/report.h"

#include "fake_library.h"
#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

using Texts = std::vector<std::string>;

// Disk 1 is there, and healthy.
class HealthOfADisk : public WithFakeLibrary {
protected:
    HealthOfADisk() {
        slot.info = sampleDiskInfo();
        slot.health = sampleHealth(0x4F);
    }

    Health read(unsigned id = 1) { return readHealth(library.functions(), id, problems); }
};

std::string shown(const Health& health, bool colour = false) {
    Blocks blocks;
    addHealthSection(health, blocks);
    return blocks.render(colour);
}

TEST_F(HealthOfADisk, IsDecodedAmongNoise) {
    const Health health = read();
    EXPECT_EQ(library.calls, (Texts{"diskInfo 1", "diskHealth 1"}));
    EXPECT_EQ(told(problems), Texts());
    EXPECT_EQ(compact(healthToJson(health)), compact(R"({
        "slot": 1, "present": true, "model_name": "Model X", "serial_number": "SN 0042",
        "smart_status": "ok", "smart_status_code": 79, "percentage_used": 103,
        "available_spare": 7, "available_spare_threshold": 10,
        "attributes": [
            {"id": 0, "name": "Percent Drive Life Remaining", "value_raw": 103,
             "threshold_raw": 0},
            {"id": 1, "name": "Available Spare", "value_raw": 7, "threshold_raw": 10}]})"));
}

TEST_F(HealthOfADisk, StatusCodesHaveNames) {
    slot.health = sampleHealth(1);
    EXPECT_EQ(at(healthToJson(read()), "/smart_status"), "\"alert\"");
    EXPECT_TRUE(contains(shown(read(), true), "  \x1b[33malert (0x01)\x1b[0m\n"));
    slot.health = sampleHealth(9);
    EXPECT_EQ(at(healthToJson(read()), "/smart_status"), "\"unknown\"");
    EXPECT_EQ(at(healthToJson(read()), "/smart_status_code"), "9");
    EXPECT_TRUE(contains(shown(read()), "unknown (0x09)"));
}

TEST_F(HealthOfADisk, WearBeyondItsLimitsIsColouredAndNoProblem) {
    struct Row {
        unsigned used, spare, threshold;
        const char* usedShown;
        const char* spareShown;
    };
    const std::vector<Row> rows = {
        {100, 16, 10, "  \x1b[33m100 % (100 is the rated life)\x1b[0m\n", "  16 %\n"},
        {90, 10, 10, "  \x1b[33m90 % (100 is the rated life)\x1b[0m\n", "  \x1b[33m10 %\x1b[0m\n"},
        {89, 9, 10, "  89 % (100 is the rated life)\n", "  \x1b[33m9 %\x1b[0m\n"},
        {0, 100, 0, "  0 % (100 is the rated life)\n", "  100 %\n"}};
    for (const Row& row : rows) {
        slot.health->attributes[0].currentValue = static_cast<UCHAR_>(row.used);
        slot.health->attributes[1].currentValue = static_cast<UCHAR_>(row.spare);
        slot.health->attributes[1].thresholdValue = static_cast<UCHAR_>(row.threshold);
        const std::string text = shown(read(), true);
        EXPECT_TRUE(contains(text, std::string(" Percentage used") + row.usedShown)) << text;
        EXPECT_TRUE(contains(text, std::string(" Available spare") + row.spareShown)) << text;
    }
    EXPECT_EQ(told(problems), Texts());
}

TEST_F(HealthOfADisk, AnAbsentDiskIsNotAskedForItsHealth) {
    const Health health = read(0);
    EXPECT_EQ(library.calls, Texts{"diskInfo 0"});
    EXPECT_EQ(told(problems), Texts());
    EXPECT_EQ(compact(healthToJson(health)), compact(R"({
        "slot": 0, "present": false, "model_name": null, "serial_number": null,
        "smart_status": "unknown", "smart_status_code": null, "percentage_used": null,
        "available_spare": null, "available_spare_threshold": null, "attributes": []})"));
    EXPECT_EQ(shown(health), "Disk 0\n! State  absent\n");
}

// It would read as a healthy one.
TEST_F(HealthOfADisk, ADiskThatDoesNotAnswerIsNotAskedForItsHealth) {
    slot.info = PD_Info();
    EXPECT_STREQ(read().status(), "unknown");
    EXPECT_EQ(library.calls, Texts{"diskInfo 1"});
    EXPECT_EQ(told(problems), Texts{"disk_not_responding: disk 1 did not answer"});
}

TEST_F(HealthOfADisk, ARecordThatStaysUntouchedIsNoHealth) {
    slot.health.reset();
    const Health health = read();
    EXPECT_FALSE(health.record.has_value());
    EXPECT_EQ(told(problems),
              Texts{"disk_not_responding: disk 1 did not answer the request for its health"});
    EXPECT_TRUE(contains(shown(health), "! Health status    unknown\n"
                                        "  Percentage used  unknown\n"));
}

TEST_F(HealthOfADisk, APageOfZerosIsNoHealthButTheStatusStays) {
    slot.health->attributes[0].currentValue = 0;
    slot.health->attributes[1].currentValue = 0;
    slot.health->attributes[1].thresholdValue = 0;
    const Json json = healthToJson(read());
    EXPECT_EQ(at(json, "/smart_status"), "\"ok\"");
    EXPECT_EQ(at(json, "/percentage_used"), "null");
    EXPECT_EQ(at(json, "/available_spare"), "null");
    EXPECT_EQ(at(json, "/attributes/1/value_raw"), "0");
    EXPECT_EQ(told(problems),
              Texts{"disk_not_responding: disk 1 did not answer the request for its health"});
}

TEST_F(HealthOfADisk, AFailedCallIsAProblem) {
    library.results["diskHealth"] = 1;
    slot.health.reset();
    EXPECT_EQ(read().disk.presence, Presence::Present);
    EXPECT_EQ(told(problems), Texts{"library_call_failed: the library's ZT_PD_GET_SMART_INFO "
                                    "failed for disk 1 with result 1 (fail)"});
}

TEST_F(HealthOfADisk, ALibraryThatThrowsIsAProblemOfThatDisk) {
    library.throwing = "diskHealth";
    EXPECT_EQ(read().disk.presence, Presence::Present);
    EXPECT_EQ(told(problems), Texts{"internal_error: disk 1 cannot be read: thrown by diskHealth"});
}

}  // namespace

}  // namespace veskctl
