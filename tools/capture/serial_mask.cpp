#include "capture/serial_mask.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace veskcap {

namespace {

// Shorter ones are masked in their own fields only: as a word they could be any number.
constexpr std::size_t kShortestKnown = 4;
// Shorter ones count elsewhere only if they stand as a word of their own.
constexpr std::size_t kShortestInside = 8;
// Of a serial number that the end of a piece of text cuts, this much gives it away.
constexpr std::size_t kShortestCut = 4;
// A word of an event's text that could be a serial number. Letters and digits count.
constexpr std::size_t kShortestLook = 8;
constexpr std::size_t kFewestDigits = 3;
// In capital letters, with punctuation, and with a part that has both letters and digits.
constexpr std::size_t kFewestDigitsJoined = 2;
constexpr std::size_t kMostKnown = 256;
constexpr std::size_t kLongestSerial = 20;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr std::array<bool, 256> makeWordTable() {
    std::array<bool, 256> table = {};
    for (const char* c = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"; *c != 0;
         ++c) {
        table[static_cast<unsigned char>(*c)] = true;
    }
    return table;
}
constexpr std::array<bool, 256> kIsWord = makeWordTable();

bool isWordCharacter(char c) {
    return kIsWord[static_cast<unsigned char>(c)];
}
bool isPadding(char c) {
    return c == ' ' || c == '\0';
}

std::uint64_t rotated(std::uint64_t value, unsigned bits) {
    return (value << bits) | (value >> (64 - bits));
}

struct SipState {
    std::uint64_t v0, v1, v2, v3;

    void round() {
        v0 += v1;
        v1 = rotated(v1, 13) ^ v0;
        v0 = rotated(v0, 32);
        v2 += v3;
        v3 = rotated(v3, 16) ^ v2;
        v0 += v3;
        v3 = rotated(v3, 21) ^ v0;
        v2 += v1;
        v1 = rotated(v1, 17) ^ v2;
        v2 = rotated(v2, 32);
    }
    void add(std::uint64_t word) {
        v3 ^= word;
        round();
        round();
        v0 ^= word;
    }
};

// Letters for what cannot be printed; punctuation stays.
char replacement(char original, unsigned random) {
    if (isDigit(original)) {
        return static_cast<char>('0' + random % 10);
    }
    if (isLower(original)) {
        return static_cast<char>('a' + random % 26);
    }
    if (isUpper(original) || original < ' ' || original == '\x7F') {
        return static_cast<char>('A' + random % 26);
    }
    return original;
}

// Behind the next tag of a message in the text; its end if there is none.
const char* behindTag(const char* at, const char* end) {
    constexpr char kTag[] = {'[', 'M', 'S', 'G', ']'};
    // By its second character, since there are tags of other kinds.
    while (end - at >= static_cast<std::ptrdiff_t>(sizeof(kTag))) {
        const auto count = static_cast<std::size_t>(end - at) - sizeof(kTag) + 1;
        const auto* const letter = static_cast<const char*>(std::memchr(at + 1, kTag[1], count));
        if (letter == nullptr) {
            return end;
        }
        if (std::memcmp(letter - 1, kTag, sizeof(kTag)) == 0) {
            return letter - 1 + sizeof(kTag);
        }
        at = letter;
    }
    return end;
}

struct Message {
    const char* end;
    bool hasDigit;  // without any, nothing in it looks like a serial number
};

bool isTag(const char* at) {
    const char* const name = at + 1;
    const std::size_t length = std::strspn(name, "ABCDEFGHIJKLMNOPQRSTUVWXYZ_");
    return length > 0 && name[length] == ']';
}

// To the end of its line, or to a next tag, as in "[SEQ]". The text ends with a NUL.
Message messageAt(const char* at) {
    Message message = {at, false};
    for (;; ++at) {
        // The C library looks at many characters at once.
        at += std::strcspn(at, message.hasDigit ? "[\n" : "0123456789[\n");
        message.hasDigit = message.hasDigit || isDigit(*at);
        if (*at == '\n' || *at == '\0' || (*at == '[' && isTag(at))) {
            message.end = at;
            return message;
        }
    }
}

// What may stand between the parts of a serial number.
bool isJoiner(char c) {
    return c == '-' || c == '_' || c == ':' || c == '/';
}

// What stands between blanks, or known serial numbers.
struct Word {
    std::size_t characters = 0;
    std::size_t digits = 0;
    bool joined = false;
    bool hasLower = false;
    bool mixed = false;  // one of its parts has letters and digits
    bool partHasLetter = false;
    bool partHasDigit = false;

    void add(char c) {
        if (isJoiner(c)) {
            joined = true;
            partHasLetter = partHasDigit = false;
            return;
        }
        ++characters;
        digits += isDigit(c) ? 1 : 0;
        hasLower = hasLower || isLower(c);
        (isDigit(c) ? partHasDigit : partHasLetter) = true;
        mixed = mixed || (partHasDigit && partHasLetter);
    }

