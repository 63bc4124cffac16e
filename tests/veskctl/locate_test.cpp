// The locate light.
#include "veskctl/locate.h"

#include "fake_library.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

TEST(Locate, TouchesTheNamedDiskOnly) {
    FakeLibrary library;
    EXPECT_EQ(requestLocate(library.functions(), 1, Blink::On), ERR_NONE);
    EXPECT_EQ(requestLocate(library.functions(), 0, Blink::Off), ERR_NONE);
    EXPECT_EQ(library.calls, (std::vector<std::string>{"diskLocate on 1", "diskLocate off 0"}));
}

TEST(Locate, ReturnsTheResult) {
    FakeLibrary library;
    library.results["diskLocate on"] = 1;
    EXPECT_EQ(requestLocate(library.functions(), 0, Blink::On), ERR_FAIL);
}

}  // namespace

}  // namespace veskctl
