#pragma once

/// @file
/// Why JSON text could not be read as a record.

#include <string>
#include <vector>

#include "LXHotelsFermo/LXExport.h"

/// Why JSON text could not be read as a record.
struct LXHF_EXPORT LXDecodingError {
    /// What went wrong.
    enum class Kind { keyNotFound, typeMismatch, valueNotFound, dataCorrupted };
    /// @var Kind::keyNotFound
    /// An object lacks a key the record needs.
    /// @var Kind::typeMismatch
    /// A value is of another JSON type than its field.
    /// @var Kind::valueNotFound
    /// A value the record needs is null.
    /// @var Kind::dataCorrupted
    /// The text is not JSON the library reads, or a value is out of its field's range.


    /// What went wrong.
    Kind kind = Kind::dataCorrupted;
    /// Field names, map keys and "Index N" for array elements, from the top
    /// to the failing value; for keyNotFound, to the object missing the key.
    std::vector<std::string> codingPath;
    /// What is wrong there, in a few words: "no value for the key \"checkIn\"".
    std::string debugDescription;

    /// The kind, where and what, for people to read rather than to parse, e.g.
    ///
    ///     keyNotFound at booking.stayDates: no value for the key "checkIn"
    ///     keyNotFound at the top level: no value for the key "booking"
    ///     typeMismatch at hotel.starRating: expected a string but found a number
    std::string description() const;
};

/// Free functions of the library: raw values of its enumerations.
namespace LXHotelsFermo {

/// "keyNotFound", "typeMismatch", "valueNotFound" or "dataCorrupted".
LXHF_EXPORT const char* toString(LXDecodingError::Kind kind) noexcept;

}  // namespace LXHotelsFermo
