// Output for people: sections of aligned "Name  value" lines.
#pragma once

#include <string>
#include <vector>

namespace veskctl {

enum class Tone { Plain, Faint, Warning };

// The text in the colour of the tone, if there are colours.
std::string toned(const std::string& text, Tone tone, bool colour);

class Table {
public:
    void addSection(const std::string& title);
    // Belongs to the section that was added last.
    void addLine(const std::string& name, const std::string& value, Tone tone = Tone::Plain);

    // Values stand in one column over all sections.
    std::string render(bool colour) const;

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
