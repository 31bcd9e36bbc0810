#pragma once

/// @file
/// What a room's signed full offer holds the traveller to.

#include <string>

/// What a room's signed full offer holds the traveller to, as the service
/// wrote it: amounts are decimal text and expiries date-time text, never
/// parsed or rounded here, so a host formats them as it formats its prices.
/// A plain value; LXHotelsFermoSDK::offerTerms() gives a copy.
struct LXOfferTerms {
    std::string frozenPrice;       ///< the room's price held by the Fermo
    std::string frozenPriceTotal;  ///< the same for the whole stay
    std::string deposit;           ///< what the traveller pays to hold it
    std::string depositTotal;      ///< the same for the whole stay
    std::string cap;               ///< the most the held price covers
    std::string currency;          ///< the booking's, e.g. "EUR"
    std::string offerExpiry;       ///< until when the Fermo can be bought
    std::string freezeExpiry;      ///< until when a bought Fermo holds the price

    /// Equal when every field is.
    bool operator==(const LXOfferTerms&) const = default;
};
