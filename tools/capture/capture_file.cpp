#include "capture/capture_file.h"

#include "capture/crc32c.h"
#include "capture/held_signals.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

namespace veskcap {

namespace {

// Above what programs that close or expect certain low numbers have to do with.
constexpr int kHighDescriptor = 200;

// More than that at the end of a file is damage, not a record that was cut short.
constexpr off_t kLongestCutRecord = 65536;

FileHeader makeHeader(std::uint32_t flags, std::uint32_t keyCheck) {
    FileHeader header = {};
    std::memcpy(header.magic, kMagic, sizeof(kMagic));
    header.version = kVersion;
    header.length = sizeof(header);
    header.flags = flags;
    header.keyCheck = keyCheck;
    header.crc = crc32c(0, &header, offsetof(FileHeader, crc));
    return header;
}

}  // namespace

CaptureFile::~CaptureFile() {
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

bool CaptureFile::fail(const char* doing, int error) {
    std::snprintf(m_problem, sizeof(m_problem), "%s failed: %s", doing, std::strerror(error));
    return false;
}

bool CaptureFile::refuse(const char* reason) {
    std::snprintf(m_problem, sizeof(m_problem), "%s", reason);
    return false;
}

bool CaptureFile::takeHigh(int descriptor) {
    m_descriptor = fcntl(descriptor, F_DUPFD_CLOEXEC, kHighDescriptor);
    if (m_descriptor < 0) {
        // A limit below that number: any but those of the standard streams.
        m_descriptor = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    }
    const int error = errno;
    close(descriptor);
    return m_descriptor >= 0 || fail("opening it", error);
}

bool CaptureFile::open(const char* path, std::uint32_t flags, std::uint32_t keyCheck) {
    m_header = makeHeader(flags, keyCheck);
    const int descriptor =
        ::open(path, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
    if (descriptor < 0) {
        return fail("opening it", errno);
    }
    if (!takeHigh(descriptor)) {
        return false;
    }
    if (realpath(path, m_path) == nullptr || fstat(m_descriptor, &m_identity) != 0) {
        return fail("looking at it", errno);
    }
    if (!S_ISREG(m_identity.st_mode)) {
        return refuse("it is no plain file: name another one");
    }
    rlimit limit = {};
    m_sizeIsLimited = getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;

    // Whoever gets the lock for itself alone is the only writer, and puts the file in order.
    const bool alone = flock(m_descriptor, LOCK_EX | LOCK_NB) == 0;
    if (!alone && errno == EWOULDBLOCK) {
        flock(m_descriptor, LOCK_SH);
    }
    struct stat now = {};
    if (fstat(m_descriptor, &now) != 0) {
        return fail("looking at it", errno);
    }
    const bool good =
        now.st_size == 0 ? writeHeader() : checkHeader() && (!alone || cutIncompleteRecord());
    if (alone) {
        flock(m_descriptor, LOCK_SH);
    }
    return good;
}

bool CaptureFile::writeHeader() {
    const HeldSignals held;
    const ssize_t written = write(m_descriptor, &m_header, sizeof(m_header));
    if (written != static_cast<ssize_t>(sizeof(m_header))) {
        return fail("writing to it", written < 0 ? errno : ENOSPC);
    }
    return true;
}

bool CaptureFile::checkHeader() {
    FileHeader header = {};
    if (pread(m_descriptor, &header, sizeof(header), 0) != static_cast<ssize_t>(sizeof(header)) ||
        std::memcmp(header.magic, kMagic, sizeof(kMagic)) != 0) {
        return refuse("there is such a file, and it is no capture file: name another one");
    }
    if (header.version != m_header.version ||
        header.crc != crc32c(0, &header, offsetof(FileHeader, crc))) {
        return refuse("it is damaged or of another version: name another file");
    }
    if (header.flags != m_header.flags) {
        return refuse((m_header.flags & kMasked) != 0
                          ? "what it holds already is not masked: name another file"
                          : "what it holds already is masked: mask this too, or name another file");
    }
    if (header.keyCheck != m_header.keyCheck) {
        return refuse("it was masked with another key: set VESK_CAPTURE_MASK to the key of the "
                      "first time, or name another file");
    }
    return true;
}

// A process that is killed while it writes leaves part of a record.
bool CaptureFile::cutIncompleteRecord() {
    struct stat now = {};
    if (fstat(m_descriptor, &now) != 0) {
        return fail("looking at it", errno);
    }
    off_t at = sizeof(FileHeader);
    while (at < now.st_size) {
        RecordHeader header = {};
        const ssize_t got = pread(m_descriptor, &header, sizeof(header), at);
        const off_t left = now.st_size - at;
        const bool whole = got == static_cast<ssize_t>(sizeof(header)) &&
                           header.length <= left - static_cast<off_t>(sizeof(header));
        if (!whole) {
            if (got < 0 || left > kLongestCutRecord) {
                return refuse(
                    "it is damaged: name another file; 'veskctl capture show' tells where");
            }
            return ftruncate(m_descriptor, at) == 0 || fail("cutting off half a record", errno);
        }
        at += static_cast<off_t>(sizeof(header)) + header.length;
    }
    return true;
}

// A host may close descriptors that it does not know, and get our number for a file of its own.
bool CaptureFile::stillOurs() {
    struct stat now = {};
    if (fstat(m_descriptor, &now) == 0 && now.st_dev == m_identity.st_dev &&
        now.st_ino == m_identity.st_ino) {
        return true;
    }
    const int descriptor = ::open(m_path, O_RDWR | O_APPEND | O_CLOEXEC);
    if (descriptor < 0) {
        return fail("opening it again", errno);
    }
    if (!takeHigh(descriptor)) {
        return false;
    }
    flock(m_descriptor, LOCK_SH);
    if (fstat(m_descriptor, &now) != 0 || now.st_dev != m_identity.st_dev ||
        now.st_ino != m_identity.st_ino) {
        return refuse("another file has taken its place");
    }
    return checkHeader();  // the number of a file that is gone is given to the next one
}

bool CaptureFile::append(char* record, std::size_t size) {
    const auto length = static_cast<std::uint32_t>(size - sizeof(RecordHeader));
    std::memcpy(record + offsetof(RecordHeader, length), &length, sizeof(length));
    constexpr std::size_t kSummed = offsetof(RecordHeader, length);
    const std::uint32_t crc = crc32c(0, record + kSummed, size - kSummed);
    std::memcpy(record + offsetof(RecordHeader, crc), &crc, sizeof(crc));
    if (!stillOurs()) {
        return false;
    }
    std::optional<HeldSignals> held;
    if (m_sizeIsLimited) {
        held.emplace();
    }
    const ssize_t written = write(m_descriptor, record, size);
    if (written != static_cast<ssize_t>(size)) {
        fail("writing to it", written < 0 ? errno : ENOSPC);
        // Gives up the lock, so that whoever comes next cuts off what may be half a record.
        close(m_descriptor);
        m_descriptor = -1;
        return false;
    }
    return true;
}

}  // namespace veskcap
