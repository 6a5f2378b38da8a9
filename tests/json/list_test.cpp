// The linked list under the document: sentinels, count, search and removal.
#include "json/List.h"
#include "json/elements.h"

#include <gtest/gtest.h>

#include <ostream>
#include <type_traits>
#include <vector>

namespace {

using Elements = UTILS::List<json::UnknownElement>;

json::UnknownElement Num(long v) {
    return json::Number(v);
}

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
    for (long v : values) {
        list.push_back(Num(v));
    }
    return list;
}

// Walks forward and backward between the sentinels and checks that the links
// agree, the outer links are null and `count` matches the nodes.
template <class T>::testing::AssertionResult WellFormed(const UTILS::List<T>& list) {
    const UTILS::ListNode<T>* head = list.header();
    const UTILS::ListNode<T>* tail = list.trailer();
    if (head == nullptr || tail == nullptr || head->prev != nullptr || tail->next != nullptr) {
        return ::testing::AssertionFailure() << "sentinel outer links";
    }
    std::size_t forward = 0;
    const UTILS::ListNode<T>* p = head;
    while (p->next != nullptr) {
        if (p->next->prev != p) {
            return ::testing::AssertionFailure() << "prev link broken after node " << forward;
        }
        p = p->next;
        ++forward;
    }
    if (p != tail) {
        return ::testing::AssertionFailure() << "forward walk does not end on tail";
    }
    if (forward - 1 != list.getCount()) {
        return ::testing::AssertionFailure()
               << "count " << list.getCount() << " but " << forward - 1 << " real nodes";
    }
    if (list.isEmpty() != (list.getCount() == 0)) {
        return ::testing::AssertionFailure() << "isEmpty disagrees with count";
    }
    return ::testing::AssertionSuccess();
}

TEST(List, NewListIsEmptyWithLinkedSentinels) {
    Elements list;
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(0u, list.getCount());
    EXPECT_FALSE(list.found());
    EXPECT_EQ(list.trailer(), list.header()->next);
    EXPECT_EQ(list.header(), list.trailer()->prev);
    EXPECT_TRUE(WellFormed(list));

    UTILS::ListItr<json::UnknownElement> it = list.first();
    EXPECT_TRUE(it.isPastEnd());
    EXPECT_TRUE(it.retrieve().Is<json::Null>());
    EXPECT_EQ(nullptr, it.element());
    // Sentinels carry default elements: Null, and for members an empty name.
    EXPECT_TRUE(list.header()->element.Is<json::Null>());
    EXPECT_TRUE(list.trailer()->element.Is<json::Null>());
    json::Object::Members members;
    EXPECT_EQ("", members.trailer()->element.name);
    EXPECT_TRUE(members.trailer()->element.element.Is<json::Null>());
}

TEST(List, PastEndRetrieveIsOneSharedReadOnlyDefault) {
    static_assert(
        std::is_same<decltype(std::declval<UTILS::ListItr<int>>().retrieve()), const int&>::value,
        "retrieve must not hand out a writable element");
    Elements a = ListOf({1});
    Elements b;
    UTILS::ListItr<json::UnknownElement> endA = a.first();
    endA.advance();
    ASSERT_TRUE(endA.isPastEnd());
    EXPECT_TRUE(endA.retrieve().Is<json::Null>());
    EXPECT_EQ(&endA.retrieve(), &b.first().retrieve());
    // Not the tail sentinel's own element either.
    EXPECT_NE(&endA.retrieve(), &a.trailer()->element);
    endA.advance(); // stays on tail
    EXPECT_TRUE(endA.isPastEnd());
    EXPECT_TRUE(UTILS::ListItr<int>().isPastEnd());
}

TEST(List, PushBackKeepsOrderAndLinks) {
    Elements list = ListOf({3, 1, 2});
    EXPECT_EQ((std::vector<long>{3, 1, 2}), Values(list));
    EXPECT_EQ(3u, list.getCount());
    EXPECT_TRUE(WellFormed(list));
    EXPECT_EQ(3, list.first().retrieve().As<json::Number>()->Value());
}

TEST(List, FindPreviousAnswersThePredecessor) {
    Elements list = ListOf({1, 2, 3});
    UTILS::ListItr<json::UnknownElement> p = list.findPrevious(Num(3));
    EXPECT_TRUE(list.found());
    EXPECT_EQ(2, p.retrieve().As<json::Number>()->Value());

    p = list.findPrevious(Num(1));
    EXPECT_TRUE(list.found());
    EXPECT_EQ(nullptr, p.element()); // the head sentinel

    p = list.findPrevious(Num(9));
    EXPECT_FALSE(list.found());
    EXPECT_TRUE(p.isPastEnd()); // walked onto tail
}

struct RemoveCase {
    const char* name;
    std::vector<long> before;
    long removed;
    std::vector<long> after;
    bool found;
};

