#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXErrorInfo.h"

namespace lxhf {

inline LXErrorInfo makeError(std::string message, std::optional<std::int64_t> code = std::nullopt) {
    return LXErrorInfo(std::move(message), code);
}

}  // namespace lxhf
