// The document model: member order and uniqueness, deep copies, equality,
// safe assignment and deep documents.
#include "json/JsonWriter.h"
#include "json/elements.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

using json::Array;
using json::Boolean;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::UnknownElement;
using json::UNumber;

std::vector<std::string> Names(const Object& object) {
    std::vector<std::string> names;
    for (const Object::Member& m : object) {
        names.push_back(m.name);
    }
    return names;
}

long NumberAt(const Object& object, const std::string& name) {
    const UnknownElement* e = object.Find(name);
    return e != nullptr && e->Is<Number>() ? e->As<Number>()->Value() : -999;
}

TEST(Object, ReassignmentKeepsTheFirstPosition) {
    Object obj;
    obj["A"] = Number(1);
    obj["B"] = Number(2);
    obj["A"] = Number(3);
    EXPECT_EQ((std::vector<std::string>{"A", "B"}), Names(obj));
    EXPECT_EQ(3, NumberAt(obj, "A"));
    EXPECT_EQ(2, NumberAt(obj, "B"));
    // A default text written first and overwritten later with another kind.
    obj["C"] = String("NA");
    obj["D"] = String("x");
    obj["C"] = Boolean(true);
    EXPECT_EQ((std::vector<std::string>{"A", "B", "C", "D"}), Names(obj));
    EXPECT_TRUE(obj.Find("C")->As<Boolean>()->Value());
}

TEST(Object, LookupAppendsNullOnlyThroughIndexing) {
    Object obj;
    EXPECT_TRUE(obj.Empty());
    EXPECT_EQ(nullptr, obj.Find("X"));
    EXPECT_TRUE(obj.Empty());
    UnknownElement& x = obj["X"];
    EXPECT_TRUE(x.Is<Null>());
    EXPECT_FALSE(obj.Empty());
    EXPECT_EQ(&x, obj.Find("X"));
    obj["Y"] = Number(1);
    EXPECT_EQ(&x, &obj["X"]); // same member, no duplicate
    EXPECT_EQ(2u, obj.Size());
    // Names are compared exactly, trailing blanks included.
    obj["X "] = Number(2);
    EXPECT_EQ((std::vector<std::string>{"X", "Y", "X "}), Names(obj));
}

TEST(Object, EmptyObjectsAndArraysStayAsMembers) {
    Object obj;
    obj["Active Firmware"] = Object();
    obj["Details"] = Array();
    ASSERT_NE(nullptr, obj.Find("Active Firmware"));
    ASSERT_TRUE(obj.Find("Active Firmware")->Is<Object>());
    EXPECT_TRUE(obj.Find("Active Firmware")->As<Object>()->Empty());
    ASSERT_TRUE(obj.Find("Details")->Is<Array>());
    EXPECT_TRUE(obj.Find("Details")->As<Array>()->Empty());
    EXPECT_EQ(2u, obj.Size());
}

TEST(Array, InsertAppendsCopiesInOrder) {
    Array array;
    EXPECT_TRUE(array.Empty());
    Object row;
    row["Policy"] = String("Rebuild Rate");
    array.Insert(row);
    row["Policy"] = String("PR Rate"); // the working row is reused
    array.Insert(row);
    array.Insert(Number(5));
    EXPECT_FALSE(array.Empty());
    ASSERT_EQ(3u, array.Size());
    EXPECT_EQ("Rebuild Rate", array.At(0)->As<Object>()->Find("Policy")->As<String>()->Value());
    EXPECT_EQ("PR Rate", array.At(1)->As<Object>()->Find("Policy")->As<String>()->Value());
    EXPECT_EQ(5, array.At(2)->As<Number>()->Value());
    EXPECT_EQ(nullptr, array.At(3));
}

