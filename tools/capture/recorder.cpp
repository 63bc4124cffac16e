#include "capture/recorder.h"

#include "capture/host_files.h"
#include "capture/say.h"
#include "capture/serial_places.h"
#include "transport/nvme_adapter_list.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <memory>
#include <new>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace veskcap {

namespace {

// More rows than any signature has.
constexpr UNSIGNED_INTEGER kMostRows = 64;
constexpr std::size_t kMostKept = 1024;  // connections
constexpr std::size_t kMostRoomKept = 64U << 10U;

std::uint64_t now(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1000000000U +
           static_cast<std::uint64_t>(time.tv_nsec);
}

std::size_t withoutZerosAtTheEnd(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (; size >= 8; size -= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + size - 8, sizeof(word));
        if (word != 0) {
            break;
        }
    }
    while (size > 0 && bytes[size - 1] == 0) {
        --size;
    }
    return size;
}

template <class Pointer>
Pointer onlyWhether(Pointer pointer) {
    return reinterpret_cast<Pointer>(static_cast<std::uintptr_t>(pointer != nullptr ? 1 : 0));
}

// Addresses say nothing to whoever reads the file.
nvme_uio withoutAddresses(nvme_uio uio) {
    uio.dataAddress = onlyWhether(uio.dataAddress);
    uio.metaAddress = onlyWhether(uio.metaAddress);
    return uio;
}

bool isIn(UNSIGNED_INTEGER direction) {
    return direction == kParameterIn || direction == kParameterInOut;
}
bool isOut(UNSIGNED_INTEGER direction) {
    return direction == kParameterOut || direction == kParameterInOut;
}

bool listsAdapters(const Invocation& invocation) {
    const ManagementCallback& row = invocation.row;
    return invocation.tableIsKnown && row.callbackId == kAdapterListCallback && row.numParms == 2 &&
           invocation.body.parameterCount == 2 && row.parmSizes[0] == 4 &&
           row.parmSizes[1] == sizeof(nvme_adapter_list::adapter) &&
           row.parmTypes[0] == kParameterOut && row.parmTypes[1] == kParameterOut;
}

constexpr UCHAR_ kRead = 1;  // nvme_uio::direction
constexpr USHORT_INT kStatusMask = 0x0FFE;
constexpr unsigned kControllerVendor = 0x1B4B;
constexpr unsigned kDisks = 2;

const ManagementCallback kAdapterTable[2] = {
    {1, 0, nullptr, 1, 2, 0, {4, 208, 0, 0}, {kParameterIn, kParameterOut, 0, 0}, 0, 16},
    {1,
     0,
     nullptr,
     1,
     2,
     0,
     {4, sizeof(nvme_uio), 0, 0},
     {kParameterIn, kParameterInOut, 0, 0},
     0,
     kPassThroughCallback},
};

Recorder* theRecorder = nullptr;

}  // namespace

void ParameterCopy::take(const void* data, std::size_t size) {
    if (size > sizeof(m_small)) {
        m_large.resize(size);
    }
    m_size = size;
    std::memcpy(this->data(), data, size);
}

void Recorder::Pieces::add(PieceKind kind, unsigned index, const void* data, std::size_t size) {
    PieceReference& added = piece[count++];
    const std::size_t kept = std::min(size, kMostStored);
    added.data = data;
    added.header.kind = kind;
    added.header.index = static_cast<std::uint8_t>(index);
    added.header.flags = static_cast<std::uint8_t>(kept < size ? kCut : 0);
    added.header.length = static_cast<std::uint32_t>(size);
    added.header.stored = static_cast<std::uint32_t>(withoutZerosAtTheEnd(data, kept));
}

// ---- Beginning and end.

Recorder* Recorder::active() noexcept {
    static Recorder* const recorder = [] {
        // Never destroyed: threads of the host may call until the process is gone.
        alignas(Recorder) static unsigned char place[sizeof(Recorder)];
        theRecorder = new (place) Recorder;
        theRecorder->start();
        return theRecorder;
    }();
    return recorder->m_recording.load(std::memory_order_relaxed) ? recorder : nullptr;
}

