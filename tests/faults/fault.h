// One fault: the n-th call of a kind that the library makes on this thread fails, alone, with the
// next one or with all that follow.
#pragma once

#include "memory_faults.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vesktest {

enum class FaultKind {
    kMalloc,   // malloc and calloc, also those that the C library makes on the library's behalf
    kNew,      // operator new and new[]
    kSystem,   // calls on the host's files, popen, pthread_create
    kPlatform  // the three functions of libvmkmgmt
};

struct Fault {
    FaultKind kind;
    Repeat repeat;
    unsigned nth;  // from 1 on
};

// "malloc once 17", "new twice 2", "system later 3": as a replay takes it.
std::string nameOf(const Fault& fault);
std::optional<Fault> faultOf(const std::string& name);

// One run under a fault, which is in force while the first InLibrary behind it lives. One at a
// time; the thread that makes it is the one whose calls fail.
class Injection {
public:
    explicit Injection(const Fault& fault);
    ~Injection();
    Injection(const Injection&) = delete;
    Injection& operator=(const Injection&) = delete;

    const Fault& fault() const { return m_fault; }
    bool triggered() const { return m_failures != 0; }
    unsigned failures() const { return m_failures; }
    // What failed, the first two of memory, all else: "malloc 64", "new 8191", "fopen64 /opt/...",
    // "vmk_MgmtUserInit".
    const std::vector<std::string>& failedCalls() const { return m_failedCalls; }
    // Of each of these that is no allocation: how many calls of the same name came before it.
    const std::vector<unsigned>& callsBefore() const { return m_callsBefore; }

    // For the platform's functions: null where none is in force on this thread.
    static Injection* current();
    // Counts a call of this kind and says whether it fails.
    bool isToFail(FaultKind kind, const char* call);

private:
    friend class InLibrary;
    void begin();
    void end();
    template <typename Fail>
    void endOf(const char* call, std::optional<Fail>& fault);

private:
    Fault m_fault;
    std::optional<FailMalloc> m_malloc;
    std::optional<FailNew> m_new;
    unsigned m_calls = 0;
    unsigned m_failures = 0;
    std::vector<std::string> m_failedCalls;
    std::vector<unsigned> m_callsBefore;
    std::map<std::string, unsigned> m_callsOfName;
};

// Around the library's call alone: what the test allocates for itself is not to fail.
class InLibrary {
public:
    InLibrary();
    ~InLibrary();
    InLibrary(const InLibrary&) = delete;
    InLibrary& operator=(const InLibrary&) = delete;
};

}  // namespace vesktest
