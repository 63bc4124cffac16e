#include "operation.h"

#include "fault.h"

#include "VeskNvme.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <system_error>

namespace vesktest {
namespace {

using Bytes = std::vector<std::uint8_t>;

template <typename Record>
Bytes bytesOf(const Record& record) {
    Bytes bytes(sizeof(Record));
    std::memcpy(bytes.data(), &record, bytes.size());
    return bytes;
}

using DiskCall = UCHAR_ (*)(UCHAR_ adapterId, PInfo_Request request);

Answer callDisks(DiskCall call, UCHAR_ requestType, std::size_t recordSize, std::size_t most) {
    Bytes room(sizeof(Info_Request) + most * recordSize);
    auto* const request = reinterpret_cast<PInfo_Request>(room.data());
    request->requestType = requestType;
    Answer answer;
    {
        const InLibrary inside;
        answer.result = call(0, request);
    }
    const std::size_t count = std::min<std::size_t>(request->recordCount, most);
    answer.header = {static_cast<std::uint8_t>(request->recordCount == count)};
    for (std::size_t i = 0; i < count; ++i) {
        const auto begin =
            room.begin() + static_cast<std::ptrdiff_t>(sizeof(Info_Request) + i * recordSize);
        answer.records.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(recordSize));
    }
    return answer;
}

Answer callController() {
    Answer answer;
    UCHAR_ count = 0;
    Bytes room(sizeof(CController));
    {
        const InLibrary inside;
        answer.result = ZT_Adapter_GetInfo(0, &count, reinterpret_cast<CController*>(room.data()));
    }
    answer.header = {count};
    answer.records = {room};
    return answer;
}

Answer callEvents() {
    Answer answer;
    UCHAR_ count = 0;
    Bytes room(64 * sizeof(CEvent));
    {
        const InLibrary inside;
        answer.result = ZT_EVT_GetEvent(0, 0, &count, reinterpret_cast<CEvent*>(room.data()));
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto begin = room.begin() + static_cast<std::ptrdiff_t>(i * sizeof(CEvent));
        answer.records.emplace_back(begin, begin + sizeof(CEvent));
    }
    return answer;
}

template <typename Record, typename Call>
Answer callRecord(Call call) {
    Record record{};
    Answer answer;
    {
        const InLibrary inside;
        answer.result = call(&record);
    }
    answer.records = {bytesOf(record)};
    return answer;
}

// Each byte as in the other, or 0.
bool isPartOf(const Bytes& record, const Bytes& whole) {
    return record.size() == whole.size() &&
           std::equal(record.begin(), record.end(), whole.begin(),
                      [](std::uint8_t byte, std::uint8_t of) { return byte == of || byte == 0; });
}

}  // namespace

const std::vector<Operation>& operations() {
    static const std::vector<Operation> s_operations = {
        {"ZT_Adapter_GetCount",
         [] {
             Answer answer;
             UCHAR_ count = 0;
             {
                 const InLibrary inside;
                 count = ZT_Adapter_GetCount();
             }
             answer.header = {count};
             return answer;
         },
         ""},
        {"ZT_Adapter_GetInfo", callController, ""},
        {"ZT_Adapter_GetConfig",
         [] {
             Answer answer;
             const InLibrary inside;
             answer.result = ZT_Adapter_GetConfig(0, nullptr, nullptr);
             return answer;
         },
         ""},
        {"ZT_Adapter_Get_OEM_Data",
         [] {
             return callRecord<Adapter_OEM_Data>(
                 [](PAdapter_OEM_Data data) { return ZT_Adapter_Get_OEM_Data(0, data); });
         },
         ""},
        {"ZT_PD_GetHDInfo_Ext",
         [] { return callDisks(ZT_PD_GetHDInfo_Ext, REQUEST_ALL, sizeof(PD_Info), 2); }, ""},
        {"ZT_PD_GetConfig",
         [] { return callDisks(ZT_PD_GetConfig, REQUEST_ALL, sizeof(PD_Config), 2); }, ""},
        {"ZT_PD_GetHDRaidStatus",
         [] { return callDisks(ZT_PD_GetHDRaidStatus, REQUEST_SINGLE, sizeof(PD_RaidStatus), 1); },
         ""},
        {"ZT_PD_GetFreeSpaceInfo",
         [] {
             return callDisks(ZT_PD_GetFreeSpaceInfo, REQUEST_SINGLE, sizeof(PD_FreeSpaceInfo), 1);
         },
         ""},
        {"ZT_PD_GET_SMART_INFO",
         [] {
             return callRecord<SMART_INFO_ARRAY>(
                 [](PSMART_INFO_ARRAY health) { return ZT_PD_GET_SMART_INFO(0, 0, 0, health); });
         },
         ""},
        {"ZT_PD_OEMData",
         [] {
             return callRecord<PD_OEM_Data>(
                 [](PPD_OEM_Data command) { return ZT_PD_OEMData(0, command); });
         },
         "std::bad_alloc"},
        {"ZT_LD_GetInfo", [] { return callDisks(ZT_LD_GetInfo, REQUEST_ALL, sizeof(VD_Info), 2); },
         ""},
        {"ZT_LD_GetConfig",
         [] { return callDisks(ZT_LD_GetConfig, REQUEST_ALL, sizeof(VD_Config), 2); }, ""},
        {"ZT_EVT_GetEvent", callEvents, ""},
    };
    return s_operations;
}

Answer guarded(const std::function<Answer()>& call) {
    Answer answer;
    try {
        answer = call();
    } catch (const std::bad_alloc&) {
        answer.thrown = "std::bad_alloc";
    } catch (const std::system_error&) {
        answer.thrown = "std::system_error";
    } catch (const std::exception& error) {
        answer.thrown = error.what();
    }
    return answer;
}

const Operation& operationOf(const std::string& name) {
    for (const Operation& operation : operations()) {
        if (operation.name == name) {
            return operation;
        }
    }
    throw std::logic_error("no such operation: " + name);
}

std::string wrongWith(const Operation& operation, const Answer& answer, const Answer& healthy) {
    if (!answer.thrown.empty()) {
        return answer.thrown == operation.mayThrow ? "" : "threw " + answer.thrown;
    }
    if (answer.result != 0 && answer.result != 1) {
        return "result " + std::to_string(answer.result);
    }
    if (answer.header != healthy.header) {
        return "a wrong count";
    }
    if (answer.records.size() > healthy.records.size()) {
        return "too many records";
    }
    for (const Bytes& record : answer.records) {
        if (std::none_of(healthy.records.begin(), healthy.records.end(),
                         [&record](const Bytes& known) { return isPartOf(record, known); })) {
            return "a record that holds what the host never said";
        }
    }
    return "";
}

std::vector<unsigned> eventNumbers(const Answer& answer) {
    std::vector<unsigned> numbers;
    for (const Bytes& record : answer.records) {
        unsigned number = 0;
        std::memcpy(&number, &record[CEVENT_SEQUENCE_NO], sizeof number);
        numbers.push_back(number);
    }
    return numbers;
}

}  // namespace vesktest
