#include "memory_faults.h"

#include <stdexcept>

namespace vesktest {
namespace {

AllocationFault makeFault(AllocationSize size, unsigned nth, Repeat repeat) {
    return {size.least, size.most, nth, repeat == Repeat::kEachLater, 0, false};
}

}  // namespace

FailMalloc::FailMalloc(AllocationSize size, unsigned nth, Repeat repeat)
    : m_fault(makeFault(size, nth, repeat)), m_outer(exchangeMallocFault(&m_fault)) {}

FailMalloc::~FailMalloc() {
    exchangeMallocFault(m_outer);
}

bool FailMalloc::triggered() const {
    return m_fault.triggered;
}

unsigned FailMalloc::seen() const {
    return m_fault.seen;
}

FailNew::FailNew(AllocationSize size, unsigned nth, Repeat repeat)
    : m_fault(makeFault(size, nth, repeat)), m_outer(nullptr) {
    if (!kCanFailNew) {
        throw std::logic_error("this build cannot let operator new fail");
    }
    m_outer = exchangeNewFault(&m_fault);
}

FailNew::~FailNew() {
    exchangeNewFault(m_outer);
}

bool FailNew::triggered() const {
    return m_fault.triggered;
}

unsigned FailNew::seen() const {
    return m_fault.seen;
}

}  // namespace vesktest
