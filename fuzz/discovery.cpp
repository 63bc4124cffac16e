// The search for the controller among adapters that claim anything. Input: what the driver answers.
#include "fuzz_target.h"
#include "fuzzed_driver.h"
#include "input.h"
#include "private_host.h"

#include "api/lib_initializer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    veskfuzz::FuzzedDriver& driver = veskfuzz::FuzzedDriver::instance();
    driver.answerFrom(veskfuzz::Input(data, size));
    CLibInitializer::createOSdeviceTalkerInstance();
    const UCHAR_ count = CLibInitializer::getControllerCount();
    veskfuzz::require(count <= 1, "one controller or none is found");
    veskfuzz::require(driver.openConnections() == count, "only the controller's connection stays");
    CLibInitializer::deleteOSdeviceTalkerInstance();
    veskfuzz::require(driver.openConnections() == 0, "and is closed at the end");
    return 0;
}
