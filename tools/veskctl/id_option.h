// The id of a disk or a volume on the command line.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>

namespace veskctl {

// Read after the command line was parsed.
class IdOption {
public:
    enum class Need { Required, Optional };

    // thing: "disk" or "volume".
    IdOption(CLI::App& app, const std::string& thing, Need need);

    std::optional<unsigned> id() const;

private:
    std::shared_ptr<std::string> m_text;  // shared, since the option writes to it
};

}  // namespace veskctl
