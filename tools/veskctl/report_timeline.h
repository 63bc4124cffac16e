// Events along a line of time, a lane for each severity that there is: a piece of the report page.
#pragma once

#include "veskctl/event.h"

#include <string>
#include <vector>

namespace veskctl {

std::string timelineOf(const std::vector<Event>& events);

// A text of others as part of a page. lines: its line ends stay.
std::string inHtml(const std::string& text, bool lines = false);

}  // namespace veskctl
