#include "sim/host/simulated_host.h"

#include "sim/controller/controller_model.h"
#include "sim/controller/pages.h"
#include "sim/host/connections.h"
#include "sim/host/wire.h"
#include "sim/scenario/noise.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <utility>

namespace vesksim {

namespace {

constexpr std::size_t kHistoryLimit = 1'000'000;
constexpr const char* kListSignature = "nvmeMgmt";
static_assert(sizeof(AdapterListEntry) * kMaxAdapters == kAdapterArrayBytes);

Scenario startingScenario() {
    const char* named = std::getenv("VESKSIM_SCENARIO");
    return named == nullptr || *named == '\0' ? Scenario() : loadScenario(named);
}

const Adapter* findBySignature(const Scenario& scenario, const std::string& signature) {
    const auto found =
        std::find_if(scenario.adapters.begin(), scenario.adapters.end(),
                     [&](const Adapter& adapter) { return adapter.signature == signature; });
    return found == scenario.adapters.end() ? nullptr : &*found;
}

ReceivedCommand describe(const std::string& adapter, const PassThroughRecord& record) {
    ReceivedCommand command;
    command.adapter = adapter;
    command.opcode = record.opcode;
    command.nsid = record.nsid;
    command.cdw10 = record.cdw10;
    command.cdw11 = record.cdw11;
    command.cdw12 = record.cdw12;
    command.cdw13 = record.cdw13;
    command.cdw14 = record.cdw14;
    command.cdw15 = record.cdw15;
    command.dataLength = record.dataLength;
    command.timeout = record.timeout;
    return command;
}

void writeData(const PassThroughRecord& record, const std::vector<std::uint8_t>& data) {
    const std::size_t length = std::min<std::size_t>(data.size(), record.dataLength);
    if (record.direction == 1 && length > 0) {
        std::memcpy(reinterpret_cast<void*>(record.dataAddress), data.data(), length);
    }
}

void writeZeros(const PassThroughRecord& record) {
    if (record.direction == 1 && record.dataLength > 0) {
        std::memset(reinterpret_cast<void*>(record.dataAddress), 0, record.dataLength);
    }
}

// Phase tag, status code, its type, and for a failure the advice not to try again.
std::uint16_t completionStatus(std::uint8_t code, std::uint8_t type) {
    const unsigned doNotRetry = code != 0 || type != 0 ? 0x8000U : 0U;
    return static_cast<std::uint16_t>(1U | (unsigned{code} << 1U) | ((type & 7U) << 9U) |
                                      doNotRetry);
}

}  // namespace

struct SimulatedHost::State {
    mutable std::mutex mutex;  // guards all below
    Scenario scenario;
    std::map<std::string, ControllerModel> controllers;  // by the adapter's name
    HandleTable handles;
    CommandScript script;
    DelayHandler delay;
    Clock clock;
    std::chrono::steady_clock::time_point loadedAt;  // for the time without a clock
    std::map<std::string, int> openFailures;
    std::deque<ReceivedCommand> commands;
    std::vector<std::string> refusals;
    std::uint16_t queueHead = 0;

    void takeOver(const Scenario& next, double time) {
        std::map<std::string, ControllerModel> models;
        for (std::size_t i = 0; i < next.adapters.size(); ++i) {
            const Adapter& adapter = next.adapters[i];
            const auto old = controllers.find(adapter.name);
            if (old != controllers.end()) {
                old->second.update(adapter, time);
                models.insert(*old);
            } else {
                models.emplace(adapter.name,
                               ControllerModel(adapter, mix(next.noiseSeed ^ mix(i)), time));
            }
        }
        controllers = std::move(models);
        scenario = next;
    }

    int refuse(const char* function, const Refusal& refusal) {
        const int number = static_cast<int>(refusal.error);
        refusals.push_back(fmt::format("{} ({}): {}", function, number, refusal.reason));
        return number;
    }

    int openFailure(const std::string& signature, int fromScenario) const {
        const auto found = openFailures.find(signature);
        return found == openFailures.end() ? fromScenario : found->second;
    }

    // The connection behind an open handle, or why there is none.
    std::pair<Connection*, Refusal> connection(std::uint64_t handle) {
        Connection* found = handles.find(handle);
        if (found == nullptr) {
            return {nullptr,
                    {MgmtError::kUnknownHandle,
                     fmt::format("handle {:#x} was never given out", handle)}};
        }
        if (!found->open) {
            return {nullptr,
                    {MgmtError::kClosedHandle,
                     fmt::format("handle {:#x} was destroyed before", handle)}};
        }
        return {found, {}};
    }

