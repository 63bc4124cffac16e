// Replaces serial numbers by masks of the same length: a digit by a digit, a letter by a letter, so
// that a masked text keeps its form. Equal serial numbers get equal masks, by a keyed hash; without
// the key nobody gets back. Not synchronised; may throw std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace veskcap {

// SipHash-2-4.
std::uint64_t sipHash(std::uint64_t key0, std::uint64_t key1, const void* data, std::size_t size);

class SerialMask {
public:
    // An empty key masks nothing.
    explicit SerialMask(const std::string& key);

    // 16 bits of the key's hash.
    std::uint32_t keyCheck() const { return m_keyCheck; }

    // A field of a reply that holds a serial number, padded with blanks or NULs: masked in place,
    // and known from then on.
    void learnField(char* field, std::size_t size);

    // All known serial numbers, wherever they stand.
    void maskKnown(char* data, std::size_t size) const;

    // The same in a piece of the event log, whose beginning and end may cut one; and what looks
    // like a serial number in the texts of events: those of disks that are gone are not known.
    void maskEvents(char* text, std::size_t size) const;

    std::string maskOf(const std::string& serial) const;

private:
    struct Known {
        std::string serial;
        std::string mask;
        std::size_t rare = 0;  // place of a character to look for first
    };

    // The mask of a serial number that is known from then on, if it is long enough.
    std::string learn(const std::string& serial);
    static char* findKnown(const Known& known, char* from, char* end);
    void maskKnown(char* data, std::size_t size, char* rest) const;
    void maskLooks(const std::string& rest, char* text) const;
    void maskWords(const char* at, const char* end, char* text, bool cut) const;

    std::uint64_t m_key0 = 0;
    std::uint64_t m_key1 = 0;
    std::uint32_t m_keyCheck = 0;
    std::vector<Known> m_known;  // the longest first
};

}  // namespace veskcap
