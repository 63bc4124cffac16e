// The simulated host as tests and veskctl-sim see it: one per process, behind the three functions
// of libvmkmgmt.so. All operations may be called from any thread.
#pragma once

#include "sim/controller/command.h"
#include "sim/controller/controller_model.h"
#include "sim/scenario/scenario.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vesksim {

class SimulatedHost {
public:
    // Made on first use from the scenario that VESKSIM_SCENARIO names (a file or one of our own),
    // or from the default one, which is a healthy host. Throws ScenarioError; the next call tries
    // again.
    static SimulatedHost& instance();

    SimulatedHost(const SimulatedHost&) = delete;
    SimulatedHost& operator=(const SimulatedHost&) = delete;

    // Starts over with this scenario: state, open handles, scripts, the delay handler, the clock
    // and history are forgotten. Throws ScenarioError, and then nothing has changed.
    void load(const Scenario& scenario);
    // Changes what the host reports while it runs: handles, lights, scripts and history stay, and
    // the event log too unless its settings have changed. Throws ScenarioError, and then nothing
    // has changed.
    void update(const Scenario& scenario);
    Scenario scenario() const;

    // Asked for each command before it is answered; return nothing special to let it pass. Replaces
    // the failures of the scenario. Pass nullptr to go back to those. Runs on the thread that sends
    // the command, without a lock.
    using CommandScript = std::function<CommandOverride(const ReceivedCommand&)>;
    void setCommandScript(CommandScript script);

    // Called with each delay in milliseconds. By default delays pass at once. Runs on the thread
    // that sends the command, without a lock.
    using DelayHandler = std::function<void(unsigned milliseconds)>;
    void setDelayHandler(DelayHandler handler);

    // The host's time in seconds since load(), by which event logs grow. nullptr: the time that has
    // really passed since. Runs on threads that send commands and on those that call this class,
    // without a lock.
    using Clock = std::function<double()>;
    void setClock(Clock clock);

    // Platform code that vmk_MgmtUserInit returns for this signature name ("nvmeMgmt" for the
    // adapter list, else an adapter's signature); 0 takes the failure back.
    void failOpen(const std::string& signatureName, int platformCode);

    std::size_t openHandles() const;  // management handles not yet destroyed
    // Commands that reached an adapter, oldest first; those refused are not among them. Of more
    // than a million the oldest are dropped.
    std::vector<ReceivedCommand> commands() const;
    std::vector<std::string> refusals() const;  // one line for each call that was refused, and why
    void forgetHistory();

    // Ids of the disks whose locate light blinks, rising. Empty for an adapter that is not there.
    std::vector<unsigned> locatingDisks(const std::string& adapter) const;

    // What the controllers keep over a restart.
    ControllerStates controllerStates();
    // Puts it back; adapters that are not there are passed over. The logs go on from where they
    // were, `secondsSince` later; with a clock that was set they go on from the very time.
    void restoreControllers(const ControllerStates& states, double secondsSince);

    // The three functions of libvmkmgmt.so.
    int open(const void* signature, std::uint64_t cookie, std::uint64_t* handle);
    int invoke(std::uint64_t handle, std::uint64_t instanceId, std::uint64_t callbackId,
               std::uint32_t parameterCount, void* parameter0, void* parameter1);
    int close(std::uint64_t handle);

private:
    struct State;

    explicit SimulatedHost(const Scenario& scenario);
    ~SimulatedHost();

    double now() const;
    int listAdapters(void* count, void* array);
    int passThrough(const std::string& adapter, const void* code, void* record);

    std::unique_ptr<State> m_state;
};

}  // namespace vesksim
