#include "samples.h"

ControllerBytes sampleController() {
    return ControllerBytes()
        .put(24, {0x02, 0x00, 0x03, 0x00, 0x2C, 0x01, 0x88, 0x13})
        .put(48, {0x00, 0x00, 0x3B, 0x00, 0x00, 0x00, 0x00, 0x00})
        .put(64, {0x34, 0x12, 0xBC, 0x9A, 0x78, 0x56, 0xF0, 0xDE})
        .put(72, {0x04})
        .put(90, {0x02})
        .put(93, {0x01})
        .put(106, {0x00, 0x10})
        .put(272, {0x04, 0x03, 0x08, 0x04});
}

PD_Info sampleDiskInfo() {
    return RecordBytes<248>()
        .put(36, {0x02, 0x01})
        .putText(48, 8, "")
        .put(66, {0x40})
        .put(72, {0, 0, 0, 0})
        .putText(76, 40, "  Model X        ")
        .putText(116, 20, "SN 0042   ")
        .putText(136, 8, "F1.2   ")
        .put(144, {0x30, 0xC2, 0xE3, 0x37, 0, 0, 0, 0})
        .put(164, {0x00, 0x10, 0x00, 0x00})
        .put(184, {1})
        .as<PD_Info>();
}

PD_Config sampleDiskConfig() {
    return RecordBytes<8>().put(0, {1, 1, 1, 3, 0, 0, 0x04, 0x03}).as<PD_Config>();
}

PD_RaidStatus sampleRaidStatus() {
    return RecordBytes<8>().put(0, {0x04, 0x03}).put(4, {0x21}).as<PD_RaidStatus>();
}

PD_FreeSpaceInfo sampleFreeSpace() {
    return RecordBytes<16>()
        .put(0, {0x02, 0x01})
        .put(4, {0x00, 0x10})
        .put(8, {0, 0, 0, 0, 0, 0, 0, 0})
        .as<PD_FreeSpaceInfo>();
}

SMART_INFO_ARRAY sampleHealth(std::uint8_t status) {
    RecordBytes<2404> bytes;
    bytes.put(0, {status});
    bytes.put(4, {0}).putText(5, 65, "Percent Drive Life Remaining").put(71, {103}).put(79, {0});
    bytes.put(84, {1}).putText(85, 65, "Available Spare").put(151, {7}).put(159, {10});
    for (std::size_t row = 2; row < 30; ++row) {
        bytes.put(4 + row * 80, {0}).putText(5 + row * 80, 65, "");
    }
    return bytes.as<SMART_INFO_ARRAY>();
}

std::string compact(const veskctl::Json& json) {
    return json.dump();
}

std::string compact(const char* text) {
    return parsed(text).dump();
}

std::string at(const veskctl::Json& json, const std::string& pointer) {
    const veskctl::Json::json_pointer place(pointer);
    return json.contains(place) ? json[place].dump() : "missing";
}

veskctl::Json parsed(const std::string& text) {
    return veskctl::Json::parse(text);
}

std::vector<std::string> told(const std::vector<veskctl::Problem>& problems) {
    std::vector<std::string> texts;
    for (const veskctl::Problem& problem : problems) {
        const veskctl::Json json = veskctl::problemToJson(problem);
        texts.push_back(json["code"].get<std::string>() + ": " +
                        json["message"].get<std::string>());
    }
    return texts;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
