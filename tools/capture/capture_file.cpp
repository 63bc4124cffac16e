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

constexpr const char* kDamaged =
    "it is damaged: name another file; 'veskctl capture show' tells where";

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
    close();
}

// Gives up the lock, too.
void CaptureFile::close() {
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
    m_descriptor = -1;
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
    ::close(descriptor);
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

    // Whoever gets the lock for itself alone is the only writer, and puts the file in order.
    const bool alone = flock(m_descriptor, LOCK_EX | LOCK_NB) == 0;
    if (!alone && errno == EWOULDBLOCK) {
        flock(m_descriptor, LOCK_SH);
    }
    if (!putInOrder(alone)) {
        close();  // whoever comes next is alone again
        return false;
    }
    if (alone) {
        flock(m_descriptor, LOCK_SH);
    }
    return true;
}

bool CaptureFile::putInOrder(bool alone) {
    FileHeader found = {};
    const ssize_t got = pread(m_descriptor, &found, sizeof(found), 0);
    if (got < 0) {
        return fail("reading it", errno);
    }
    const auto size = static_cast<std::size_t>(got);
    const bool cutInside = size > 0 && size < sizeof(found) &&
                           std::memcmp(&found, kMagic, std::min(size, sizeof(kMagic))) == 0;
    if (cutInside && (!alone || ftruncate(m_descriptor, 0) != 0)) {
        return refuse("it ends inside its header: name another file");
    }
    if (size == 0 || cutInside) {
        return writeHeader();
    }
    return checkHeader() && (!alone || cutIncompleteRecord());
}

// A limit of the file's size brings a signal, which would end the host. The host itself, or others
// from outside, may set one at any time.
bool CaptureFile::writeWhole(const void* data, std::size_t size) {
    std::optional<HeldSignals> held;
    rlimit limit = {};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY) {
        held.emplace();
    }
    const ssize_t written = write(m_descriptor, data, size);
    if (written == static_cast<ssize_t>(size)) {
        return true;
    }
    fail("writing to it", written < 0 ? errno : ENOSPC);
    if (written > 0) {
        takeBack(data, static_cast<std::size_t>(written));
    }
    return false;
}

// Half a record would hide all that others write behind it. If they have, it stays.
void CaptureFile::takeBack(const void* data, std::size_t size) {
    struct stat now = {};
    if (fstat(m_descriptor, &now) != 0 || now.st_size < static_cast<off_t>(size)) {
        return;
    }
    const off_t from = now.st_size - static_cast<off_t>(size);
    char part[4096];
    for (std::size_t at = 0; at < size; at += sizeof(part)) {
        const std::size_t count = std::min(size - at, sizeof(part));
        if (pread(m_descriptor, part, count, from + static_cast<off_t>(at)) !=
                static_cast<ssize_t>(count) ||
            std::memcmp(part, static_cast<const char*>(data) + at, count) != 0) {
            return;
        }
    }
    if (ftruncate(m_descriptor, from) != 0) {
        // The next run cuts it off.
    }
}

bool CaptureFile::writeHeader() {
    return writeWhole(&m_header, sizeof(m_header));
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
                return refuse(kDamaged);
            }
            return ftruncate(m_descriptor, at) == 0 || fail("cutting off half a record", errno);
        }
        // No kill makes this: what follows must not be cut off, and cannot be gone on with.
        if (!sumIsRight(header, at)) {
            return refuse(kDamaged);
        }
        at += static_cast<off_t>(sizeof(header)) + header.length;
    }
    return true;
}

bool CaptureFile::sumIsRight(const RecordHeader& header, off_t at) const {
    constexpr std::size_t kSummed = offsetof(RecordHeader, length);
    std::uint32_t crc =
        crc32c(0, reinterpret_cast<const char*>(&header) + kSummed, sizeof(header) - kSummed);
    char part[4096];
    at += static_cast<off_t>(sizeof(header));
    for (std::size_t left = header.length; left > 0;) {
        const std::size_t count = std::min(left, sizeof(part));
        if (pread(m_descriptor, part, count, at) != static_cast<ssize_t>(count)) {
            return false;
        }
        crc = crc32c(crc, part, count);
        at += static_cast<off_t>(count);
        left -= count;
    }
    return crc == header.crc;
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
    if (!writeWhole(record, size)) {
        close();  // so that whoever comes next is alone, and cuts off what may be half a record
        return false;
    }
    return true;
}

}  // namespace veskcap
