// Where things lie in the controller's event log area, which is read in pages.
#pragma once

#include "VeskNvme.h"

constexpr UNSIGNED_INTEGER kEventAreaSize = 0x10000;
constexpr UNSIGNED_INTEGER kEventPageSize = 0x1000;
constexpr UNSIGNED_INTEGER kEventTextBegin = 40;  // of a page; what is before is not scanned

// The read that completes a line which a page cuts: the last 8 bytes of the page, which are known
// already, and the first 8 of the next one.
constexpr UNSIGNED_INTEGER kCarryOffset = 0xFF8;  // from the page's begin
constexpr UNSIGNED_INTEGER kCarrySize = 16;
constexpr UNSIGNED_INTEGER kCarryTextBegin = 8;
