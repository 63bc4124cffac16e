// The fields of a record as a table: what a setter writes where, and that the getter reads it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace vesktest {

template <typename Object>
struct RecordField {
    const char* name;
    std::function<void(Object&)> set;
    std::function<bool(Object&)> isSet;  // whether the getter says what was set
    std::size_t offset;
    std::vector<std::uint8_t> bytes;  // from there on
};

// A field whose getter gives what its setter took.
template <typename Object, typename Value, typename Getter>
RecordField<Object> field(const char* name, void (Object::*set)(Value), Getter get,
                          std::common_type_t<Value> value, std::size_t offset,
                          std::vector<std::uint8_t> bytes) {
    return {name, [set, value](Object& object) { (object.*set)(value); },
            [get, value](Object& object) { return (object.*get)() == value; }, offset,
            std::move(bytes)};
}

// A text of `size` bytes in the record, set without a NUL behind it, as the wire has it. `kept` is
// what becomes of it, with zeros up to the end of the field.
template <typename Object>
RecordField<Object> textField(const char* name, void (Object::*set)(unsigned char*),
                              char* (Object::*get)(), const std::string& text,
                              const std::string& kept, std::size_t offset, std::size_t size) {
    std::vector<std::uint8_t> bytes(kept.begin(), kept.end());
    bytes.resize(size, 0);
    return {name,
            [set, text](Object& object) {
                // Of its own size, so that a sanitizer sees a byte too many.
                std::vector<std::uint8_t> place(text.begin(), text.end());
                place.shrink_to_fit();
                (object.*set)(place.data());
            },
            [get, kept](Object& object) { return (object.*get)() == kept; }, offset,
            std::move(bytes)};
}

// Each field is written where it belongs and nowhere else, and read as it was set. `bytesOf` gives
// all bytes of an object, as a vector; those of a new one are zero.
template <typename Object, typename BytesOf>
void expectFields(const std::vector<RecordField<Object>>& fields, BytesOf bytesOf) {
    for (const RecordField<Object>& now : fields) {
        SCOPED_TRACE(now.name);
        Object object;
        EXPECT_FALSE(now.isSet(object));
        std::vector<std::uint8_t> expected(bytesOf(object).size(), 0);
        EXPECT_EQ(bytesOf(object), expected);
        now.set(object);
        EXPECT_TRUE(now.isSet(object));
        std::copy(now.bytes.begin(), now.bytes.end(),
                  expected.begin() + static_cast<std::ptrdiff_t>(now.offset));
        EXPECT_EQ(bytesOf(object), expected);
    }
}

}  // namespace vesktest
