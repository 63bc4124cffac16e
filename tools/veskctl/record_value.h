// Members of records that may be missing.
#pragma once

#include <optional>

namespace veskctl {

template <class Value, class Record, class Field>
std::optional<Value> valueOf(const std::optional<Record>& record, Field Record::*field) {
    return record ? std::optional<Value>(static_cast<Value>((*record).*field)) : std::nullopt;
}

}  // namespace veskctl
