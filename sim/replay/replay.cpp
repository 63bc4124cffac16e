#include "sim/replay/replay.h"

#include "capture/capture_reader.h"
#include "capture/command_name.h"
#include "capture/host_files.h"
#include "sim/host/host_folder.h"
#include "transport/management_tables.h"
#include "transport/nvme_uio.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <stdexcept>

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vesksim {

namespace fs = std::filesystem;
using veskcap::Piece;
using veskcap::Record;

namespace {

std::atomic<Replay*> theReplay{nullptr};

constexpr UNSIGNED_INTEGER kMostRows = 64;
constexpr unsigned kInvokeParameters = 2;  // of each callback that the library invokes

// A text that says what a call asks for, to compare calls by. Bytes go in without the zeros at
// their end, as the capture stores them.
class Question {
public:
    explicit Question(veskcap::Call call, const std::string& name) {
        add(call);
        add(name);
    }
    void add(std::uint64_t number) {
        m_text.append(reinterpret_cast<const char*>(&number), sizeof(number));
    }
    void add(const std::string& text) {
        add(text.size());
        m_text += text;
    }
    void add(std::uint64_t kind, std::uint64_t index, std::uint64_t length,
             const std::string& bytes) {
        add(kind);
        add(index);
        add(length);
        add(bytes.substr(0, bytes.find_last_not_of('\0') + 1));
    }
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

template <class Value>
Value valueOf(const std::string& bytes) {
    Value value = {};
    std::memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof(value)));
    return value;
}

template <class Value>
std::string bytesOf(const Value& value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

std::string bytesAt(const void* data, std::size_t size) {
    return std::string(static_cast<const char*>(data), size);
}

template <class Pointer>
Pointer onlyWhether(Pointer pointer) {
    return reinterpret_cast<Pointer>(static_cast<std::uintptr_t>(pointer != nullptr ? 1 : 0));
}

// What of a command makes it another one.
nvme_uio compared(nvme_uio command) {
    command.commandId = 0;
    std::fill(std::begin(command.completion), std::end(command.completion), UCHAR_{0});
    command.completionStatus = 0;
    command.uioStatus = 0;
    command.timeout = 0;
    command.dataAddress = onlyWhether(command.dataAddress);
    command.metaAddress = onlyWhether(command.metaAddress);
    return command;
}

std::string textOf(const char (&field)[32]) {
    return std::string(field, strnlen(field, sizeof(field)));
}

bool isCommand(std::uint64_t callbackId, unsigned parameter, std::size_t size) {
    return callbackId == kPassThroughCallback && parameter == 1 && size == sizeof(nvme_uio);
}

bool isIn(UNSIGNED_INTEGER direction) {
    return direction == kParameterIn || direction == kParameterInOut;
}

// The bytes, and zeros up to the whole length; never more than there is room for.
void fill(void* target, std::size_t room, const Piece& piece) {
    if (target == nullptr) {
        return;
    }
    const std::size_t length = std::min<std::size_t>(room, piece.header.length);
    const std::size_t stored = std::min(length, piece.bytes.size());
    std::memcpy(target, piece.bytes.data(), stored);
    std::memset(static_cast<char*>(target) + stored, 0, length - stored);
}

void writeFile(const std::string& root, const Record& record) {
    const fs::path file = hostFolder(root) / fs::path(record.text).relative_path();
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << record.content;
    stream.close();
    if (!stream) {
        throw std::runtime_error(fmt::format("{} cannot be written", file.string()));
    }
}

}  // namespace

struct Replay::Answer {
    int result = 0;
    std::vector<Piece> out;
};

struct Replay::Answers {
    std::vector<Answer> inOrder;
    std::size_t place = 0;  // of its counter in Shared::next
};

struct Replay::Shared {
    static constexpr std::size_t kMostRefusals = 32;
    struct Refusal {
        bool byFirstThread;
        char text[512];
    };
    std::size_t refusalCount;
    Refusal refusals[kMostRefusals];
    std::size_t next[1];  // one for each question: the answer that is given next
};

struct Replay::Connection {
    std::string name;
    std::vector<ManagementCallback> table;
};

Replay::Replay() = default;

Replay::~Replay() {
    if (m_shared != nullptr) {
        munmap(m_shared, m_sharedSize);
    }
}

std::unique_ptr<Replay> Replay::load(const std::string& file, const std::string& root) {
    std::unique_ptr<Replay> replay(new Replay());
    for (const char* const folder : {"scratch/log", "var/log"}) {
        fs::create_directories(hostFolder(root) / folder);
    }
    replay->read(file, root);
    replay->share();
    return replay;
}

Replay& Replay::start(const std::string& file, const std::string& root) {
    // Never destroyed: threads of the process may still send commands while it ends.
    theReplay = load(file, root).release();
    return *theReplay;
}

Replay* Replay::active() {
    return theReplay;
}

void Replay::read(const std::string& file, const std::string& root) {
    try {
        std::ifstream stream = veskcap::openCapture(file);
        veskcap::CaptureReader reader(stream);
        Record record;
        while (reader.next(record)) {
            take(std::move(record), root);
        }
        m_damage = reader.damage();
    } catch (const veskcap::CaptureError& error) {
        throw std::runtime_error(fmt::format("the capture {}: {}", file, error.what()));
    }
}

void Replay::take(Record&& record, const std::string& root) {
    if (record.header.type == veskcap::kFileRecord) {
        const bool known = std::find(veskcap::kHostFiles.begin(), veskcap::kHostFiles.end(),
                                     record.text) != veskcap::kHostFiles.end();
        // As they were when the capture began.
        const bool first = m_filesSeen.emplace(record.text, true).second;
        if (known && first && record.file.error == 0) {
            writeFile(root, record);
        }
        return;
    }
    if (record.header.type != veskcap::kExchangeRecord) {
        return;
    }
    const veskcap::ExchangeBody& body = record.exchange;
    const HandleOfProcess handle = {record.header.pid, body.handle};
    std::string name;
    if (body.call == veskcap::kInit) {
        if (const Piece* signature = record.find(veskcap::kSignature)) {
            name = textOf(valueOf<ManagementSignature>(signature->bytes).name);
        }
        m_recordedHandles[handle] = name;
        m_recordedHandles[{0, body.handle}] = name;
    } else {
        // A process that was forked off goes on with what it inherited.
        auto known = m_recordedHandles.find(handle);
        if (known == m_recordedHandles.end()) {
            known = m_recordedHandles.find({0, body.handle});
        }
        name = known == m_recordedHandles.end() ? std::string() : known->second;
    }

    Question question(static_cast<veskcap::Call>(body.call), name);
    question.add(body.cookie);
    question.add(body.callbackId);
    question.add(body.parameterCount);
    Answer answer;
    answer.result = body.result;
    for (Piece& piece : record.pieces) {
        const unsigned kind = piece.header.kind;
        if (kind == veskcap::kArgumentOut || kind == veskcap::kDataOut ||
            kind == veskcap::kMetaOut) {
            answer.out.push_back(std::move(piece));
            continue;
        }
        if (kind == veskcap::kArgumentIn &&
            isCommand(body.callbackId, piece.header.index, piece.header.length)) {
            piece.bytes = bytesOf(compared(valueOf<nvme_uio>(piece.bytes)));
        }
        question.add(kind, piece.header.index, piece.header.length, piece.bytes);
    }
    std::unique_ptr<Answers>& answers = m_answers[question.text()];
    if (answers == nullptr) {
        answers = std::make_unique<Answers>();
    }
    answers->inOrder.push_back(std::move(answer));
}

void Replay::share() {
    m_sharedSize = sizeof(Shared) + m_answers.size() * sizeof(std::size_t);
    void* const memory =
        mmap(nullptr, m_sharedSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    m_shared = static_cast<Shared*>(memory);  // zeros
    std::size_t place = 0;
    for (const auto& entry : m_answers) {
        entry.second->place = place++;
    }
}

// With the mutex held. Null, and remembered, if there is no answer.
const Replay::Answer* Replay::find(const std::string& question, const std::string& inWords) {
    const auto found = m_answers.find(question);
    if (found == m_answers.end()) {
        refuse(inWords + ": it was never recorded");
        return nullptr;
    }
    const Answers& answers = *found->second;
    std::size_t& next = m_shared->next[answers.place];
    const Answer& answer = answers.inOrder[next];
    if (next + 1 < answers.inOrder.size()) {
        ++next;
    }
    const bool cut = std::any_of(answer.out.begin(), answer.out.end(), [](const Piece& piece) {
        return (piece.header.flags & veskcap::kCut) != 0;
    });
    if (cut) {
        refuse(inWords + ": the answer was too long to be recorded whole");
        return nullptr;
    }
    return &answer;
}

void Replay::refuse(const std::string& what) {
    if (m_shared->refusalCount == Shared::kMostRefusals) {
        return;
    }
    Shared::Refusal& refusal = m_shared->refusals[m_shared->refusalCount];
    // Not gettid(), which C libraries before 2.30 lack.
    refusal.byFirstThread = syscall(SYS_gettid) == getpid();
    refusal.text[what.copy(refusal.text, sizeof(refusal.text) - 1)] = '\0';
    ++m_shared->refusalCount;
}

std::vector<std::string> Replay::refusals(bool ofAllThreads) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < m_shared->refusalCount; ++i) {
        const Shared::Refusal& refusal = m_shared->refusals[i];
        const bool known = std::find(texts.begin(), texts.end(), refusal.text) != texts.end();
        if ((ofAllThreads || refusal.byFirstThread) && !known) {
            texts.emplace_back(refusal.text);
        }
    }
    return texts;
}

