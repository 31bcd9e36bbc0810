#pragma once

/// @file
/// A failure inside the library, as the host sees it.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "LXHotelsFermo/LXExport.h"


/// A failure inside the library, as the host sees it in an offer state or a
/// purchase result. A host makes one to set an error state of its own.
class LXHF_EXPORT LXErrorInfo {
public:
    /// A failure described by `message`, with a `code` such as an HTTP status
    /// when there is one.
    explicit LXErrorInfo(std::string message, std::optional<std::int64_t> code = std::nullopt)
        : message_(std::move(message)), code_(code) {}
    /// What failed, for people to read.
    const std::string& message() const noexcept { return message_; }
    /// The code that came with the failure, such as an HTTP status, if any.
    const std::optional<std::int64_t>& code() const noexcept { return code_; }

private:

    std::string message_;
    std::optional<std::int64_t> code_;
};
