#include "veskctl/command_health.h"

#include "veskctl/health_reader.h"
#include "veskctl/health_view.h"
#include "veskctl/id_option.h"
#include "veskctl/session.h"
#include "veskctl/single_request.h"

namespace veskctl {

CommandRunner declareHealth(CLI::App& app) {
    const IdOption id(app, "disk", IdOption::Need::Optional);
    return [id](const CommandContext& context, Report& report) {
        report.fields["health"] = nlohmann::ordered_json::array();
        const Session session(context.libraryName, report.problems);
        for (unsigned slot = 0; slot < kIdCount; ++slot) {
            if (id.id().value_or(slot) == slot) {
                const Health health = readHealth(session.functions(), slot, report.problems);
                report.fields["health"].push_back(healthToJson(health));
                addHealthSection(health, report.table);
            }
        }
    };
}

}  // namespace veskctl
