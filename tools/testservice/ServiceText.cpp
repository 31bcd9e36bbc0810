// Small text helpers of the service: query parsing, dates, HMAC, names.

#include "ServiceState.h"

#include <glib.h>

#include <algorithm>
#include <cctype>

namespace lxhf::testing {

namespace {
int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Far deeper than anything a client sends. The service checks clients on
// its own, so it keeps its own limit rather than the library's.
constexpr int kMaximumNesting = 512;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

constexpr std::pair<PurchaseScript, std::string_view> kScriptNames[] = {
    {PurchaseScript::ready, "ready"},
    {PurchaseScript::purchase, "purchase"},
    {PurchaseScript::close, "close"},
    {PurchaseScript::error, "error"},
    {PurchaseScript::errorNoMessage, "error-nomessage"},
    {PurchaseScript::newWindow, "newwindow"},
    {PurchaseScript::neverReady, "never-ready"},
    {PurchaseScript::fail, "fail"},
};
constexpr std::pair<Outcome, std::string_view> kOutcomeNames[] = {
    {Outcome::fullOffer, "full"},         {Outcome::baseOffer, "base"},   {Outcome::unavailable, "unavailable"},
    {Outcome::loadingType, "loading"},    {Outcome::omitted, "omitted"}, {Outcome::malformed, "malformed"},
};
}  // namespace

std::optional<Outcome> outcomeFromName(std::string_view name) {
    for (const auto& [outcome, text] : kOutcomeNames) {
        if (text == name) return outcome;
    }
    return std::nullopt;
}

std::string percentDecode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
            hexValue(text[i + 2]) >= 0) {
            out.push_back(static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
            i += 2;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

std::vector<QueryItem> parseQuery(std::string_view query) {
    std::vector<QueryItem> items;
    while (!query.empty()) {
        const auto end = query.find('&');
        const std::string_view part = query.substr(0, end);
        query = end == std::string_view::npos ? std::string_view{} : query.substr(end + 1);
        if (part.empty()) continue;
        const auto equals = part.find('=');
        if (equals == std::string_view::npos) {
            items.push_back({percentDecode(part), std::nullopt});
        } else {
            items.push_back({percentDecode(part.substr(0, equals)), percentDecode(part.substr(equals + 1))});
        }
    }
    return items;
}

std::string normalisePath(std::string_view path) {
    if (!path.empty() && path.front() == '/') return std::string(path);
    return std::string(kApiPrefix) + std::string(path);
}

std::string isoDateTime(std::int64_t unixSeconds) {
    GDateTime* time = g_date_time_new_from_unix_utc(unixSeconds);
    if (!time) return "1970-01-01T00:00:00Z";
    gchar* text = g_date_time_format(time, "%Y-%m-%dT%H:%M:%SZ");
    std::string out = text ? text : "";
    g_free(text);
    g_date_time_unref(time);
    return out;
}

std::string hmacHex(const std::string& key, const std::string& text) {
    gchar* digest = g_compute_hmac_for_data(G_CHECKSUM_SHA256,
                                            reinterpret_cast<const guchar*>(key.data()), key.size(),
                                            reinterpret_cast<const guchar*>(text.data()), text.size());
    std::string out = digest;
    g_free(digest);
    return out;
}

std::optional<PurchaseScript> purchaseScriptFromName(std::string_view name) {
    for (const auto& [script, text] : kScriptNames) {
        if (text == name) return script;
    }
    return std::nullopt;
}

std::string_view purchaseScriptName(PurchaseScript script) {
    for (const auto& [known, text] : kScriptNames) {
        if (known == script) return text;
    }
    return "ready";
}

std::optional<std::string> RecordedRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (equalsIgnoringCase(key, name)) return value;
    }
    return std::nullopt;
}

std::optional<std::string> RecordedRequest::queryValue(std::string_view name) const {
    for (const auto& item : queryItems) {
        if (item.name == name) return item.value;
    }
    return std::nullopt;
}

// The callback parser keeps its own stack, so deep text costs no recursion,
// and nothing below the limit is kept. The parser takes a NUL for the end of
// the text, so one anywhere would hide what follows it.
nlohmann::json parseJson(std::string_view text) {
    using json = nlohmann::json;
    if (text.find('\0') != std::string_view::npos) return json(json::value_t::discarded);
    bool tooDeep = false;
    json::parser_callback_t guard = [&tooDeep](int depth, json::parse_event_t event, json&) {
        const bool opens = event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
        if (opens && depth >= kMaximumNesting) tooDeep = true;
        return !tooDeep;
    };
    json parsed = json::parse(text.begin(), text.end(), guard, /*allow_exceptions=*/false);
    return tooDeep ? json(json::value_t::discarded) : parsed;
}

nlohmann::json RecordedRequest::json() const { return parseJson(body); }

}  // namespace lxhf::testing
