// Byte counts as text with one 1024-based unit.
#include <gtest/gtest.h>

#include <cstring>

#include "RaidLib/RaidFw/Kvi/reports/SizeUnits.h"

namespace {

struct SizeCase {
    unsigned long long bytes;
    const char* text;
};

TEST(ConvertSizetoUnits, PicksTheLargestUnitAndTruncatesToTwoDecimals) {
    const SizeCase cases[] = {
        {0, "0 B"},
        {512, "512 B"},
        {1023, "1023 B"},
        {1024, "1.00 KB"},
        {1536, "1.50 KB"},
        {1024 * 1024 - 1, "1023.99 KB"},
        {4194304, "4.00 MB"},
        {1073741823ULL, "1023.99 MB"},
        {3ULL << 30, "3.00 GB"},
        {(5ULL << 40) + (1ULL << 39), "5.50 TB"},
        {1ULL << 50, "1.00 PB"},
        {1ULL << 60, "1.00 EB"},
        {~0ULL, "15.99 EB"},
    };
    for (const SizeCase& c : cases) {
        EXPECT_EQ(ConvertSizetoUnits(c.bytes), c.text) << c.bytes;
        char out[kSizeTextMax];
        std::memset(out, 'x', sizeof out);
        ConvertSizetoUnits(c.bytes, out);
        EXPECT_STREQ(out, c.text);
    }
    ConvertSizetoUnits(1, nullptr); // no effect, no crash
}

} // namespace
