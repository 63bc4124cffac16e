/* A host in C that loads the library, calls it and unloads it: nothing of it may stay mapped.
 *   unload_host PLATFORM_LIBRARY LIBRARY */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static int isMapped(const char* name) {
    char line[4096];
    int found = 0;
    FILE* maps = fopen("/proc/self/maps", "r");
    while (maps != NULL && fgets(line, sizeof(line), maps) != NULL) {
        found = found || strstr(line, name) != NULL;
    }
    if (maps != NULL) {
        fclose(maps);
    }
    return found;
}

int main(int argc, char** argv) {
    void* library;
    unsigned char (*getCount)(void);

    /* In the place of the platform's own; the simulated one is in C++ and would stay. */
    if (argc != 3 || dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == NULL) {
        fprintf(stderr, "unload_host: %s\n", dlerror());
        return 2;
    }
    library = dlopen(argv[2], RTLD_NOW);
    if (library == NULL) {
        fprintf(stderr, "unload_host: %s\n", dlerror());
        return 2;
    }
    *(void**)&getCount = dlsym(library, "ZT_Adapter_GetCount");
    if (getCount == NULL || getCount() != 0 || !isMapped("libVeskNvme.so")) {
        fprintf(stderr, "unload_host: the library does not answer\n");
        return 1;
    }
    dlclose(library);
    if (isMapped("libVeskNvme.so")) {
        fprintf(stderr, "unload_host: the library is still mapped after dlclose\n");
        return 1;
    }
    return 0;
}
