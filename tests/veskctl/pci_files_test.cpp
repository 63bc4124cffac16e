#include "veskctl/pci_files.h"

#include "veskctl/controller.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace veskctl;

namespace {

constexpr const char* kFolder = "/opt/orvo/pciconfig";

// 16 rows of 16 bytes, that of the ids first.
std::string dumpOf(const std::string& title, const std::string& ids, unsigned rows = 16) {
    std::string text = title + "\n" + ids;
    for (unsigned byte = 4; byte < rows * 16; ++byte) {
        text += byte % 16 == 0 ? "00" : " 00";
        text += byte % 16 == 15 ? "\n" : "";
    }
    return text;
}

const std::string kOurs = "4b 1b 37 52";
const std::string kForeign = "33 7a 04 a8";

Controller controllerAt3b() {
    Controller controller;
    controller.pci = {0x1B4B, 0x5237, 1, 1, 0x3B0000};
    controller.link = {3, 3, 4, 4};
    return controller;
}

struct PciCase {
    const char* name;
    std::string addresses;
    std::string dumps;
    Controller controller;
    std::vector<std::string> codes;
};

void PrintTo(const PciCase& files, std::ostream* stream) {
    *stream << files.name;
}

class PciFilesTest : public testing::TestWithParam<PciCase> {
protected:
    PciFilesTest() {
        std::string pattern = (fs::temp_directory_path() / "pci-files-XXXXXX").string();
        root = mkdtemp(pattern.data());
        fs::create_directories(root + kFolder);
    }
    ~PciFilesTest() override { fs::remove_all(root); }

    void put(const std::string& name, const std::string& text) const {
        std::ofstream(root + kFolder + "/" + name) << text;
    }

    std::string root;
};

TEST_P(PciFilesTest, NamesWhatIsMissing) {
    put("Templspcibdf.txt", GetParam().addresses);
    put("Templspciconfig.txt", GetParam().dumps);
    std::vector<Finding> findings;
    const PciFiles files = readPciFiles(root, findings);
    judgePciFiles(files, GetParam().controller, findings);
    std::vector<std::string> codes;
    codes.reserve(findings.size());
    for (const Finding& finding : findings) {
        codes.push_back(finding.code);
    }
    EXPECT_EQ(codes, GetParam().codes);
}

Controller changed(void (*change)(Controller&)) {
    Controller controller = controllerAt3b();
    change(controller);
    return controller;
}

const PciCase kCases[] = {
    {"Empty",
     "",
     "",
     changed([](Controller& controller) {
         controller.pci.addressRaw = 0;
         controller.link = {};
     }),
     {"pci_file_empty", "pci_file_empty"}},
    {"Good", "0000:3b:00.0 x\n", dumpOf("0000:3b:00.0 vmhba2", kOurs), controllerAt3b(), {}},
    {"ForeignAdapterBeside",
     "0000:3b:00.0 x\n",
     dumpOf("0000:02:00.0 vmhba1", kForeign) + dumpOf("0000:3b:00.0 vmhba2", kOurs),
     controllerAt3b(),
     {}},
    {"SecondController",
     "0000:3b:00.0 x\n",
     dumpOf("0000:3b:00.0 vmhba2", kOurs) + dumpOf("0000:5e:00.0 vmhba3", kOurs),
     controllerAt3b(),
     {"controller_not_followed"}},
    {"SecondControllerWhileTheFirstHasNoAddress",
     "something\n",
     dumpOf("0000:3b:00.0 vmhba2", kOurs) + dumpOf("0000:5e:00.0 vmhba3", kOurs),
     changed([](Controller& controller) { controller.pci.addressRaw = 0; }),
     {"pci_address_missing", "controller_not_followed"}},
    {"RowsWithOffsets",
     "0000:3b:00.0 x\n",
     "0000:3b:00.0 vmhba2\n00: " + kOurs + " 00\n0000:5e:00.0 vmhba3\n00: " + kOurs + " 00\n",
     controllerAt3b(),
     {"pci_dump_short", "controller_not_followed"}},
    {"NoAddress",
     "0000:3b:00.0 x\n",
     dumpOf("0000:3b:00.0 vmhba2", kOurs),
     changed([](Controller& controller) { controller.pci.addressRaw = 0; }),
     {"pci_address_missing"}},
    {"NoLink",
     "0000:3b:00.0 x\n",
     "something\n",
     changed([](Controller& controller) { controller.link = {}; }),
     {"pci_dump_missing"}},
    {"ShortDump",
     "0000:3b:00.0 x\n",
     dumpOf("0000:3b:00.0 vmhba2", kOurs, 8),
     controllerAt3b(),
     {"pci_dump_short"}},
};

INSTANTIATE_TEST_SUITE_P(PciFiles, PciFilesTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<PciCase>& test) {
                             return std::string(test.param.name);
                         });

}  // namespace
