// The storage driver as a script: defines the three functions of libvmkmgmt in the test program, in
// front of any library's, and answers them from an ordered list of expectations.
//
// A call that is not the next one of the script, or differs from it, fails the test and returns -1;
// it uses up the expectation that it was compared with. Expectations that are left when the object
// goes fail the test too. A call while no object lives fails the test and returns -1.
//
// One object at a time, and it outlives the threads that call. The script is written by one thread;
// the functions may be called from any.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vesktest {

constexpr std::size_t kRecordSize = 120;  // of the pass-through record
using RecordBytes = std::array<std::uint8_t, kRecordSize>;

// The pass-through record that a command must come with.
struct Record {
    RecordBytes bytes{};
    bool expectData = true;  // whether the data address, bytes 104 to 111, is to be non-null;
                             // nothing else is known about it
    std::uint32_t requestCode = 1;        // the callback's parameter 0
    std::optional<std::uint64_t> handle;  // default: the one of the last successful expectOpen
                                          // before it; any, if there is none
};

// A piece of a literal record: bytes in hexadecimal, with or without blanks between them.
struct HexAt {
    std::size_t offset;
    std::string bytes;
};

// A record that is zero but for these pieces. Throws std::invalid_argument if a piece is no bytes,
// lies outside the record, overlaps another, or touches the data address.
Record record(std::initializer_list<HexAt> pieces, bool expectData = true);

// What the driver does with a command.
struct Reply {
    std::vector<std::uint8_t> bytes{};  // go to the data address
    std::size_t bufferSize =
        0;  // of the buffer there; what `bytes` leaves of it is filled with noise
    std::uint16_t completionStatus = 0;
    std::uint32_t uioStatus = 0;
    int resultCode = 0;
    std::function<void()> hook{};  // runs before anything is written; may throw
};

// The signature that an open must come with; its name and vendor are padded with NUL in 32 bytes.
struct SignatureLiteral {
    std::uint32_t version;
    std::string name;
    std::string vendor;
    std::uint32_t numCallbacks;
    const void* callbacks;  // nullptr: not compared
};

// An entry of the adapter list. Texts of 32 characters are given without a NUL.
struct AdapterLiteral {
    std::string name;
    std::string signature;
};

class ScriptedDriver {
public:
    ScriptedDriver();
    ~ScriptedDriver();
    ScriptedDriver(const ScriptedDriver&) = delete;
    ScriptedDriver& operator=(const ScriptedDriver&) = delete;

    // vmk_MgmtUserInit, with cookie 0. The handle is given only with result 0.
    void expectOpen(const SignatureLiteral& signature, int resultCode, std::uint64_t handleToGive);

    // Callback 16: writes `claimedCount` and the entries, all bytes behind their texts noise, also
    // when the result is a failure. Room behind the last entry is left as it is.
    void expectAdapterList(std::uint64_t handle, const std::vector<AdapterLiteral>& adapters,
                           std::uint32_t claimedCount, int resultCode = 0);

    // Callback 17. Throws std::invalid_argument for a reply that is longer than its buffer.
    void expectCommand(const Record& record, const Reply& reply = {});

    // vmk_MgmtUserDestroy.
    void expectClose(std::uint64_t handle, int resultCode = 0);

    std::size_t callCount() const;   // calls of all three functions so far, wrong ones included
    std::size_t openCount() const;   // successful opens less closes
    RecordBytes lastRecord() const;  // of the last callback 17 as it came; zero before

    // For the three functions.
    int onOpen(const void* signature, std::uint64_t cookie, std::uint64_t* handle);
    int onInvoke(std::uint64_t handle, std::uint64_t instance, std::uint64_t callbackId,
                 std::uint32_t parameterCount, void* parameter0, void* parameter1);
    int onClose(std::uint64_t handle);

private:
    enum class Kind { kOpen, kAdapterList, kCommand, kClose, kOther };

    // A call as it came.
    struct Call {
        Kind kind;
        std::string words;  // for a failure
        std::uint64_t handle;
        const void* signature;
        void* first;   // where an open puts its handle, else parameter 0
        void* second;  // parameter 1
    };

    struct Expectation {
        Kind kind;
        std::string words;
        // Compares the call, and answers it if that adds nothing to `problem`.
        std::function<int(const Call& call, std::string& problem)> answer;
    };

    void expect(Kind kind, const std::string& words,
                std::function<int(const Call& call, std::string& problem)> answer);
    // `problem` is what is wrong with the call whatever the script says.
    int answer(const Call& call, std::string problem);

    mutable std::mutex m_mutex;
    std::deque<Expectation> m_script;
    std::optional<std::uint64_t> m_scriptedHandle;
    std::size_t m_callCount = 0;
    std::size_t m_openCount = 0;
    RecordBytes m_lastRecord{};
};

}  // namespace vesktest