    void remember(const ReceivedCommand& command) {
        if (commands.size() == kHistoryLimit) {
            commands.pop_front();
        }
        commands.push_back(command);
    }
};

SimulatedHost::SimulatedHost(const Scenario& scenario) : m_state(std::make_unique<State>()) {
    load(scenario);
}

SimulatedHost::~SimulatedHost() = default;

SimulatedHost& SimulatedHost::instance() {
    // Never destroyed: threads of the process may still send commands while it ends.
    static SimulatedHost* const host = new SimulatedHost(startingScenario());
    return *host;
}

void SimulatedHost::load(const Scenario& scenario) {
    checkScenario(scenario, "scenario");
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->controllers.clear();
    m_state->takeOver(scenario, 0);
    m_state->clock = nullptr;
    m_state->loadedAt = std::chrono::steady_clock::now();
    m_state->handles.clear();
    m_state->script = nullptr;
    m_state->delay = nullptr;
    m_state->openFailures.clear();
    m_state->commands.clear();
    m_state->refusals.clear();
}

void SimulatedHost::update(const Scenario& scenario) {
    checkScenario(scenario, "scenario");
    const double time = now();
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->takeOver(scenario, time);
}

Scenario SimulatedHost::scenario() const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->scenario;
}

void SimulatedHost::setCommandScript(CommandScript script) {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->script = std::move(script);
}

void SimulatedHost::setDelayHandler(DelayHandler handler) {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->delay = std::move(handler);
}

void SimulatedHost::setClock(Clock clock) {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->clock = std::move(clock);
}

// Without the lock, which the clock may not be called under.
double SimulatedHost::now() const {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    const Clock clock = m_state->clock;
    const auto loadedAt = m_state->loadedAt;
    lock.unlock();
    if (clock) {
        return clock();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - loadedAt).count();
}

void SimulatedHost::failOpen(const std::string& signatureName, int platformCode) {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    if (platformCode == 0) {
        m_state->openFailures.erase(signatureName);
    } else {
        m_state->openFailures[signatureName] = platformCode;
    }
}

std::size_t SimulatedHost::openHandles() const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->handles.openCount();
}

std::vector<ReceivedCommand> SimulatedHost::commands() const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return {m_state->commands.begin(), m_state->commands.end()};
}

std::vector<std::string> SimulatedHost::refusals() const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->refusals;
}

void SimulatedHost::forgetHistory() {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->commands.clear();
    m_state->refusals.clear();
}

std::vector<unsigned> SimulatedHost::locatingDisks(const std::string& adapter) const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    const auto found = m_state->controllers.find(adapter);
    return found == m_state->controllers.end() ? std::vector<unsigned>()
                                               : found->second.locatingDisks();
}

ControllerStates SimulatedHost::controllerStates() {
    const double time = now();
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    ControllerStates states;
    for (auto& [name, controller] : m_state->controllers) {
        states.emplace(name, controller.state(time));
    }
    return states;
}

void SimulatedHost::restoreControllers(const ControllerStates& states, double secondsSince) {
    const double time = now();
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    for (const auto& [name, state] : states) {
        const auto found = m_state->controllers.find(name);
        if (found != m_state->controllers.end()) {
            found->second.restore(state, m_state->clock ? time : time - secondsSince);
        }
    }
}

int SimulatedHost::open(const void* signature, std::uint64_t cookie, std::uint64_t* handle) {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    const auto refuse = [this](const Refusal& refusal) {
        return m_state->refuse("vmk_MgmtUserInit", refusal);
    };
    if (signature == nullptr) {
        return refuse({MgmtError::kNullSignature, "no signature"});
    }
    if (handle == nullptr) {
        return refuse({MgmtError::kNullHandleAddress, "no address for the handle"});
    }
    if (cookie != 0) {
        return refuse({MgmtError::kCookieNotZero, fmt::format("cookie {}, 0 is wanted", cookie)});
    }
    SignatureRecord record;
    std::memcpy(&record, signature, sizeof(record));
    Refusal refusal = checkSignature(record);
    if (refusal.error != MgmtError::kNone) {
        return refuse(refusal);
    }
    const std::string name = fieldText(record.name);
    const bool isList = name == kListSignature;
    const Adapter* adapter = isList ? nullptr : findBySignature(m_state->scenario, name);
    if (!isList && adapter == nullptr) {
        return refuse({MgmtError::kUnknownSignature,
                       fmt::format("no driver registered the signature \"{}\"", name)});
    }
    const ConnectionKind kind = isList ? ConnectionKind::kAdapterList : ConnectionKind::kAdapter;
    refusal = checkCallbacks(record, kind);
    if (refusal.error != MgmtError::kNone) {
        return refuse(refusal);
    }
    const int failure = m_state->openFailure(name, isList ? m_state->scenario.adapterListOpenError
                                                          : adapter->openError);
    if (failure != 0) {
        return failure;
    }
    *handle = m_state->handles.add(kind, isList ? std::string() : adapter->name);
    return 0;
}

