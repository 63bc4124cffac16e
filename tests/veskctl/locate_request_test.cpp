// The locate light.
#include "veskctl/locate_request.h"

#include "fake_library.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using veskctl::Blink;
using veskctl::requestLocate;

TEST(LocateRequest, TouchesTheNamedDiskOnly) {
    FakeLibrary library;
    EXPECT_EQ(requestLocate(library.functions(), 1, Blink::On), ERR_NONE);
    EXPECT_EQ(requestLocate(library.functions(), 0, Blink::Off), ERR_NONE);
    EXPECT_EQ(library.calls, (std::vector<std::string>{"diskLocate on 1", "diskLocate off 0"}));
}

TEST(LocateRequest, ReturnsTheResult) {
    FakeLibrary library;
    library.results["diskLocate on"] = 1;
    EXPECT_EQ(requestLocate(library.functions(), 0, Blink::On), ERR_FAIL);
}

}  // namespace
