// The document model: member order and lookup, deep copies, safe assignment
// from inside the held value, equality, and deep documents.
#include "json/JsonWriter.h"
#include "json/elements.h"

#include <gtest/gtest.h>

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
    for (const Object::Member& m : object)
        names.push_back(m.name);
    return names;
}

std::string Compact(const UnknownElement& e) {
    return json::JsonWriter::ToString(e, json::JsonWriter::Compact);
}

TEST(Object, MembersKeepTheirFirstPlaceAndLookupDoesNotAppend) {
    Object obj;
    EXPECT_EQ(nullptr, obj.Find("X"));
    EXPECT_TRUE(obj.Empty());
    UnknownElement& x = obj["X"]; // indexing appends a Null
    EXPECT_TRUE(x.Is<Null>());
    obj["B"] = Number(2);
    obj["X"] = String("NA");
    obj["X"] = Boolean(true); // another kind later: same place
    obj["X "] = Number(3);    // names compare exactly
    EXPECT_EQ(&x, obj.Find("X"));
    EXPECT_EQ((std::vector<std::string>{"X", "B", "X "}), Names(obj));
    EXPECT_EQ(R"({"X":true,"B":2,"X ":3})", Compact(obj));
    Array array;
    Object row;
    row["Policy"] = String("Rebuild Rate");
    array.Insert(row);
    row["Policy"] = String("PR Rate"); // the working row is reused
    array.Insert(row);
    EXPECT_EQ(R"([{"Policy":"Rebuild Rate"},{"Policy":"PR Rate"}])", Compact(array));
    EXPECT_EQ(nullptr, array.At(2));
}

TEST(Elements, CopiesAreDeepAndAssignmentFromInsideIsSafe) {
    Object inner;
    inner["Level"] = Number(1);
    Array list;
    list.Insert(inner);
    Object original;
    original["Inner"] = inner;
    original["List"] = list;
    Object copy = original;
    (*copy["Inner"].As<Object>())["Level"] = Number(2);
    (*copy["List"].As<Array>()->At(0)->As<Object>())["Level"] = Number(3);
    UnknownElement element(original);
    UnknownElement elementCopy(element);
    (*elementCopy.As<Object>())["Inner"] = String("gone");
    Object assigned;
    assigned = original;
    original["Inner"] = Number(0);
    EXPECT_EQ(R"({"Inner":{"Level":1},"List":[{"Level":1}]})", Compact(element));
    EXPECT_EQ(R"({"Inner":{"Level":1},"List":[{"Level":1}]})", Compact(assigned));
    EXPECT_EQ(R"({"Inner":{"Level":2},"List":[{"Level":3}]})", Compact(copy));

    // The source lives inside the value being replaced.
    element = *element.As<Object>()->Find("List");
    EXPECT_EQ(R"([{"Level":1}])", Compact(element));
    element = *element.As<Array>()->At(0);
    EXPECT_EQ(R"({"Level":1})", Compact(element));
    UnknownElement& self = element;
    element = self;
    assigned = *assigned["Inner"].As<Object>();
    EXPECT_EQ(R"({"Level":1})", Compact(assigned));
    UnknownElement moved(std::move(element));
    EXPECT_TRUE(element.Is<Null>()); // NOLINT(bugprone-use-after-move): documented state
    EXPECT_EQ(R"({"Level":1})", Compact(moved));
}

Object ObjectOf(std::initializer_list<std::pair<const char*, long>> members) {
    Object o;
    for (const auto& m : members)
        o[m.first] = Number(m.second);
    return o;
}

TEST(Elements, KindValueOrderAndFlagsDecideEquality) {
    const struct {
        const char* name;
        UnknownElement a, b;
        bool equal;
    } cases[] = {
        // clang-format off
        {"null, null", Null(), Null(), true}, {"same number", Number(1), Number(1), true},
        {"other number", Number(1), Number(2), false}, {"signed and unsigned", Number(1), UNumber(1), false},
        {"hex flag", Number(0x1000), Number(0x1000, Number::HexDump), false},
        {"text and number", String("1"), Number(1), false}, {"null and empty text", Null(), String(""), false},
        {"same object", ObjectOf({{"A", 1}, {"B", 2}}), ObjectOf({{"A", 1}, {"B", 2}}), true},
        {"member order", ObjectOf({{"A", 1}, {"B", 2}}), ObjectOf({{"B", 2}, {"A", 1}}), false},
        {"extra member", ObjectOf({{"A", 1}}), ObjectOf({{"A", 1}, {"B", 2}}), false},
        {"empty object and array", Object(), Array(), false},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.equal, c.a == c.b) << c.name;
        EXPECT_EQ(c.equal, c.b == c.a) << c.name;
        EXPECT_EQ(!c.equal, c.a != c.b) << c.name;
    }
}

TEST(Elements, DeepDocumentsCopyCompareRenderAndDestroy) {
    UnknownElement root; // objects and arrays nested in turn, 1000 deep
    UnknownElement* cursor = &root;
    for (int i = 0; i < 1000; ++i) {
        if (i % 2 == 0) {
            *cursor = Object();
            Object& o = *cursor->As<Object>();
            o["level"] = Number(i);
            cursor = &o["child"];
        } else {
            *cursor = Array();
            cursor->As<Array>()->Insert(Number(i));
            cursor = &cursor->As<Array>()->Insert(UnknownElement());
        }
    }
    *cursor = String("leaf");
    UnknownElement copy(root);
    EXPECT_TRUE(copy == root);
    *cursor = String("changed");
    EXPECT_FALSE(copy == root);
    EXPECT_NE(std::string::npos, Compact(copy).find("\"leaf\""));
}

} // namespace