// Parameters print by name (the default byte dump reads struct padding).
void PrintTo(const RemoveCase& c, std::ostream* os) {
    *os << c.name;
}

class ListRemove : public ::testing::TestWithParam<RemoveCase> {};

TEST_P(ListRemove, RemovesFirstEqualFromTheFront) {
    const RemoveCase& c = GetParam();
    Elements list;
    for (long v : c.before) {
        list.push_back(Num(v));
    }
    list.remove_obj(Num(c.removed));
    EXPECT_EQ(c.after, Values(list));
    EXPECT_EQ(c.found, list.found());
    EXPECT_TRUE(WellFormed(list));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ListRemove,
    ::testing::Values(RemoveCase{"FrontMostOfTwoEqual", {1, 2, 1}, 1, {2, 1}, true},
                      RemoveCase{"Middle", {1, 2, 3}, 2, {1, 3}, true},
                      RemoveCase{"Last", {1, 2, 3}, 3, {1, 2}, true},
                      RemoveCase{"OnlyElement", {7}, 7, {}, true},
                      RemoveCase{"Absent", {1, 2}, 9, {1, 2}, false},
                      RemoveCase{"FromEmpty", {}, 1, {}, false}),
    [](const ::testing::TestParamInfo<RemoveCase>& info) { return info.param.name; });

TEST(List, RemovingTheSentinelValueNeverUnlinksTail) {
    // Searching for Null matches the tail sentinel's element; the search
    // reports a find, but nothing may be unlinked.
    Elements list = ListOf({1, 2});
    const UTILS::ListNode<json::UnknownElement>* tail = list.trailer();
    list.remove_obj(json::UnknownElement());
    EXPECT_TRUE(list.found());
    EXPECT_EQ((std::vector<long>{1, 2}), Values(list));
    EXPECT_EQ(tail, list.trailer());
    EXPECT_TRUE(WellFormed(list));
    list.push_back(Num(3));
    EXPECT_EQ((std::vector<long>{1, 2, 3}), Values(list));

    // A real Null element in front of tail is removed as usual.
    list.push_back(json::UnknownElement());
    list.remove_obj(json::UnknownElement());
    EXPECT_EQ((std::vector<long>{1, 2, 3}), Values(list));
    EXPECT_TRUE(WellFormed(list));
}

TEST(List, MakeEmptyLeavesAReusableEmptyList) {
    Elements list = ListOf({1, 1, 2, 1});
    list.makeEmpty();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(0u, list.getCount());
    EXPECT_TRUE(WellFormed(list));
    list.push_back(Num(5));
    EXPECT_EQ((std::vector<long>{5}), Values(list));
}

TEST(List, InsertAfterAPositionAndOnTail) {
    Elements list = ListOf({1, 3});
    list.insert(Num(2), list.first());
    UTILS::ListItr<json::UnknownElement> end = list.findPrevious(Num(99));
    ASSERT_TRUE(end.isPastEnd());
    list.insert(Num(4), end);                                           // on tail: goes before it
    list.insert(Num(0), UTILS::ListItr<json::UnknownElement>(nullptr)); // ignored
    EXPECT_EQ((std::vector<long>{1, 2, 3, 4}), Values(list));
    EXPECT_TRUE(WellFormed(list));
}

TEST(List, CopiesAreDeepAndIndependent) {
    Elements original = ListOf({1, 2, 3});
    Elements copy(original);
    copy.remove_obj(Num(2));
    copy.push_back(Num(9));
    *copy.first().element() = Num(100);
    EXPECT_EQ((std::vector<long>{1, 2, 3}), Values(original));
    EXPECT_EQ((std::vector<long>{100, 3, 9}), Values(copy));

    Elements assigned = ListOf({5});
    assigned = original;
    original.makeEmpty();
    EXPECT_EQ((std::vector<long>{1, 2, 3}), Values(assigned));
    EXPECT_TRUE(WellFormed(assigned));

    Elements& alias = assigned;
    assigned = alias; // self-assignment
    EXPECT_EQ((std::vector<long>{1, 2, 3}), Values(assigned));
    EXPECT_TRUE(WellFormed(assigned));
}

TEST(List, MembersAreRemovedByNameAndValue) {
    json::Object::Members members;
    members.push_back(json::Object::Member("A", Num(1)));
    members.push_back(json::Object::Member("B", Num(2)));
    members.remove_obj(json::Object::Member("A", Num(2))); // name matches, value does not
    EXPECT_FALSE(members.found());
    EXPECT_EQ(2u, members.getCount());
    members.remove_obj(json::Object::Member("B", Num(2)));
    EXPECT_EQ(1u, members.getCount());
    EXPECT_EQ("A", members.first().retrieve().name);
}

} // namespace
