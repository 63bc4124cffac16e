// Holds signals that a write could bring upon the host: of a file size limit, and of a reader that
// has gone. One that came in between is taken away again.
#pragma once

#include <csignal>
#include <ctime>
#include <initializer_list>

namespace veskcap {

class HeldSignals {
public:
    HeldSignals() {
        sigemptyset(&m_held);
        sigaddset(&m_held, SIGXFSZ);
        sigaddset(&m_held, SIGPIPE);
        sigpending(&m_pending);
        pthread_sigmask(SIG_BLOCK, &m_held, &m_before);
    }
    ~HeldSignals() {
        for (const int signal : {SIGXFSZ, SIGPIPE}) {
            if (sigismember(&m_pending, signal) == 1) {
                sigdelset(&m_held, signal);  // the host's own
            }
        }
        const timespec atOnce = {};
        while (sigtimedwait(&m_held, nullptr, &atOnce) > 0) {
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

private:
    sigset_t m_held = {};
    sigset_t m_pending = {};
    sigset_t m_before = {};
};

}  // namespace veskcap