Recorder::Recorder() : m_mask(std::string()) {
    static End ownEnd;
    void* const shared =
        mmap(nullptr, sizeof(End), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    m_end = shared == MAP_FAILED ? &ownEnd : new (shared) End;
}

const char* Recorder::problem() noexcept {
    const bool ended = theRecorder != nullptr && theRecorder->m_end->reason[0] != '\0';
    return ended ? theRecorder->m_end->reason : nullptr;
}

void Recorder::sayProblem() noexcept {
    const char* const text = problem();
    if (text != nullptr && !theRecorder->m_end->said.exchange(true)) {
        say(text);
    }
}

void Recorder::endRecording() noexcept {
    if (theRecorder != nullptr) {
        const std::lock_guard<std::mutex> lock(theRecorder->m_mutex);
        theRecorder->m_recording = false;
    }
}

void Recorder::start() noexcept {
    const char* const path = std::getenv("VESK_CAPTURE");
    if (path == nullptr || *path == '\0') {
        return;
    }
    m_recording = true;
    guarded([&] { beginFile(path); });
}

void Recorder::beginFile(const char* path) {
    const char* const key = std::getenv("VESK_CAPTURE_MASK");
    m_masking = key != nullptr && *key != '\0';
    if (m_masking) {
        m_mask = SerialMask(key);
    }
    if (!m_file.open(path, m_masking ? kMasked : 0, m_masking ? m_mask.keyCheck() : 0)) {
        stop(m_file.problem());
        return;
    }
    m_pid = static_cast<std::uint32_t>(getpid());
    pthread_atfork(holdForFork, releaseAfterFork, releaseInChild);

    StartBody start = {};
    start.time = now(CLOCK_REALTIME);
    start.nameLength = static_cast<std::uint32_t>(std::strlen(program_invocation_short_name));
    beginRecord(kStartRecord);
    put(&start, sizeof(start));
    put(program_invocation_short_name, start.nameLength);
    append();
    m_begun = m_recording.load();
}

void Recorder::stop(const char* reason) noexcept {
    if (!m_recording.exchange(false) || m_end->ended.exchange(true)) {
        return;
    }
    if (!m_begun) {
        // Said at the host's first call; whoever asks before may say it better.
        std::snprintf(m_end->reason, sizeof(m_end->reason), "nothing is recorded in %s: %s",
                      std::getenv("VESK_CAPTURE"), reason);
        return;
    }
    std::snprintf(m_end->reason, sizeof(m_end->reason),
                  "recording in %s ended, the program goes on without: %s", m_file.path(), reason);
    sayProblem();
}

// Keeps to itself what happens inside, also a thread that is cancelled just now.
template <class Work>
void Recorder::guarded(Work work) noexcept {
    int before = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    try {
        work();
    } catch (const std::bad_alloc&) {
        stop("out of memory");
    } catch (const std::exception& error) {
        stop(error.what());
    }
    pthread_setcancelstate(before, nullptr);
}

void Recorder::holdForFork() {
    theRecorder->m_mutex.lock();
}
void Recorder::releaseAfterFork() {
    theRecorder->m_mutex.unlock();
}
void Recorder::releaseInChild() {
    theRecorder->m_pid = static_cast<std::uint32_t>(getpid());
    theRecorder->m_mutex.unlock();
}

void Recorder::begin(Exchange& exchange) noexcept {
    exchange.body.time = now(CLOCK_REALTIME);
    exchange.began = now(CLOCK_MONOTONIC);
}

void Recorder::end(Exchange& exchange, int result) noexcept {
    exchange.body.duration = now(CLOCK_MONOTONIC) - exchange.began;
    exchange.body.result = result;
}

// ---- Writing.

void Recorder::beginRecord(RecordType type) {
    RecordHeader header = {};
    header.type = type;
    header.pid = m_pid;
    m_record.clear();
    put(&header, sizeof(header));
}

char* Recorder::put(const void* data, std::size_t size) {
    const std::size_t at = m_record.size();
    const auto* const bytes = static_cast<const char*>(data);
    m_record.insert(m_record.end(), bytes, bytes + size);
    return m_record.data() + at;
}

void Recorder::append() {
    if (m_end->ended) {
        m_recording = false;  // as it has for a process that shares the file
    }
    if (m_recording && !m_file.append(m_record.data(), m_record.size())) {
        stop(m_file.problem());
    }
    if (m_record.capacity() > kMostRoomKept) {
        std::vector<char>().swap(m_record);
    }
}

void Recorder::maskPiece(PieceKind kind, char* data, std::size_t size, const nvme_uio* command) {
    if (command != nullptr && kind == kDataOut && readsEventLog(*command)) {
        constexpr std::size_t kPageHeader = 40;
        const bool wholePage = command->cdw13 % kReplySize == 0 && size > kPageHeader;
        const std::size_t header = wholePage ? kPageHeader : 0;
        m_mask.maskEvents(data, header);
        m_mask.maskEvents(data + header, size - header);
        return;
    }
    const SerialPlace* const place = command != nullptr ? serialPlace(*command) : nullptr;
    if (place != nullptr && kind == kDataOut && size > place->offset) {
        m_mask.learnField(data + place->offset, std::min(place->size, size - place->offset));
    }
    m_mask.maskKnown(data, size);
}

void Recorder::write(Exchange& exchange, Pieces& pieces, const nvme_uio* command) {
    exchange.body.pieceCount = pieces.count;
    const std::lock_guard<std::mutex> lock(m_mutex);
    beginRecord(kExchangeRecord);
    put(&exchange.body, sizeof(exchange.body));
    for (std::uint32_t i = 0; i < pieces.count; ++i) {
        const PieceHeader& header = pieces.piece[i].header;
        put(&header, sizeof(header));
        char* const data = put(pieces.piece[i].data, header.stored);
        if (m_masking) {
            maskPiece(static_cast<PieceKind>(header.kind), data, header.stored, command);
        }
    }
    append();
}

// Through the C library's streams, as the library that is looked at reads them.
void Recorder::readHostFiles() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_hostFilesRead) {
            return;
        }
        m_hostFilesRead = true;
    }
    std::vector<HostFile> files;
    for (const char* const path : kHostFiles) {
        HostFile file = {path, {}, {}};
        file.body.time = now(CLOCK_REALTIME);
        file.body.pathLength = static_cast<std::uint32_t>(std::strlen(path));
        std::FILE* const stream = std::fopen(path, "re");
        if (stream == nullptr) {
            file.body.error = errno;
        } else {
            const std::unique_ptr<std::FILE, int (*)(std::FILE*)> closer(stream, std::fclose);
            char part[4096];
            std::size_t got = 0;
            while (file.content.size() <= kMostStored &&
                   (got = std::fread(part, 1, sizeof(part), stream)) > 0) {
                file.content.append(part, got);
            }
            file.body.error = std::ferror(stream) != 0 ? EIO : 0;
            file.body.flags = file.content.size() > kMostStored ? kCut : 0;
            file.content.resize(std::min(file.content.size(), kMostStored));
        }
        file.body.contentLength = static_cast<std::uint32_t>(file.content.size());
        files.push_back(std::move(file));
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hostFiles.swap(files);
}

