// The report document: an ordered JSON-like tree that every "show" section
// writes into and that the text and JSON renderers read.
//
// Every value is stored as a json::UnknownElement, which owns one polymorphic
// implementation object (Imp) holding an Object, an Array, a scalar
// (TrivialType_T<long | unsigned long long | bool | std::string>) or Null.
// Objects keep their members in insertion order with unique names; arrays
// keep their elements in insertion order. Copies are deep throughout.
//
// Typical use:
//   json::Object section;
//   section["Model"] = json::String("Example 16i");
//   section["Vendor Id"] = json::Number(0x1000, json::Number::HexDump);
//   json::Array rows;
//   rows.Insert(row);                  // a copy of a json::Object
//   section["Details"] = rows;
// Assigning an existing name replaces its value and keeps its first position.
#pragma once

#include "json/List.h"
#include "json/visitor.h"

#include <cstddef>
#include <string>

namespace json {

static_assert(sizeof(long) == 8, "report numbers are signed 64-bit values held in long");

class UnknownElement {
public:
    // The held value, behind one virtual interface. Slot order: Clone, Compare,
    // Accept (read-only visitor), Accept (modifying visitor).
    class Imp {
    public:
        virtual Imp* Clone() const = 0;
        virtual bool Compare(const Imp& other) const = 0;
        virtual void Accept(ConstVisitor& visitor) const = 0;
        virtual void Accept(Visitor& visitor) = 0;
        virtual ~Imp() = default;
    };

    UnknownElement(); // holds Null
    UnknownElement(const UnknownElement& other);
    // Takes the other's value; the other is left holding Null.
    UnknownElement(UnknownElement&& other);

    UnknownElement(const Object& object);
    UnknownElement(const Array& array);
    UnknownElement(const Number& number);
    UnknownElement(const UNumber& number);
    UnknownElement(const Boolean& boolean);
    UnknownElement(const String& string);
    UnknownElement(const Null& null);

    ~UnknownElement();

    // Every assignment builds the new value first and releases the old one
    // afterwards, so assigning an element to itself, or a value that lives
    // inside the element being replaced, is safe. There is deliberately no
    // move assignment: stealing from a value nested inside this element would
    // make the element own itself.
    UnknownElement& operator=(const UnknownElement& other);
    UnknownElement& operator=(const Object& object);
    UnknownElement& operator=(const Array& array);
    UnknownElement& operator=(const Number& number);
    UnknownElement& operator=(const UNumber& number);
    UnknownElement& operator=(const Boolean& boolean);
    UnknownElement& operator=(const String& string);
    UnknownElement& operator=(const Null& null);

    // Same kind and equal value (for scalars: equal value and equal flags).
    bool operator==(const UnknownElement& other) const;
    bool operator!=(const UnknownElement& other) const { return !(*this == other); }

    void Accept(ConstVisitor& visitor) const;
    void Accept(Visitor& visitor);

    // Typed access: the held value when it is of kind E, else null.
    template <class E> const E* As() const;
    template <class E> E* As();
    template <class E> bool Is() const { return As<E>() != nullptr; }

private:
    void Replace(Imp* fresh);

    Imp* m_pImp;
};

// A scalar with a rendering hint.
template <typename T> class TrivialType_T {
public:
    enum TypeFlags {
        TypeDefault = 0, // plain rendering: decimal for numbers
        HexDump = 1,     // numbers in hexadecimal (0x%04X)
        NoDecimal = 2,   // without decimal notation; integers print as plain digits
    };

    TrivialType_T() : m_tValue(), flags(TypeDefault) {}
    explicit TrivialType_T(const T& value) : m_tValue(value), flags(TypeDefault) {}
    TrivialType_T(const T& value, TypeFlags typeFlags) : m_tValue(value), flags(typeFlags) {}

    const T& Value() const { return m_tValue; }
    T& Value() { return m_tValue; }
    TypeFlags Flags() const { return flags; }
    void SetFlags(TypeFlags typeFlags) { flags = typeFlags; }

    bool operator==(const TrivialType_T& other) const {
        return m_tValue == other.m_tValue && flags == other.flags;
    }
    bool operator!=(const TrivialType_T& other) const { return !(*this == other); }

private:
    T m_tValue;
    TypeFlags flags;
};

class Null {
public:
    bool operator==(const Null&) const { return true; }
    bool operator!=(const Null&) const { return false; }
};

class Object {
public:
    class Member {
    public:
        Member() = default;
        Member(const Member& other) = default;
        Member(Member&& other) = default;
        Member(const std::string& memberName, const UnknownElement& memberElement)
            : name(memberName), element(memberElement) {}
        Member& operator=(const Member& other) = default;