    bool looksLikeSerial(bool atTheCut) const {
        if (atTheCut) {
            return characters >= kShortestCut && digits > 0;
        }
        const bool fewDigitsDo = joined && mixed && !hasLower;
        return characters >= kShortestLook &&
               digits >= (fewDigitsDo ? kFewestDigitsJoined : kFewestDigits);
    }
};

// In the form, 0 stands for a digit and x for one of a hexadecimal number.
bool startsLike(const char* form, const char* at, const char* end) {
    for (; *form != '\0'; ++form, ++at) {
        if (at == end) {
            return false;
        }
        const bool isHex = isDigit(*at) || (*at >= 'a' && *at <= 'f') || (*at >= 'A' && *at <= 'F');
        const bool fits = *form == '0' ? isDigit(*at) : *form == 'x' ? isHex : *form == *at;
        if (!fits) {
            return false;
        }
    }
    return true;
}

// "2026-11-22", "2026/11/22T10:00:00Z", and of "0000:3b:00.0" what stands before the point.
bool isDateOrAddress(const char* at, const char* last, const char* end) {
    if (startsLike("0000-00-00", at, last) || startsLike("0000/00/00", at, last)) {
        return std::all_of(at + 10, last, [](char c) {
            return isDigit(c) || c == ':' || c == '-' || c == 'T' || c == 'Z';
        });
    }
    return last - at == 10 && startsLike("xxxx:xx:xx.0", at, end);
}

bool standsAsWord(const char* data, std::size_t size, std::size_t at, std::size_t length) {
    return (at == 0 || !isWordCharacter(data[at - 1])) &&
           (at + length == size || !isWordCharacter(data[at + length]));
}

}  // namespace

std::uint64_t sipHash(std::uint64_t key0, std::uint64_t key1, const void* data, std::size_t size) {
    SipState state = {key0 ^ 0x736f6d6570736575U, key1 ^ 0x646f72616e646f6dU,
                      key0 ^ 0x6c7967656e657261U, key1 ^ 0x7465646279746573U};
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::size_t at = 0;
    for (; size - at >= 8; at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + at, sizeof(word));
        state.add(word);
    }
    std::uint64_t last = static_cast<std::uint64_t>(size) << 56U;
    for (std::size_t i = 0; at + i < size; ++i) {
        last |= static_cast<std::uint64_t>(bytes[at + i]) << (8 * i);
    }
    state.add(last);
    state.v2 ^= 0xFF;
    for (int i = 0; i < 4; ++i) {
        state.round();
    }
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

SerialMask::SerialMask(const std::string& key)
    : m_key0(sipHash(0, 1, key.data(), key.size())),
      m_key1(sipHash(2, 3, key.data(), key.size())),
      m_keyCheck(static_cast<std::uint32_t>(sipHash(m_key0, m_key1, "", 0) & 0xFFFFU)) {}

std::string SerialMask::maskOf(const std::string& serial) const {
    std::string mask = serial;
    // Another try where chance gives the serial number itself; in vain if nothing of it changes.
    for (unsigned attempt = 0; attempt < 16 && mask == serial; ++attempt) {
        for (std::size_t i = 0; i < serial.size(); ++i) {
            const std::string salted =
                serial + '\0' + std::to_string(attempt) + '\0' + std::to_string(i);
            const std::uint64_t random = sipHash(m_key0, m_key1, salted.data(), salted.size());
            mask[i] = replacement(serial[i], static_cast<unsigned>(random >> 32U));
        }
    }
    return mask;
}

std::string SerialMask::learn(const std::string& serial) {
    for (const Known& known : m_known) {
        if (known.serial == serial) {
            return known.mask;
        }
    }
    std::string mask = maskOf(serial);
    if (serial.size() < kShortestKnown) {
        return mask;
    }
    if (m_known.size() == kMostKnown) {
        throw std::length_error("more serial numbers than can be masked");
    }
    // Digits and blanks are everywhere, letters of the log's tags in each of its lines.
    const auto letter = std::find_if(serial.begin(), serial.end(), [](char c) {
        return isUpper(c) && std::strchr("SEQVTIDMG", c) == nullptr;
    });
    const auto rare = letter == serial.end() ? 0 : letter - serial.begin();
    const auto shorter = std::find_if(m_known.begin(), m_known.end(), [&](const Known& known) {
        return known.serial.size() < serial.size();
    });
    m_known.insert(shorter, {serial, mask, static_cast<std::size_t>(rare)});
    return mask;
}

void SerialMask::learnField(char* field, std::size_t size) {
    // What stands behind a NUL is not shown, and could still be one.
    for (std::size_t at = 0; at < size;) {
        const std::size_t end =
            static_cast<std::size_t>(std::find(field + at, field + size, '\0') - field);
        std::size_t first = at;
        std::size_t last = end;
        while (first < last && isPadding(field[first])) {
            ++first;
        }
        while (last > first && isPadding(field[last - 1])) {
            --last;
        }
        const std::string serial(field + first, last - first);
        const std::string mask = learn(serial);
        std::copy(mask.begin(), mask.end(), field + first);
        at = end + 1;
    }
}