void Recorder::writeHostFiles() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (HostFile& file : m_hostFiles) {
        if (m_masking) {
            m_mask.maskKnown(file.content.data(), file.content.size());
        }
        beginRecord(kFileRecord);
        put(&file.body, sizeof(file.body));
        put(file.path, file.body.pathLength);
        put(file.content.data(), file.content.size());
        append();
    }
    m_hostFiles.clear();
}

// ---- Asking for serial numbers.

void Recorder::ask(unsigned long handle) {
    const Platform* const real = platform();
    std::vector<char> reply(kReplySize);
    const auto fetch = [&](nvme_uio command) {
        std::fill(reply.begin(), reply.end(), '\0');
        UNSIGNED_INTEGER code = 1;
        return real->invoke(handle, 0, kPassThroughCallback, 2, &code, &command) == 0 &&
               (command.completionStatus & kStatusMask) == 0;
    };
    const auto learn = [&](const SerialPlace& place) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_mask.learnField(reply.data() + place.offset, place.size);
    };
    if (!fetch(identifyCommand(reply.data()))) {
        return;
    }
    const auto byte = [&](std::size_t at) {
        return static_cast<unsigned>(static_cast<unsigned char>(reply[at]));
    };
    const unsigned vendor = byte(0) | (byte(1) << 8U);
    learn(kIdentifySerial);
    // What others take the command for that asks for a disk is not known.
    for (unsigned disk = 0; vendor == kControllerVendor && disk < kDisks; ++disk) {
        if (fetch(diskCommand(disk, reply.data()))) {
            learn(kDiskSerial);
        }
    }
}

