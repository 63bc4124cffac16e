#include "fault.h"

#include "sim/redirect/redirect.h"

#include <cerrno>
#include <sstream>

namespace vesktest {
namespace {

thread_local Injection* t_announced = nullptr;
thread_local Injection* t_inForce = nullptr;

constexpr const char* kKindNames[] = {"malloc", "new", "system", "platform"};
constexpr const char* kRepeatNames[] = {"once", "twice", "later"};

}  // namespace

std::string nameOf(const Fault& fault) {
    return std::string(kKindNames[static_cast<int>(fault.kind)]) + ' ' +
           kRepeatNames[static_cast<int>(fault.repeat)] + ' ' + std::to_string(fault.nth);
}

std::optional<Fault> faultOf(const std::string& name) {
    for (const FaultKind kind :
         {FaultKind::kMalloc, FaultKind::kNew, FaultKind::kSystem, FaultKind::kPlatform}) {
        for (const Repeat repeat : {Repeat::kOnce, Repeat::kTwice, Repeat::kEachLater}) {
            const std::string begin =
                nameOf(Fault{kind, repeat, 0}).substr(0, nameOf(Fault{kind, repeat, 0}).size() - 1);
            if (name.compare(0, begin.size(), begin) == 0) {
                std::istringstream number(name.substr(begin.size()));
                Fault fault{kind, repeat, 0};
                if (number >> fault.nth && fault.nth != 0) {
                    return fault;
                }
            }
        }
    }
    return std::nullopt;
}

Injection::Injection(const Fault& fault) : m_fault(fault) {
    t_announced = this;
}

Injection::~Injection() {
    t_announced = nullptr;
}

void Injection::begin() {
    switch (m_fault.kind) {
    case FaultKind::kMalloc:
        m_malloc.emplace(AllocationSize::any(), m_fault.nth, m_fault.repeat);
        break;
    case FaultKind::kNew:
        m_new.emplace(AllocationSize::any(), m_fault.nth, m_fault.repeat);
        break;
    case FaultKind::kSystem:
        vesksim::setFailureHandler([](const std::string& function, const std::string& path) {
            Injection* const injection = current();
            const bool fails =
                injection != nullptr &&
                injection->isToFail(FaultKind::kSystem, (function + ' ' + path).c_str());
            // A thread is refused with the one code that it is refused with in earnest.
            return !fails ? 0 : function == "pthread_create" ? EAGAIN : EIO;
        });
        break;
    case FaultKind::kPlatform:
        break;
    }
    t_inForce = this;
}

void Injection::end() {
    t_announced = nullptr;
    t_inForce = nullptr;
    if (m_malloc) {
        m_triggered = m_malloc->triggered();
        const std::size_t size = m_malloc->failedSize();
        m_malloc.reset();
        m_failedCall = "malloc " + std::to_string(size);
    } else if (m_new) {
        m_triggered = m_new->triggered();
        const std::size_t size = m_new->failedSize();
        m_new.reset();
        m_failedCall = "new " + std::to_string(size);
    } else {
        vesksim::setFailureHandler(nullptr);
        m_triggered = m_calls >= m_fault.nth;
    }
}

bool Injection::isToFail(FaultKind kind, const char* call) {
    if (kind != m_fault.kind) {
        return false;
    }
    ++m_calls;
    if (m_calls == m_fault.nth) {
        m_failedCall = call;
    }
    return m_calls >= m_fault.nth && m_calls - m_fault.nth <= othersThatFail(m_fault.repeat);
}

Injection* Injection::current() {
    return t_inForce;
}

InLibrary::InLibrary() {
    if (t_announced != nullptr) {
        t_announced->begin();
    }
}

InLibrary::~InLibrary() {
    if (t_inForce != nullptr) {
        t_inForce->end();
    }
}

}  // namespace vesktest
