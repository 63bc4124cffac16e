// First use of a singleton: creates it, or says in the log that it could not.
//
// Takes no lock: creating one twice at the same time would leak an object, no more, and set-up runs
// on one thread before any other comes.
#pragma once

#include "support/log_line.h"

namespace stg {

// Returns `instance`, created if it was null; null if that failed with an exception of the kind
// that is caught. `caller` begins the log line of a failure.
template <typename Caught, typename T>
T* createOnce(T*& instance, const char* caller) {
    if (instance == nullptr) {
        try {
            instance = new T;
        } catch (const Caught& error) {
            logLine(caller, "Failed to allocate Memory. ", error.what());
        }
    }
    return instance;
}

// Deletes the singleton if there is one.
template <typename T>
void destroyOnce(T*& instance) {
    delete instance;
    instance = nullptr;
}

}  // namespace stg