TEST(Elements, CopiesAreDeep) {
    Object inner;
    inner["Level"] = Number(1);
    Array list;
    list.Insert(inner);
    Object original;
    original["Inner"] = inner;
    original["List"] = list;

    Object copy = original;
    copy["Inner"].As<Object>()->operator[]("Level") = Number(2);
    copy["List"].As<Array>()->At(0)->As<Object>()->operator[]("Level") = Number(3);
    copy["New"] = Null();
    EXPECT_EQ(1, NumberAt(*original.Find("Inner")->As<Object>(), "Level"));
    EXPECT_EQ(1, NumberAt(*original.Find("List")->As<Array>()->At(0)->As<Object>(), "Level"));
    EXPECT_EQ(nullptr, original.Find("New"));

    UnknownElement element(original);
    UnknownElement elementCopy(element);
    elementCopy.As<Object>()->operator[]("Inner") = String("gone");
    EXPECT_TRUE(element.As<Object>()->Find("Inner")->Is<Object>());

    Object assigned;
    assigned = original;
    original["Inner"] = Number(0);
    EXPECT_TRUE(assigned.Find("Inner")->Is<Object>());
}

TEST(Elements, AssigningFromInsideTheHeldValueIsSafe) {
    Object deep;
    deep["Leaf"] = String("kept");
    Object middle;
    middle["Deep"] = deep;
    UnknownElement element(middle);

    // The source lives inside the value being replaced.
    element = *element.As<Object>()->Find("Deep");
    ASSERT_TRUE(element.Is<Object>());
    EXPECT_EQ("kept", element.As<Object>()->Find("Leaf")->As<String>()->Value());

    element = *element.As<Object>(); // whole held value
    EXPECT_EQ("kept", element.As<Object>()->Find("Leaf")->As<String>()->Value());

    UnknownElement& self = element;
    element = self;
    EXPECT_EQ("kept", element.As<Object>()->Find("Leaf")->As<String>()->Value());

    Object parent;
    parent["Child"] = deep;
    parent = *parent["Child"].As<Object>();
    EXPECT_EQ((std::vector<std::string>{"Leaf"}), Names(parent));

    Array array;
    array.Insert(Number(1));
    UnknownElement holder(array);
    holder = *holder.As<Array>()->At(0);
    EXPECT_EQ(1, holder.As<Number>()->Value());
}

TEST(Elements, MoveLeavesTheSourceNull) {
    UnknownElement source(String("x"));
    UnknownElement target(std::move(source));
    EXPECT_EQ("x", target.As<String>()->Value());
    EXPECT_TRUE(source.Is<Null>()); // NOLINT(bugprone-use-after-move): documented state
}

struct EqualityCase {
    const char* name;
    UnknownElement a;
    UnknownElement b;
    bool equal;
};

// Parameters print by name (the default byte dump reads struct padding).
void PrintTo(const EqualityCase& c, std::ostream* os) {
    *os << c.name;
}

Object ObjectOf(std::initializer_list<std::pair<const char*, long>> members) {
    Object o;
    for (const auto& m : members) {
        o[m.first] = Number(m.second);
    }
    return o;
}

class ElementEquality : public ::testing::TestWithParam<EqualityCase> {};

TEST_P(ElementEquality, KindValueAndFlagsDecide) {
    const EqualityCase& c = GetParam();
    EXPECT_EQ(c.equal, c.a == c.b);
    EXPECT_EQ(c.equal, c.b == c.a);
    EXPECT_EQ(!c.equal, c.a != c.b);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ElementEquality,
    ::testing::Values(
        EqualityCase{"NullNull", Null(), Null(), true},
        EqualityCase{"SameNumber", Number(1), Number(1), true},
        EqualityCase{"OtherNumber", Number(1), Number(2), false},
        EqualityCase{"SignedVsUnsigned", Number(1), UNumber(1), false},
        EqualityCase{"HexFlagDiffers", Number(0x1000), Number(0x1000, Number::HexDump), false},
        EqualityCase{"TextVsNumber", String("1"), Number(1), false},
        EqualityCase{"Booleans", Boolean(false), Boolean(false), true},
        EqualityCase{"NullVsEmptyText", Null(), String(""), false},
        EqualityCase{"SameObject", ObjectOf({{"A", 1}, {"B", 2}}), ObjectOf({{"A", 1}, {"B", 2}}),
                     true},
        EqualityCase{"MemberOrderMatters", ObjectOf({{"A", 1}, {"B", 2}}),
                     ObjectOf({{"B", 2}, {"A", 1}}), false},
        EqualityCase{"ExtraMember", ObjectOf({{"A", 1}}), ObjectOf({{"A", 1}, {"B", 2}}), false},
        EqualityCase{"EmptyObjectVsEmptyArray", Object(), Array(), false}),
    [](const ::testing::TestParamInfo<EqualityCase>& info) { return info.param.name; });

