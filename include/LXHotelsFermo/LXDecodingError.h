#pragma once

#include <string>
#include <vector>

#include "LXHotelsFermo/LXExport.h"

// Why JSON text could not be read as a record.
struct LXHF_EXPORT LXDecodingError {
    enum class Kind { keyNotFound, typeMismatch, valueNotFound, dataCorrupted };

    Kind kind = Kind::dataCorrupted;
    // Keys (and "Index N" for array elements) from the top to the failing value.
    std::vector<std::string> codingPath;
    std::string debugDescription;

    // "keyNotFound at booking.stayDates: No value associated with key \"checkIn\"."
    std::string description() const;
};

namespace LXHotelsFermo {

// "keyNotFound", "typeMismatch", "valueNotFound" or "dataCorrupted".
LXHF_EXPORT const char* toString(LXDecodingError::Kind kind) noexcept;

}  // namespace LXHotelsFermo
