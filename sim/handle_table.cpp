#include "handle_table.h"

#include "mix.h"

#include <algorithm>

namespace vesksim {

std::uint64_t HandleTable::add(ConnectionKind kind, const std::string& adapter) {
    // Scrambled, so that a caller who takes a handle for an index or an address finds out. The
    // scrambler maps one number to 0 only, hence at most one more round.
    std::uint64_t handle = 0;
    while (handle == 0) {
        handle = mix(++m_given);
    }
    m_connections[handle] = {kind, adapter, true};
    return handle;
}

Connection* HandleTable::find(std::uint64_t handle) {
    const auto found = m_connections.find(handle);
    return found == m_connections.end() ? nullptr : &found->second;
}

std::size_t HandleTable::openCount() const {
    return static_cast<std::size_t>(
        std::count_if(m_connections.begin(), m_connections.end(),
                      [](const auto& entry) { return entry.second.open; }));
}

}  // namespace vesksim
