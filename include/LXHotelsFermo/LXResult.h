#pragma once

#include <cstdlib>
#include <utility>
#include <variant>

// A value or the reason there is none. Failures are values: nothing in this
// library throws across its public boundary.
//
// Reading the alternative a result does not hold (value(), -> or * on an
// error, error() on a value) is a programming error and ends the process,
// in release builds too: carrying on would read memory that holds the other
// alternative, which is worse than stopping where the mistake is.
template <class T, class E>
class LXResult {
public:
    LXResult(T value) : storage_(std::in_place_index<0>, std::move(value)) {}
    LXResult(E error) : storage_(std::in_place_index<1>, std::move(error)) {}

    bool ok() const noexcept { return storage_.index() == 0; }
    explicit operator bool() const noexcept { return ok(); }

    T& value() & { return *holding<0>(); }
    const T& value() const& { return *holding<0>(); }
    T&& value() && { return std::move(*holding<0>()); }
    const E& error() const& { return *holding<1>(); }

    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

private:
    template <std::size_t I>
    auto* holding() noexcept {
        if (storage_.index() != I) [[unlikely]] std::abort();
        return std::get_if<I>(&storage_);
    }
    template <std::size_t I>
    const auto* holding() const noexcept {
        if (storage_.index() != I) [[unlikely]] std::abort();
        return std::get_if<I>(&storage_);
    }

    std::variant<T, E> storage_;
};
