#pragma once

// The address of the purchase microsite for one room's signed offer. Plain
// string and JSON work, so it builds and tests without any user interface.

#include <optional>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXResult.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/OfferRecords.h"
#include "page/LogLine.h"

namespace lxhf {

// Where the microsite lives; the environment supplies the scheme and host.
struct MicrositeEndpoint {
    std::string scheme;
    std::string host;  // may carry ":port" when pointed at a local service
    std::string path;
};

inline constexpr std::string_view kNotSignedFullOffer = "offerResponse is not a signedFullOffer";
inline constexpr std::string_view kErrorEncodingMicrositeUrl = "Error encoding microsite URL:\n";
// A fixed text, for any of the four JSON texts that is not valid UTF-8;
// "imageUrlData" there names the offer's text.
inline constexpr std::string_view kUnableToEncodeMicrositeData =
    "Unable to encode imageUrlData/hotelData/extAttributesData/featureFlagsData";

// No address could be made. `log` is the line to write, if any; nothing is
// reported to the purchase callback for these failures.
struct MicrositeAddressFailure {
    std::optional<LogLine> log;
};

struct MicrositeAddressInputs {
    MicrositeEndpoint endpoint;
    std::string token;                     // the partner token given to configure
    std::optional<std::string> sessionId;  // absent without an engine or a session id
    std::optional<LXOfferResponse> offerResponse;
};

// The microsite URL with its nine query items, in their fixed order.
LXResult<std::string, MicrositeAddressFailure> micrositeAddress(const MicrositeAddressInputs& inputs,
                                                                            const LXRoomDetails& roomDetails);

// Replaces each of the 18 characters , " # % / < > [ ] ? @ \ ^ : ` { | }
// with upper-case %XX and leaves everything else, "&", "=", "+" and space
// included, for the URL builder. Absent when the text is not valid UTF-8.
std::optional<std::string> escapeForMicrosite(std::string_view text);

}  // namespace lxhf
