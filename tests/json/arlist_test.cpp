// ArrayList: creation capacity, order, bounds and deep copies.
#include "util/ArList.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(ArrayList, StartsEmptyWithRoomForFour) {
    ArrayList<unsigned char> list;
    EXPECT_EQ(0u, list.getCount());
    EXPECT_TRUE(list.isEmpty());
    EXPECT_GE(list.capacity(), 4u);
    EXPECT_EQ(4u, ArrayList<unsigned char>::kDefaultCapacity);
}

TEST(ArrayList, AppendsInOrderAndGrows) {
    ArrayList<unsigned short> list;
    for (unsigned short v = 0; v < 10; ++v) {
        if (v % 3 == 0) {
            list.add(static_cast<unsigned short>(v * 100));
        } else if (v % 3 == 1) {
            list.Add(static_cast<unsigned short>(v * 100));
        } else {
            list.append(static_cast<unsigned short>(v * 100));
        }
    }
    ASSERT_EQ(10u, list.getCount());
    std::vector<unsigned short> seen(list.begin(), list.end());
    for (unsigned short i = 0; i < 10; ++i) {
        EXPECT_EQ(i * 100, list.get(i));
        EXPECT_EQ(i * 100, list[i]);
        EXPECT_EQ(i * 100, seen[i]);
    }
    EXPECT_TRUE(list.contains(900));
    EXPECT_FALSE(list.contains(901));
}

TEST(ArrayList, OutOfRangeReadsYieldZeroAndWritesAreRefused) {
    ArrayList<unsigned char> list;
    list.add(7);
    EXPECT_EQ(0, list.get(1));
    EXPECT_EQ(0, list[1000]);
    EXPECT_FALSE(list.set(1, 9));
    EXPECT_TRUE(list.set(0, 9));
    EXPECT_EQ(9, list.get(0));
    EXPECT_EQ(1u, list.getCount());
}

TEST(ArrayList, CopiesAreDeepAndClearEmpties) {
    ArrayList<unsigned char> original;
    original.add(1);
    original.add(2);
    ArrayList<unsigned char> copy(original);
    copy.set(0, 50);
    copy.add(3);
    EXPECT_EQ(1, original.get(0));
    EXPECT_EQ(2u, original.getCount());
    ArrayList<unsigned char> assigned;
    assigned = copy;
    copy.clear();
    EXPECT_EQ(0u, copy.getCount());
    EXPECT_EQ(3u, assigned.getCount());
    EXPECT_EQ(50, assigned.get(0));
    EXPECT_TRUE(assigned != original);
}

} // namespace
