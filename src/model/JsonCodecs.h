#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "model/JsonCoder.h"

namespace lxhf::json {

// ---- Field lists: a record names its fields once, in declaration order. ----

template <class C, class M>
struct Field {
    std::string_view name;
    M C::*member;
};

template <class C, class M>
constexpr Field<C, M> field(std::string_view name, M C::*member) {
    return {name, member};
}

// Inside a record: `using Self = X; static constexpr auto fields() { return std::tuple{LX_FIELD(a), ...}; }`
#define LX_FIELD(name) ::lxhf::json::field(#name, &Self::name)

// The same list for a record that cannot carry it, such as a public one:
// specialise with `using Self = X;` and the same `fields()`.
template <class T>
struct RecordFields {};

template <class T>
concept Record = requires { T::fields(); } || requires { RecordFields<T>::fields(); };

template <Record T>
constexpr auto fieldsOf() {
    if constexpr (requires { RecordFields<T>::fields(); }) return RecordFields<T>::fields();
    else return T::fields();
}

template <class T> struct IsOptional : std::false_type {};
template <class T> struct IsOptional<std::optional<T>> : std::true_type {};

// ---- Enumerations with raw string values. ----

// Specialise with `static constexpr std::string_view name`, the type's name, and
// `static constexpr std::array<std::pair<E, std::string_view>, N> values`.
template <class E>
struct RawValues;

template <class E>
concept RawEnum = requires { RawValues<E>::values; };

template <RawEnum E>
constexpr std::string_view rawValueOf(E value) {
    for (const auto& [v, raw] : RawValues<E>::values)
        if (v == value) return raw;
    return {};
}

template <RawEnum E>
constexpr std::optional<E> fromRawValue(std::string_view raw) {
    for (const auto& [v, r] : RawValues<E>::values)
        if (r == raw) return v;
    return std::nullopt;
}

// ---- Codecs ----

template <>
struct Codec<std::string> {
    static constexpr std::string_view name = "a string";
    static Json encode(const std::string& v, EncodeContext&) { return v; }
    static std::optional<std::string> decode(const Json& j, DecodeContext& c) {
        if (!j.is_string()) return c.typeMismatch(name, j), std::nullopt;
        return j.get_ref<const std::string&>();
    }
};

template <>
struct Codec<bool> {
    static constexpr std::string_view name = "a boolean";
    static Json encode(bool v, EncodeContext&) { return v; }
    static std::optional<bool> decode(const Json& j, DecodeContext& c) {
        if (!j.is_boolean()) return c.typeMismatch(name, j), std::nullopt;
        return j.get<bool>();
    }
};

// Accepts 1 and 1.0, refuses 1.5, "1" and true.
template <>
struct Codec<std::int64_t> {
    static constexpr std::string_view name = "an integer";
    static Json encode(std::int64_t v, EncodeContext&) { return v; }
    static std::optional<std::int64_t> decode(const Json& j, DecodeContext& c);
};

// Whole values are written without ".0" (2.0 as 2); readers take either form.
template <>
struct Codec<double> {
    static constexpr std::string_view name = "a number";
    static Json encode(double v, EncodeContext&);
    static std::optional<double> decode(const Json& j, DecodeContext& c) {
        if (!j.is_number()) return c.typeMismatch(name, j), std::nullopt;
        return j.get<double>();
    }
};

// A top-level optional codes as null; as a record field it is left out instead.
template <class T>
struct Codec<std::optional<T>> {
    static constexpr std::string_view name = Codec<T>::name;
    static Json encode(const std::optional<T>& v, EncodeContext& c) {
        return v ? Codec<T>::encode(*v, c) : Json(nullptr);
    }
    static std::optional<std::optional<T>> decode(const Json& j, DecodeContext& c) {
        std::optional<std::optional<T>> out(std::in_place);
        if (j.is_null()) return out;
        auto inner = Codec<T>::decode(j, c);
        if (!inner) return std::nullopt;
        out->emplace(std::move(*inner));
        return out;
    }
};

template <class T>
struct Codec<std::vector<T>> {
    static constexpr std::string_view name = "an array";
    static Json encode(const std::vector<T>& v, EncodeContext& c) {
        Json out = Json::array();
        for (std::size_t i = 0; i < v.size(); ++i) {
            PathScope scope(c, i);
            out.push_back(Codec<T>::encode(v[i], c));
        }
        return out;
    }
    static std::optional<std::vector<T>> decode(const Json& j, DecodeContext& c) {
        if (!j.is_array()) return c.typeMismatch(name, j), std::nullopt;
        std::vector<T> out;
        out.reserve(j.size());
        for (std::size_t i = 0; i < j.size(); ++i) {
            PathScope scope(c, "Index " + std::to_string(i));
            auto element = Codec<T>::decode(j[i], c);
            if (!element) return std::nullopt;
            out.push_back(std::move(*element));
        }
        return out;
    }
};

// String-keyed maps keep their keys exactly as they are, under any strategy.
template <class V>
struct Codec<std::map<std::string, V>> {
    static constexpr std::string_view name = "an object";
    static Json encode(const std::map<std::string, V>& m, EncodeContext& c) {
        Json out = Json::object();
        for (const auto& [key, value] : m) {
            PathScope scope(c, std::string_view(key));
            out[key] = Codec<V>::encode(value, c);
        }
        return out;
    }
    static std::optional<std::map<std::string, V>> decode(const Json& j, DecodeContext& c) {
        if (!j.is_object()) return c.typeMismatch(name, j), std::nullopt;
        std::map<std::string, V> out;
        for (auto it = j.begin(); it != j.end(); ++it) {
            PathScope scope(c, it.key());
            auto value = Codec<V>::decode(it.value(), c);
            if (!value) return std::nullopt;
            out.emplace(it.key(), std::move(*value));
        }
        return out;
    }
};

template <RawEnum E>
struct Codec<E> {
    static constexpr std::string_view name = Codec<std::string>::name;
    static Json encode(E v, EncodeContext&) { return std::string(rawValueOf(v)); }
    static std::optional<E> decode(const Json& j, DecodeContext& c) {
        if (!j.is_string()) return c.typeMismatch(name, j), std::nullopt;
        const auto& raw = j.get_ref<const std::string&>();
        if (auto v = fromRawValue<E>(raw)) return v;
        c.fail(LXDecodingError::Kind::dataCorrupted,
               "\"" + raw + "\" is not a value of " + std::string(RawValues<E>::name));
        return std::nullopt;
    }
};

template <Record T>
struct Codec<T> {
    static constexpr std::string_view name = "an object";

