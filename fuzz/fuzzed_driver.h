// The platform's three functions, answered from an input: whatever a driver may do within its
// contract. A program that links this reaches no other libvmkmgmt.
#pragma once

#include "input.h"

#include "transport/nvme_adapter_list.h"
#include "transport/nvme_uio.h"

#include <cstddef>

namespace veskfuzz {

// Called by one thread at a time. An input that has ended answers with success and nothing written.
class FuzzedDriver {
public:
    static FuzzedDriver& instance();

    void answerFrom(Input input);
    // Whatever the input says, a scan finds one adapter, and it is the controller.
    void showController() { m_showsController = true; }
    std::size_t openConnections() const { return m_open; }

    // For the three functions.
    int open(unsigned long* handle);
    int close();
    int listAdapters(UNSIGNED_INTEGER& count, nvmeAdapterInfo* adapters);
    int passThrough(nvme_uio& uio);

private:
    int errorCode();

    Input m_input{std::string()};
    bool m_showsController = false;
    std::size_t m_open = 0;
};

}  // namespace veskfuzz
