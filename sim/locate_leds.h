// The locate lights of the disk slots. A command names the slot with two bits. Not synchronised.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace vesksim {

class LocateLeds {
public:
    static constexpr std::size_t kSlots = 4;

    void set(std::size_t slot, bool blinking) { m_blinking.at(slot) = blinking; }
    std::vector<unsigned> blinking() const;

private:
    std::array<bool, kSlots> m_blinking = {};
};

}  // namespace vesksim
