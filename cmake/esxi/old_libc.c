/* What the C++ runtime of this compiler asks of the C library and glibc 2.17 has not. Hidden: each
 * library and program brings its own, and nothing of it is left where nobody uses it. A function
 * that is missing here is an undefined reference when a file is linked. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <link.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/stat.h>

#pragma GCC visibility push(hidden)

/* Zero: the process may have more than one thread, so reference counts are always atomic. */
char __libc_single_threaded = 0;

/* stat and its kin came with 2.33; before, headers led to these. Version 1 is that of x86-64. */
enum { kStatVersion = 1 };
#pragma GCC visibility push(default)
int __xstat(int version, const char* path, struct stat* result);
int __lxstat(int version, const char* path, struct stat* result);
int __fxstat(int version, int descriptor, struct stat* result);
int __fxstat64(int version, int descriptor, struct stat64* result);
#pragma GCC visibility pop

int stat(const char* path, struct stat* result) {
    return __xstat(kStatVersion, path, result);
}

int lstat(const char* path, struct stat* result) {
    return __lxstat(kStatVersion, path, result);
}

int fstat(int descriptor, struct stat* result) {
    return __fxstat(kStatVersion, descriptor, result);
}

int fstat64(int descriptor, struct stat64* result) {
    return __fxstat64(kStatVersion, descriptor, result);
}

/* The one that 2.17 exports is for old programs: it forgets whose the functions are, and calls them
 * at a fork when their library is gone. */
extern void* __dso_handle;
#pragma GCC visibility push(default)
int __register_atfork(void (*prepare)(void), void (*parent)(void), void (*child)(void),
                      void* library);
#pragma GCC visibility pop

int pthread_atfork(void (*prepare)(void), void (*parent)(void), void (*child)(void)) {
    return __register_atfork(prepare, parent, child, __dso_handle);
}

/* Where the unwind table of the code at an address is: what dl_iterate_phdr tells, and the unwinder
 * asked that itself before 2.35. */
struct search {
    uintptr_t address;
    struct dl_find_object* result;
};

static int lookInto(struct dl_phdr_info* info, size_t size, void* argument) {
    struct search* search = argument;
    const ElfW(Phdr)* table = NULL;
    int found = 0;
    (void)size;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)* header = &info->dlpi_phdr[i];
        const uintptr_t start = info->dlpi_addr + header->p_vaddr;
        if (header->p_type == PT_GNU_EH_FRAME) {
            table = header;
        } else if (header->p_type == PT_LOAD && search->address >= start &&
                   search->address - start < header->p_memsz) {
            search->result->dlfo_map_start = (void*)start;
            search->result->dlfo_map_end = (void*)(start + header->p_memsz);
            found = 1;
        }
    }
    if (!found || table == NULL) {
        return 0;
    }
    search->result->dlfo_eh_frame = (void*)(info->dlpi_addr + table->p_vaddr);
    return 1;
}

int _dl_find_object(void* address, struct dl_find_object* result) {
    struct search search = {(uintptr_t)address, result};
    return dl_iterate_phdr(lookInto, &search) == 1 ? 0 : -1;
}

#pragma GCC visibility pop
