// The management handles of the process. Not synchronised.
#pragma once

#include "signature_check.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace vesksim {

struct Connection {
    ConnectionKind kind = ConnectionKind::kAdapterList;
    std::string adapter;  // empty for the adapter list
    bool open = true;
};

class HandleTable {
public:
    // Never 0 and never a number that was given out before, also not before a clear().
    std::uint64_t add(ConnectionKind kind, const std::string& adapter);
    // Open or closed; null if the handle was never given out.
    Connection* find(std::uint64_t handle);
    std::size_t openCount() const;
    void clear() { m_connections.clear(); }

private:
    std::uint64_t m_given = 0;
    std::map<std::uint64_t, Connection> m_connections;
};

}  // namespace vesksim
