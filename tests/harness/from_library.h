// For the harness's own tests: makes each call from inside a shared library, once linked to the
// program and once loaded at run time.
#pragma once

#include "library_stand_in.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <stdexcept>

namespace harness {

enum class Library { kLinked, kLoaded };

// The loaded library stays until the process ends, as its code may be a sanitizer's business then.
inline const LibraryCalls* loadedCalls() {
    static void* const s_library = dlopen(HARNESS_LOADED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (s_library == nullptr) {
        throw std::runtime_error(dlerror());
    }
    using Entry = const LibraryCalls*();
    return reinterpret_cast<Entry*>(dlsym(s_library, "harnessLibraryCalls"))();
}

class FromLibrary : public ::testing::TestWithParam<Library> {
protected:
    const LibraryCalls& calls() const { return *m_calls; }

private:
    const LibraryCalls* m_calls =
        GetParam() == Library::kLinked ? harnessLibraryCalls() : loadedCalls();
};

inline auto bothLibraries() {
    return ::testing::Values(Library::kLinked, Library::kLoaded);
}

inline const char* libraryName(const ::testing::TestParamInfo<Library>& param) {
    return param.param == Library::kLinked ? "Linked" : "Loaded";
}

}  // namespace harness
