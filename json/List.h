// UTILS::List: the doubly linked list under the report document.
//
// Two sentinel nodes bracket the real nodes: `head` before the first and `tail`
// after the last. The outer links of the sentinels are null, so an iterator
// stands past the end exactly when its node has no successor. Each sentinel
// carries a default-constructed T. The list owns its nodes and the elements in
// them; copies are deep.
//
// Elements are kept in insertion order (push_back appends before `tail`), and
// removal is by value equality: the first equal element from the front goes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace UTILS {

template <class T> class List;
template <class T> class ListItr;

template <class T> class ListNode {
public:
    explicit ListNode(const T& e = T(), ListNode* n = nullptr, ListNode* p = nullptr)
        : next(n), prev(p), element(e) {}
    ListNode(T&& e, ListNode* n, ListNode* p) : next(n), prev(p), element(std::move(e)) {}

    ListNode* next;
    ListNode* prev;
    T element;
};

// A position in a list: one node pointer, no ownership.
template <class T> class ListItr {
public:
    explicit ListItr(ListNode<T>* node = nullptr) : current(node) {}

    // True when the iterator stands on the `tail` sentinel (or on nothing).
    bool isPastEnd() const { return current == nullptr || current->next == nullptr; }

    // The element under the iterator. Past the end this is one shared,
    // default-constructed T; it is handed out read-only so no caller can turn
    // the "nothing here" answer into something else for everybody.
    const T& retrieve() const {
        if (isPastEnd()) {
            return pastEndElement();
        }
        return current->element;
    }

    // Writable access to the element of a real node; null on a sentinel, so
    // the sentinels' elements stay default-constructed.
    T* element() const {
        if (isPastEnd() || current->prev == nullptr) {
            return nullptr;
        }
        return &current->element;
    }

    // Moves to the next node; stays put on `tail`.
    void advance() {
        if (!isPastEnd()) {
            current = current->next;
        }
    }

    bool operator==(const ListItr& other) const { return current == other.current; }
    bool operator!=(const ListItr& other) const { return current != other.current; }

private:
    static const T& pastEndElement() {
        static const T shared{};
        return shared;
    }

    ListNode<T>* current;

    friend class List<T>;
};

template <class T> class List {
    // Forward iterator over the real nodes, for range-based for loops.
    template <class Ref, class Ptr> class Iter {
    public:
        explicit Iter(ListNode<T>* node) : node_(node) {}
        Ref operator*() const { return node_->element; }
        Ptr operator->() const { return &node_->element; }
        Iter& operator++() {
            node_ = node_->next;
            return *this;
        }
        bool operator==(const Iter& other) const { return node_ == other.node_; }
        bool operator!=(const Iter& other) const { return node_ != other.node_; }

    private:
        ListNode<T>* node_;
    };

public:
    using iterator = Iter<T&, T*>;
    using const_iterator = Iter<const T&, const T*>;

    List() : objfound(false), count(0), head(new ListNode<T>), tail(nullptr) {
        try {
            tail = new ListNode<T>(T(), nullptr, head);
        } catch (...) {
            delete head;
            throw;
        }
        head->next = tail;
    }

    // Deep copy. Should a copy throw, the delegated constructor has finished,
    // so the destructor frees what was copied so far.
    List(const List& other) : List() {
        for (const T& e : other) {
            push_back(e);
        }
    }

    // Copy first, then swap: assigning a list to itself, or a list that lives
    // inside one of this list's elements, leaves both intact.
    List& operator=(const List& other) {
        if (this != &other) {
            List copy(other);
            swap(copy);
        }
        return *this;
    }

    ~List() { destroy(); }

    void swap(List& other) noexcept {
        std::swap(objfound, other.objfound);
        std::swap(count, other.count);
        std::swap(head, other.head);
        std::swap(tail, other.tail);
    }

    bool isEmpty() const { return head->next == tail; }

    // An iterator on the first real node, or on `tail` when the list is empty.
    ListItr<T> first() const { return ListItr<T>(head->next); }

    // Searches for x from the front and answers the predecessor of the first
    // equal element; `objfound` tells whether one was found. The search
    // compares the `tail` sentinel's element too, so searching for a default
    // value may "find" the sentinel; remove_obj guards against that.
    ListItr<T> findPrevious(const T& x) const {
        objfound = false;
        ListNode<T>* p = head;
        while (p->next != nullptr) {
            if (p->next->element == x) {
                objfound = true;
                return ListItr<T>(p);
            }
            p = p->next;
        }
        return ListItr<T>(p);
    }

    // Removes the first element equal to x. Nothing changes when there is none,
    // and nothing changes when the only match is the `tail` sentinel: a
    // sentinel is never unlinked.
    void remove_obj(const T& x) {
        ListItr<T> p = findPrevious(x);
        if (!objfound || p.current->next == nullptr) {
            return;
        }
        ListNode<T>* victim = p.current->next;
        if (victim == tail) {
            return;
        }
        victim->next->prev = p.current;
        p.current->next = victim->next;
        delete victim;
        --count;
    }

    void makeEmpty() {
        while (!isEmpty()) {
            const std::uint32_t before = count;
            remove_obj(first().retrieve());
            if (count == before) {
                // An element that does not compare equal to itself cannot be
                // found by value; unlink it directly so emptying always ends.
                unlinkFirst();
            }
        }
    }

    // Appends x before `tail` and returns the stored element.
    T& push_back(const T& x) { return link(new ListNode<T>(x, tail, tail->prev)); }
    T& push_back(T&& x) { return link(new ListNode<T>(std::move(x), tail, tail->prev)); }

    // Inserts a copy of x after p. On `tail` the element goes before it, so a
    // sentinel never gains an outer neighbour. A null iterator inserts nothing.
    ListItr<T> insert(const T& x, const ListItr<T>& p) {
        if (p.current == nullptr) {
            return ListItr<T>(tail);
        }
        ListNode<T>* after = p.current == tail ? tail->prev : p.current;
        ListNode<T>* node = new ListNode<T>(x, after->next, after);
        after->next->prev = node;
        after->next = node;
        ++count;
        return ListItr<T>(node);
    }

    std::uint32_t getCount() const { return count; }
    std::size_t size() const { return count; }

    // Result of the last findPrevious (also the one inside remove_obj).
    bool found() const { return objfound; }

    // The sentinels, read-only, for checks of the list's shape.
    const ListNode<T>* header() const { return head; }
    const ListNode<T>* trailer() const { return tail; }

    iterator begin() { return iterator(head->next); }
    iterator end() { return iterator(tail); }
    const_iterator begin() const { return const_iterator(head->next); }
    const_iterator end() const { return const_iterator(tail); }

private:
    T& link(ListNode<T>* node) {
        tail->prev->next = node;
        tail->prev = node;
        ++count;
        return node->element;
    }

    void unlinkFirst() {
        ListNode<T>* victim = head->next;
        head->next = victim->next;
        victim->next->prev = head;
        delete victim;
        --count;
    }

    void destroy() {
        makeEmpty();
        delete head;
        delete tail;
        head = nullptr;
        tail = nullptr;
    }

    mutable bool objfound;
    std::uint32_t count;
    ListNode<T>* head;
    ListNode<T>* tail;
};

} // namespace UTILS
