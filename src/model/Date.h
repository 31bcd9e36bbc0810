#pragma once

#include <chrono>
#include <optional>

#include "model/JsonCodecs.h"

namespace lxhf {

// A moment as seconds since 2001-01-01T00:00:00Z, the form dates travel in.
struct Date {
    static constexpr double kUnixOffset = 978307200.0;
    double sinceReferenceDate = 0;

    static Date from(std::chrono::system_clock::time_point t) {
        return {std::chrono::duration<double>(t.time_since_epoch()).count() - kUnixOffset};
    }
    std::chrono::system_clock::time_point timePoint() const {
        return std::chrono::system_clock::time_point(std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::duration<double>(sinceReferenceDate + kUnixOffset)));
    }
    auto operator<=>(const Date&) const = default;
};

namespace json {
template <>
struct Codec<Date> {
    static constexpr std::string_view name = Codec<double>::name;
    static Json encode(const Date& d, EncodeContext& c) { return Codec<double>::encode(d.sinceReferenceDate, c); }
    static std::optional<Date> decode(const Json& j, DecodeContext& c) {
        auto seconds = Codec<double>::decode(j, c);
        if (!seconds) return std::nullopt;
        return Date{*seconds};
    }
};
}  // namespace json

}  // namespace lxhf
