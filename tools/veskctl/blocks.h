// Sections of "Name  value" lines: the full view of one thing.
#pragma once

#include "veskctl/tone.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veskctl {

class Blocks {
public:
    void addSection(const std::string& title);
    // Belongs to the section that was added last. The value is made printable.
    void addLine(const std::string& name, const std::string& value, Tone tone = Tone::Plain);

    // Values stand in one column over all sections. A value that wants attention has a "!" before
    // its line; one that does not fit goes on below itself. 0 columns: no limit.
    std::string render(bool colour, std::size_t columns = 0) const;

private:
    struct Line {
        std::string name;
        std::string value;
        Tone tone;
    };
    struct Section {
        std::string title;
        std::vector<Line> lines;
    };

    std::vector<Section> m_sections;
};

}  // namespace veskctl
