// First use of a singleton: creates it, or says in the log that it could not.
#pragma once

#include "support/log_line.h"

#include <exception>

// Returns `instance`, created if it was null; null if that failed. Takes no lock: set-up runs first,
// on one thread. `caller` begins the log line of a failure.
template <typename T>
T* createOnce(T*& instance, const char* caller) {
    if (instance == nullptr) {
        try {
            instance = new T;
        } catch (const std::exception& error) {
            stg::logLine(caller, "Failed to allocate Memory. ", error.what());
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
