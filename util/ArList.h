// ArrayList: the growable array handed to and taken from callers for small
// lists of codes (RAID levels, strip sizes, cache policies, excluded logical
// drives).
//
// A list that an operation creates for its caller (through a pointer-to-pointer
// argument) starts with room for kDefaultCapacity elements and belongs to the
// caller from then on; a list passed in is only appended to.
//
// The API is deliberately small and bounds-checked: reading past the end yields
// a default value instead of touching memory that is not there, and copies are
// deep (each list owns its elements).
#pragma once

#include <cstddef>
#include <vector>

template <typename T> class ArrayList {
public:
    static constexpr std::size_t kDefaultCapacity = 4;

    explicit ArrayList(std::size_t capacity = kDefaultCapacity) { items_.reserve(capacity); }

    // Appends one element at the end. All three names do the same thing.
    void add(const T& value) { items_.push_back(value); }
    void Add(const T& value) { add(value); }
    void append(const T& value) { add(value); }

    unsigned int getCount() const { return static_cast<unsigned int>(items_.size()); }
    std::size_t size() const { return items_.size(); }
    bool isEmpty() const { return items_.empty(); }
    std::size_t capacity() const { return items_.capacity(); }

    // Element i, or a default-constructed T when i is out of range.
    T get(std::size_t i) const { return i < items_.size() ? items_[i] : T(); }

    // Read access by index; out of range yields a shared default value that
    // cannot be changed through the reference.
    const T& operator[](std::size_t i) const {
        return i < items_.size() ? items_[i] : defaultValue();
    }

    // Replaces element i; returns false (and changes nothing) when i is out of range.
    bool set(std::size_t i, const T& value) {
        if (i >= items_.size()) {
            return false;
        }
        items_[i] = value;
        return true;
    }

    bool contains(const T& value) const {
        for (const T& item : items_) {
            if (item == value) {
                return true;
            }
        }
        return false;
    }

    void clear() { items_.clear(); }

    typename std::vector<T>::const_iterator begin() const { return items_.begin(); }
    typename std::vector<T>::const_iterator end() const { return items_.end(); }

    bool operator==(const ArrayList& other) const { return items_ == other.items_; }
    bool operator!=(const ArrayList& other) const { return !(*this == other); }

private:
    static const T& defaultValue() {
        static const T value{};
        return value;
    }

    std::vector<T> items_;
};