        bool operator==(const Member& other) const {
            return name == other.name && element == other.element;
        }

        std::string name;
        UnknownElement element;
    };

    typedef UTILS::List<Member> Members;
    typedef Members::iterator iterator;
    typedef Members::const_iterator const_iterator;

    // The element of the member called `name`; a member with a Null element is
    // appended at the end when there is none yet. Lookup is a linear scan.
    UnknownElement& operator[](const std::string& name);

    // The element of the member called `name`, or null; never adds a member.
    const UnknownElement* Find(const std::string& name) const;
    UnknownElement* Find(const std::string& name);

    bool Empty() const { return m_Members.isEmpty(); }
    std::size_t Size() const { return m_Members.size(); }
    const Members& GetMembers() const { return m_Members; }

    iterator begin() { return m_Members.begin(); }
    iterator end() { return m_Members.end(); }
    const_iterator begin() const { return m_Members.begin(); }
    const_iterator end() const { return m_Members.end(); }

    // Same members with equal values in the same order.
    bool operator==(const Object& other) const;
    bool operator!=(const Object& other) const { return !(*this == other); }

private:
    Members m_Members;
};

class Array {
public:
    typedef UTILS::List<UnknownElement> Elements;
    typedef Elements::iterator iterator;
    typedef Elements::const_iterator const_iterator;

    // Appends a copy of `element` at the end and returns the stored element.
    UnknownElement& Insert(const UnknownElement& element);
    UnknownElement& Insert(UnknownElement&& element);

    bool Empty() const { return m_Elements.isEmpty(); }
    std::size_t Size() const { return m_Elements.size(); }
    const Elements& GetElements() const { return m_Elements; }

    // Element i (linear walk), or null when i is out of range.
    const UnknownElement* At(std::size_t i) const;
    UnknownElement* At(std::size_t i);

    iterator begin() { return m_Elements.begin(); }
    iterator end() { return m_Elements.end(); }
    const_iterator begin() const { return m_Elements.begin(); }
    const_iterator end() const { return m_Elements.end(); }

    bool operator==(const Array& other) const;
    bool operator!=(const Array& other) const { return !(*this == other); }

private:
    Elements m_Elements;
};

namespace detail {

// The one implementation of UnknownElement::Imp, per element kind.
template <class E> class ElementImp : public UnknownElement::Imp {
public:
    ElementImp() = default;
    explicit ElementImp(const E& value) : value_(value) {}

    Imp* Clone() const override { return new ElementImp(value_); }
    bool Compare(const Imp& other) const override {
        const ElementImp* same = dynamic_cast<const ElementImp*>(&other);
        return same != nullptr && same->value_ == value_;
    }
    void Accept(ConstVisitor& visitor) const override { visitor.Visit(value_); }
    void Accept(Visitor& visitor) override { visitor.Visit(value_); }

    const E& Value() const { return value_; }
    E& Value() { return value_; }

private:
    E value_;
};

} // namespace detail

template <class E> const E* UnknownElement::As() const {
    const detail::ElementImp<E>* imp = dynamic_cast<const detail::ElementImp<E>*>(m_pImp);
    return imp != nullptr ? &imp->Value() : nullptr;
}

template <class E> E* UnknownElement::As() {
    detail::ElementImp<E>* imp = dynamic_cast<detail::ElementImp<E>*>(m_pImp);
    return imp != nullptr ? &imp->Value() : nullptr;
}

} // namespace json