// As std::search does, but by the C library's search for a character, which is many times as fast.
char* SerialMask::findKnown(const Known& known, char* from, char* end) {
    const std::size_t length = known.serial.size();
    const std::size_t behind = length - known.rare;  // what follows that character, and it
    while (static_cast<std::size_t>(end - from) >= length) {
        char* const first = from + known.rare;
        char* const last = end - behind + 1;
        const auto count = static_cast<std::size_t>(last - first);
        char* const rare = static_cast<char*>(std::memchr(first, known.serial[known.rare], count));
        if (rare == nullptr) {
            return end;
        }
        from = rare - known.rare;
        // The end tells serial numbers of one maker apart.
        if (from[length - 1] == known.serial.back() &&
            std::memcmp(from, known.serial.data(), length) == 0) {
            return from;
        }
        ++from;
    }
    return end;
}

void SerialMask::maskKnown(char* data, std::size_t size) const {
    maskKnown(data, size, nullptr);
}

// rest: a copy of the data or null; what is masked becomes blank there.
void SerialMask::maskKnown(char* data, std::size_t size, char* rest) const {
    for (const Known& known : m_known) {
        const std::size_t length = known.serial.size();
        char* at = data;
        char* const end = data + size;
        while ((at = findKnown(known, at, end)) != end) {
            const auto offset = static_cast<std::size_t>(at - data);
            if (length < kShortestInside && !standsAsWord(data, size, offset, length)) {
                ++at;
                continue;
            }
            at = std::copy(known.mask.begin(), known.mask.end(), at);
            if (rest != nullptr) {
                std::fill_n(rest + offset, length, ' ');
            }
        }
    }
}

void SerialMask::maskEvents(char* text, std::size_t size) const {
    const std::string before(text, std::min(size, kLongestSerial));
    std::string rest(text, size);
    maskKnown(text, size, rest.data());
    for (const Known& known : m_known) {
        const std::size_t length = known.serial.size();
        const auto mask = [&](std::size_t at, std::size_t from, std::size_t count) {
            std::memcpy(text + at, known.mask.data() + from, count);
            std::fill_n(rest.begin() + static_cast<std::ptrdiff_t>(at), count, ' ');
        };
        // The text begins inside it, ends inside it, or both.
        const std::size_t most = std::min(length - 1, size);
        for (std::size_t kept = most; kept >= kShortestCut; --kept) {
            if (std::memcmp(text + size - kept, known.serial.data(), kept) == 0) {
                mask(size - kept, 0, kept);
                break;
            }
        }
        for (std::size_t kept = most; kept >= kShortestCut; --kept) {
            if (std::memcmp(text, known.serial.data() + length - kept, kept) == 0) {
                mask(0, length - kept, kept);
                break;
            }
        }
        const std::size_t inside =
            size >= kShortestCut && size < length ? known.serial.find(before) : std::string::npos;
        if (inside != std::string::npos) {
            mask(0, inside, size);
        }
    }
    maskLooks(rest, text);
}

// rest: the text, with blanks where it is masked already.
void SerialMask::maskLooks(const std::string& rest, char* text) const {
    const char* const whole = rest.data();
    const char* const end = whole + rest.size();
    const char* at = whole;
    while ((at = behindTag(at, end)) != end) {
        const Message message = messageAt(at);
        const char* const stop = message.end;
        if (!message.hasDigit) {
            at = stop;
            continue;
        }
        // Readers cut the class off at the first underscore and the severity at the last one.
        const char* behind = stop;
        while (behind != at && isUpper(behind[-1])) {
            --behind;
        }
        const char* const severity = behind != at && behind[-1] == '_' ? behind - 1 : stop;
        const char* const description = std::find(at, severity, '_');
        maskWords(at, description, text + (at - whole), description == end);
        maskWords(description, severity, text + (description - whole), severity == end);
        at = stop;
    }
}

// text: what to mask in. cut: it goes on on another page.
void SerialMask::maskWords(const char* at, const char* end, char* text, bool cut) const {
    const char* const begin = at;
    // By their digits, as most words have none.
    while ((at = std::find_if(at, end, isDigit)) != end) {
        const char* last = at;
        while (at != begin && (isWordCharacter(at[-1]) ||
                               (at - 1 != begin && isJoiner(at[-1]) && isWordCharacter(at[-2])))) {
            --at;
        }
        while (last != end && (isWordCharacter(*last) ||
                               (last + 1 != end && isJoiner(*last) && isWordCharacter(last[1])))) {
            ++last;
        }
        Word word;
        for (const char* c = at; c != last; ++c) {
            word.add(*c);
        }
        const bool atTheCut = cut && (last == end || (isJoiner(*last) && last + 1 == end));
        if (word.looksLikeSerial(atTheCut) && !isDateOrAddress(at, last, end)) {
            // Without punctuation, so that each spelling has the same mask.
            std::string serial(at, last);
            serial.erase(std::remove_if(serial.begin(), serial.end(), isJoiner), serial.end());
            const std::string mask = maskOf(serial);
            const char* next = mask.data();
            for (const char* c = at; c != last; ++c) {
                text[c - begin] = isJoiner(*c) ? *c : *next++;
            }
        }
        at = last;
    }
}

}  // namespace veskcap