int SimulatedHost::invoke(std::uint64_t handle, std::uint64_t instanceId, std::uint64_t callbackId,
                          std::uint32_t parameterCount, void* parameter0, void* parameter1) {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    const auto refuse = [this](const Refusal& refusal) {
        return m_state->refuse("vmk_MgmtUserCallbackInvokeInt", refusal);
    };
    const auto [found, refusal] = m_state->connection(handle);
    if (found == nullptr) {
        return refuse(refusal);
    }
    if (instanceId != 0) {
        return refuse(
            {MgmtError::kInstanceNotZero, fmt::format("instance id {}, 0 is wanted", instanceId)});
    }
    if (!ownsCallback(found->kind, callbackId)) {
        return refuse({MgmtError::kForeignCallback,
                       fmt::format("callback {} is not in this handle's table", callbackId)});
    }
    if (parameterCount != 2) {
        return refuse({MgmtError::kWrongParameterCount,
                       fmt::format("{} parameters, 2 are wanted", parameterCount)});
    }
    if (parameter0 == nullptr || parameter1 == nullptr) {
        return refuse({MgmtError::kNullParameter, "the address of a parameter is null"});
    }
    if (found->kind == ConnectionKind::kAdapterList) {
        return listAdapters(parameter0, parameter1);
    }
    if (callbackId != kCallbackPassThrough) {
        return refuse({MgmtError::kNotAnswered,
                       fmt::format("callback {} of an adapter is not served here", callbackId)});
    }
    const std::string adapter = found->adapter;
    lock.unlock();
    return passThrough(adapter, parameter0, parameter1);
}

int SimulatedHost::close(std::uint64_t handle) {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    const auto [found, refusal] = m_state->connection(handle);
    if (found == nullptr) {
        return m_state->refuse("vmk_MgmtUserDestroy", refusal);
    }
    found->open = false;
    return 0;
}

// With the lock held.
int SimulatedHost::listAdapters(void* count, void* array) {
    const Scenario& scenario = m_state->scenario;
    if (scenario.adapterListError != 0) {
        return scenario.adapterListError;
    }
    // Rows behind the last adapter, and the driver's own part of each row, are noise.
    Reply rows(kAdapterArrayBytes, mix(scenario.noiseSeed));
    for (std::size_t i = 0; i < scenario.adapters.size(); ++i) {
        const Adapter& adapter = scenario.adapters[i];
        const std::size_t row = i * sizeof(AdapterListEntry);
        rows.putText(row + offsetof(AdapterListEntry, name), 32, adapter.name, '\0');
        rows.putText(row + offsetof(AdapterListEntry, signature), 32, adapter.signature, '\0');
    }
    const auto number = static_cast<std::uint32_t>(scenario.adapters.size());
    std::memcpy(count, &number, sizeof(number));
    std::memcpy(array, rows.take().data(), kAdapterArrayBytes);
    return 0;
}

// Without the lock, which is taken for the state only: scripts and delays run on their own time.
int SimulatedHost::passThrough(const std::string& adapter, const void* code, void* record) {
    std::uint32_t request = 0;
    PassThroughRecord uio;
    std::memcpy(&request, code, sizeof(request));
    std::memcpy(&uio, record, sizeof(uio));

    const double arrived = now();
    std::unique_lock<std::mutex> lock(m_state->mutex);
    Refusal refusal = checkPassThrough(request, uio);
    auto model = m_state->controllers.find(adapter);
    if (refusal.error == MgmtError::kNone && model == m_state->controllers.end()) {
        refusal = {MgmtError::kAdapterGone, fmt::format("adapter {} is gone", adapter)};
    }
    if (refusal.error != MgmtError::kNone) {
        return m_state->refuse("vmk_MgmtUserCallbackInvokeInt", refusal);
    }
    const ReceivedCommand command = describe(adapter, uio);
    m_state->remember(command);
    const CommandScript script = m_state->script;
    const DelayHandler delay = m_state->delay;
    CommandOverride instead = model->second.failureOf(command, arrived);
    lock.unlock();

    if (script) {
        instead = script(command);
    }
    if (instead.delayMilliseconds > 0 && delay) {
        delay(instead.delayMilliseconds);
    }
    if (instead.platformCode != 0) {
        return instead.platformCode;
    }

    const double time = now();
    lock.lock();
    // Looked up again: the host may have changed while nobody held the lock.
    model = m_state->controllers.find(adapter);
    if (model == m_state->controllers.end()) {
        return m_state->refuse(
            "vmk_MgmtUserCallbackInvokeInt",
            {MgmtError::kAdapterGone, fmt::format("adapter {} is gone", adapter)});
    }
    Answer answer{instead.statusCode, instead.statusCodeType, {}};
    if (answer.statusCode == 0 && answer.statusCodeType == 0) {
        if (instead.zeroReply) {
            writeZeros(uio);
        } else {
            answer = model->second.answer(command, time);
            writeData(uio, answer.data);
        }
    }
    uio.result = 0;
    uio.queueHead = ++m_state->queueHead;
    uio.queueId = 0;
    uio.completedId = uio.commandId;
    uio.completionStatus = completionStatus(answer.statusCode, answer.statusCodeType);
    uio.uioStatus = instead.uioStatus;
    std::memcpy(record, &uio, sizeof(uio));
    return 0;
}

}  // namespace vesksim
