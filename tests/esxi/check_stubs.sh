#!/usr/bin/env bash
# Holds the stand-ins for glibc 2.17 against what is known of it: a version or place that is wrong there
# is not found on this machine, whose C library has all of them.
#   tests/esxi/check_stubs.sh STUB_FOLDER
set -euo pipefail
folder=$1
failed=0

# Library, function, its highest version in 2.17; - if that library had no such function.
while read -r library name expected; do
    found=$(objdump -T "$folder/$library" |
        awk -v name="$name" '$NF == name { gsub(/[()]/, "", $(NF - 1)); print $(NF - 1) }')
    if [ "${found:--}" != "$expected" ]; then
        echo "check_stubs: $name of $library is ${found:--}, expected $expected;" \
            "see cmake/esxi/make_stubs.py" >&2
        failed=1
    fi
done <<'EOF'
libc.so.6 fopen GLIBC_2.2.5
libc.so.6 memcpy GLIBC_2.14
libc.so.6 clock_gettime GLIBC_2.17
libc.so.6 secure_getenv GLIBC_2.17
libc.so.6 __xstat GLIBC_2.2.5
libc.so.6 __libc_start_main GLIBC_2.2.5
libc.so.6 environ GLIBC_2.2.5
libc.so.6 stat -
libc.so.6 fcntl64 -
libc.so.6 getentropy -
libc.so.6 __cxa_thread_atexit_impl -
libc.so.6 __libc_single_threaded -
libc.so.6 timer_create -
libc.so.6 openpty -
libc.so.6 getaddrinfo_a -
libc.so.6 pthread_create -
libc.so.6 dlopen -
libpthread.so.0 pthread_create GLIBC_2.2.5
libpthread.so.0 pthread_cond_wait GLIBC_2.3.2
libpthread.so.0 pthread_setname_np GLIBC_2.12
libpthread.so.0 sem_timedwait GLIBC_2.2.5
libpthread.so.0 pthread_cond_clockwait -
libdl.so.2 dlopen GLIBC_2.2.5
libdl.so.2 dlinfo GLIBC_2.3.3
libm.so.6 pow GLIBC_2.2.5
libm.so.6 fmaf32x -
ld-linux-x86-64.so.2 __tls_get_addr GLIBC_2.3
ld-linux-x86-64.so.2 _dl_find_object -
EOF

newer=$(objdump -T "$folder"/*.so.[0-9] | grep -oE 'GLIBC_[0-9.]+' | sort -uV |
    awk -F '[_.]' '$2 > 2 || $3 > 17')
if [ -n "$newer" ]; then
    echo "check_stubs: the stand-ins have versions above 2.17: $newer" >&2
    failed=1
fi
exit $failed
