#include "veskctl/colour.h"

#include <cstring>

namespace veskctl {

bool colourWanted(bool isTerminal, const char* noColor, const char* term) {
    const bool refused = noColor != nullptr && *noColor != '\0';
    const bool dumb = term != nullptr && std::strcmp(term, "dumb") == 0;
    return isTerminal && !refused && !dumb;
}

}  // namespace veskctl
