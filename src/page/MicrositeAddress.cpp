#include "page/MicrositeAddress.h"

#include <glib.h>

#include "model/SessionRecords.h"
#include "page/QueryBuilder.h"

namespace lxhf {

namespace {

constexpr std::string_view kEscaped = ",\"#%/<>[]?@\\^:`{|}";

LXResult<std::string, MicrositeAddressFailure> failure(LogLine::Level level, std::string message) {
    return MicrositeAddressFailure{LogLine{level, std::move(message)}};
}

// The four JSON texts, made with one snake-case encoder, in the order the
// page expects them.
struct MicrositeTexts {
    std::string offer, hotel, extAttributes, featureFlags;
};

LXResult<MicrositeTexts, json::EncodingError> encodeTexts(const LXOfferResponse& response,
                                                          const LXRoomDetails& room) {
    const json::Encoder encoder(json::KeyEncoding::convertToSnakeCase);
    auto offer = encoder.tryEncode(response);
    auto hotel = encoder.tryEncode(LXMicrositeHotel{room.hotel().name, room.hotel().address.city});
    auto extAttributes = encoder.tryEncode(room.room().extAttributes);
    auto featureFlags = encoder.tryEncode(response.featureFlags);  // "null" when absent
    for (const auto* text : {&offer, &hotel, &extAttributes, &featureFlags})
        if (!*text) return text->error();
    return MicrositeTexts{std::move(offer).value(), std::move(hotel).value(), std::move(extAttributes).value(),
                          std::move(featureFlags).value()};
}

}  // namespace

std::optional<std::string> escapeForMicrosite(std::string_view text) {
    // GLib's check refuses NUL, which is valid text here, so each run between
    // NULs is checked on its own.
    for (std::string_view rest = text;;) {
        const auto nul = rest.find('\0');
        const auto run = rest.substr(0, nul);
        if (!g_utf8_validate_len(run.data(), run.size(), nullptr)) return std::nullopt;
        if (nul == std::string_view::npos) break;
        rest.remove_prefix(nul + 1);
    }
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (char ch : text) {
        if (kEscaped.find(ch) == std::string_view::npos) {
            out.push_back(ch);
            continue;
        }
        const auto c = static_cast<unsigned char>(ch);
        out.push_back('%');
        out.push_back(hex[c >> 4]);
        out.push_back(hex[c & 0xF]);
    }
    return out;
}

LXResult<std::string, MicrositeAddressFailure> micrositeAddress(const MicrositeAddressInputs& inputs,
                                                                const LXRoomDetails& roomDetails) {
    const auto& response = inputs.offerResponse;
    // Compared on the raw value, so only exactly "signed_full_offer" passes.
    if (!response || json::rawValueOf(response->type) != "signed_full_offer")
        return failure(LogLine::Level::info, std::string(kNotSignedFullOffer));

    const std::string image = escapeForMicrosite(roomDetails.room().imageUrl).value_or(std::string());

    auto encoded = encodeTexts(*response, roomDetails);
    if (!encoded)
        return failure(LogLine::Level::warn, std::string(kErrorEncodingMicrositeUrl) + encoded.error().description());
    const MicrositeTexts& texts = encoded.value();

    auto offer = escapeForMicrosite(texts.offer);
    auto hotel = escapeForMicrosite(texts.hotel);
    auto extAttributes = escapeForMicrosite(texts.extAttributes);
    auto featureFlags = escapeForMicrosite(texts.featureFlags);
    if (!offer || !hotel || !extAttributes || !featureFlags)
        return failure(LogLine::Level::warn, std::string(kUnableToEncodeMicrositeData));

    QueryBuilder builder(inputs.endpoint.scheme, inputs.endpoint.host, inputs.endpoint.path);
    builder.add("token", inputs.token)
        .add("priceInclusive", roomDetails.room().priceInclusive)
        .add("imageUrl", image)
        .add("hotel", std::move(*hotel))
        .add("extAttributes", std::move(*extAttributes))
        .add("sessionId", inputs.sessionId)
        .add("offer", std::move(*offer))
        .add("clientRegion", response->clientRegion)
        .add("featureFlags", std::move(*featureFlags));
    auto url = builder.url();
    if (!url) return MicrositeAddressFailure{};
    return std::move(*url);
}

}  // namespace lxhf
