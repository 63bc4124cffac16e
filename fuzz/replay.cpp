// A capture, as it is and with its checksums set right, played back and shown: all that was asked
// when it was taken is asked again. It is refused with a reason, or each question has an answer or
// a refusal.
#include "capture_sums.h"
#include "fuzz_target.h"
#include "private_host.h"

#include "capture/capture_reader.h"
#include "sim/replay/replay.h"
#include "transport/management_tables.h"
#include "transport/nvme_uio.h"
#include "veskctl/capture.h"
#include "veskctl/report.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using veskcap::Piece;
using veskcap::Record;
using veskfuzz::require;
using vesksim::Replay;

// A host asks for no more.
constexpr std::size_t kLargestBuffer = 1U << 20U;

template <class Value>
Value valueOf(const Piece* piece) {
    Value value = {};
    if (piece != nullptr) {
        std::memcpy(&value, piece->bytes.data(), std::min(piece->bytes.size(), sizeof(value)));
    }
    return value;
}

// Of exactly this size, so that a sanitizer sees what goes beyond it; null for none.
std::unique_ptr<char[]> bufferOf(std::size_t size, const Piece* piece) {
    if (size == 0 || size > kLargestBuffer) {
        return nullptr;
    }
    std::unique_ptr<char[]> buffer(new char[size]());
    if (piece != nullptr) {
        std::memcpy(buffer.get(), piece->bytes.data(), std::min(size, piece->bytes.size()));
    }
    return buffer;
}

// What a program did when it was recorded.
class Asker {
public:
    explicit Asker(Replay& replay) : m_replay(replay) {}

    int ask(const Record& record) {
        switch (record.exchange.call) {
        case veskcap::kInit:
            return open(record);
        case veskcap::kInvoke:
            return invoke(record);
        default:
            return m_replay.close(m_handles[record.exchange.handle]);
        }
    }

private:
    int open(const Record& record) {
        const Piece* const rows = record.find(veskcap::kCallbackTable);
        m_table.assign(rows == nullptr ? 0 : rows->bytes.size() / sizeof(ManagementCallback), {});
        if (!m_table.empty()) {
            std::memcpy(m_table.data(), rows->bytes.data(), m_table.size() * sizeof(m_table[0]));
        }
        auto signature = valueOf<ManagementSignature>(record.find(veskcap::kSignature));
        signature.numCallbacks = static_cast<UNSIGNED_INTEGER>(m_table.size());
        signature.callbacks = m_table.empty() ? nullptr : m_table.data();
        return m_replay.open(&signature, record.exchange.cookie,
                             &m_handles[record.exchange.handle]);
    }

    int invoke(const Record& record) {
        const veskcap::ExchangeBody& body = record.exchange;
        std::size_t sizes[2] = {};
        for (const ManagementCallback& row : m_table) {
            for (unsigned i = 0; row.callbackId == body.callbackId && i < 2; ++i) {
                sizes[i] = std::max<std::size_t>(sizes[i], row.parmSizes[i]);
            }
        }
        const std::unique_ptr<char[]> parameters[2] = {
            bufferOf(sizes[0], record.find(veskcap::kArgumentIn, 0)),
            bufferOf(sizes[1], record.find(veskcap::kArgumentIn, 1))};
        auto command = valueOf<nvme_uio>(record.find(veskcap::kArgumentIn, 1));
        const std::unique_ptr<char[]> data =
            bufferOf(command.dataLength, record.find(veskcap::kDataIn));
        const std::unique_ptr<char[]> metadata =
            bufferOf(command.metaLength, record.find(veskcap::kMetaIn));
        command.dataAddress = data.get();
        command.metaAddress = metadata.get();
        if (body.callbackId == kPassThroughCallback && sizes[1] == sizeof(command)) {
            std::memcpy(parameters[1].get(), &command, sizeof(command));
        }
        return m_replay.invoke(m_handles[body.handle], body.cookie, body.callbackId,
                               body.parameterCount, parameters[0].get(), parameters[1].get());
    }

    Replay& m_replay;
    std::vector<ManagementCallback> m_table;
    std::map<std::uint64_t, std::uint64_t> m_handles;
};

void playBack(const std::string& file, const std::string& root, const std::string& bytes) {
    std::unique_ptr<Replay> replay;
    try {
        replay = Replay::load(file, root);
    } catch (const std::runtime_error& error) {
        require(std::strstr(error.what(), file.c_str()) != nullptr, "a refusal names the file");
        return;
    }
    std::istringstream stream(bytes);
    veskcap::CaptureReader reader(stream);
    Asker asker(*replay);
    Record record;
    while (reader.next(record)) {
        if (record.header.type == veskcap::kExchangeRecord) {
            const int result = asker.ask(record);
            require(result != Replay::kNotRecorded || record.exchange.result == result ||
                        record.exchange.call == veskcap::kDestroy ||
                        !replay->refusals(true).empty(),
                    "what is not answered is refused in words");
        }
    }
    require(replay->damage() == reader.damage(), "both end at the same place");
}

void show(const std::string& file) {
    for (const bool json : {false, true}) {
        veskctl::Report report;
        veskctl::showCapture(file, json, true, report);
        using Json = veskctl::Json;
        require(!report.fields.dump(-1, ' ', false, Json::error_handler_t::replace).empty(),
                "there is a document");
        require(!report.problems.empty() || !report.fields["format"].is_null(),
                "it is shown, or there is a reason");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    const std::string file = host.path("/capture");
    const std::string given(reinterpret_cast<const char*>(data), size);
    for (const std::string& bytes : {given, veskfuzz::withRightSums(given)}) {
        host.write("/capture", bytes);
        playBack(file, host.path("/"), bytes);
        show(file);
    }
    return 0;
}
