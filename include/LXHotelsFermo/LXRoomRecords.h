#pragma once

/// @file
/// The parts of an LXRoomDetails: the stay, the hotel and the room with its
/// rate. Plain values a host fills in and hands to LXRoomDetails::make, or
/// reads back from a room. Each field's JSON key is its name as written here
/// (with LXJSONKeyStyle::snakeCase, the same in snake case: "numberOfRooms"
/// travels as "number_of_rooms"). A field in std::optional may be absent: it
/// is then left out of the JSON, and a missing key or null reads as absent;
/// every other key must be present with a value of its type. Unknown keys
/// are ignored. The keys inside `extAttributes` are data and never change.
///
/// Dates, times, prices and ratings are text the library carries and
/// compares as it is; it never parses them. Text is UTF-8. Two values are
/// equal when every field is, `extAttributes` regardless of order.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The dates of a stay, as the host writes them.
struct LXStayDates {
    std::string checkIn;   ///< the arrival date, e.g. "2026-05-01"
    std::string checkOut;  ///< the departure date
    /// Equal when every field is.
    bool operator==(const LXStayDates&) const = default;
};

/// Who is staying.
struct LXGuests {
    std::int64_t adults = 0;    ///< grown-ups staying
    std::int64_t children = 0;  ///< children staying
    /// Equal when every field is.
    bool operator==(const LXGuests&) const = default;
};

/// The stay being booked. Rooms with equal bookings and hotels are asked for
/// in one request to the service.
struct LXBooking {
    LXStayDates stayDates;        ///< arrival and departure
    LXGuests guests;              ///< who is staying
    std::string locale;           ///< the traveller's locale, e.g. "en_GB"
    std::string currency;         ///< the prices' currency code, e.g. "GBP"
    std::int64_t numberOfRooms = 0;  ///< rooms booked together
    /// Equal when every field is.
    bool operator==(const LXBooking&) const = default;
};

/// Where a hotel is.
struct LXAddress {
    std::string line;         ///< street and number
    std::string city;         ///< the city's name
    std::string countryCode;  ///< e.g. "GB"
    /// Equal when every field is.
    bool operator==(const LXAddress&) const = default;
};

/// When a hotel's check-in starts.
struct LXCheckInTime {
    std::string localTime;  ///< check-in time in the hotel's own time, e.g. "15:00"
    std::string utcOffset;  ///< the hotel's offset from UTC, e.g. "+01:00"
    /// Equal when every field is.
    bool operator==(const LXCheckInTime&) const = default;
};

/// The hotel a room is at.
struct LXHotel {
    std::string id;                              ///< the host's id of the hotel
    std::string name;                            ///< the name travellers see
    std::string starRating;                      ///< text, e.g. "4"
    std::optional<std::string> partnerRating;    ///< text, e.g. "8.9"
    LXAddress address;                           ///< where the hotel is
    std::optional<LXCheckInTime> checkInTime;    ///< when check-in starts, if known
    /// Equal when every field is.
    bool operator==(const LXHotel&) const = default;
};

/// A promotion a room's rate belongs to.
struct LXPromotion {
    std::string id;                     ///< the host's id of the promotion
    std::optional<std::string> expiry;  ///< when the promotion ends, as the host writes it
    /// Equal when every field is.
    bool operator==(const LXPromotion&) const = default;
};

/// One room with its rate. The fields from `id` to `isRefundable` are sent to
/// the offer service and identify the room in its answer; the last three are
/// only for the purchase page.
struct LXRoom {
    std::string id;                                    ///< the host's id of the room
    std::string merchantId;                            ///< the merchant selling the room
    std::optional<std::string> merchantRoomId;         ///< the merchant's own id of the room
    std::string name;                                  ///< the name travellers see
    std::int64_t beds = 0;                             ///< beds in the room
    std::string price;                                 ///< a decimal amount as text, e.g. "120.00"
    std::string roomType;                              ///< e.g. "double"
    std::optional<LXPromotion> promotion;              ///< the rate's promotion, if any
    std::string cancellationCode;                      ///< e.g. "FLEX"
    std::string rateCategoryId;                        ///< the host's id of the rate's category
    std::optional<std::vector<std::string>> addons;    ///< e.g. {"breakfast"}; order counts
    std::int64_t availability = 0;                     ///< rooms of this kind left, as the host counts them
    std::optional<bool> isRefundable;                  ///< false and absent are different rooms
    std::string imageUrl;                              ///< the room's picture on the purchase page
    std::string priceInclusive;                        ///< a decimal amount as text, e.g. "132.00"
    std::map<std::string, std::string> extAttributes;  ///< the host's own attributes; may be empty
    /// Equal when every field is.
    bool operator==(const LXRoom&) const = default;
};
