#pragma once

// The limits every reader of outside JSON text applies before it builds
// anything. Header-only and free of the library's records, so the local test
// service applies the same ones to what its clients send.

#include <array>
#include <cstddef>
#include <string_view>

namespace lxhf::json {

// Far deeper than any record. Building and copying a tree recurse once per
// level, so deeper text is refused before anything is built from it.
inline constexpr int kMaximumNesting = 512;

// Objects keep their keys in order and look a new key up among the earlier
// ones, so an object of n members costs n²/2 comparisons to build: wider
// objects, or more of that work in one text, are refused too. No record
// comes near either limit.
inline constexpr std::size_t kMaximumObjectMembers = 1024;
inline constexpr std::size_t kMaximumMemberComparisons = 4'000'000;

// One pass, strings skipped: refuses nesting beyond the limit, objects wider
// than building them cheaply allows, and a NUL between values, where the
// parser would take it for the end of the text and ignore the rest.
// Unbalanced closers mean the text is not JSON anyway.
class JsonPrescan {
public:
    bool passes(std::string_view text) {
        bool inString = false, escaped = false;
        for (const char c : text) {
            if (inString) {
                if (escaped) escaped = false;
                else if (c == '\\') escaped = true;
                else if (c == '"') inString = false;
            } else if (c == '"') {
                inString = true;
            } else if (c == '{' || c == '[') {
                if (depth_ == kMaximumNesting) return false;
                open_[depth_++] = {c == '{', 1};
            } else if (c == '}' || c == ']') {
                if (depth_ == 0) return false;
                --depth_;
            } else if (c == ',' && depth_ > 0 && open_[depth_ - 1].object && !addMember(open_[depth_ - 1])) {
                return false;
            } else if (c == '\0') {
                return false;
            }
        }
        return true;
    }

private:
    struct Open {
        bool object;
        std::size_t members;
    };
    bool addMember(Open& object) {
        comparisons_ += object.members++;
        return object.members <= kMaximumObjectMembers && comparisons_ <= kMaximumMemberComparisons;
    }

    std::array<Open, kMaximumNesting> open_;
    int depth_ = 0;
    std::size_t comparisons_ = 0;
};

inline bool withinJsonLimits(std::string_view text) { return JsonPrescan().passes(text); }

}  // namespace lxhf::json
