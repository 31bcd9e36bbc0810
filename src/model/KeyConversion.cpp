#include "model/KeyConversion.h"

#include <vector>

namespace lxhf::json {
namespace {

bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLower(char c) { return c >= 'a' && c <= 'z'; }
char lower(char c) { return isUpper(c) ? char(c - 'A' + 'a') : c; }
char upper(char c) { return isLower(c) ? char(c - 'a' + 'A') : c; }

std::size_t findFrom(std::string_view s, std::size_t from, bool (*pred)(char)) {
    for (std::size_t i = from; i < s.size(); ++i)
        if (pred(s[i])) return i;
    return std::string_view::npos;
}

}  // namespace

std::string toSnakeCase(std::string_view key) {
    if (key.empty()) return std::string(key);
    struct Range { std::size_t begin, end; };
    std::vector<Range> words;
    std::size_t wordStart = 0;
    std::size_t searchFrom = 1;
    for (;;) {
        const std::size_t upperAt = findFrom(key, searchFrom, isUpper);
        if (upperAt == std::string_view::npos) break;
        words.push_back({wordStart, upperAt});
        const std::size_t lowerAt = findFrom(key, upperAt, isLower);
        if (lowerAt == std::string_view::npos) {
            wordStart = upperAt;
            searchFrom = key.size();
            break;
        }
        if (lowerAt == upperAt + 1) {
            wordStart = upperAt;
        } else {
            words.push_back({upperAt, lowerAt - 1});
            wordStart = lowerAt - 1;
        }
        searchFrom = lowerAt + 1;
    }
    words.push_back({wordStart, key.size()});

    std::string out;
    out.reserve(key.size() + words.size());
    for (std::size_t w = 0; w < words.size(); ++w) {
        if (w) out += '_';
        for (std::size_t i = words[w].begin; i < words[w].end; ++i) out += lower(key[i]);
    }
    return out;
}

std::string fromSnakeCase(std::string_view key) {
    const std::size_t first = key.find_first_not_of('_');
    if (first == std::string_view::npos) return std::string(key);
    const std::size_t last = key.find_last_not_of('_');
    const std::string_view core = key.substr(first, last - first + 1);
    if (core.find('_') == std::string_view::npos) return std::string(key);

    std::string out(key.substr(0, first));
    bool firstPiece = true;
    std::size_t pos = 0;
    while (pos <= core.size()) {
        std::size_t end = core.find('_', pos);
        if (end == std::string_view::npos) end = core.size();
        const std::string_view piece = core.substr(pos, end - pos);
        if (!piece.empty()) {
            for (std::size_t i = 0; i < piece.size(); ++i)
                out += (!firstPiece && i == 0) ? upper(piece[i]) : lower(piece[i]);
            firstPiece = false;
        }
        pos = end + 1;
    }
    out += key.substr(last + 1);
    return out;
}

}  // namespace lxhf::json
