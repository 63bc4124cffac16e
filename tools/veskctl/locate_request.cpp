#include "veskctl/locate_request.h"

namespace veskctl {

int requestLocate(const LibraryFunctions& functions, unsigned slot, Blink blink) {
    PD_OEM_Data request = {};
    request.pdId = static_cast<UCHAR_>(slot);
    request.ledStatus = blink == Blink::On ? 1 : 0;
    return functions.diskLocate(0, &request);
}

}  // namespace veskctl
