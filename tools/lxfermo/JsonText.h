#pragma once

// JSON as the lxfermo commands read and write it: a driver's command lines,
// and the library's own texts put into events.

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace lxfermo {

// Far deeper than any command or record.
inline constexpr int kMaximumNesting = 512;

// Absent for text that is not JSON, holds a NUL, or nests deeper than
// kMaximumNesting. The callback parser keeps its own stack, so even 100,000
// levels cost no recursion, and nothing below the limit is kept. It takes a
// NUL for the end of the text, so one anywhere would hide what follows.
template <class J>
std::optional<J> parseLimited(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) return std::nullopt;
    bool tooDeep = false;
    typename J::parser_callback_t guard = [&tooDeep](int depth, typename J::parse_event_t event, J&) {
        const bool opens = event == J::parse_event_t::object_start || event == J::parse_event_t::array_start;
        if (opens && depth >= kMaximumNesting) tooDeep = true;
        return !tooDeep;
    };
    J parsed = J::parse(text.begin(), text.end(), guard, /*allow_exceptions=*/false);
    if (tooDeep || parsed.is_discarded()) return std::nullopt;
    return parsed;
}

// One line of compact UTF-8; bytes that are not UTF-8 are replaced, never thrown on.
template <class J>
std::string compactText(const J& value) {
    return value.dump(-1, ' ', false, J::error_handler_t::replace);
}

}  // namespace lxfermo
