#include "api/command_handler.h"

#include "api/builder_type_factory.h"
#include "api/lib_initializer.h"
#include "controller/kept_firmware_version.h"
#include "disks/locate_pd_builder.h"
#include "events/event_monitor.h"
#include "support/log_line.h"
#include "support/singleton.h"
#include "support/trace.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr const char* kPrefix = "libVeskNvme: CommandHandler::navigator(): ";

template <typename... Pieces>
void logCommand(const Pieces&... pieces) {
    stg::logLine(kPrefix, pieces...);
}

UCHAR_& byteAt(VOIDPTR pointer) {
    return *static_cast<UCHAR_*>(pointer);
}

std::unique_ptr<IBuilder> builderFor(const ZTCommand& command) {
    return std::unique_ptr<IBuilder>(
        BuilderTypeFactory::getBuilder(static_cast<USHORT_INT>(command.commandId)));
}

void initialize() {
    logCommand("Calling \"ZT_API_Initialize API\" ...");
    logCommand("Initializing OS type....");
    CLibInitializer::createOSdeviceTalkerInstance();
    const BOOL_TYPE exists = CLibInitializer::checkControllerExistence();
    logCommand("Controller existance = ", exists);
    if (exists) {
        // ODDITY: a fixed count; one controller is all that the library ever addresses, however
        // many a scan might find. Pinned by CommandHandler.InitializeCountsOneController.
        CommandHandler::m_ControllerCount = 1;
        CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::getUniqueInstance();
        if (monitor == nullptr) {
            // A start that went on would count a controller and never look at its events.
            throw std::bad_alloc();
        }
        monitor->startMonitoring();
        logCommand("Event monitoring started...");
    }
    CommandHandler::m_libraryInitialized = 1;
    logCommand("end of ZT_API_Initialize.");
}

void finalize() {
    logCommand("Calling API_FINALIZE");
    // The polling thread goes before the talker that it uses. Without a controller there is none,
    // and joining it throws out of here.
    CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::getUniqueInstance();
    if (monitor != nullptr) {
        monitor->stopMonitoring();
    }
    CLibInitializer::deleteOSdeviceTalkerInstance();
    CVeskNVMeMonitor::destroyMe();
}

void getAdapterCount(const ZTCommand& command) {
    byteAt(command.arg1) = CommandHandler::m_ControllerCount;
    logCommand("Zenthra NVMe Controller count = ", CommandHandler::m_ControllerCount);
}

void getAdapterInfo(const ZTCommand& command) {
    logCommand("Calling ZT_Adapter_GetInfo API .... ");
    byteAt(command.arg2) = CommandHandler::m_ControllerCount;
    const std::unique_ptr<IBuilder> builder = builderFor(command);
    if (builder != nullptr) {
        builder->buidInfo(ADAPTER_GET_INFO);
        std::memcpy(command.arg3, builder->getObject(), sizeof(CController));
    }
    logCommand("end of ZT_Adapter_GetInfo");
}

void locateDisk(const ZTCommand& command) {
    logCommand("Calling Identify_PD");
    CLocatePDBuilder builder(command.arg1);
    builder.buildCommand();
    builder.execute();
    logCommand("end of Identify_PD");
}

void getHealth(const ZTCommand& command) {
    // ODDITY: closes with its opening line; the text of the log is fixed.
    // Pinned by CommandHandler.HealthClosesWithItsOpeningLine.
    logCommand("Start of PD_GET_SMART_INFO case");
    const std::unique_ptr<IBuilder> builder = builderFor(command);
    if (builder != nullptr) {
        builder->setSpecificParams(PD_GET_SMART_INFO, command.arg2);
        builder->buidInfo(PD_GET_SMART_INFO);
        builder->getSpecificObject(PD_GET_SMART_INFO, command.arg4);
    }
    logCommand("Start of PD_GET_SMART_INFO case");
}

void getUsedSpace(const ZTCommand& command) {
    logCommand("Calling GET_UsedRaidSpacePerPDInVD ....");
    const std::unique_ptr<IBuilder> builder = builderFor(command);
    if (builder != nullptr) {
        builder->buidInfo(GET_UsedRaidSpacePerPDInVD);
        builder->getSpecificObject(GET_UsedRaidSpacePerPDInVD, command.arg1);
    }
    logCommand("End of VeskNVMe_GetUsedRaidSpacePerPDInVD");
}

void collectEvents(const ZTCommand& command) {
    logCommand("Calling VeskNVMe_GetEvent");
    const std::unique_ptr<IBuilder> builder = builderFor(command);
    if (builder != nullptr) {
        builder->buidInfo(VeskNVMe_GetEvent);
    }
}

// Event records on their way to the caller, from calloc. Those that do not get there are released
// too.
class PendingEvents {
public:
    explicit PendingEvents(std::vector<IObject*>& events) : m_events(events) {}
    ~PendingEvents() {
        for (IObject* event : m_events) {
            std::free(event);
        }
        m_events.clear();
    }
    PendingEvents(const PendingEvents&) = delete;
    PendingEvents& operator=(const PendingEvents&) = delete;

private:
    std::vector<IObject*>& m_events;
};

