#include "veskctl/tone.h"

#include "veskctl/format.h"

namespace veskctl {

namespace {

std::string coloured(const std::string& text, const char* code, bool colour) {
    return colour && *code != '\0' ? format("\x1b[{}m{}\x1b[0m", code, text) : text;
}

const char* colourCode(Tone tone) {
    switch (tone) {
    case Tone::Faint:
        return "2";
    case Tone::Good:
        return "32";
    case Tone::Warning:
        return "33";
    case Tone::Critical:
        return "31";
    case Tone::Plain:
        break;
    }
    return "";
}

}  // namespace

std::string toned(const std::string& text, Tone tone, bool colour) {
    return coloured(text, colourCode(tone), colour);
}

std::string bold(const std::string& text, bool colour) {
    return coloured(text, "1", colour);
}

const char* signOf(Tone tone) {
    return tone == Tone::Warning || tone == Tone::Critical ? "!" : " ";
}

}  // namespace veskctl
