// Byte counts as text with one 1024-based unit (see SizeUnits.h).
#include "RaidLib/RaidFw/Kvi/reports/SizeUnits.h"

#include <cstdio>
#include <cstring>

std::string ConvertSizetoUnits(unsigned long long bytes) {
    static const char* const kUnits[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
    unsigned int unit = 0;
    while (unit + 1 < sizeof(kUnits) / sizeof(kUnits[0]) && (bytes >> (10 * (unit + 1))) != 0) {
        ++unit;
    }
    char text[64]; // room for any count the compiler can imagine; real texts fit kSizeTextMax
    if (unit == 0) {
        std::snprintf(text, sizeof text, "%llu B", bytes);
        return text;
    }
    const unsigned int shift = 10 * unit;
    const unsigned long long whole = bytes >> shift;
    const unsigned long long mask = (1ULL << shift) - 1;
    // Two decimals, one digit at a time. rest < 2^shift <= 2^60, so rest * 10
    // stays below 2^64.
    unsigned long long rest = bytes & mask;
    rest *= 10;
    const unsigned long long tenths = rest >> shift;
    rest = (rest & mask) * 10;
    const unsigned long long hundredths = rest >> shift;
    std::snprintf(text, sizeof text, "%llu.%llu%llu %s", whole, tenths, hundredths, kUnits[unit]);
    return text;
}

void ConvertSizetoUnits(unsigned long long bytes, char* out) {
    if (out == nullptr) {
        return;
    }
    const std::string text = ConvertSizetoUnits(bytes);
    std::snprintf(out, kSizeTextMax, "%s", text.c_str());
}