TEST(Elements, TypedAccessAnswersOnlyTheHeldKind) {
    UnknownElement e(Number(5, Number::HexDump));
    EXPECT_TRUE(e.Is<Number>());
    EXPECT_EQ(nullptr, e.As<UNumber>());
    EXPECT_EQ(nullptr, e.As<String>());
    EXPECT_EQ(nullptr, e.As<Object>());
    EXPECT_EQ(Number::HexDump, e.As<Number>()->Flags());
    EXPECT_EQ(Number::TypeDefault, Number(5).Flags());
    static_assert(Number::TypeDefault == 0 && Number::HexDump == 1 && Number::NoDecimal == 2,
                  "flag values are part of the document contract");
    static_assert(sizeof(long) == 8, "numbers are 64-bit");
}

// A modifying visitor that upper-cases every string in place.
class UpperCase : public json::Visitor {
public:
    void Visit(Array& a) override {
        for (UnknownElement& e : a) {
            e.Accept(*this);
        }
    }
    void Visit(Object& o) override {
        for (Object::Member& m : o) {
            m.element.Accept(*this);
        }
    }
    void Visit(Number&) override {}
    void Visit(UNumber&) override {}
    void Visit(Boolean&) override {}
    void Visit(String& s) override {
        for (char& c : s.Value()) {
            c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
        }
    }
    void Visit(Null&) override {}
};

TEST(Elements, ModifyingVisitorReachesNestedValues) {
    Object obj;
    obj["a"] = String("abc");
    Array list;
    list.Insert(String("def"));
    obj["list"] = list;
    UnknownElement root(obj);
    UpperCase visitor;
    root.Accept(visitor);
    EXPECT_EQ("ABC", root.As<Object>()->Find("a")->As<String>()->Value());
    EXPECT_EQ("DEF", root.As<Object>()->Find("list")->As<Array>()->At(0)->As<String>()->Value());
}

TEST(Elements, DeepAndWideDocumentsCopyCompareRenderAndDestroy) {
    // Objects and arrays nested in turn, built in place from the top down.
    const int kDepth = 1000;
    UnknownElement root;
    UnknownElement* cursor = &root;
    for (int i = 0; i < kDepth; ++i) {
        if (i % 2 == 0) {
            *cursor = Object();
            Object& o = *cursor->As<Object>();
            o["level"] = Number(i);
            cursor = &o["child"];
        } else {
            *cursor = Array();
            Array& a = *cursor->As<Array>();
            a.Insert(Number(i));
            cursor = &a.Insert(UnknownElement());
        }
    }
    *cursor = String("leaf");
    UnknownElement copy(root);
    EXPECT_TRUE(copy == root);
    *cursor = String("changed");
    EXPECT_FALSE(copy == root);
    const std::string compact = json::JsonWriter::ToString(copy, json::JsonWriter::Compact);
    EXPECT_EQ(std::string::npos, compact.find("changed"));
    EXPECT_NE(std::string::npos, compact.find("\"leaf\""));

    Object wide;
    for (int i = 0; i < 300; ++i) {
        wide["Key " + std::to_string(i)] = Number(i);
    }
    wide["Key 7"] = Number(-7);
    EXPECT_EQ(300u, wide.Size());
    EXPECT_EQ(-7, NumberAt(wide, "Key 7"));
    Object wideCopy(wide);
    EXPECT_TRUE(wideCopy == wide);
}

} // namespace
