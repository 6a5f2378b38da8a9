// The linked list under the document: links between the sentinels, count,
// removal of the first equal element, the shared past-end default (deep copies
// of lists are checked through the objects and arrays built on them, in
// elements_test); and the array list: order, growth, bounds and deep copies.
#include "util/ArList.h"
#include "json/List.h"
#include "json/elements.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Elements = UTILS::List<json::UnknownElement>;

std::vector<long> Values(const Elements& list) {
    std::vector<long> out;
    for (const json::UnknownElement& e : list) {
        const json::Number* n = e.As<json::Number>();
        out.push_back(n != nullptr ? n->Value() : -999);
    }
    return out;
}

Elements ListOf(std::initializer_list<long> values) {
    Elements list;
    for (long v : values)
        list.push_back(json::Number(v));
    return list;
}

// Forward and backward links agree, the outer links are null and the count
// matches the nodes.
::testing::AssertionResult WellFormed(const Elements& list) {
    const UTILS::ListNode<json::UnknownElement>* p = list.header();
    if (p->prev != nullptr || list.trailer()->next != nullptr)
        return ::testing::AssertionFailure() << "sentinel outer links";
    std::size_t nodes = 0;
    for (; p->next != nullptr; p = p->next, ++nodes)
        if (p->next->prev != p)
            return ::testing::AssertionFailure() << "prev link broken after node " << nodes;
    if (p != list.trailer() || nodes - 1 != list.getCount() ||
        list.isEmpty() != (list.getCount() == 0))
        return ::testing::AssertionFailure()
               << "count " << list.getCount() << ", " << nodes - 1 << " nodes";
    return ::testing::AssertionSuccess();
}

TEST(List, RemovesTheFirstEqualElementFromTheFront) {
    const struct {
        std::vector<long> before;
        long removed;
        std::vector<long> after;
        bool found;
    } cases[] = {
        {{1, 2, 1}, 1, {2, 1}, true}, {{1, 2, 3}, 2, {1, 3}, true}, {{1, 2, 3}, 3, {1, 2}, true},
        {{7}, 7, {}, true},           {{1, 2}, 9, {1, 2}, false},   {{}, 1, {}, false},
    };
    for (const auto& c : cases) {
        Elements list;
        for (long v : c.before)
            list.push_back(json::Number(v));
        list.remove_obj(json::Number(c.removed));
        EXPECT_EQ(c.after, Values(list)) << c.removed;
        EXPECT_EQ(c.found, list.found()) << c.removed;
        EXPECT_TRUE(WellFormed(list));
    }
    // Null matches the tail sentinel's element: found, but tail stays linked.
    Elements list = ListOf({1, 2});
    list.remove_obj(json::UnknownElement());
    EXPECT_TRUE(list.found());
    list.push_back(json::UnknownElement()); // a real Null is removed as usual
    list.remove_obj(json::UnknownElement());
    list.push_back(json::Number(3));
    EXPECT_EQ((std::vector<long>{1, 2, 3}), Values(list));
    EXPECT_TRUE(WellFormed(list));
    json::Object::Members members; // members compare by name and value
    members.push_back(json::Object::Member("A", json::Number(1)));
    members.remove_obj(json::Object::Member("A", json::Number(2)));
    EXPECT_FALSE(members.found());
    EXPECT_EQ(1u, members.getCount());
}

TEST(List, PastEndReadsOneSharedDefaultAndInsertStaysBeforeTail) {
    Elements a = ListOf({1});
    Elements empty;
    UTILS::ListItr<json::UnknownElement> end = a.first();
    end.advance();
    end.advance(); // stays on tail
    ASSERT_TRUE(end.isPastEnd());
    EXPECT_TRUE(end.retrieve().Is<json::Null>());
    EXPECT_EQ(&end.retrieve(), &empty.first().retrieve());
    EXPECT_NE(&end.retrieve(), &a.trailer()->element);
    EXPECT_EQ(nullptr, empty.first().element());
    a.insert(json::Number(3), end);       // on tail: goes before it
    a.insert(json::Number(2), a.first()); // after a position
    a.insert(json::Number(0), UTILS::ListItr<json::UnknownElement>(nullptr)); // ignored
    EXPECT_EQ((std::vector<long>{1, 2, 3}), Values(a));
    EXPECT_TRUE(WellFormed(a));
    UTILS::ListItr<json::UnknownElement> p = a.findPrevious(json::Number(1));
    EXPECT_TRUE(a.found());
    EXPECT_EQ(nullptr, p.element()); // the head sentinel
    a.makeEmpty();
    EXPECT_TRUE(WellFormed(a));
}

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
