#include "capture/platform.h"

#include "capture/say.h"
#include "transport/vmk_mgmt.h"

#include <dlfcn.h>

namespace veskcap {

namespace {

constexpr const char* kName = "libvmkmgmt.so";

struct Loaded {
    Platform functions = {};
    bool whole = false;
};

// False if it is missing, or our own, which would call itself for ever.
template <class Function>
bool resolve(void* library, const char* name, Function own, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr && function != own;
}

Loaded load() {
    Loaded loaded;
    // By its name, and not the next one behind us: what a program loads later, and keeps to itself,
    // does not stand behind a library that was there before.
    void* const library = dlopen(kName, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const reason = dlerror();
        say("the platform's library cannot be loaded: ", reason != nullptr ? reason : kName);
        return loaded;
    }
    Platform& real = loaded.functions;
    loaded.whole = resolve(library, "vmk_MgmtUserInit", &vmk_MgmtUserInit, real.init) &&
                   resolve(library, "vmk_MgmtUserCallbackInvokeInt", &vmk_MgmtUserCallbackInvokeInt,
                           real.invoke) &&
                   resolve(library, "vmk_MgmtUserDestroy", &vmk_MgmtUserDestroy, real.destroy);
    if (!loaded.whole) {
        say("the platform's library lacks a function that is needed: ", kName);
    }
    return loaded;
}

}  // namespace

const Platform* platform() noexcept {
    static const Loaded loaded = load();
    return loaded.whole ? &loaded.functions : nullptr;
}

}  // namespace veskcap
