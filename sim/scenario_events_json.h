// The keys of a scenario file that are about the event log.
#pragma once

#include "scenario.h"
#include "strict_json.h"

namespace vesksim {

void readEventSettings(ObjectReader& reader, Adapter& adapter);

}  // namespace vesksim
