// Asks the library for the record of one disk or volume. Always for a single one: an answer to
// "all" leaves out what is absent, so its places do not say which id they belong to.
#pragma once

#include "veskctl/problem.h"

#include "VeskNvme.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

constexpr unsigned kIdCount = 2;  // ids of disks and of volumes are 0 and 1

using RecordFunction = UCHAR_ (*)(UCHAR_ adapterId, PInfo_Request request);

template <class Record>
struct SingleAnswer {
    bool failed = false;           // noted among the problems
    std::optional<Record> record;  // empty without a failure: there is none with this id
};

// name: the function's, and about: what is asked for, both for the problem.
template <class Record>
SingleAnswer<Record> requestSingle(RecordFunction function, const char* name, unsigned id,
                                   const std::string& about, std::vector<Problem>& problems) {
    struct Answer {
        Info_Request header;
        Record record;
    };
    static_assert(offsetof(Answer, record) == sizeof(Info_Request), "the library packs them so");

    Answer answer = {};
    answer.header.requestType = REQUEST_SINGLE;
    answer.header.id = static_cast<UCHAR_>(id);
    const UCHAR_ result = function(0, reinterpret_cast<PInfo_Request>(&answer));
    SingleAnswer<Record> single;
    if (result != ERR_NONE) {
        problems.push_back(libraryCallFailed(name, result, about));
        single.failed = true;
    } else if (answer.header.recordCount > 0) {
        single.record = answer.record;
    }
    return single;
}

}  // namespace veskctl
