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
        endOf("malloc ", m_malloc);
    } else if (m_new) {
        endOf("new ", m_new);
    } else {
        vesksim::setFailureHandler(nullptr);
    }
}

template <typename Fail>
void Injection::endOf(const char* call, std::optional<Fail>& fault) {
    m_failures = fault->failed();
    const auto sizes = fault->failedSizes();
    fault.reset();  // before anything is allocated here
    for (unsigned i = 0; i < sizes.size() && i < m_failures; ++i) {
        m_failedCalls.push_back(call + std::to_string(sizes.at(i)));
    }
}

bool Injection::isToFail(FaultKind kind, const char* call) {
    if (kind != m_fault.kind) {
        return false;
    }
    const unsigned before = m_callsOfName[call]++;
    ++m_calls;
    if (m_calls < m_fault.nth || m_calls - m_fault.nth > othersThatFail(m_fault.repeat)) {
        return false;
    }
    ++m_failures;
    m_failedCalls.emplace_back(call);
    m_callsBefore.push_back(before);
    return true;
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
