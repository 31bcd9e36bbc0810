#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXExport.h"

namespace lxhf { struct ErrorInfoAccess; }

// A failure inside the library, as the host sees it in an offer state or a
// purchase result. Only the library makes these.
class LXHF_EXPORT LXErrorInfo {
public:
    const std::string& message() const noexcept { return message_; }
    const std::optional<std::int64_t>& code() const noexcept { return code_; }

private:
    LXErrorInfo(std::string message, std::optional<std::int64_t> code)
        : message_(std::move(message)), code_(code) {}
    friend struct lxhf::ErrorInfoAccess;

    std::string message_;
    std::optional<std::int64_t> code_;
};
