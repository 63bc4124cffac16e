#include "smart_page.h"

#include "reply.h"

namespace vesksim {

std::vector<std::uint8_t> smartPage(const Smart& smart, std::uint64_t noiseSeed) {
    Reply page(512, noiseSeed);
    page.put8(0, smart.criticalWarning);
    page.put16(1, smart.temperatureKelvin);
    page.put8(3, smart.availableSpare);
    page.put8(4, smart.availableSpareThreshold);
    page.put8(5, smart.percentageUsed);
    page.put128(32, smart.dataUnitsRead);
    page.put128(48, smart.dataUnitsWritten);
    page.put128(64, smart.hostReads);
    page.put128(80, smart.hostWrites);
    page.put128(96, smart.busyMinutes);
    page.put128(112, smart.powerCycles);
    page.put128(128, smart.powerOnHours);
    page.put128(144, smart.unsafeShutdowns);
    page.put128(160, smart.mediaErrors);
    page.put128(176, smart.errorLogEntries);
    page.put32(192, 0);   // minutes above the warning temperature
    page.put32(196, 0);   // minutes above the critical temperature
    page.clear(200, 16);  // no further temperature sensors
    return page.take();
}

}  // namespace vesksim
