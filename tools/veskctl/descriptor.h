// A file descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

namespace veskctl {

class Descriptor {
public:
    // Below 0: none, as the system answers where it opened nothing.
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }

private:
    int m_number;
};

}  // namespace veskctl
