#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "model/JsonCodecs.h"

namespace lxhf {

// Feeds values into one running hash in a fixed order: records field by field
// in declaration order, an optional as a presence marker then its value.
class Hasher {
public:
    std::size_t value() const noexcept { return state_; }

    void mix(std::uint64_t v) noexcept {
        state_ ^= v + 0x9e3779b97f4a7c15ULL + (state_ << 6) + (state_ >> 2);
    }

    void combine(const std::string& s) noexcept { mix(std::hash<std::string>{}(s)); }
    void combine(std::int64_t v) noexcept { mix(std::uint64_t(v)); }
    void combine(bool v) noexcept { mix(v ? 1 : 0); }

    template <class T>
    void combine(const std::optional<T>& v) noexcept {
        mix(v ? 1 : 0);
        if (v) combine(*v);
    }

    template <class T>
    void combine(const std::vector<T>& v) noexcept {
        mix(v.size());
        for (const auto& element : v) combine(element);
    }

    // Order-independent, so equal maps hash equally however they were built.
    template <class V>
    void combine(const std::map<std::string, V>& m) noexcept {
        std::uint64_t sum = 0;
        for (const auto& [key, value] : m) {
            Hasher entry;
            entry.combine(key);
            entry.combine(value);
            sum += entry.value();
        }
        mix(m.size());
        mix(sum);
    }

    template <json::Record T>
    void combine(const T& record) noexcept {
        std::apply([&](const auto&... f) { (combine(record.*(f.member)), ...); }, json::fieldsOf<T>());
    }

private:
    std::size_t state_ = 0xcbf29ce484222325ULL;
};

template <class T>
std::size_t hashOf(const T& value) noexcept {
    Hasher h;
    h.combine(value);
    return h.value();
}

}  // namespace lxhf
