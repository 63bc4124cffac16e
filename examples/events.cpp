// Prints the controller's events as they come, and ends at SIGINT or SIGTERM, or behind COUNT
// events.
//   c++ -std=c++17 events.cpp -lVeskNvme -o events && ./events [COUNT]
// It takes the events: whoever else asks on this host does not get them any more.
#include <VeskNvme.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <string_view>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t g_stop = 0;

// The library from set-up to tear-down. One in a process, and one after the other does not work.
class Library {
public:
    Library() : m_found(ZT_API_Initialize() == ERR_NONE && ZT_Adapter_GetCount() != 0) {}
    ~Library() {
        if (m_found) {  // without a controller, a tear-down throws
            ZNV_Library_Finalize();
        }
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    bool found() const { return m_found; }

private:
    bool m_found;
};

template <typename Number>
Number numberAt(const CEvent& event, int offset) {
    Number value;
    std::memcpy(&value, reinterpret_cast<const char*>(&event) + offset, sizeof(value));
    return value;
}

std::string_view description(const CEvent& event) {
    return reinterpret_cast<const char*>(&event) + CEVENT_DESCRIPTION;  // NUL terminated
}

constexpr int kMostEvents = 64;
constexpr unsigned kSecondsBetweenQuestions = 5;

struct Answer {
    int count;
    bool good;
};

Answer printNewEvents() {
    // Bytes, as copying a CEvent copies nothing.
    alignas(CEvent) static unsigned char room[kMostEvents * sizeof(CEvent)];
    auto* const events = reinterpret_cast<CEvent*>(room);
    UCHAR_ count = 0;
    // With another result, those that are here are good and come again: a reader drops what it has.
    const bool good = ZT_EVT_GetEvent(0, 0, &count, events) == ERR_NONE;
    for (int index = 0; index < count; ++index) {
        const CEvent& event = events[index];
        std::cout << '#' << numberAt<UNSIGNED_INTEGER>(event, CEVENT_SEQUENCE_NO) << " at "
                  << numberAt<UNSIGNED_INTEGER>(event, CEVENT_TIME_STAMP) << ": code "
                  << numberAt<USHORT_INT>(event, CEVENT_CODE) << ", severity "
                  << int{numberAt<UCHAR_>(event, CEVENT_SEVERITY)} << ", " << description(event)
                  << std::endl;
    }
    return {count, good};
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGINT, [](int) { g_stop = 1; });
    std::signal(SIGTERM, [](int) { g_stop = 1; });
    const long wanted = argc > 1 ? std::strtol(argv[1], nullptr, 10) : -1;
    try {
        const Library library;
        if (!library.found()) {
            std::cerr << "no controller\n";
            return 3;
        }
        bool good = true;
        for (long seen = 0; g_stop == 0 && (wanted < 0 || seen < wanted);) {
            const Answer answer = printNewEvents();
            seen += answer.count;
            if (good && !answer.good) {
                std::cerr << "the mark could not be stored, or an event could not be read\n";
            }
            good = answer.good;
            if (answer.count == 0 || !good) {
                sleep(kSecondsBetweenQuestions);
            }
        }
    } catch (const std::exception& error) {
        std::cerr << "the library could not be started or used: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
