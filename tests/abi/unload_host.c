/* A host in C that loads the library, calls it and unloads it: nothing of it may stay mapped.
 *   unload_host PLATFORM_LIBRARY LIBRARY
 *   VESK_CAPTURE=FILE unload_host PLATFORM_LIBRARY CAPTURE_LIBRARY capture
 * The second one has begun to record when it goes; and nothing of it is called at a fork. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

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

static int answers(void* library) {
    unsigned char (*getCount)(void);
    *(void**)&getCount = dlsym(library, "ZT_Adapter_GetCount");
    return getCount != NULL && getCount() == 0;
}

static int records(void* library) {
    const char* (*start)(void);
    *(void**)&start = dlsym(library, "vesk_capture_start");
    return start != NULL && start() == NULL;
}

static int canFork(void) {
    int status = -1;
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    return waitpid(child, &status, 0) == child && status == 0;
}

int main(int argc, char** argv) {
    void* library;
    const char* name;

    /* In the place of the platform's own; the simulated one is in C++ and would stay. */
    if (argc < 3 || dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == NULL) {
        fprintf(stderr, "unload_host: %s\n", dlerror());
        return 2;
    }
    library = dlopen(argv[2], RTLD_NOW);
    if (library == NULL) {
        fprintf(stderr, "unload_host: %s\n", dlerror());
        return 2;
    }
    name = strrchr(argv[2], '/') != NULL ? strrchr(argv[2], '/') : argv[2];
    if (!(argc == 3 ? answers(library) : records(library)) || !isMapped(name)) {
        fprintf(stderr, "unload_host: the library does not answer\n");
        return 1;
    }
    dlclose(library);
    if (isMapped(name)) {
        fprintf(stderr, "unload_host: the library is still mapped after dlclose\n");
        return 1;
    }
    if (!canFork()) {
        fprintf(stderr, "unload_host: the host cannot fork without the library\n");
        return 1;
    }
    return 0;
}
