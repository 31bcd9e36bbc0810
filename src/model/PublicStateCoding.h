#pragma once

// JSON forms of the values a host sees: the error value, the two
// one-key-object enumerations and the offer entry.

#include "LXHotelsFermo/LXFermoOffer.h"
#include "model/JsonCodecs.h"
#include "model/RoomDetailsRecords.h"

namespace lxhf::json {

template <>
struct Codec<LXErrorInfo> {
    static constexpr std::string_view name = "an object";
    static Json encode(const LXErrorInfo& error, EncodeContext& c);
    static std::optional<LXErrorInfo> decode(const Json& j, DecodeContext& c);
};

template <>
struct Codec<LXFermoOfferState> {
    static constexpr std::string_view name = "an object";
    static Json encode(const LXFermoOfferState& state, EncodeContext& c);
    static std::optional<LXFermoOfferState> decode(const Json& j, DecodeContext& c);
};

template <>
struct Codec<LXFermoPurchaseResult> {
    static constexpr std::string_view name = "an object";
    static Json encode(const LXFermoPurchaseResult& result, EncodeContext& c);
    static std::optional<LXFermoPurchaseResult> decode(const Json& j, DecodeContext& c);
};

template <>
struct Codec<LXFermoOffer> {
    static constexpr std::string_view name = "an object";
    static Json encode(const LXFermoOffer& offer, EncodeContext& c);
    static std::optional<LXFermoOffer> decode(const Json& j, DecodeContext& c);
};

}  // namespace lxhf::json
