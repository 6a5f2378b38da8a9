// ArrayList: order, growth, bounds and deep copies.
#include "util/ArList.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(ArrayList, KeepsOrderGrowsRefusesOutOfRangeAndCopiesDeeply) {
    ArrayList<unsigned short> list;
    EXPECT_TRUE(list.isEmpty());
    for (unsigned short v = 0; v < 9; v = static_cast<unsigned short>(v + 3)) {
        list.add(static_cast<unsigned short>(v * 100));
        list.Add(static_cast<unsigned short>(v * 100 + 100));
        list.append(static_cast<unsigned short>(v * 100 + 200));
    }
    ASSERT_EQ(9u, list.getCount());
    std::vector<unsigned short> seen(list.begin(), list.end());
    for (unsigned short i = 0; i < 9; ++i) {
        EXPECT_EQ(i * 100, list.get(i));
        EXPECT_EQ(i * 100, seen[i]);
    }
    EXPECT_TRUE(list.contains(800));
    EXPECT_FALSE(list.contains(801));
    EXPECT_EQ(0, list.get(9));
    EXPECT_EQ(0, list[1000]);
    EXPECT_FALSE(list.set(9, 1));
    EXPECT_TRUE(list.set(0, 50));
    ArrayList<unsigned short> copy(list);
    copy.set(0, 7);
    copy.add(3);
    ArrayList<unsigned short> assigned;
    assigned = copy;
    copy.clear();
    EXPECT_EQ(50, list.get(0));
    EXPECT_EQ(9u, list.getCount());
    EXPECT_EQ(0u, copy.getCount());
    EXPECT_EQ(10u, assigned.getCount());
    EXPECT_EQ(7, assigned.get(0));
    EXPECT_TRUE(assigned != list);
}

} // namespace
