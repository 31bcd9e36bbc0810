#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "LXHotelsFermo/LXExport.h"


// A failure inside the library, as the host sees it in an offer state or a
// purchase result. A host makes one to set an error state of its own.
class LXHF_EXPORT LXErrorInfo {
public:
    explicit LXErrorInfo(std::string message, std::optional<std::int64_t> code = std::nullopt)
        : message_(std::move(message)), code_(code) {}
    const std::string& message() const noexcept { return message_; }
    const std::optional<std::int64_t>& code() const noexcept { return code_; }

private:

    std::string message_;
    std::optional<std::int64_t> code_;
};
