// Every wire record through the decoder, under both key strategies. Whatever
// decodes must encode, decode again and encode to the very same text.

#include <algorithm>
#include <utility>
#include <vector>

#include "FuzzCheck.h"
#include "model/OfferRecords.h"
#include "model/PublicStateCoding.h"
#include "model/RoomDetailsRecords.h"
#include "model/SessionRecords.h"

namespace {

using namespace lxhf::json;

template <class T>
void roundTrip(const Json& json, KeyDecoding decoding, KeyEncoding encoding) {
    const Decoder decoder(decoding);
    auto decoded = decoder.fromJson<T>(json);
    if (!decoded) {
        LXHF_FUZZ_CHECK(!decoded.error().description().empty());
        return;
    }
    const Encoder encoder(encoding);
    auto first = encoder.tryEncode(decoded.value());
    LXHF_FUZZ_CHECK(first.ok());
    auto again = decoder.decode<T>(first.value());
    LXHF_FUZZ_CHECK(again.ok());
    LXHF_FUZZ_CHECK(encoder.encode(again.value()) == first.value());
}

// Counted without recursion: the point is to check trees of any depth.
int depthOf(const Json& json) {
    int deepest = 0;
    std::vector<std::pair<const Json*, int>> pending{{&json, 1}};
    while (!pending.empty()) {
        const auto [value, depth] = pending.back();
        pending.pop_back();
        if (!value->is_structured()) continue;
        deepest = std::max(deepest, depth);
        for (const auto& child : *value) pending.emplace_back(&child, depth + 1);
    }
    return deepest;
}

template <class... T>
void roundTripAll(const Json& json, KeyDecoding decoding, KeyEncoding encoding) {
    (roundTrip<T>(json, decoding, encoding), ...);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzzText(data, size);
    // The public entry point parses for itself.
    for (auto style : {LXJSONKeyStyle::fieldNames, LXJSONKeyStyle::snakeCase}) {
        auto room = LXRoomDetails::fromJSON(text, style);
        if (room) {
            auto back = LXRoomDetails::fromJSON(room.value().toJSON(style), style);
            LXHF_FUZZ_CHECK(back.ok() && back.value() == room.value());
        }
    }

    const auto json = parse(text);
    if (!json) {
        LXHF_FUZZ_CHECK(!Decoder().decode<LXSession>(text).ok());
        return 0;
    }
    // Deeper trees once overflowed the stack while they were built.
    LXHF_FUZZ_CHECK(depthOf(*json) <= kMaximumNesting);
    roundTripAll<std::vector<LXOfferResponse>, LXOfferRequest, LXOfferResponse, LXSession, std::vector<LXEvent>,
                 LXSessionResponse, LXFermoOffer, LXFermoOfferState, LXFermoPurchaseResult>(
        *json, KeyDecoding::useDefaultKeys, KeyEncoding::useDefaultKeys);
    roundTripAll<std::vector<LXOfferResponse>, LXOfferRequest, LXOfferResponse, std::vector<LXEvent>,
                 LXSessionResponse, LXFermoOffer, LXFermoOfferState, LXFermoPurchaseResult>(
        *json, KeyDecoding::convertFromSnakeCase, KeyEncoding::convertToSnakeCase);
    // A session's device keeps "operating_system" as written, so it reads
    // back only with keys left alone; decoding is still exercised here.
    (void)Decoder(KeyDecoding::convertFromSnakeCase).fromJson<LXSession>(*json);
    return 0;
}
