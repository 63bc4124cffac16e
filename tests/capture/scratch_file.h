// A file of a test's own, and a capture in it as a whole.
#pragma once

#include "capture/capture_reader.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

class ScratchFile {
public:
    ScratchFile() {
        char name[] = "/tmp/vesk-capture-test-XXXXXX";
        close(mkstemp(name));
        std::remove(name);
        m_path = name;
    }
    ~ScratchFile() { std::remove(m_path.c_str()); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::string& path() const { return m_path; }
    const char* name() const { return m_path.c_str(); }

    std::string content() const {
        std::ifstream stream(m_path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    }
    void write(const std::string& bytes) const {
        std::ofstream(m_path, std::ios::binary | std::ios::trunc) << bytes;
    }

private:
    std::string m_path;
};

template <class Value>
std::string bytesOf(const Value& value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

struct ReadCapture {
    veskcap::FileHeader header = {};
    std::vector<veskcap::Record> records;
    std::string damage;

    std::vector<veskcap::Record> exchanges() const {
        std::vector<veskcap::Record> found;
        for (const veskcap::Record& record : records) {
            if (record.header.type == veskcap::kExchangeRecord) {
                found.push_back(record);
            }
        }
        return found;
    }
};

inline ReadCapture readCapture(const std::string& bytes) {
    std::istringstream stream(bytes);
    veskcap::CaptureReader reader(stream);
    ReadCapture capture;
    capture.header = reader.header();
    veskcap::Record record;
    while (reader.next(record)) {
        capture.records.push_back(record);
    }
    capture.damage = reader.damage();
    return capture;
}