void Recorder::askOnce(const Invocation& invocation) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Connection& connection = m_connections[invocation.body.handle];
        // A disk may have been put in since the log was read last.
        const bool again = readsEventLog(invocation.command) && invocation.command.cdw13 == 0;
        if (connection.asked && !again) {
            return;
        }
        connection.asked = true;
    }
    ask(invocation.body.handle);
    writeHostFiles();
}

// The list comes before any adapter is asked who it is, and the host's files before the list.
void Recorder::askAdaptersOf(const Invocation& invocation) {
    const Platform* const real = platform();
    UNSIGNED_INTEGER count = 0;
    std::memcpy(&count, invocation.parameters[0], sizeof(count));
    const auto* const adapters = static_cast<const char*>(invocation.parameters[1]);
    for (UNSIGNED_INTEGER i = 0; i < std::min<UNSIGNED_INTEGER>(count, kMaxAdapters); ++i) {
        nvmeAdapterInfo adapter = {};
        std::memcpy(&adapter, adapters + i * sizeof(adapter), sizeof(adapter));
        ManagementSignature signature = {};
        signature.version = kManagementVersion;
        std::memcpy(signature.name, adapter.signature, sizeof(signature.name) - 1);
        std::strcpy(signature.vendor, "VMware");
        signature.numCallbacks = 2;
        signature.callbacks = kAdapterTable;
        unsigned long handle = 0;
        if (real->init(&signature, 0, &handle) == 0) {
            ask(handle);
            real->destroy(handle);
        }
    }
}

// ---- The three calls.

void Recorder::lookAtHost() noexcept {
    guarded([&] { readHostFiles(); });
}

void Recorder::beforeInit(Exchange& exchange, unsigned long cookie) noexcept {
    lookAtHost();
    exchange.body.call = kInit;
    exchange.body.cookie = cookie;
    begin(exchange);
}

void Recorder::afterInit(Exchange& exchange, const void* signature, const unsigned long* handle,
                         int result) noexcept {
    end(exchange, result);
    guarded([&] {
        if (!m_masking || result != 0) {
            writeHostFiles();
        }
        Pieces pieces;
        ManagementSignature copy = {};
        Connection connection;
        if (signature != nullptr) {
            std::memcpy(&copy, signature, sizeof(copy));
            if (copy.callbacks != nullptr && copy.numCallbacks <= kMostRows) {
                connection.table.assign(copy.callbacks, copy.callbacks + copy.numCallbacks);
            }
            copy.callbacks = onlyWhether(copy.callbacks);
            pieces.add(kSignature, 0, &copy, sizeof(copy));
        }
        std::vector<ManagementCallback> shown = connection.table;
        if (!shown.empty()) {
            for (ManagementCallback& row : shown) {
                row.callback = onlyWhether(row.callback);
            }
            pieces.add(kCallbackTable, 0, shown.data(), shown.size() * sizeof(shown[0]));
        }
        if (result == 0 && handle != nullptr) {
            exchange.body.handle = *handle;
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_connections.size() >= kMostKept) {
                m_connections.clear();  // of a host that never closes any
            }
            m_connections[*handle] = std::move(connection);
        }
        write(exchange, pieces, nullptr);
    });
}

