#include "process_use.h"

#include "held_memory.h"

#include <filesystem>
#include <iterator>
#include <ostream>

namespace vesktest {
namespace {

std::size_t entriesOf(const char* folder) {
    const std::filesystem::directory_iterator first(folder);
    return static_cast<std::size_t>(std::distance(first, std::filesystem::directory_iterator()));
}

}  // namespace

ProcessUse ProcessUse::now() {
    return {heldMemory(), entriesOf("/proc/self/fd"), entriesOf("/proc/self/task")};
}

std::ostream& operator<<(std::ostream& stream, const ProcessUse& use) {
    return stream << use.heapBytes << " bytes of heap, " << use.descriptors << " descriptors, "
                  << use.threads << " threads";
}

}  // namespace vesktest