    static Json encode(const T& record, EncodeContext& c) {
        Json out = Json::object();
        std::apply([&](const auto&... f) { (encodeField(out, record, f, c), ...); }, fieldsOf<T>());
        return out;
    }

    static std::optional<T> decode(const Json& j, DecodeContext& c) {
        if (!j.is_object()) return c.typeMismatch(name, j), std::nullopt;
        const ObjectView members(j, c);
        T record{};
        const bool ok = std::apply(
            [&](const auto&... f) { return (decodeField(members, record, f, c) && ...); }, fieldsOf<T>());
        if (!ok) return std::nullopt;
        return record;
    }

private:
    template <class M>
    static void encodeField(Json& out, const T& record, const Field<T, M>& f, EncodeContext& c) {
        const M& value = record.*(f.member);
        if constexpr (IsOptional<M>::value) {
            if (!value) return;
        }
        PathScope scope(c, f.name);
        out[c.key(f.name)] = Codec<M>::encode(value, c);
    }

    template <class M>
    static bool decodeField(const ObjectView& members, T& record, const Field<T, M>& f, DecodeContext& c) {
        const Json* found = members.find(f.name);
        if constexpr (IsOptional<M>::value) {
            if (!found || found->is_null()) return true;
        }
        if (!found) return c.fail(LXDecodingError::Kind::keyNotFound, keyNotFoundDescription(f.name));
        PathScope scope(c, std::string(f.name));
        if constexpr (IsOptional<M>::value) {
            auto value = Codec<typename M::value_type>::decode(*found, c);
            if (!value) return false;
            (record.*(f.member)).emplace(std::move(*value));
        } else {
            auto value = Codec<M>::decode(*found, c);
            if (!value) return false;
            record.*(f.member) = std::move(*value);
        }
        return true;
    }
};

// ---- Entry points ----

// Stateless between calls, so one encoder may serve several threads.
class Encoder {
public:
    explicit Encoder(KeyEncoding keys = KeyEncoding::useDefaultKeys) : keys_(keys) {}

    // Fails on a value JSON has no form for (a non-finite double).
    template <class T>
    LXResult<Json, EncodingError> tryToJson(const T& value) const {
        EncodeContext context(keys_);
        Json json = Codec<T>::encode(value, context);
        if (context.error()) return context.takeError();
        return json;
    }
    template <class T>
    LXResult<std::string, EncodingError> tryEncode(const T& value) const {
        auto json = tryToJson(value);
        if (!json) return json.error();
        return serialize(json.value());
    }

    // Writes null where tryEncode fails.
    template <class T>
    Json toJson(const T& value) const {
        EncodeContext context(keys_);
        return Codec<T>::encode(value, context);
    }
    template <class T>
    std::string encode(const T& value) const { return serialize(toJson(value)); }

private:
    KeyEncoding keys_;
};

class Decoder {
public:
    // What every refused text decodes to, too deep or too wide included.
    static LXDecodingError notValidJson() {
        return {LXDecodingError::Kind::dataCorrupted, {}, "the text is not valid JSON"};
    }

    explicit Decoder(KeyDecoding keys = KeyDecoding::useDefaultKeys) : keys_(keys) {}

    template <class T>
    LXResult<T, LXDecodingError> fromJson(const Json& json) const {
        DecodeContext context(keys_);
        auto value = Codec<T>::decode(json, context);
        if (!value) return context.takeError();
        return std::move(*value);
    }

    template <class T>
    LXResult<T, LXDecodingError> decode(std::string_view text) const {
        auto json = parse(text);
        if (!json) return notValidJson();
        return fromJson<T>(*json);
    }

private:
    KeyDecoding keys_;
};

}  // namespace lxhf::json