int Replay::open(const void* signature, std::uint64_t cookie, std::uint64_t* handle) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ManagementSignature record = {};
    auto connection = std::make_unique<Connection>();
    if (signature != nullptr) {
        std::memcpy(&record, signature, sizeof(record));
        connection->name = textOf(record.name);
        if (record.callbacks != nullptr && record.numCallbacks <= kMostRows) {
            connection->table.assign(record.callbacks, record.callbacks + record.numCallbacks);
        }
        record.callbacks = onlyWhether(record.callbacks);
    }
    Question question(veskcap::kInit, connection->name);
    question.add(cookie);
    question.add(0);
    question.add(0);
    if (signature != nullptr) {
        question.add(veskcap::kSignature, 0, sizeof(record), bytesOf(record));
    }
    if (!connection->table.empty()) {
        std::string rows;
        for (ManagementCallback row : connection->table) {
            row.callback = onlyWhether(row.callback);
            rows += bytesOf(row);
        }
        question.add(veskcap::kCallbackTable, 0, rows.size(), rows);
    }
    const Answer* const answer =
        find(question.text(), fmt::format("opening \"{}\"", connection->name));
    if (answer == nullptr) {
        return kNotRecorded;
    }
    if (answer->result == 0 && handle != nullptr) {
        *handle = ++m_given;
        m_connections[m_given] = std::move(connection);
    }
    return answer->result;
}

