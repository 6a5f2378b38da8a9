#include "json/elements.h"

#include <utility>

namespace json {

using detail::ElementImp;

UnknownElement::UnknownElement() : m_pImp(new ElementImp<Null>()) {}

UnknownElement::UnknownElement(const UnknownElement& other) : m_pImp(other.m_pImp->Clone()) {}

// The moved-from element must still hold a value, so it gets a fresh Null in
// exchange (allocated before anything is taken).
UnknownElement::UnknownElement(UnknownElement&& other) : m_pImp(new ElementImp<Null>()) {
    std::swap(m_pImp, other.m_pImp);
}

UnknownElement::UnknownElement(const Object& object) : m_pImp(new ElementImp<Object>(object)) {}
UnknownElement::UnknownElement(const Array& array) : m_pImp(new ElementImp<Array>(array)) {}
UnknownElement::UnknownElement(const Number& number) : m_pImp(new ElementImp<Number>(number)) {}
UnknownElement::UnknownElement(const UNumber& number) : m_pImp(new ElementImp<UNumber>(number)) {}
UnknownElement::UnknownElement(const Boolean& boolean) : m_pImp(new ElementImp<Boolean>(boolean)) {}
UnknownElement::UnknownElement(const String& string) : m_pImp(new ElementImp<String>(string)) {}
UnknownElement::UnknownElement(const Null& null) : m_pImp(new ElementImp<Null>(null)) {}

UnknownElement::~UnknownElement() {
    delete m_pImp;
}

// The new value is complete before the old one goes: `fresh` may have been
// cloned from a part of the old value.
void UnknownElement::Replace(Imp* fresh) {
    Imp* old = m_pImp;
    m_pImp = fresh;
    delete old;
}

UnknownElement& UnknownElement::operator=(const UnknownElement& other) {
    if (this != &other) {
        Replace(other.m_pImp->Clone());
    }
    return *this;
}

UnknownElement& UnknownElement::operator=(const Object& object) {
    Replace(new ElementImp<Object>(object));
    return *this;
}

UnknownElement& UnknownElement::operator=(const Array& array) {
    Replace(new ElementImp<Array>(array));
    return *this;
}

UnknownElement& UnknownElement::operator=(const Number& number) {
    Replace(new ElementImp<Number>(number));
    return *this;
}

UnknownElement& UnknownElement::operator=(const UNumber& number) {
    Replace(new ElementImp<UNumber>(number));
    return *this;
}

UnknownElement& UnknownElement::operator=(const Boolean& boolean) {
    Replace(new ElementImp<Boolean>(boolean));
    return *this;
}

UnknownElement& UnknownElement::operator=(const String& string) {
    Replace(new ElementImp<String>(string));
    return *this;
}

UnknownElement& UnknownElement::operator=(const Null& null) {
    Replace(new ElementImp<Null>(null));
    return *this;
}

// An element always equals itself; answering that without the deep
// comparison keeps emptying a list (which searches for its own first element)
// linear in the size of the document.
bool UnknownElement::operator==(const UnknownElement& other) const {
    return this == &other || m_pImp->Compare(*other.m_pImp);
}

void UnknownElement::Accept(ConstVisitor& visitor) const {
    const Imp& imp = *m_pImp;
    imp.Accept(visitor);
}

void UnknownElement::Accept(Visitor& visitor) {
    m_pImp->Accept(visitor);
}

UnknownElement& Object::operator[](const std::string& name) {
    if (UnknownElement* existing = Find(name)) {
        return *existing;
    }
    return m_Members.push_back(Member(name, UnknownElement())).element;
}

const UnknownElement* Object::Find(const std::string& name) const {
    for (const Member& member : m_Members) {
        if (member.name == name) {
            return &member.element;
        }
    }
    return nullptr;
}

UnknownElement* Object::Find(const std::string& name) {
    for (Member& member : m_Members) {
        if (member.name == name) {
            return &member.element;
        }
    }
    return nullptr;
}

namespace {

template <class L> bool SameSequence(const L& a, const L& b) {
    if (a.size() != b.size()) {
        return false;
    }
    auto j = b.begin();
    for (auto i = a.begin(); i != a.end(); ++i, ++j) {
        if (!(*i == *j)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool Object::operator==(const Object& other) const {
    return SameSequence(m_Members, other.m_Members);
}

UnknownElement& Array::Insert(const UnknownElement& element) {
    return m_Elements.push_back(element);
}

UnknownElement& Array::Insert(UnknownElement&& element) {
    return m_Elements.push_back(std::move(element));
}

const UnknownElement* Array::At(std::size_t i) const {
    for (const UnknownElement& element : m_Elements) {
        if (i == 0) {
            return &element;
        }
        --i;
    }
    return nullptr;
}

UnknownElement* Array::At(std::size_t i) {
    for (UnknownElement& element : m_Elements) {
        if (i == 0) {
            return &element;
        }
        --i;
    }
    return nullptr;
}

bool Array::operator==(const Array& other) const {
    return SameSequence(m_Elements, other.m_Elements);
}

} // namespace json
