// The numbers of docs/wire-formats.md, and those of docs/host-guide.md that count commands, against
// the library.
#include "markdown_table.h"
#include "sim_host.h"

#include "VeskNvme.h"
#include "controller/adapter_config_builder.h"
#include "controller/adapter_data.h"
#include "controller/adapter_info_builder.h"
#include "controller/adapter_oem_data_builder.h"
#include "disks/locate_pd_builder.h"
#include "disks/pd_info_builder.h"
#include "disks/pd_info_data.h"
#include "disks/pdpt_log_builder.h"
#include "disks/smart_log_entry.h"
#include "disks/vd_info_builder.h"
#include "disks/vd_info_data.h"
#include "events/event_log_layout.h"
#include "events/znv_event_builder.h"
#include "transport/management_tables.h"
#include "transport/nvme_adapter_list.h"
#include "transport/nvme_uio.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

using vesktest::SimHost;
using vesktest::tableBelow;
using vesktest::TableRow;

constexpr const char* kWireFormats = "wire-formats.md";

struct Field {
    const char* record;
    std::size_t recordSize;
    const char* name;
    std::size_t offset;
    std::size_t size;
};

#define FIELD(Record, name)                                                                        \
    { #Record, sizeof(Record), #name, offsetof(Record, name), sizeof(Record::name) }

const Field kFields[] = {
    FIELD(ManagementSignature, version),
    FIELD(ManagementSignature, name),
    FIELD(ManagementSignature, vendor),
    FIELD(ManagementSignature, numCallbacks),
    {"ManagementSignature", sizeof(ManagementSignature), "callbacks",
     offsetof(ManagementSignature, callbacks), sizeof(void*)},
    FIELD(ManagementCallback, location),
    FIELD(ManagementCallback, callback),
    FIELD(ManagementCallback, synchronous),
    FIELD(ManagementCallback, numParms),
    FIELD(ManagementCallback, parmSizes),
    FIELD(ManagementCallback, parmTypes),
    FIELD(ManagementCallback, callbackId),
    FIELD(nvme_adapter_list, count),
    FIELD(nvme_adapter_list, adapter),
    FIELD(nvmeAdapterInfo, name),
    FIELD(nvmeAdapterInfo, signature),
    FIELD(nvme_uio, opcode),
    FIELD(nvme_uio, fuse),
    FIELD(nvme_uio, commandId),
    FIELD(nvme_uio, nsid),
    FIELD(nvme_uio, reserved),
    FIELD(nvme_uio, cdw10),
    FIELD(nvme_uio, cdw11),
    FIELD(nvme_uio, cdw12),
    FIELD(nvme_uio, cdw13),
    FIELD(nvme_uio, cdw14),
    FIELD(nvme_uio, cdw15),
    FIELD(nvme_uio, completion),
    FIELD(nvme_uio, completionStatus),
    FIELD(nvme_uio, namespaceId),
    FIELD(nvme_uio, direction),
    FIELD(nvme_uio, reserved2),
    FIELD(nvme_uio, uioStatus),
    FIELD(nvme_uio, dataLength),
    FIELD(nvme_uio, metaLength),
    FIELD(nvme_uio, timeout),
    FIELD(nvme_uio, dataAddress),
    FIELD(nvme_uio, metaAddress),
    FIELD(_AdapaterData, vendorId),
    FIELD(_AdapaterData, subVendorId),
    FIELD(_AdapaterData, deviceId),
    FIELD(_AdapaterData, subDeviceId),
    FIELD(_AdapaterData, portCount),
    FIELD(_AdapaterData, vdCount),
    FIELD(_AdapaterData, pdCount),
    FIELD(_AdapaterData, maxBufSize),
    FIELD(_AdapaterData, bdf),
    FIELD(_AdapaterData, firmwareVersion),
    FIELD(_PDInfoData, pdAbsent),
    FIELD(_PDInfoData, deviceId),
    FIELD(_PDInfoData, pdStatus),
    FIELD(_PDInfoData, modelNumber),
    FIELD(_PDInfoData, serialNumber),
    FIELD(_PDInfoData, blockSize),
    FIELD(_PDInfoData, fwVersion),
    FIELD(_PDInfoData, size),
    FIELD(_PDInfoData, hdId),
    FIELD(_vdInfoData, vdAbsent),
    FIELD(_vdInfoData, vdId),
    FIELD(_vdInfoData, vdStatus),
    FIELD(_vdInfoData, raidMode),
    FIELD(_vdInfoData, memberCount),
    FIELD(_vdInfoData, size),
    FIELD(_vdInfoData, memberIds),
    FIELD(_vdInfoData, stripeBlockSize),
    FIELD(_vdInfoData, blockSize),
    FIELD(_vdInfoData, vdName),
    FIELD(_SMART_HEALTH_INFORMATION_LOG_ENTRY, temperature),
    FIELD(_SMART_HEALTH_INFORMATION_LOG_ENTRY, availableSpare),
    FIELD(_SMART_HEALTH_INFORMATION_LOG_ENTRY, availableSpareThreshold),
    FIELD(_SMART_HEALTH_INFORMATION_LOG_ENTRY, percentageUsed),
};

TEST(WireFormats, RecordsHaveTheirFieldsWhereTheDocumentSays) {
    std::map<std::string, std::vector<TableRow>> real;
    for (const Field& field : kFields) {
        real["### `" + std::string(field.record) + "`, " + std::to_string(field.recordSize) +
             " bytes"]
            .push_back({std::to_string(field.offset), std::to_string(field.size), field.name});
    }
    EXPECT_EQ(vesktest::headings(kWireFormats, "### `").size(), real.size());
    for (const auto& [heading, fields] : real) {
        std::vector<TableRow> told = tableBelow(kWireFormats, heading);
        for (TableRow& row : told) {
            row.resize(3);  // without the meaning
        }
        EXPECT_EQ(told, fields) << heading;
    }
}

TEST(WireFormats, EventLogHasTheNumbersOfTheDocument) {
    const std::map<std::string, UNSIGNED_INTEGER> real = {
        {"kEventAreaSize", kEventAreaSize},   {"kEventPageSize", kEventPageSize},
        {"kEventTextBegin", kEventTextBegin}, {"kCarryOffset", kCarryOffset},
        {"kCarrySize", kCarrySize},           {"kCarryTextBegin", kCarryTextBegin},
    };
    std::map<std::string, UNSIGNED_INTEGER> told;
    for (const TableRow& row : tableBelow(kWireFormats, "## The event log")) {
        told[row.at(0)] = static_cast<UNSIGNED_INTEGER>(std::stoul(row.at(1)));
    }
    EXPECT_EQ(told, real);
}

// What the words of the table stand for here.
constexpr UCHAR_ kDisk = 1;
constexpr UNSIGNED_INTEGER kOffset = 0x3000;
constexpr UNSIGNED_INTEGER kWanted = 16;

std::string asNumber(const std::string& cell) {
    static const std::map<std::string, UNSIGNED_INTEGER> words = {
        {"", 0},
        {"disk id", kDisk},
        {"disk id + 0x20000", kDisk + 0x20000U},
        {"offset", kOffset},
        {"wanted", kWanted}};
    const auto word = words.find(cell);
    return std::to_string(word != words.end() ? word->second : std::stoul(cell, nullptr, 0));
}

// Opcode, namespace, length, dwords 10 and 12 to 15.
TableRow numbersOf(CCommandDword& command) {
    EXPECT_EQ(command.getcdw11(), 0U);
    EXPECT_EQ(command.getcdw8(), 0U);
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
    return {std::to_string(command.getcdw0()),  std::to_string(command.getcdw1()),
            std::to_string(command.getcdw9()),  std::to_string(command.getcdw10()),
            std::to_string(command.getcdw12()), std::to_string(command.getcdw13()),
            std::to_string(command.getcdw14()), std::to_string(command.getcdw15())};
}

template <typename Builder>
TableRow built(Builder& builder, CCommandDword* (Builder::*command)()) {
    EXPECT_EQ(builder.buildCommand(), 0);
    return numbersOf(*(builder.*command)());
}

TEST(WireFormats, CommandsAreBuiltAsTheDocumentSays) {
    std::map<std::string, TableRow> real;
    CAdapterInfoBuilder adapter;
    CAdapterConfigBuilder config;
    CAdapterOEMDataBuilder oem;
    CPDInfoBuilder disk(kDisk);
    CVDInfoBuilder volume(kDisk);
    CPDPTLogBuilder health(kDisk, 2);
    CZNVEventBuilder events;
    PD_OEM_Data light = {};
    light.pdId = kDisk;
    CLocatePDBuilder stop(&light);
    light.ledStatus = 1;
    CLocatePDBuilder start(&light);
    events.setZNVEventOffset(kOffset);
    events.setZNVEventPageLength(kWanted);
    real["CAdapterInfoBuilder"] = built(adapter, &CAdapterInfoBuilder::getAdapterInfoCommand);
    real["CAdapterConfigBuilder`, not in use"] =
        built(config, &CAdapterConfigBuilder::getAdapterConfigCommand);
    real["CAdapterOEMDataBuilder`, not in use"] =
        built(oem, &CAdapterOEMDataBuilder::getAdapterOEMDataCommand);
    real["CPDInfoBuilder"] = built(disk, &CPDInfoBuilder::getPDInfoCommand);
    real["CVDInfoBuilder"] = built(volume, &CVDInfoBuilder::getVDInfoCommand);
    real["CPDPTLogBuilder"] = built(health, &CPDPTLogBuilder::getCPDPTLogCommand);
    real["CLocatePDBuilder`, start"] = built(start, &CLocatePDBuilder::getLocatePDCommand);
    real["CLocatePDBuilder`, stop"] = built(stop, &CLocatePDBuilder::getLocatePDCommand);
    real["CZNVEventBuilder"] = built(events, &CZNVEventBuilder::getZNVEventCommand);

    // Identify is no builder's: as the driver saw it.
    SimHost host;
    ASSERT_EQ(host.start(), 1);
    const vesksim::ReceivedCommand identify = host.driver().commands().at(0);
    real["Identify"] = {std::to_string(identify.opcode),     std::to_string(identify.nsid),
                        std::to_string(identify.dataLength), std::to_string(identify.cdw10),
                        std::to_string(identify.cdw12),      std::to_string(identify.cdw13),
                        std::to_string(identify.cdw14),      std::to_string(identify.cdw15)};

    std::map<std::string, TableRow> told;
    for (const TableRow& row : tableBelow(kWireFormats, "## Commands")) {
        TableRow numbers;
        for (const std::size_t column : {1U, 2U, 4U, 5U, 6U, 7U, 8U, 9U}) {
            numbers.push_back(asNumber(row.at(column)));
        }
        told[row.at(0)] = numbers;
    }
    EXPECT_EQ(told, real);
}

template <typename Record>
std::function<void()> disks(UCHAR_ (*call)(UCHAR_, PInfo_Request), UCHAR_ request) {
    return [call, request] {
        struct {
            Info_Request header;
            Record records[2];
        } answer = {};
        answer.header.requestType = request;
        EXPECT_EQ(call(0, &answer.header), ERR_NONE);
        EXPECT_NE(answer.header.recordCount, 0);
    };
}

TEST(HostGuide, CallsSendAsManyCommandsAsItSays) {
    SimHost host;
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1)) << "the first poll is not through";
    const std::size_t atStart = host.driver().commands().size();

    CController controller;
    UCHAR_ count = 0;
    Adapter_OEM_Data oem = {};
    SMART_INFO_ARRAY health = {};
    PD_OEM_Data light = {};
    alignas(CEvent) unsigned char events[64 * sizeof(CEvent)];
    const std::vector<std::pair<TableRow, std::function<void()>>> calls = {
        {{"ZT_Adapter_GetCount", ""},
         [] {
             ZT_Adapter_GetCount();
         }},
        {{"ZT_Adapter_GetInfo", ""},
         [&] {
             ZT_Adapter_GetInfo(0, &count, &controller);
         }},
        {{"ZT_Adapter_GetConfig", ""},
         [] {
             ZT_Adapter_GetConfig(0, nullptr, nullptr);
         }},
        {{"ZT_Adapter_Get_OEM_Data", ""},
         [&] {
             ZT_Adapter_Get_OEM_Data(0, &oem);
         }},
        {{"ZT_PD_GetHDInfo_Ext", "all"}, disks<PD_Info>(ZT_PD_GetHDInfo_Ext, REQUEST_ALL)},
        {{"ZT_PD_GetHDInfo_Ext", "single"}, disks<PD_Info>(ZT_PD_GetHDInfo_Ext, REQUEST_SINGLE)},
        {{"ZT_PD_GetConfig", "all"}, disks<PD_Config>(ZT_PD_GetConfig, REQUEST_ALL)},
        {{"ZT_PD_GetConfig", "single"}, disks<PD_Config>(ZT_PD_GetConfig, REQUEST_SINGLE)},
        {{"ZT_PD_GetHDRaidStatus", "single"},
         disks<PD_RaidStatus>(ZT_PD_GetHDRaidStatus, REQUEST_SINGLE)},
        {{"ZT_PD_GetFreeSpaceInfo", "single"},
         disks<PD_FreeSpaceInfo>(ZT_PD_GetFreeSpaceInfo, REQUEST_SINGLE)},
        {{"ZT_PD_GET_SMART_INFO", ""},
         [&] {
             ZT_PD_GET_SMART_INFO(0, 1, 0, &health);
         }},
        {{"ZT_PD_OEMData", ""},
         [&] {
             ZT_PD_OEMData(0, &light);
         }},
        {{"ZT_LD_GetInfo", "all"}, disks<VD_Info>(ZT_LD_GetInfo, REQUEST_ALL)},
        {{"ZT_LD_GetInfo", "single"}, disks<VD_Info>(ZT_LD_GetInfo, REQUEST_SINGLE)},
        {{"ZT_LD_GetConfig", "all"}, disks<VD_Config>(ZT_LD_GetConfig, REQUEST_ALL)},
        {{"ZT_LD_GetConfig", "single"}, disks<VD_Config>(ZT_LD_GetConfig, REQUEST_SINGLE)},
        {{"ZT_EVT_GetEvent", ""},
         [&] {
             ZT_EVT_GetEvent(0, 0, &count, reinterpret_cast<CEvent*>(events));
         }},
    };
    std::vector<TableRow> real = {
        {"ZT_API_Initialize", "", std::to_string(host.commandCount(6))},
        {"a poll", "", std::to_string(atStart - host.commandCount(6))},
    };
    for (const auto& [row, call] : calls) {
        host.driver().forgetHistory();
        call();
        real.push_back({row[0], row[1], std::to_string(host.driver().commands().size())});
    }
    EXPECT_EQ(count, 4) << "the events of that poll";

    std::vector<TableRow> told = tableBelow("host-guide.md", "## What each call sends");
    for (TableRow& row : told) {
        row.resize(3);  // without the explanation
    }
    EXPECT_EQ(told, real);
}

}  // namespace
