#include "model/OfferRecords.h"

namespace lxhf::json {

Json Codec<CodableValue>::encode(const CodableValue& v, EncodeContext& c) {
    return std::visit([&](const auto& payload) { return Codec<std::decay_t<decltype(payload)>>::encode(payload, c); },
                      v.value);
}

std::optional<CodableValue> Codec<CodableValue>::decode(const Json& j, DecodeContext& c) {
    // Each attempt's failure is dropped; only the final verdict is reported.
    DecodeContext scratch(c.keys());
    if (auto s = Codec<std::string>::decode(j, scratch)) return CodableValue{std::move(*s)};
    if (auto i = Codec<std::int64_t>::decode(j, scratch)) return CodableValue{*i};
    if (auto d = Codec<double>::decode(j, scratch)) return CodableValue{*d};
    if (auto b = Codec<bool>::decode(j, scratch)) return CodableValue{*b};
    c.containerMismatch(name, j);  // null included: no alternative takes it
    return std::nullopt;
}

}  // namespace lxhf::json

LXOfferRequestRoom LXOfferRequestRoom::from(const LXRoom& r) {
    return {r.id,         r.merchantId,       r.merchantRoomId, r.name,   r.beds,         r.price,       r.roomType,
            r.promotion, r.cancellationCode, r.rateCategoryId, r.addons, r.availability, r.isRefundable};
}

bool LXOfferRequestRoom::matches(const LXRoom& r) const {
    return id == r.id && merchantId == r.merchantId && merchantRoomId == r.merchantRoomId && name == r.name &&
           beds == r.beds && price == r.price && roomType == r.roomType && promotion == r.promotion &&
           cancellationCode == r.cancellationCode && rateCategoryId == r.rateCategoryId && addons == r.addons &&
           availability == r.availability && isRefundable == r.isRefundable;
}
