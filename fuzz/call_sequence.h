// Sequences of calls into the running library, with caller's buffers of exactly the promised size.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veskfuzz {

// Input: number of calls, 4 bytes for each, and what the driver answers. logged: with the trace
// log, which prints what the driver sent; its lines are looked at.
void runCalls(const std::uint8_t* data, std::size_t size, bool logged);

}  // namespace veskfuzz
