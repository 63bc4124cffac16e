// A library that goes wrong ends its own process only, and the program says what happened.
#include "veskctl/library_process.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <signal.h>
#include <unistd.h>

namespace veskctl {

namespace {

LibrarySetup setupOf(const char* misbehave) {
    setenv("MISBEHAVE", misbehave, 1);
    LibrarySetup setup;
    setup.libraryName = MISBEHAVING_LIBRARY;
    setup.timeout = std::chrono::seconds(20);
    return setup;
}

struct SingleRequest {
    Info_Request header = {};
    PD_Info record = {};
};

UCHAR_ askForDisk(const LibraryProcess& process, SingleRequest& request, unsigned id) {
    request.header.requestType = REQUEST_SINGLE;
    request.header.id = static_cast<UCHAR_>(id);
    return process.functions().diskInfo(0, &request.header);
}

TEST(LibraryProcess, ArgumentsAndRecordsTravelBothWays) {
    const LibraryProcess process(setupOf(""));
    EXPECT_EQ(process.path(), MISBEHAVING_LIBRARY);
    EXPECT_FALSE(process.simulated());
    EXPECT_EQ(process.functions().initialize(), ERR_NONE);
    EXPECT_EQ(process.functions().adapterGetCount(), 1);

    alignas(CController) std::array<std::uint8_t, 304> controller = {};
    UCHAR_ count = 0;
    EXPECT_EQ(process.functions().adapterGetInfo(2, &count,
                                                 reinterpret_cast<CController*>(controller.data())),
              9);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(controller.front(), 0x22);
    EXPECT_EQ(controller.back(), 0x22);

    SingleRequest request;
    EXPECT_EQ(askForDisk(process, request, 1), ERR_NONE);
    EXPECT_EQ(request.header.recordCount, 1);
    EXPECT_EQ(reinterpret_cast<const std::uint8_t*>(&request.record)[3], 2);
    EXPECT_EQ(reinterpret_cast<const std::uint8_t*>(&request.record)[4], 0);

    SMART_INFO_ARRAY health = {};
    EXPECT_EQ(process.functions().diskHealth(0, 1, 0, &health), ERR_NONE);
    EXPECT_EQ(reinterpret_cast<const std::uint8_t*>(&health)[sizeof(health) - 1], 0x31);

    PD_OEM_Data light = {};
    light.pdId = 1;
    light.ledStatus = 1;
    EXPECT_EQ(process.functions().diskLocate(0, &light), 2);

    alignas(CEvent) std::array<std::uint8_t, 64 * 64> events = {};
    EXPECT_EQ(process.functions().getEvents(0, 0, &count, reinterpret_cast<CEvent*>(events.data())),
              ERR_FAIL);
    EXPECT_EQ(count, 64);
    EXPECT_EQ(events.back(), 0x11);
}

TEST(LibraryProcess, AnEndIsToldAndToldAgain) {
    struct Row {
        const char* misbehave;
        const char* message;
    };
    const std::array<Row, 3> rows = {{
        {"abort ZT_Adapter_GetCount",
         "library_crashed: the library ended its process (SIGABRT) in ZT_Adapter_GetCount, saying "
         "'terminate called after a test'; run 'veskctl doctor', which checks the files that the "
         "library reads"},
        {"crash ZT_Adapter_GetCount",
         "library_crashed: the library ended its process (SIGSEGV) in ZT_Adapter_GetCount; run "
         "'veskctl doctor', which checks the files that the library reads"},
        {"exit ZT_Adapter_GetCount",
         "library_crashed: the library ended its process (exit code 7) in ZT_Adapter_GetCount; run "
         "'veskctl doctor', which checks the files that the library reads"},
    }};
    for (const Row& row : rows) {
        const LibraryProcess process(setupOf(row.misbehave));
        std::vector<Problem> problems;
        process.functions().initialize();
        guarded("disk 0", problems, [&] { process.functions().adapterGetCount(); });
        guarded("disk 1", problems, [&] { process.functions().adapterGetCount(); });
        EXPECT_EQ(told(problems), std::vector<std::string>{row.message});
    }
}

TEST(LibraryProcess, AHangIsEndedAndTold) {
    LibrarySetup setup = setupOf("hang ZT_Adapter_GetCount");
    setup.timeout = std::chrono::milliseconds(50);
    const LibraryProcess process(setup);
    std::vector<Problem> problems;
    guarded("it", problems, [&] { process.functions().adapterGetCount(); });
    EXPECT_EQ(told(problems),
              std::vector<std::string>{
                  "library_not_answering: the library did not answer within 0.05 seconds in "
                  "ZT_Adapter_GetCount; the controller or its driver may hang: look at the host's "
                  "log, or allow more with --timeout"});
}

TEST(LibraryProcess, WhatTheLibraryThrowsIsThrownWithItsText) {
    const LibraryProcess process(setupOf("throw ZT_API_Initialize"));
    try {
        process.functions().initialize();
        FAIL();
    } catch (const ProblemError&) {
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "thrown in ZT_API_Initialize");
    }
    EXPECT_EQ(process.functions().adapterGetCount(), 1);  // it goes on
}

TEST(LibraryProcess, WhatTheLibraryPrintsIsKept) {
    const LibraryProcess process(setupOf("print ZT_API_Initialize"));
    process.functions().initialize();
    process.functions().adapterGetCount();
    EXPECT_EQ(process.printed(), "printed in ZT_API_Initialize");
}

TEST(LibraryProcess, ALibraryThatPrintsWithoutEndIsNotHeldUp) {
    const LibraryProcess process(setupOf("flood ZT_API_Initialize"));
    EXPECT_EQ(process.functions().initialize(), ERR_NONE);
}

TEST(LibraryProcess, EachIsAFreshStartAndLeavesWithTheProgramsEnd) {
    std::array<int, 2> ends = {};
    ASSERT_EQ(pipe(ends.data()), 0);
    LibrarySetup setup = setupOf("");
    const auto say = [&ends](char what) {
        static_cast<void>(!write(ends[1], &what, 1));
    };
    setup.hooks.enter = [&] {
        say('e');
    };
    setup.hooks.leave = [&] {
        say('l');
    };
    { const LibraryProcess first(setup); }
    { const LibraryProcess second(setup); }
    std::array<char, 5> said = {};
    EXPECT_EQ(read(ends[0], said.data(), 4), 4);
    EXPECT_STREQ(said.data(), "elel");
    close(ends[0]);
    close(ends[1]);
}

TEST(LibraryProcess, SignalsOfTheTerminalAreForTheProgram) {
    LibrarySetup setup = setupOf("");
    setup.hooks.enter = [] {
        raise(SIGINT);
        raise(SIGHUP);
        raise(SIGTERM);
    };
    const LibraryProcess process(setup);
    EXPECT_EQ(process.functions().adapterGetCount(), 1);
}

TEST(LibraryProcess, ALibraryThatCannotBeLoadedIsAProblem) {
    LibrarySetup setup = setupOf("");
    setup.libraryName = "/nonexistent/libVeskNvme.so";
    try {
        const LibraryProcess process(setup);
        FAIL();
    } catch (const ProblemError& error) {
        EXPECT_EQ(error.problem().kind, ProblemKind::LibraryNotFound);
    }
}

// To open a FIFO would wait for ever, to map a device is asking for trouble.
TEST(LibraryProcess, WhatIsNoFileIsRefusedAtOnce) {
    for (const char* path : {"/dev/zero", "/tmp", "/dev/null"}) {
        LibrarySetup setup = setupOf("");
        setup.libraryName = path;
        try {
            const LibraryProcess process(setup);
            FAIL() << path;
        } catch (const ProblemError& error) {
            EXPECT_EQ(error.problem().kind, ProblemKind::LibraryUnusable) << path;
            EXPECT_TRUE(contains(error.what(), std::string(path) + " is no file")) << error.what();
        }
    }
}

}  // namespace

}  // namespace veskctl
