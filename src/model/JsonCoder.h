#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "LXHotelsFermo/LXDecodingError.h"
#include "LXHotelsFermo/LXJSONKeyStyle.h"
#include "LXHotelsFermo/LXResult.h"
#include "model/JsonLimits.h"
#include "model/KeyConversion.h"

// Out-of-line pieces carry so that tests and tools linking the
// shared library can use the coder too.

namespace lxhf::json {

using Json = nlohmann::ordered_json;

enum class KeyEncoding { useDefaultKeys, convertToSnakeCase };
enum class KeyDecoding { useDefaultKeys, convertFromSnakeCase };

inline KeyEncoding encodingFor(LXJSONKeyStyle style) {
    return style == LXJSONKeyStyle::snakeCase ? KeyEncoding::convertToSnakeCase : KeyEncoding::useDefaultKeys;
}
inline KeyDecoding decodingFor(LXJSONKeyStyle style) {
    return style == LXJSONKeyStyle::snakeCase ? KeyDecoding::convertFromSnakeCase : KeyDecoding::useDefaultKeys;
}

// Compact text, UTF-8 as it stands, "/" unescaped. Invalid UTF-8 is replaced
// rather than thrown on.
std::string serialize(const Json& json);

// Absent when the text is not JSON (invalid UTF-8 and a NUL between values
// included), nests deeper than kMaximumNesting or is wider than the limits
// above. Every reader of outside text comes through here.
std::optional<Json> parse(std::string_view text);

// Why a value could not be written as JSON.
struct EncodingError {
    // Field names, map keys and "Index N", from the top to the failing value.
    std::vector<std::string> codingPath;
    std::string debugDescription;

    // "invalidValue at value.createdOn: NaN has no JSON form", or "... at the
    // top level: ..." when the value itself fails.
    std::string description() const;
};

// Tracks the coding path and the first failure while a value is encoded.
// The path holds views of field names and map keys, which outlive the
// encoding; it is spelled out only when something fails.
class EncodeContext {
public:
    explicit EncodeContext(KeyEncoding keys) : keys_(keys) {}
    std::string key(std::string_view fieldName) const {
        return keys_ == KeyEncoding::convertToSnakeCase ? toSnakeCase(fieldName) : std::string(fieldName);
    }

    const std::optional<EncodingError>& error() const { return error_; }
    EncodingError takeError() { return std::move(*error_); }
    // Records the failure at the current path; the first one is kept.
    void fail(std::string description);

    void push(std::string_view key) { path_.emplace_back(key); }
    void push(std::size_t index) { path_.emplace_back(index); }
    void pop() { path_.pop_back(); }

private:
    KeyEncoding keys_;
    std::vector<std::variant<std::string_view, std::size_t>> path_;
    std::optional<EncodingError> error_;
};

// Tracks the coding path and the first failure while a value is decoded.
class DecodeContext {
public:
    explicit DecodeContext(KeyDecoding keys) : keys_(keys) {}

    KeyDecoding keys() const { return keys_; }
    const std::optional<LXDecodingError>& error() const { return error_; }
    LXDecodingError takeError() { return std::move(*error_); }

    // Records the failure at the current path; always returns false.
    bool fail(LXDecodingError::Kind kind, std::string description);
    // A null found where a value was expected is a missing value.
    bool typeMismatch(std::string_view expected, const Json& found);
    // Opening a container: a null is the wrong type like any other value.
    bool containerMismatch(std::string_view expected, const Json& found);
    bool valueNotFound(std::string_view expected);

    void push(std::string component) { path_.push_back(std::move(component)); }
    void pop() { path_.pop_back(); }

private:
    KeyDecoding keys_;
    std::vector<std::string> path_;
    std::optional<LXDecodingError> error_;
};

// Keeps a path component for the length of a scope.
template <class Context>
class PathScope {
public:
    template <class Component>
    PathScope(Context& context, Component&& component) : context_(context) {
        context_.push(std::forward<Component>(component));
    }
    ~PathScope() { context_.pop(); }
    PathScope(const PathScope&) = delete;
    PathScope& operator=(const PathScope&) = delete;

private:
    Context& context_;
};

// The members of one JSON object, looked up by field name under the
// decoder's key strategy: each input key is converted from snake case and
// then compared with the field name, so "image_url" and "image_URL" both
// find imageUrl.
class ObjectView {
public:
    ObjectView(const Json& object, const DecodeContext& context);
    const Json* find(std::string_view fieldName) const;

private:
    const Json& object_;
    bool converted_;
    std::vector<std::pair<std::string, const Json*>> convertedMembers_;
};

// "no value for the key \"checkIn\"", for a key missing from the object at the current path.
std::string keyNotFoundDescription(std::string_view key);

// Specialised per type in JsonCodecs.h:
//   static Json encode(const T&, EncodeContext&);
//   static std::optional<T> decode(const Json&, DecodeContext&);
//   static constexpr std::string_view name;  // the JSON it reads, as errors say it: "a string"
template <class T, class Enable = void>
struct Codec;

}  // namespace lxhf::json
