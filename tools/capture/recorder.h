// Records the exchanges of this process in the file that VESK_CAPTURE names; with
// VESK_CAPTURE_MASK, the mask's key, serial numbers are masked. Any thread may use it. Nothing here
// throws: what goes wrong ends the recording, with one line on standard error, and nothing else.
#pragma once

#include "capture/capture_file.h"
#include "capture/capture_format.h"
#include "capture/platform.h"
#include "capture/serial_mask.h"
#include "transport/management_tables.h"
#include "transport/nvme_uio.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace veskcap {

// What a parameter held before the call. Small ones are kept in place.
class ParameterCopy {
public:
    void take(const void* data, std::size_t size);  // may throw std::bad_alloc
    bool taken() const { return m_size != 0; }
    const char* data() const { return m_large.empty() ? m_small : m_large.data(); }
    char* data() { return m_large.empty() ? m_small : m_large.data(); }
    std::size_t size() const { return m_size; }

private:
    char m_small[128];
    std::vector<char> m_large;
    std::size_t m_size = 0;
};

// One call while it is going on, on the stack of its thread.
struct Exchange {
    ExchangeBody body = {};
    std::uint64_t began = 0;  // of the clock that never jumps
};

struct Invocation : Exchange {
    void* const* parameters = nullptr;  // the caller's
    bool tableIsKnown = false;
    ManagementCallback row = {};
    ParameterCopy in[kMostParameters];
    bool isPassThrough = false;
    nvme_uio command = {};  // as it was sent
};

class Recorder {
public:
    // Null where nothing is recorded. The first call opens the file.
    static Recorder* active() noexcept;
    // Why recording ended; null if it did not.
    static const char* problem() noexcept;
    // Says it on standard error, if nobody has yet.
    static void sayProblem() noexcept;

    // Waits for a record that is being written, and lets none follow it in this process.
    static void endRecording() noexcept;

    // Takes in the host's files as they are now; once.
    void lookAtHost() noexcept;

    void beforeInit(Exchange& exchange, unsigned long cookie) noexcept;
    void afterInit(Exchange& exchange, const void* signature, const unsigned long* handle,
                   int result) noexcept;

    void beforeInvoke(Invocation& invocation) noexcept;
    void afterInvoke(Invocation& invocation, int result) noexcept;

    void beforeDestroy(Exchange& exchange, unsigned long handle) noexcept;
    void afterDestroy(Exchange& exchange, int result) noexcept;

private:
    struct PieceReference {
        PieceHeader header;
        const void* data;
    };
    // Filled from the front.
    struct Pieces {
        PieceReference piece[kMostPieces];
        std::uint32_t count = 0;
        void add(PieceKind kind, unsigned index, const void* data, std::size_t size);
    };
    struct Connection {
        std::vector<ManagementCallback> table;
        bool asked = false;  // for serial numbers
    };
    struct HostFile {
        const char* path;
        FileBody body;
        std::string content;
    };

    // How recording ended, for this process and those that are forked off: it ends for all of them,
    // and one says it.
    struct End {
        std::atomic<bool> ended{false};
        std::atomic<bool> said{false};
        char reason[5120] = "";  // empty: it goes on
    };

    Recorder();

    void start() noexcept;
    void beginFile(const char* path);
    void stop(const char* reason) noexcept;
    template <class Work>
    void guarded(Work work) noexcept;

    void begin(Exchange& exchange) noexcept;
    void end(Exchange& exchange, int result) noexcept;

    void readHostFiles();
    void writeHostFiles();
    void write(Exchange& exchange, Pieces& pieces, const nvme_uio* command);
    void maskPiece(PieceKind kind, char* data, std::size_t size, const nvme_uio* command);

    // A record is put together, then appended; all with the mutex held. Where the data begin that
    // were put.
    void beginRecord(RecordType type);
    char* put(const void* data, std::size_t size);
    void append();

    // Sends commands of its own, before anything is written that could hold a serial number.
    void askOnce(const Invocation& invocation);
    void ask(unsigned long handle);
    void askAdaptersOf(const Invocation& invocation);

    static void holdForFork();
    static void releaseAfterFork();
    static void releaseInChild();

    std::atomic<bool> m_recording{false};
    std::atomic<std::uint32_t> m_pid{0};
    bool m_begun = false;  // the file has its start record
    bool m_masking = false;

    std::mutex m_mutex;  // guards what follows; not held while the platform is called
    CaptureFile m_file;
    SerialMask m_mask;
    std::map<unsigned long, Connection> m_connections;
    std::vector<HostFile> m_hostFiles;  // not written yet
    bool m_hostFilesRead = false;
    std::vector<char> m_record;  // kept, so that most records need no memory
    End* m_end;
};

}  // namespace veskcap
