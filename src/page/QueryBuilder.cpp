#include "page/QueryBuilder.h"

#include <algorithm>
#include <utility>

namespace lxhf {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

bool isAlnum(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

bool keptInQuery(unsigned char c) {
    static constexpr std::string_view kept = "-._~!$'()*+,;:@/?";
    return isAlnum(c) || kept.find(static_cast<char>(c)) != std::string_view::npos;
}

bool keptInPath(unsigned char c) {
    static constexpr std::string_view kept = "-._~!$&'()*+,;=:@/";
    return isAlnum(c) || kept.find(static_cast<char>(c)) != std::string_view::npos;
}

template <class Keep>
std::string percentEncode(std::string_view text, Keep keep) {
    std::string out;
    out.reserve(text.size());
    for (char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (keep(c)) {
            out.push_back(ch);
        } else {
            out.push_back('%');
            out.push_back(kHex[c >> 4]);
            out.push_back(kHex[c & 0xF]);
        }
    }
    return out;
}

bool validScheme(std::string_view scheme) {
    if (scheme.empty() || !((scheme[0] >= 'A' && scheme[0] <= 'Z') || (scheme[0] >= 'a' && scheme[0] <= 'z')))
        return false;
    return std::all_of(scheme.begin(), scheme.end(), [](char ch) {
        const auto c = static_cast<unsigned char>(ch);
        return isAlnum(c) || c == '+' || c == '-' || c == '.';
    });
}

}  // namespace

QueryBuilder::QueryBuilder(std::string scheme, std::string host, std::string path)
    : scheme_(std::move(scheme)), host_(std::move(host)), path_(std::move(path)) {}

QueryBuilder& QueryBuilder::add(std::string name, std::optional<std::string> value) {
    items_.push_back({std::move(name), std::move(value)});
    return *this;
}

std::string QueryBuilder::encodeQueryComponent(std::string_view text) {
    return percentEncode(text, keptInQuery);
}

std::optional<std::string> QueryBuilder::url() const {
    if (!validScheme(scheme_)) return std::nullopt;
    if (!host_.empty() && !path_.empty() && path_.front() != '/') return std::nullopt;

    std::string out = scheme_ + ":";
    if (!host_.empty()) out += "//" + host_;
    out += percentEncode(path_, keptInPath);
    if (items_.empty()) return out;

    out.push_back('?');
    bool first = true;
    for (const auto& item : items_) {
        if (!first) out.push_back('&');
        first = false;
        out += encodeQueryComponent(item.name);
        if (item.value) out += "=" + encodeQueryComponent(*item.value);
    }
    return out;
}

}  // namespace lxhf
