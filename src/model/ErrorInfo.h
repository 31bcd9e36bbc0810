#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXErrorInfo.h"

namespace lxhf {

struct ErrorInfoAccess {
    static LXErrorInfo make(std::string message, std::optional<std::int64_t> code) {
        return LXErrorInfo(std::move(message), code);
    }
};

inline LXErrorInfo makeError(std::string message, std::optional<std::int64_t> code = std::nullopt) {
    return ErrorInfoAccess::make(std::move(message), code);
}

}  // namespace lxhf
