// What two documents of `dump` differ in. Whole dumps are compared in tests/golden.
#include "veskctl/diff.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace veskctl;

namespace {

using Texts = std::vector<std::string>;

Json good() {
    return parsed(R"({
        "verdict": {"level": "ok"},
        "controllers": [{"responding": true, "firmware_version": "1.2.3.4",
                         "pcie_link": {"current_width": 4}, "physical_disk_count": 2}],
        "disks": [{"slot": 0, "present": true, "state": "online", "serial_number": "A"},
                  {"slot": 1, "present": true, "state": "online", "serial_number": "B"}],
        "health": [{"slot": 0, "present": true, "percentage_used": 2},
                   {"slot": 1, "present": true, "percentage_used": 3}],
        "volumes": [{"id": 0, "state": "normal", "status_code": 0}],
        "host_files": {"mapping": {"rows": 23}},
        "findings": [{"severity": "info", "code": "library", "path": "/a", "line": null, "text": "fine"}],
        "events": [{"sequence": 4, "time_raw": 100, "time": "t", "severity": "info", "message": "m"}]})");
}

struct DiffCase {
    const char* name;
    const char* patch;  // of the document, as a JSON merge patch
    Texts changes;
};

void PrintTo(const DiffCase& diff, std::ostream* stream) {
    *stream << diff.name;
}

class DiffTest : public testing::TestWithParam<DiffCase> {};

Texts textsOf(const std::vector<Change>& changes) {
    Texts texts;
    for (const Change& change : changes) {
        texts.push_back(change.text);
    }
    return texts;
}

TEST_P(DiffTest, TellsInWords) {
    Json after = good();
    after.merge_patch(parsed(GetParam().patch));
    EXPECT_EQ(textsOf(changesBetween(good(), after)), GetParam().changes);
}

const DiffCase kDiffs[] = {
    {"Nothing", "{}", {}},
    {"Verdict", R"({"verdict": {"level": "critical"}})", {"verdict: level was ok, is critical"}},
    {"Controller",
     R"({"controllers": [{"responding": false, "firmware_version": "1.2.3.5",
                          "pcie_link": {"current_width": null}, "physical_disk_count": 2}]})",
     {"controller: responding was yes, is no",
      "controller: firmware version was 1.2.3.4, is 1.2.3.5",
      "controller: link width in lanes was 4, is unknown"}},
    {"NoController", R"({"controllers": []})", {"controller is gone"}},
    {"DiskIsGone",
     R"({"disks": [{"slot": 0, "present": true, "state": "online", "serial_number": "A"},
                   {"slot": 1, "present": false, "state": "absent", "serial_number": null}],
         "health": [{"slot": 0, "present": true, "percentage_used": 2},
                    {"slot": 1, "present": false, "percentage_used": null}]})",
     {"disk 1: state was online, is absent"}},
    {"DiskWasReplaced",
     R"({"disks": [{"slot": 0, "present": true, "state": "online", "serial_number": "A"},
                   {"slot": 1, "present": true, "state": "online", "serial_number": "C"}]})",
     {"disk 1: serial number was B, is C"}},
    {"Wear",
     R"({"health": [{"slot": 0, "present": true, "percentage_used": 9},
                    {"slot": 1, "present": true, "percentage_used": 3}]})",
     {"disk 0: percentage used was 2, is 9"}},
    {"VolumesCameAndWent",
     R"({"volumes": [{"id": 1, "state": "normal", "status_code": 0}]})",
     {"volume 1 is new", "volume 0 is gone"}},
    {"HostFile",
     R"({"host_files": {"mapping": {"rows": 0}}})",
     {"host files: rows of the alert mapping was 23, is 0"}},
    {"FindingsInOrderAreNone",
     R"({"findings": [{"severity": "error", "code": "mark_crlf", "path": "/b", "line": 3,
                       "text": "bad"}]})",
     {"found: /b: bad"}},
    {"Events",
     R"({"events": [{"sequence": 4, "time_raw": 101, "time": "u", "severity": null,
                     "message": "n"}]})",
     {"new event 4: u unknown n"}},
    {"ADocumentOfOtherHands",
     R"({"disks": 7, "health": null, "volumes": {}, "findings": "x", "events": [3, null],
         "controllers": [[]]})",
     {"controller: responding was yes, is unknown",
      "controller: firmware version was 1.2.3.4, is unknown",
      "controller: link width in lanes was 4, is unknown",
      "controller: count of disks was 2, is unknown", "disk 0 is gone", "disk 1 is gone",
      "volume 0 is gone", "new event unknown: unknown unknown unknown",
      "new event unknown: unknown unknown unknown"}},
};

INSTANTIATE_TEST_SUITE_P(Diff, DiffTest, testing::ValuesIn(kDiffs),
                         [](const testing::TestParamInfo<DiffCase>& test) {
                             return std::string(test.param.name);
                         });

TEST(Diff, KeepsTheValues) {
    Json after = good();
    after["volumes"][0]["status_code"] = 2;
    const std::vector<Change> changes = changesBetween(good(), after);
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].subject, "volume 0");
    EXPECT_EQ(changes[0].field, "status_code");
    EXPECT_EQ(changes[0].before, Json(0));
    EXPECT_EQ(changes[0].after, Json(2));
}

}  // namespace