void deliverEvents(const ZTCommand& command, std::vector<IObject*>& events) {
    logCommand("Calling EVT_GETEVENT");
    const std::unique_ptr<IBuilder> builder = builderFor(command);
    const PendingEvents pending(events);
    if (builder != nullptr) {
        builder->getObjectVector(events);
    }
    const auto count = static_cast<UCHAR_>(events.size() & 0xFF);
    stg::logLine("CommandHandler::navigator(): EVT_GETEVENT: Event Vector size",
                 stg::RawByte{count});
    byteAt(command.arg3) = count;
    for (USHORT_INT index = 0; index < count; ++index) {
        std::memcpy(static_cast<UCHAR_*>(command.arg4) + index * sizeof(CEvent), events[index],
                    sizeof(CEvent));
    }
}

void getAdapterOemData(const ZTCommand& command) {
    logCommand("Calling ADAPTER_GET_OEM_DATA");
    static_cast<PAdapter_OEM_Data>(command.arg2)->firmwareVersion = stg::keptFirmwareVersion();
}

// The commands on an Info_Request, which differ in their log lines only.
struct DiskCommand {
    UNSIGNED_INTEGER id;
    const char* openingLine;
    const char* closingLine;
};

constexpr DiskCommand kDiskCommands[] = {
    {PD_GetHDInfo_Ext, "Calling ZT_PD_GetHDInfo_Ext API ....", "end of ZT_PD_GetHDInfo_Ext."},
    {PD_GetConfig, "Calling PD_GetConfig", "End of PD_GetConfig case"},
    {PD_GetHDRaidStatus, "Calling \"ZT_PD_GetHDRaidStatus API\" ....",
     "End of \"ZT_PD_GetHDRaidStatus\"."},
    {PD_GetFreeSpaceInfo, "Calling \"PD_GetFreeSpaceInfo\" API ....",
     "End of \"PD_GetFreeSpaceInfo\"."},
    {LD_GetInfo, "Start of LD_GetInfo case", "End of LD_GetInfo case"},
    {LD_GetConfig, "Calling LD_GetConfig", "End of LD_GetConfig case"},
};

void runDiskCommand(const ZTCommand& command) {
    const auto* const row = std::find_if(
        std::begin(kDiskCommands), std::end(kDiskCommands),
        [&command](const DiskCommand& known) { return known.id == command.commandId; });
    if (row == std::end(kDiskCommands)) {
        return;
    }
    logCommand(row->openingLine);
    if (row->id == PD_GetHDInfo_Ext && stg::lout.isActive()) {
        // ODDITY: the wording is that of the neighbouring command, and the id one raw character: id
        // 0 is a NUL that cuts the line. Pinned by CommandHandler.DiskInfoLogsTheAdapterIdRaw.
        logCommand("ZT_Adapter_GetInfo : AdapterID = ", stg::RawByte{byteAt(command.arg1)});
    }
    const std::unique_ptr<IBuilder> builder = builderFor(command);
    if (builder != nullptr) {
        builder->setSpecificParams(static_cast<UCHAR_>(row->id), command.arg2);
        builder->buidInfo(static_cast<int>(row->id));
        builder->getSpecificObject(row->id, command.arg2);
    }
    logCommand(row->closingLine);
}

}  // namespace

CommandHandler* CommandHandler::m_pCommandHandlerInstance = nullptr;
UCHAR_ CommandHandler::m_ControllerCount = 0;
UCHAR_ CommandHandler::m_libraryInitialized = 0;
USHORT_INT CommandHandler::m_libraryFinalized = 0;

CommandHandler* CommandHandler::getUniqueInstance() {
    LOG_ENTRY;
    CommandHandler* const handler = stg::createOnce<std::bad_alloc>(
        m_pCommandHandlerInstance, "CommandHandler::getUniqueInstance(): ");
    LOG_EXIT;
    return handler;
}

VOID_ CommandHandler::destroyMe() {
    LOG_ENTRY_LABEL("libVeskNvme:CCommandHandler::destroyMe()");
    stg::destroyOnce(m_pCommandHandlerInstance);
    LOG_EXIT_LABEL("libVeskNvme:CCommandHandler::destroyMe()");
}

RESULT CommandHandler::navigator(ZTCommand command) {
    run(command);
    return 0;
}

void CommandHandler::run(const ZTCommand& command) {
    LOG_ENTRY_AS("RESULT CommandHandler::navigator(ZTCommand)");
    std::vector<IObject*> objects;
    switch (command.commandId) {
    case API_INITIALIZE:
        initialize();
        break;
    case ADAPTER_GET_COUNT:
        getAdapterCount(command);
        break;
    case ADAPTER_GET_INFO:
        getAdapterInfo(command);
        break;
    case Identify_PD:
        locateDisk(command);
        break;
    case PD_GET_SMART_INFO:
        getHealth(command);
        break;
    case GET_UsedRaidSpacePerPDInVD:
        getUsedSpace(command);
        break;
    case VeskNVMe_GetEvent:
        collectEvents(command);
        break;
    case EVT_GETEVENT:
        deliverEvents(command, objects);
        break;
    case ADAPTER_GET_OEM_DATA:
        getAdapterOemData(command);
        break;
    case API_FINALIZE:
        finalize();
        break;
    default:
        runDiskCommand(command);
        break;
    }
    LOG_EXIT_AS("RESULT CommandHandler::navigator(ZTCommand)");
}

namespace stg {

void dispatch(CommandId id, VOIDPTR arg1, VOIDPTR arg2, VOIDPTR arg3, VOIDPTR arg4) {
    // The instance is made for those who ask for it; the command runs without one too.
    CommandHandler::getUniqueInstance();
    CommandHandler::run(ZTCommand{id, arg1, arg2, arg3, arg4, nullptr});
}

}  // namespace stg