int Replay::invoke(std::uint64_t handle, std::uint64_t instanceId, std::uint64_t callbackId,
                   std::uint32_t parameterCount, void* parameter0, void* parameter1) {
    void* const parameters[kInvokeParameters] = {parameter0, parameter1};
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto connection = m_connections.find(handle);
    const std::string name =
        connection == m_connections.end() ? std::string() : connection->second->name;
    Question question(veskcap::kInvoke, name);
    question.add(instanceId);
    question.add(callbackId);
    question.add(parameterCount);
    std::string inWords = fmt::format("callback {} of \"{}\"", callbackId, name);

    std::size_t sizes[kInvokeParameters] = {};
    nvme_uio* command = nullptr;
    if (connection != m_connections.end()) {
        for (const ManagementCallback& row : connection->second->table) {
            for (unsigned i = 0; row.callbackId == callbackId && i < row.numParms &&
                                 i < parameterCount && i < kInvokeParameters;
                 ++i) {
                if (parameters[i] == nullptr) {
                    continue;
                }
                sizes[i] = row.parmSizes[i];
                std::string bytes = bytesAt(parameters[i], sizes[i]);
                if (isCommand(callbackId, i, sizes[i])) {
                    command = static_cast<nvme_uio*>(parameters[i]);
                    bytes = bytesOf(compared(*command));
                    inWords = fmt::format("{} ({}) of \"{}\"", veskcap::commandName(*command),
                                          veskcap::commandNumbers(*command), name);
                }
                if (isIn(row.parmTypes[i])) {
                    question.add(veskcap::kArgumentIn, i, sizes[i], bytes);
                }
            }
        }
    }
    constexpr UCHAR_ kRead = 1;
    const auto addSent = [&](veskcap::PieceKind kind, const void* data, std::size_t size) {
        if (command->direction > kRead && data != nullptr && size > 0) {
            question.add(kind, 0, size, bytesAt(data, std::min(size, veskcap::kMostStored)));
        }
    };
    if (command != nullptr) {
        addSent(veskcap::kDataIn, command->dataAddress, command->dataLength);
        addSent(veskcap::kMetaIn, command->metaAddress, command->metaLength);
    }

    const Answer* const answer = find(question.text(), inWords);
    if (answer == nullptr) {
        return kNotRecorded;
    }
    for (const Piece& piece : answer->out) {
        const unsigned index = piece.header.index;
        if (piece.header.kind == veskcap::kDataOut && command != nullptr) {
            fill(command->dataAddress, command->dataLength, piece);
        } else if (piece.header.kind == veskcap::kMetaOut && command != nullptr) {
            fill(command->metaAddress, command->metaLength, piece);
        } else if (piece.header.kind != veskcap::kArgumentOut || index >= kInvokeParameters ||
                   sizes[index] == 0) {
            continue;
        } else if (isCommand(callbackId, index, sizes[index])) {
            const auto answered = valueOf<nvme_uio>(piece.bytes);
            std::memcpy(command->completion, answered.completion, sizeof(command->completion));
            command->completionStatus = answered.completionStatus;
            command->uioStatus = answered.uioStatus;
        } else {
            fill(parameters[index], sizes[index], piece);
        }
    }
    return answer->result;
}

int Replay::close(std::uint64_t handle) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto connection = m_connections.find(handle);
    if (connection == m_connections.end()) {
        return kNotRecorded;
    }
    m_connections.erase(connection);
    // Nobody's output depends on how closing went, and a process may end before it.
    return 0;
}

}  // namespace vesksim
