// The exported calls on a running library, with what they may answer when something fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vesktest {

// What a call did.
struct Answer {
    int result = 0;
    std::string thrown;                // name of what it threw, empty for nothing
    std::vector<std::uint8_t> header;  // what it filled in beside its records
    std::vector<std::vector<std::uint8_t>> records;
};

struct Operation {
    const char* name;
    std::function<Answer()> run;
    std::string mayThrow;  // name of an exception that the header promises
};

// The call, with what it throws in the answer.
Answer guarded(const std::function<Answer()>& call);

// In the order of the header.
const std::vector<Operation>& operations();
const Operation& operationOf(const std::string& name);

// What is wrong with an answer beside the one of a healthy host; empty if nothing is. Result 0 or
// 1; as many records as on the healthy host or fewer; each byte of one as there, or 0.
std::string wrongWith(const Operation& operation, const Answer& answer, const Answer& healthy);

// Sequence numbers of the records of ZT_EVT_GetEvent.
std::vector<unsigned> eventNumbers(const Answer& answer);

}  // namespace vesktest
