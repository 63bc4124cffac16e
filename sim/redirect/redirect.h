// Puts a private folder in the place of the host's folders, for every library of the process, and
// hands sleep() to a handler. Linked into test programs and veskctl-sim only: its functions stand
// before those of the C library because the executable comes first in symbol lookup.
//
// Redirected: paths that begin with /scratch/, /var/log/, /opt/orvo/ or /etc/cim/.
#pragma once

#include <functional>
#include <string>

namespace vesksim {

// The folder that holds scratch/, var/log/, opt/orvo/ and etc/cim/. Empty, as at the start: those
// paths do not exist (ENOENT), so the machine's own folders are never touched.
void setHostRoot(const std::string& root);
std::string hostRoot();

// The path that `path` leads to: under the root if it is one of the host's, itself otherwise.
std::string hostPath(const std::string& path);

// Puts one file in the place of another, named as the library names it; comes before the root. The
// last one said counts, up to eight. Throws std::length_error for more, and for long paths.
void redirectFile(const std::string& from, const std::string& to);

// Called in the place of sleep(); its result is what sleep returns. nullptr: the real sleep.
using SleepHandler = std::function<unsigned(unsigned seconds)>;
void setSleepHandler(SleepHandler handler);

// Asked before each call of fopen, fopen64, fclose, remove, rename, symlink, popen, read, write,
// writev, lseek64 and pthread_create, with the path (before redirection; the first of two; of an
// open file where a call takes one; popen: the command; pthread_create: nothing): a value other
// than 0 makes the call fail with that errno. nullptr: nothing fails. Of calls on files, those
// outside the host's folders are never asked about.
using FailureHandler = std::function<int(const char* function, const std::string& path)>;
void setFailureHandler(FailureHandler handler);

// While one lives, the handler is not asked about calls of its thread.
class WithoutFailures {
public:
    WithoutFailures();
    ~WithoutFailures();
    WithoutFailures(const WithoutFailures&) = delete;
    WithoutFailures& operator=(const WithoutFailures&) = delete;

private:
    bool m_before;
};

}  // namespace vesksim
