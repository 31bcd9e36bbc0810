#include "model/JsonCoder.h"

#include "model/JsonLimits.h"

namespace lxhf::json {

std::string serialize(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}


std::optional<Json> parse(std::string_view text) {
    if (!withinJsonLimits(text)) return std::nullopt;
    Json parsed = Json::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
    if (parsed.is_discarded()) return std::nullopt;
    return parsed;
}

void EncodeContext::fail(std::string description) {
    if (error_) return;
    std::vector<std::string> path;
    path.reserve(path_.size());
    for (const auto& component : path_) {
        if (const auto* key = std::get_if<std::string_view>(&component)) path.emplace_back(*key);
        else path.push_back("Index " + std::to_string(std::get<std::size_t>(component)));
    }
    error_ = EncodingError{std::move(path), std::move(description)};
}

std::string EncodingError::description() const {
    std::string path;
    for (const auto& component : codingPath) {
        if (!path.empty()) path += '.';
        path += component;
    }
    return "invalidValue at " + (path.empty() ? std::string("the top level") : path) + ": " + debugDescription;
}

bool DecodeContext::fail(LXDecodingError::Kind kind, std::string description) {
    if (!error_) error_ = LXDecodingError{kind, path_, std::move(description)};
    return false;
}

namespace {
std::string_view foundDescription(const Json& value) {
    switch (value.type()) {
        case Json::value_t::string: return "a string";
        case Json::value_t::boolean: return "a boolean";
        case Json::value_t::number_integer:
        case Json::value_t::number_unsigned:
        case Json::value_t::number_float: return "a number";
        case Json::value_t::object: return "an object";
        case Json::value_t::array: return "an array";
        default: return "null";
    }
}
}  // namespace

bool DecodeContext::typeMismatch(std::string_view expected, const Json& found) {
    if (found.is_null()) return valueNotFound(expected);
    return containerMismatch(expected, found);
}

bool DecodeContext::containerMismatch(std::string_view expected, const Json& found) {
    return fail(LXDecodingError::Kind::typeMismatch,
                "expected " + std::string(expected) + " but found " + std::string(foundDescription(found)));
}

bool DecodeContext::valueNotFound(std::string_view expected) {
    return fail(LXDecodingError::Kind::valueNotFound, "expected " + std::string(expected) + " but found null");
}

ObjectView::ObjectView(const Json& object, const DecodeContext& context)
    : object_(object), converted_(context.keys() == KeyDecoding::convertFromSnakeCase) {
    if (!converted_) return;
    convertedMembers_.reserve(object.size());
    for (auto it = object.begin(); it != object.end(); ++it)
        convertedMembers_.emplace_back(fromSnakeCase(it.key()), &it.value());
}

const Json* ObjectView::find(std::string_view fieldName) const {
    if (!converted_) {
        for (auto it = object_.begin(); it != object_.end(); ++it)
            if (it.key() == fieldName) return &it.value();
        return nullptr;
    }
    for (const auto& [key, value] : convertedMembers_)
        if (key == fieldName) return value;
    return nullptr;
}

std::string keyNotFoundDescription(std::string_view key) {
    return "no value for the key \"" + std::string(key) + "\"";
}

}  // namespace lxhf::json

const char* LXHotelsFermo::toString(LXDecodingError::Kind kind) noexcept {
    switch (kind) {
        case LXDecodingError::Kind::keyNotFound: return "keyNotFound";
        case LXDecodingError::Kind::typeMismatch: return "typeMismatch";
        case LXDecodingError::Kind::valueNotFound: return "valueNotFound";
        case LXDecodingError::Kind::dataCorrupted: return "dataCorrupted";
    }
    return "dataCorrupted";
}

std::string LXDecodingError::description() const {
    std::string path;
    for (const auto& component : codingPath) {
        if (!path.empty()) path += '.';
        path += component;
    }
    return std::string(LXHotelsFermo::toString(kind)) + " at " + (path.empty() ? std::string("the top level") : path) +
           ": " + debugDescription;
}

#include "model/JsonCodecs.h"

namespace lxhf::json {

std::optional<std::int64_t> Codec<std::int64_t>::decode(const Json& j, DecodeContext& c) {
    if (j.is_number_integer() && !j.is_number_unsigned()) return j.get<std::int64_t>();
    if (j.is_number_unsigned()) {
        const auto v = j.get<std::uint64_t>();
        if (v <= std::uint64_t(std::numeric_limits<std::int64_t>::max())) return std::int64_t(v);
    } else if (j.is_number_float()) {
        const double v = j.get<double>();
        if (std::trunc(v) != v) {
            c.fail(LXDecodingError::Kind::dataCorrupted, "the number " + serialize(j) + " is not a whole number");
            return std::nullopt;
        }
        // A text below -2^63 also rounds to -2^63, so that value only fits
        // written as an integer, which never comes here.
        if (v > -9223372036854775808.0 && v < 9223372036854775808.0) return std::int64_t(v);
    } else {
        c.typeMismatch(name, j);
        return std::nullopt;
    }
    c.fail(LXDecodingError::Kind::dataCorrupted, "the number " + serialize(j) + " does not fit in 64 bits");
    return std::nullopt;
}

Json Codec<double>::encode(double v, EncodeContext& c) {
    if (!std::isfinite(v)) {
        // JSON has no form for these; a null in their place would not read back.
        const char* named = std::isnan(v) ? "NaN" : v > 0 ? "infinity" : "-infinity";
        c.fail(std::string(named) + " has no JSON form");
        return nullptr;
    }
    if (std::trunc(v) == v && std::fabs(v) < 9007199254740992.0) return std::int64_t(v);
    return v;
}

}  // namespace lxhf::json