void Recorder::beforeInvoke(Invocation& invocation) noexcept {
    invocation.body.call = kInvoke;
    guarded([&] {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            const auto connection = m_connections.find(invocation.body.handle);
            if (connection != m_connections.end()) {
                for (const ManagementCallback& row : connection->second.table) {
                    if (row.callbackId == invocation.body.callbackId) {
                        invocation.tableIsKnown = true;
                        invocation.row = row;
                    }
                }
            }
        }
        if (!invocation.tableIsKnown) {
            return;
        }
        const ManagementCallback& row = invocation.row;
        const std::size_t parameters =
            std::min<std::size_t>({row.numParms, invocation.body.parameterCount, kMostParameters});
        for (std::size_t i = 0; i < parameters; ++i) {
            if (isIn(row.parmTypes[i]) && invocation.parameters[i] != nullptr &&
                row.parmSizes[i] <= kMostStored) {
                invocation.in[i].take(invocation.parameters[i], row.parmSizes[i]);
            }
        }
        invocation.isPassThrough =
            row.callbackId == kPassThroughCallback && invocation.in[1].size() == sizeof(nvme_uio);
        if (invocation.isPassThrough) {
            std::memcpy(&invocation.command, invocation.in[1].data(), sizeof(nvme_uio));
            if (m_masking) {
                askOnce(invocation);
            }
        }
    });
    begin(invocation);
}

void Recorder::afterInvoke(Invocation& invocation, int result) noexcept {
    end(invocation, result);
    guarded([&] {
        if (m_masking && listsAdapters(invocation)) {
            if (result == 0) {
                askAdaptersOf(invocation);
            }
            writeHostFiles();
        }
        Pieces pieces;
        const nvme_uio& command = invocation.command;
        const nvme_uio sent = withoutAddresses(command);
        nvme_uio answered = {};
        const ManagementCallback& row = invocation.row;
        for (unsigned i = 0; i < kMostParameters; ++i) {
            const bool isCommand = invocation.isPassThrough && i == 1;
            const ParameterCopy& in = invocation.in[i];
            if (in.taken()) {
                pieces.add(kArgumentIn, i, isCommand ? &sent : static_cast<const void*>(in.data()),
                           in.size());
            }
            const bool exists = invocation.tableIsKnown && i < row.numParms &&
                                i < invocation.body.parameterCount &&
                                invocation.parameters[i] != nullptr;
            if (!exists || !isOut(row.parmTypes[i]) || result != 0) {
                continue;
            }
            const void* out = invocation.parameters[i];
            if (isCommand) {
                std::memcpy(&answered, out, sizeof(answered));
                answered = withoutAddresses(answered);
                out = &answered;
            }
            pieces.add(kArgumentOut, i, out, row.parmSizes[i]);
        }
        const auto addData = [&](PieceKind in, PieceKind out, const void* data, std::size_t size) {
            if (data == nullptr || size == 0) {
                return;
            }
            if (command.direction != kRead) {
                pieces.add(in, 0, data, size);
            } else if (result == 0) {
                pieces.add(out, 0, data, size);
            }
        };
        if (invocation.isPassThrough && command.direction != 0) {
            addData(kDataIn, kDataOut, command.dataAddress, command.dataLength);
            addData(kMetaIn, kMetaOut, command.metaAddress, command.metaLength);
        }
        write(invocation, pieces, invocation.isPassThrough ? &command : nullptr);
    });
}

void Recorder::beforeDestroy(Exchange& exchange, unsigned long handle) noexcept {
    exchange.body.call = kDestroy;
    exchange.body.handle = handle;
    begin(exchange);
}

void Recorder::afterDestroy(Exchange& exchange, int result) noexcept {
    end(exchange, result);
    guarded([&] {
        Pieces pieces;
        write(exchange, pieces, nullptr);
    });
}

}  // namespace veskcap
