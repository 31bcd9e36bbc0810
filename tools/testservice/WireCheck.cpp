#include "WireCheck.h"

#include <algorithm>
#include <cctype>

namespace lxhf::testing {
namespace {

using nlohmann::json;

std::string join(const std::string& path, const std::string& key) {
    return path.empty() ? key : path + "." + key;
}

const char* kindName(Kind kind) {
    switch (kind) {
    case Kind::string: return "a string";
    case Kind::integer: return "an integer";
    case Kind::boolean: return "a boolean";
    case Kind::object: return "an object";
    case Kind::stringArray: return "an array of strings";
    case Kind::array: return "an array";
    }
    return "?";
}

bool hasKind(const json& value, Kind kind) {
    switch (kind) {
    case Kind::string: return value.is_string();
    case Kind::integer: return value.is_number_integer();
    case Kind::boolean: return value.is_boolean();
    case Kind::object: return value.is_object();
    case Kind::array: return value.is_array();
    case Kind::stringArray:
        return value.is_array() &&
               std::all_of(value.begin(), value.end(), [](const json& v) { return v.is_string(); });
    }
    return false;
}

bool looksCamelCase(const std::string& key) {
    return std::any_of(key.begin(), key.end(), [](unsigned char c) { return std::isupper(c); });
}

std::optional<std::string> checkStayDates(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {{"check_in"}, {"check_out"}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkGuests(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {{"adults", Kind::integer},
                                              {"children", Kind::integer}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkAddress(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {{"line"}, {"city"}, {"country_code"}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkCheckInTime(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {{"local_time"}, {"utc_offset"}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkPromotion(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {{"id"}, {"expiry", Kind::string, false}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkOperatingSystem(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {{"version"},
                                              {"type", Kind::string, true, nullptr, {"i_os"}}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkPlatform(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {
        {"operating_system", Kind::object, true, checkOperatingSystem},
        {"type", Kind::string, true, nullptr, {"app"}}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkDevice(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {
        {"id"},
        {"platform", Kind::object, true, checkPlatform},
        {"type", Kind::string, true, nullptr, {"mobile", "tablet"}}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkJsonPayload(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {
        {"env", Kind::string, true, nullptr, {"production", "staging"}},
        {"partner", Kind::string, true, nullptr, {"Velto"}},
        {"session_id", Kind::string, false},
        {"locale"}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkDataPayload(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {{"jsonPayload", Kind::object, true, checkJsonPayload}};
    return checkObject(v, path, fields);
}

}  // namespace

std::optional<std::string> checkObject(const json& value, const std::string& path,
                                       const std::vector<Field>& fields) {
    if (!value.is_object()) return (path.empty() ? "body" : path) + " must be an object";
    for (const auto& field : fields) {
        const std::string where = join(path, field.key);
        const auto it = value.find(field.key);
        if (it == value.end()) {
            if (field.required) return "missing key " + where;
            continue;
        }
        // Absent optionals are left out by the client's encoder, never sent as null.
        if (it->is_null()) return where + " is null; an absent value must be left out";
        if (!hasKind(*it, field.kind)) return where + " must be " + kindName(field.kind);
        if (!field.oneOf.empty() &&
            std::find(field.oneOf.begin(), field.oneOf.end(), it->get<std::string>()) ==
                field.oneOf.end()) {
            return where + " has the unexpected value " + it->dump();
        }
        if (field.nested) {
            if (auto problem = field.nested(*it, where)) return problem;
        }
    }
    for (const auto& [key, unused] : value.items()) {
        const bool known = std::any_of(fields.begin(), fields.end(),
                                       [&](const Field& f) { return f.key == key; });
        if (known) continue;
        if (looksCamelCase(key)) return "key " + join(path, key) + " is not snake case";
        return "unexpected key " + join(path, key);
    }
    return std::nullopt;
}

std::optional<std::string> checkHotel(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {
        {"id"},
        {"name"},
        {"star_rating"},
        {"partner_rating", Kind::string, false},
        {"address", Kind::object, true, checkAddress},
        {"check_in_time", Kind::object, false, checkCheckInTime}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkBooking(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {
        {"stay_dates", Kind::object, true, checkStayDates},
        {"guests", Kind::object, true, checkGuests},
        {"locale"},
        {"currency"},
        {"number_of_rooms", Kind::integer}};
    return checkObject(v, path, fields);
}

std::optional<std::string> checkRequestRoom(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {
        {"id"},
        {"merchant_id"},
        {"merchant_room_id", Kind::string, false},
        {"name"},
        {"beds", Kind::integer},
        {"price"},
        {"room_type"},
        {"promotion", Kind::object, false, checkPromotion},
        {"cancellation_code"},
        {"rate_category_id"},
        {"addons", Kind::stringArray, false},
        {"availability", Kind::integer},
        {"is_refundable", Kind::boolean, false}};
    // These three room fields feed the purchase page only.
    if (v.is_object()) {
        for (const char* key : {"image_url", "price_inclusive", "ext_attributes", "imageUrl",
                                "priceInclusive", "extAttributes"}) {
            if (v.contains(key)) return join(path, key) + " must not be sent to the offer service";
        }
    }
    return checkObject(v, path, fields);
}

std::optional<std::string> checkOfferRequest(const json& v) {
    static const std::vector<Field> fields = {
        {"hotel", Kind::object, true, checkHotel},
        {"booking", Kind::object, true, checkBooking},
        {"rooms", Kind::array},
        {"type", Kind::string, true, nullptr, {"create_rooms_deposit_offer"}}};
    if (auto problem = checkObject(v, "", fields)) return problem;
    const json& rooms = v["rooms"];
    if (rooms.empty()) return std::string("rooms must not be empty");
    for (std::size_t i = 0; i < rooms.size(); ++i) {
        if (auto problem = checkRequestRoom(rooms[i], "rooms[" + std::to_string(i) + "]")) {
            return problem;
        }
    }
    return std::nullopt;
}

std::optional<std::string> checkSessionInputs(const json& v) {
    static const std::vector<Field> fields = {{"partner_user_id", Kind::string, false},
                                              {"device", Kind::object, true, checkDevice}};
    return checkObject(v, "", fields);
}

std::optional<std::string> checkEvent(const json& v, const std::string& path) {
    static const std::vector<Field> fields = {
        {"session_id"},
        {"occurred_date_time"},
        {"fermo_offer_id"},
        {"type", Kind::string, true, nullptr, {"offer_shown"}}};
    if (auto problem = checkObject(v, path, fields)) return problem;
    if (!isEventTimestamp(v["occurred_date_time"].get<std::string>())) {
        return path + ".occurred_date_time is not yyyy-MM-ddTHH:mm:ssZ: " +
               v["occurred_date_time"].get<std::string>();
    }
    return std::nullopt;
}

std::optional<std::string> checkIntakeRecord(const json& v) {
    static const std::vector<Field> fields = {
        {"service", Kind::string, true, nullptr, {"lx-hotels-fm-sdk"}},
        {"version", Kind::string, true, nullptr, {"0.1.0"}},
        {"source", Kind::string, true, nullptr, {"iOS"}},
        {"message"},
        {"status", Kind::string, true, nullptr, {"info", "warn", "error"}},
        {"data", Kind::object, true, checkDataPayload}};
    return checkObject(v, "", fields);
}

bool isEventTimestamp(const std::string& text) {
    static constexpr std::string_view pattern = "dddd-dd-ddTdd:dd:ddZ";
    if (text.size() != pattern.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
        if (pattern[i] == 'd' ? !digit : text[i] != pattern[i]) return false;
    }
    return true;
}

}  // namespace lxhf::testing
