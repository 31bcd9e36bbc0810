#include "model/PublicStateCoding.h"

#include <array>

#include "model/ErrorInfo.h"

namespace lxhf::json {
namespace {

struct ErrorInfoFields {
    using Self = ErrorInfoFields;
    std::string message;
    std::optional<std::int64_t> code;
    static constexpr auto fields() { return std::tuple{LX_FIELD(message), LX_FIELD(code)}; }
};

// Both enumerations code as {"<case>": {}} or {"error": {"error": <LXErrorInfo>}}.
template <class Value>
Json encodeCase(std::string_view caseName, const Value& value, EncodeContext& c) {
    Json payload = Json::object();
    if (const LXErrorInfo* error = value.errorInfo()) payload[c.key("error")] = Codec<LXErrorInfo>::encode(*error, c);
    Json out = Json::object();
    out[c.key(caseName)] = std::move(payload);
    return out;
}

template <class Value, std::size_t N>
std::optional<Value> decodeCases(const Json& j, DecodeContext& c, std::string_view typeName,
                                 const std::array<std::string_view, N>& caseNames,
                                 Value (*make)(std::size_t caseIndex)) {
    if (!j.is_object()) return c.typeMismatch(typeName, j), std::nullopt;
    const ObjectView members(j, c);
    std::size_t found = N;
    int recognised = 0;
    for (std::size_t i = 0; i < N; ++i)
        if (members.find(caseNames[i])) found = i, ++recognised;
    if (recognised != 1) {
        c.fail(LXDecodingError::Kind::typeMismatch, "Invalid number of keys found, expected one.");
        return std::nullopt;
    }
    const Json& payload = *members.find(caseNames[found]);
    PathScope scope(c, std::string(caseNames[found]));
    if (!payload.is_object()) return c.containerMismatch("an object", payload), std::nullopt;
    if (caseNames[found] != "error") return make(found);

    const ObjectView inner(payload, c);
    const Json* error = inner.find("error");
    if (!error) return c.fail(LXDecodingError::Kind::keyNotFound, keyNotFoundDescription("error")), std::nullopt;
    PathScope errorScope(c, "error");
    auto info = Codec<LXErrorInfo>::decode(*error, c);
    if (!info) return std::nullopt;
    return Value::error(std::move(*info));
}

constexpr std::array<std::string_view, 4> kStateCases{"loading", "available", "unavailable", "error"};
constexpr std::array<std::string_view, 4> kResultCases{"purchased", "cancelled", "invalid", "error"};

LXFermoOfferState makeState(std::size_t index) {
    switch (index) {
        case 1: return LXFermoOfferState::available();
        case 2: return LXFermoOfferState::unavailable();
        default: return LXFermoOfferState::loading();
    }
}

LXFermoPurchaseResult makeResult(std::size_t index) {
    switch (index) {
        case 1: return LXFermoPurchaseResult::cancelled();
        case 2: return LXFermoPurchaseResult::invalid();
        default: return LXFermoPurchaseResult::purchased();
    }
}

}  // namespace

Json Codec<LXErrorInfo>::encode(const LXErrorInfo& error, EncodeContext& c) {
    return Codec<ErrorInfoFields>::encode({error.message(), error.code()}, c);
}

std::optional<LXErrorInfo> Codec<LXErrorInfo>::decode(const Json& j, DecodeContext& c) {
    auto fields = Codec<ErrorInfoFields>::decode(j, c);
    if (!fields) return std::nullopt;
    return makeError(std::move(fields->message), fields->code);
}

Json Codec<LXFermoOfferState>::encode(const LXFermoOfferState& state, EncodeContext& c) {
    return encodeCase(kStateCases[std::size_t(state.kind())], state, c);
}

std::optional<LXFermoOfferState> Codec<LXFermoOfferState>::decode(const Json& j, DecodeContext& c) {
    return decodeCases<LXFermoOfferState>(j, c, name, kStateCases, &makeState);
}

Json Codec<LXFermoPurchaseResult>::encode(const LXFermoPurchaseResult& result, EncodeContext& c) {
    return encodeCase(kResultCases[std::size_t(result.kind())], result, c);
}

std::optional<LXFermoPurchaseResult> Codec<LXFermoPurchaseResult>::decode(const Json& j, DecodeContext& c) {
    return decodeCases<LXFermoPurchaseResult>(j, c, name, kResultCases, &makeResult);
}

Json Codec<LXFermoOffer>::encode(const LXFermoOffer& offer, EncodeContext& c) {
    Json out = Json::object();
    out[c.key("roomDetails")] = Codec<LXRoomDetails>::encode(offer.roomDetails(), c);
    out[c.key("state")] = Codec<LXFermoOfferState>::encode(offer.state, c);
    return out;
}

std::optional<LXFermoOffer> Codec<LXFermoOffer>::decode(const Json& j, DecodeContext& c) {
    if (!j.is_object()) return c.typeMismatch(name, j), std::nullopt;
    const ObjectView members(j, c);
    std::optional<LXRoomDetails> room;
    for (std::string_view key : {"roomDetails", "state"}) {
        const Json* value = members.find(key);
        if (!value) return c.fail(LXDecodingError::Kind::keyNotFound, keyNotFoundDescription(key)), std::nullopt;
        PathScope scope(c, std::string(key));
        if (key == "roomDetails") {
            room = Codec<LXRoomDetails>::decode(*value, c);
            if (!room) return std::nullopt;
        } else {
            auto state = Codec<LXFermoOfferState>::decode(*value, c);
            if (!state) return std::nullopt;
            return RoomDetailsAccess::makeOffer(std::move(*room), std::move(*state));
        }
    }
    return std::nullopt;
}

}  // namespace lxhf::json
