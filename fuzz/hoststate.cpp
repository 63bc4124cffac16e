// The file in which the simulated host keeps its state: it is refused with a reason, or what it
// says is kept, and written again as it is.
#include "fuzz_target.h"
#include "private_host.h"

#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"
#include "sim/scenario/scenario.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

namespace {

using nlohmann::json;
using veskfuzz::require;

constexpr const char* kStateFile = "/controller_state.json";

vesksim::SimulatedHost& host() {
    return vesksim::SimulatedHost::instance();
}

// What the controllers hold while no time passes.
vesksim::ControllerStates statesAtRest() {
    host().setClock([] { return 0.0; });
    return host().controllerStates();
}

bool sameLog(const vesksim::EventLogState& a, const vesksim::EventLogState& b) {
    return a.source == b.source && a.area == b.area && a.position == b.position &&
           a.nextSequence == b.nextSequence && a.scheduledDone == b.scheduledDone &&
           a.randomMade == b.randomMade && a.nextRandomAt == b.nextRandomAt;
}

bool sameStates(const vesksim::ControllerStates& a, const vesksim::ControllerStates& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& one, const auto& two) {
        return one.first == two.first && one.second.locatingDisks == two.second.locatingDisks &&
               sameLog(one.second.events, two.second.events) &&
               one.second.events.seconds == two.second.events.seconds;
    });
}

// Pages without the zeros at their ends, as they are written.
json plainLog(json log) {
    for (json& page : log["pages"]) {
        std::string text = page;
        text.erase(text.find_last_not_of('\0') + 1);
        page = text;
    }
    return log;
}

// Of a controller that is here: lights of its disks only; of a log from other settings nothing. The
// time of the log goes on.
void requireTaken(const json& read, const json& written, const vesksim::Adapter& adapter,
                  const vesksim::ControllerState& fresh, const vesksim::ControllerState& now) {
    std::set<unsigned> lights;
    for (const json& light : read["locating_disks"]) {
        const unsigned id = light;
        const bool here = std::any_of(adapter.disks.begin(), adapter.disks.end(),
                                      [id](const vesksim::Disk& disk) { return disk.id == id; });
        if (here) {
            lights.insert(id);
        }
    }
    require(std::set<unsigned>(now.locatingDisks.begin(), now.locatingDisks.end()) == lights,
            "the lights are those of the file");
    if (read["event_log"]["source"] != fresh.events.source) {
        require(sameLog(now.events, fresh.events), "a log from other settings is left out");
        return;
    }
    json log = plainLog(read["event_log"]);
    const json& kept = written["event_log"];
    log["seconds"] = kept["seconds"];
    require(log == kept, "the log is that of the file");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost files;
    static const vesksim::Scenario scenario;
    static const vesksim::ControllerStates fresh = [] {
        host().load(scenario);
        return statesAtRest();
    }();
    host().load(scenario);
    const std::string input(reinterpret_cast<const char*>(data), size);
    files.write(kStateFile, input);
    const std::string root = files.path("/");
    try {
        vesksim::loadState(root);
    } catch (const vesksim::StateError& error) {
        require(std::strstr(error.what(), "controller_state.json") != nullptr,
                "a refusal names the file");
        return 0;
    }
    const vesksim::ControllerStates states = statesAtRest();
    vesksim::saveState(root);
    const json read = json::parse(input).at("adapters");
    const json written = json::parse(files.read(kStateFile)).at("adapters");
    for (const auto& adapter : read.items()) {
        const json& entry = written.at(adapter.key());
        if (adapter.key() == scenario.adapters[0].name) {
            requireTaken(adapter.value(), entry, scenario.adapters[0], fresh.at(adapter.key()),
                         states.at(adapter.key()));
        } else {
            require(entry["locating_disks"] == adapter.value()["locating_disks"] &&
                        entry["event_log"] == plainLog(adapter.value()["event_log"]),
                    "what belongs to others is kept");
        }
    }
    host().load(scenario);
    require(sameStates(statesAtRest(), fresh), "a host that starts over has forgotten");
    vesksim::loadState(root);
    require(sameStates(host().controllerStates(), states), "what is read is what was written");
    vesksim::saveState(root);
    require(json::parse(files.read(kStateFile)).at("adapters") == written,
            "what is written again is the same");
    return 0;
}
