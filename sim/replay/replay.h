// The host out of a capture: answers each call as it was answered when the capture was taken.
// Stands in the place of the simulated host, behind the three functions of libvmkmgmt.so.
//
// A call is answered by what was recorded for an equal one, the first time by the first answer and
// so on; the last answer repeats. Equal is what the caller asks: adapter, callback, parameters, the
// command's opcode, namespace, dwords and lengths, what is sent. Not: addresses, command id,
// timeout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace veskcap {
struct Record;
}

namespace vesksim {

class Replay {
public:
    // What vmk_MgmtUserInit and the others return for what was never recorded.
    static constexpr int kNotRecorded = 1090;

    // Takes the capture for all calls of this process from now on, and writes the host's files as
    // they were below the root. Throws std::runtime_error for a file that cannot be used; one that
    // is damaged at its end is.
    static Replay& start(const std::string& file, const std::string& root);
    // Null if there is none.
    static Replay* active();
    // The same for nobody's calls yet.
    static std::unique_ptr<Replay> load(const std::string& file, const std::string& root);
    ~Replay();
    Replay(const Replay&) = delete;
    Replay& operator=(const Replay&) = delete;

    // The commands that could not be answered, in words, each once, in this process and in those
    // that were forked off; of their first threads only, or of all. There is room for some.
    std::vector<std::string> refusals(bool ofAllThreads) const;
    // Where the capture ends before its end; empty if it does not.
    const std::string& damage() const { return m_damage; }

    // The three functions of libvmkmgmt.so.
    int open(const void* signature, std::uint64_t cookie, std::uint64_t* handle);
    int invoke(std::uint64_t handle, std::uint64_t instanceId, std::uint64_t callbackId,
               std::uint32_t parameterCount, void* parameter0, void* parameter1);
    int close(std::uint64_t handle);

private:
    struct Answer;
    struct Answers;
    struct Connection;
    struct Shared;

    Replay();

    void read(const std::string& file, const std::string& root);
    void take(veskcap::Record&& record, const std::string& root);
    void share();
    const Answer* find(const std::string& question, const std::string& inWords);
    void refuse(const std::string& what);

    using HandleOfProcess = std::pair<std::uint32_t, std::uint64_t>;

    mutable std::mutex m_mutex;
    std::map<std::string, std::unique_ptr<Answers>> m_answers;  // by question
    std::map<HandleOfProcess, std::string> m_recordedHandles;   // name of the signature
    std::map<std::string, bool> m_filesSeen;
    std::map<std::uint64_t, std::unique_ptr<Connection>> m_connections;
    std::uint64_t m_given = 0;
    // With the processes that are forked off, of which there is one at a time: each goes on in the
    // capture where the last one ended.
    Shared* m_shared = nullptr;
    std::size_t m_sharedSize = 0;
    std::string m_damage;
};

}  // namespace vesksim
