// Words that were meant.
#include "veskctl/spelling.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

TEST(Spelling, FindsWhatWasMeant) {
    const std::vector<std::string> words = {"status", "disks", "doctor", "--json", "--no-header"};
    struct Row {
        const char* typed;
        const char* meant;  // empty: nothing
    };
    const std::vector<Row> rows = {{"disk", "disks"},
                                   {"dsiks", "disks"},
                                   {"diskss", "disks"},
                                   {"sta", "status"},
                                   {"statsu", "status"},
                                   {"doc", "doctor"},
                                   {"--jsno", "--json"},
                                   {"--noheader", "--no-header"},
                                   {"rebuild", ""},
                                   {"--follow", ""},
                                   {"x", ""},
                                   {"", ""},
                                   {"controller", ""},
                                   {"DISKS", ""}};
    for (const Row& row : rows) {
        EXPECT_EQ(nearest(row.typed, words).value_or(""), row.meant) << row.typed;
    }
    EXPECT_EQ(nearest(std::string(1'000'000, 'a'), words), std::nullopt);
    EXPECT_EQ(nearest("disks", {}), std::nullopt);
}

}  // namespace

}  // namespace veskctl
