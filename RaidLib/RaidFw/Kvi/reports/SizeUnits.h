#pragma once
// Byte counts as text with one unit, for the hardware-configuration section.
//
// The unit is the largest of B, KB, MB, GB, TB, PB, EB (powers of 1024) that
// is not larger than the value; below 1024 bytes the text is the plain count
// ("0 B", "512 B"), from there on two decimals, truncated, not rounded:
//   1024 -> "1.00 KB", 1536 -> "1.50 KB", 4194304 -> "4.00 MB",
//   1073741823 -> "1023.99 MB", 2^64 - 1 -> "15.99 EB".
// Integer arithmetic only, so the text is the same on every host.
#include <cstddef>
#include <string>

// Longest text ConvertSizetoUnits writes, terminator included ("1023.99 MB"
// needs 11 bytes; the largest byte count, "18446744073709551615 B", is never
// printed in bytes).
constexpr std::size_t kSizeTextMax = 32;

std::string ConvertSizetoUnits(unsigned long long bytes);

// The same text, written NUL-terminated into `out`, which must hold
// kSizeTextMax bytes. Does nothing when `out` is null.
void ConvertSizetoUnits(unsigned long long bytes, char* out);
