// Many lives of the library in one process, each under a fault.
#pragma once

#include "operation.h"
#include "rows.h"
#include "sleep_gate.h"
#include "swept_host.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "support/ini_files.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <utility>

namespace vesktest {

// As the library finds it: the text has no room for a folder but its own.
inline void setFolder(const std::string& folder) {
    std::string(folder).swap(VeskNVMeLibrary_Helper::m_LibPath);
}

class SweptLife : public ::testing::TestWithParam<Row> {
protected:
    // What is made once in a process is made now, a sanitizer's own thread among it.
    SweptLife()
        : m_host(scenarioFor(GetParam().logged)), m_mapping(m_host.files().read(kMappingIniPath)) {
        begin();
        EXPECT_EQ(ZT_API_Initialize(), 0);
        stop();
        end();
    }

    bool is(const char* operation) const { return std::string(GetParam().operation) == operation; }

    // As if the library had just been loaded, but that it may know its folder. A start that reads
    // no configuration is one behind a life that did: the log is open.
    void begin(const std::string& folder = "") {
        m_gate = std::make_unique<SleepGate>();
        CommandHandler::m_libraryInitialized = 0;
        CommandHandler::m_libraryFinalized = 0;
        CommandHandler::m_ControllerCount = 0;
        setFolder(folder);
        m_host.driver().load(scenarioFor(GetParam().logged));  // it knows all handles that it gave
        m_host.files().writeMappingIni(m_mapping);
        if (GetParam().logged) {
            m_host.files().write(kLogPath, "");
            if (is("ZNV_Library_Initialize")) {
                stg::lout.startDebug();
            }
        }
    }
    void end() {
        stg::lout.stopDebug();
        m_gate.reset();
        while (waitpid(-1, nullptr, 0) > 0) {
            ++m_commandsRun;
        }
    }

    // With the configuration, or without for the row of a start that reads none.
    Answer start() const {
        return guarded([this] {
            Answer result;
            const bool withoutConfiguration = is("ZNV_Library_Initialize");
            const InLibrary inside;
            if (withoutConfiguration) {
                ZNV_Library_Initialize();
            } else {
                result.result = ZT_API_Initialize();
            }
            return result;
        });
    }
    static bool polls(const Resources& before) { return Resources().threads > before.threads; }
    // Behind the first poll; a next life may begin.
    void stop() {
        EXPECT_TRUE(m_gate->waitForSleeper(1));
        m_gate->releaseAll();
        ZNV_Library_Finalize();
        m_gate.reset();  // its handler goes before the next one comes
        m_gate = std::make_unique<SleepGate>();
    }

    // A command that looked for the folder leaves its stream open.
    void expectResources(Resources expected) const {
        expected.descriptors += m_commandsRun;
        EXPECT_EQ(Resources(), expected);
    }
    std::function<bool()> ranACommand() {
        return [this, known = std::size_t{0}]() mutable {
            return std::exchange(known, m_commandsRun) != m_commandsRun;
        };
    }

    SimHost m_host;
    std::string m_mapping;
    std::unique_ptr<SleepGate> m_gate;
    std::size_t m_commandsRun = 0;
};

}  // namespace vesktest
