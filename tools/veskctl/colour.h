// When the output may be coloured.
#pragma once

namespace veskctl {

// noColor and term are the values of NO_COLOR and TERM, null where not set. An empty NO_COLOR
// counts as not set, as its convention has it.
bool colourWanted(bool isTerminal, const char* noColor, const char* term);

}  // namespace veskctl
