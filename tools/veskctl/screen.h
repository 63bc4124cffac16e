// Where standard output goes.
#pragma once

#include <string>

namespace veskctl {

struct Screen {
    bool terminal = false;
    bool takesColour = false;
    unsigned width = 0;   // columns; 0: any number
    unsigned height = 0;  // lines; 0: any number
};

// Standard output as it is, and what the environment says of it.
Screen standardScreen();

// Whether output may be coloured. noColor and term are the values of NO_COLOR and TERM, null where
// not set. An empty NO_COLOR counts as not set, as its convention has it.
bool colourWanted(bool isTerminal, const char* noColor, const char* term);

// columns is the value of COLUMNS, null where not set; a number there counts before what the
// terminal says of itself.
unsigned widthWanted(const char* columns, unsigned ofTerminal);

}  // namespace veskctl
