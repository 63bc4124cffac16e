// Codes of the link, and how they are shown.
#include "veskctl/pcie_link.h"
#include "veskctl/pcie_link_view.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using nlohmann::ordered_json;
using veskctl::addPcieLinkLines;
using veskctl::PcieLink;
using veskctl::pcieLinkToJson;
using veskctl::Table;

PcieLink makeLink(unsigned currentSpeed, unsigned maxSpeed, unsigned currentWidth,
                  unsigned maxWidth) {
    PcieLink link;
    link.currentSpeedCode = static_cast<std::uint8_t>(currentSpeed);
    link.maxSpeedCode = static_cast<std::uint8_t>(maxSpeed);
    link.currentWidthCode = static_cast<std::uint8_t>(currentWidth);
    link.maxWidthCode = static_cast<std::uint8_t>(maxWidth);
    return link;
}

std::string shown(const PcieLink& link) {
    Table table;
    table.addSection("PCIe link");
    addPcieLinkLines(link, table);
    return table.render(false);
}

TEST(PcieLink, SpeedCodesOneToSix) {
    EXPECT_EQ(makeLink(1, 0, 0, 0).currentSpeedGts(), 2.5);
    EXPECT_EQ(makeLink(2, 0, 0, 0).currentSpeedGts(), 5.0);
    EXPECT_EQ(makeLink(3, 0, 0, 0).currentSpeedGts(), 8.0);
    EXPECT_EQ(makeLink(0, 4, 0, 0).maxSpeedGts(), 16.0);
    EXPECT_EQ(makeLink(0, 5, 0, 0).maxSpeedGts(), 32.0);
    EXPECT_EQ(makeLink(0, 6, 0, 0).maxSpeedGts(), 64.0);
}

TEST(PcieLink, OtherSpeedCodesAreNotReported) {
    for (const unsigned code : {0U, 7U, 15U, 255U}) {
        EXPECT_FALSE(makeLink(code, 0, 0, 0).currentSpeedGts().has_value()) << code;
        EXPECT_FALSE(makeLink(0, code, 0, 0).maxSpeedGts().has_value()) << code;
    }
}

TEST(PcieLink, WidthZeroIsNotReported) {
    EXPECT_EQ(makeLink(0, 0, 4, 8).currentWidth(), 4U);
    EXPECT_EQ(makeLink(0, 0, 4, 8).maxWidth(), 8U);
    EXPECT_FALSE(makeLink(0, 0, 0, 8).currentWidth().has_value());
    EXPECT_FALSE(makeLink(0, 0, 4, 0).maxWidth().has_value());
}

TEST(PcieLink, Downgraded) {
    EXPECT_EQ(makeLink(4, 4, 8, 8).downgraded(), false);
    EXPECT_EQ(makeLink(3, 4, 8, 8).downgraded(), true);
    EXPECT_EQ(makeLink(4, 4, 4, 8).downgraded(), true);
    // One side unknown: only a known loss tells.
    EXPECT_EQ(makeLink(3, 4, 0, 0).downgraded(), true);
    EXPECT_EQ(makeLink(0, 4, 4, 8).downgraded(), true);
    EXPECT_EQ(makeLink(4, 4, 0, 0).downgraded(), std::nullopt);
    EXPECT_EQ(makeLink(4, 4, 8, 0).downgraded(), std::nullopt);
    EXPECT_EQ(makeLink(9, 4, 8, 8).downgraded(), std::nullopt);
    EXPECT_EQ(makeLink(0, 0, 0, 0).downgraded(), std::nullopt);
}

TEST(PcieLinkView, Json) {
    EXPECT_EQ(pcieLinkToJson(makeLink(1, 3, 1, 8)), ordered_json::parse(R"({
        "current_speed_gts": 2.5, "max_speed_gts": 8.0, "current_width": 1, "max_width": 8,
        "downgraded": true, "current_speed_code": 1, "max_speed_code": 3,
        "current_width_code": 1, "max_width_code": 8})"));
    EXPECT_EQ(pcieLinkToJson(makeLink(0, 9, 0, 0)), ordered_json::parse(R"({
        "current_speed_gts": null, "max_speed_gts": null, "current_width": null,
        "max_width": null, "downgraded": null, "current_speed_code": 0, "max_speed_code": 9,
        "current_width_code": 0, "max_width_code": 0})"));
}

TEST(PcieLinkView, LinesOfAKnownLink) {
    EXPECT_EQ(shown(makeLink(1, 3, 1, 8)), "PCIe link\n"
                                           "  Current speed  2.5 GT/s\n"
                                           "  Maximum speed  8 GT/s\n"
                                           "  Current width  1 lane\n"
                                           "  Maximum width  8 lanes\n"
                                           "  Below maximum  yes (the slot may limit it, or it is "
                                           "idle)\n");
}

TEST(PcieLinkView, LinesOfAnUnknownLink) {
    EXPECT_EQ(shown(makeLink(0, 9, 0, 0)), "PCIe link\n"
                                           "  Current speed  not reported\n"
                                           "  Maximum speed  unknown (code 9)\n"
                                           "  Current width  not reported (16 lanes read so too)\n"
                                           "  Maximum width  not reported (16 lanes read so too)\n"
                                           "  Below maximum  unknown\n");
}

TEST(PcieLinkView, FullSpeedAndWidth) {
    EXPECT_NE(shown(makeLink(4, 4, 8, 8)).find("  Below maximum  no\n"), std::string::npos);
}

}  // namespace
