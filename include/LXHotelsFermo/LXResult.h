#pragma once

#include <cstdlib>
#include <utility>
#include <variant>

/// @file
/// A value or the reason there is none.

/// A value or the reason there is none. Failures are values: nothing in this
/// library throws across its public boundary.
///
/// Reading the alternative a result does not hold (value(), -> or * on an
/// error, error() on a value) is a programming error and ends the process,
/// in release builds too: carrying on would read memory that holds the other
/// alternative, which is worse than stopping where the mistake is.
///
/// @tparam T the value.
/// @tparam E the reason there is no value.
template <class T, class E>
class LXResult {
public:
    /// A result holding `value`.
    LXResult(T value) : storage_(std::in_place_index<0>, std::move(value)) {}
    /// A result holding the reason `error`.
    LXResult(E error) : storage_(std::in_place_index<1>, std::move(error)) {}

    /// Whether the result holds a value.
    bool ok() const noexcept { return storage_.index() == 0; }
    /// The same as ok().
    explicit operator bool() const noexcept { return ok(); }

    /// The value; ends the process on an error.
    T& value() & { return *holding<0>(); }
    /// The value; ends the process on an error.
    const T& value() const& { return *holding<0>(); }
    /// The value, moved out; ends the process on an error.
    T&& value() && { return std::move(*holding<0>()); }
    /// The reason there is no value; ends the process on a value.
    const E& error() const& { return *holding<1>(); }

    /// The value's members; ends the process on an error.
    T* operator->() { return &value(); }
    /// The value's members; ends the process on an error.
    const T* operator->() const { return &value(); }
    /// The value; ends the process on an error.
    T& operator*() & { return value(); }
    /// The value; ends the process on an error.
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
