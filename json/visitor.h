// Visitors over the report document: one read-only, one modifying. Every
// element kind has its own Visit, so a renderer or a transformation sees the
// exact kind of each value without casting.
#pragma once

#include <string>

namespace json {

class Object;
class Array;
class Null;
template <typename T> class TrivialType_T;

// The scalar kinds of the document.
typedef TrivialType_T<long> Number;                // signed 64-bit
typedef TrivialType_T<unsigned long long> UNumber; // unsigned 64-bit
typedef TrivialType_T<bool> Boolean;
typedef TrivialType_T<std::string> String;

class Visitor {
public:
    virtual ~Visitor() = default;

    virtual void Visit(Array& array) = 0;
    virtual void Visit(Object& object) = 0;
    virtual void Visit(Number& number) = 0;
    virtual void Visit(UNumber& number) = 0;
    virtual void Visit(Boolean& boolean) = 0;
    virtual void Visit(String& string) = 0;
    virtual void Visit(Null& null) = 0;
};

class ConstVisitor {
public:
    virtual ~ConstVisitor() = default;

    virtual void Visit(const Array& array) = 0;
    virtual void Visit(const Object& object) = 0;
    virtual void Visit(const Number& number) = 0;
    virtual void Visit(const UNumber& number) = 0;
    virtual void Visit(const Boolean& boolean) = 0;
    virtual void Visit(const String& string) = 0;
    virtual void Visit(const Null& null) = 0;
};

} // namespace json
