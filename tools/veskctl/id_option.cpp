#include "veskctl/id_option.h"

#include <fmt/format.h>

namespace veskctl {

IdOption::IdOption(CLI::App& app, const std::string& thing, Need need)
    : m_text(std::make_shared<std::string>()) {
    const auto check = [thing](const std::string& value) {
        return value == "0" || value == "1"
                   ? std::string()
                   : fmt::format("there is no {} '{}', the ids are 0 and 1", thing, value);
    };
    CLI::Option* option = app.add_option("ID", *m_text, fmt::format("The {}: 0 or 1", thing))
                              ->option_text(" ")
                              ->check(check, "");
    if (need == Need::Required) {
        option->required();
    }
}

std::optional<unsigned> IdOption::id() const {
    if (m_text->empty()) {
        return std::nullopt;
    }
    return *m_text == "0" ? 0U : 1U;
}

}  // namespace veskctl
