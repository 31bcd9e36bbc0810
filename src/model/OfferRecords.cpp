#include "model/OfferRecords.h"

#include "model/RecordHash.h"

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

LXOfferRequestRoom LXOfferRequestRoom::from(const LXRoom& room) {
    LXOfferRequestRoom out;
    std::apply([&](const auto&... f) { ((out.*(f.sent) = room.*(f.room)), ...); }, sharedWithRoom());
    return out;
}

bool LXOfferRequestRoom::matches(const LXRoom& room) const {
    return std::apply([&](const auto&... f) { return ((this->*(f.sent) == room.*(f.room)) && ...); },
                      sharedWithRoom());
}

std::size_t LXOfferRequestRoom::hashOfShared(const LXRoom& room) noexcept {
    lxhf::Hasher h;
    std::apply([&](const auto&... f) { (h.combine(room.*(f.room)), ...); }, sharedWithRoom());
    return h.value();
}
