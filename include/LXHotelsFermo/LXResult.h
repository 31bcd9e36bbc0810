#pragma once

#include <utility>
#include <variant>

// A value or the reason there is none. Failures are values: nothing in this
// library throws across its public boundary.
template <class T, class E>
class LXResult {
public:
    LXResult(T value) : storage_(std::in_place_index<0>, std::move(value)) {}
    LXResult(E error) : storage_(std::in_place_index<1>, std::move(error)) {}

    bool ok() const noexcept { return storage_.index() == 0; }
    explicit operator bool() const noexcept { return ok(); }

    // Calling these on the other alternative is a programming error.
    T& value() & { return *std::get_if<0>(&storage_); }
    const T& value() const& { return *std::get_if<0>(&storage_); }
    T&& value() && { return std::move(*std::get_if<0>(&storage_)); }
    const E& error() const& { return *std::get_if<1>(&storage_); }

    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

private:
    std::variant<T, E> storage_;
};
