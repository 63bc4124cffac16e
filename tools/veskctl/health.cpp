#include "veskctl/health.h"

namespace veskctl {

namespace {

constexpr unsigned kStatusOk = 0x4F;
constexpr unsigned kStatusAlert = 1;

// Rows of the table. The first one is named "Percent Drive Life Remaining", and carries the
// percentage used nevertheless.
constexpr std::size_t kUsedRow = 0;
constexpr std::size_t kSpareRow = 1;

}  // namespace

std::optional<Wear> Health::wear() const {
    if (!record) {
        return std::nullopt;
    }
    const SMART_ATTRIBUTE& spare = record->attributes[kSpareRow];
    const Wear wear{record->attributes[kUsedRow].currentValue, spare.currentValue,
                    spare.thresholdValue};
    if (wear.percentageUsed == 0 && wear.availableSpare == 0 && wear.availableSpareThreshold == 0) {
        return std::nullopt;
    }
    return wear;
}

const char* Health::status() const {
    const unsigned code = record ? record->smartStatus : 0;
    if (code == kStatusOk) {
        return "ok";
    }
    return code == kStatusAlert ? "alert" : "unknown";
}

}  // namespace veskctl
