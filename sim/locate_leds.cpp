#include "locate_leds.h"

namespace vesksim {

std::vector<unsigned> LocateLeds::blinking() const {
    std::vector<unsigned> slots;
    for (unsigned slot = 0; slot < kSlots; ++slot) {
        if (m_blinking[slot]) {
            slots.push_back(slot);
        }
    }
    return slots;
}

}  // namespace vesksim
