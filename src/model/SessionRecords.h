#pragma once

// The device, the session with the service, shown-offer events and the hotel
// summary for the purchase page.

#include <optional>
#include <string>

#include "model/Date.h"
#include "model/JsonCodecs.h"

enum class LXHardware { mobile, tablet };
enum class LXSoftware { app };
enum class LXType { i_os };

template <>
struct lxhf::json::RawValues<LXHardware> {
    static constexpr std::string_view name = "LXHardware";
    static constexpr std::array<std::pair<LXHardware, std::string_view>, 2> values{
        {{LXHardware::mobile, "mobile"}, {LXHardware::tablet, "tablet"}}};
};
template <>
struct lxhf::json::RawValues<LXSoftware> {
    static constexpr std::string_view name = "LXSoftware";
    static constexpr std::array<std::pair<LXSoftware, std::string_view>, 1> values{{{LXSoftware::app, "app"}}};
};
template <>
struct lxhf::json::RawValues<LXType> {
    static constexpr std::string_view name = "LXType";
    static constexpr std::array<std::pair<LXType, std::string_view>, 1> values{{{LXType::i_os, "i_os"}}};
};

struct LXOperatingSystem {
    using Self = LXOperatingSystem;
    std::string version;
    LXType type = LXType::i_os;
    static constexpr auto fields() { return std::tuple{LX_FIELD(version), LX_FIELD(type)}; }
    bool operator==(const LXOperatingSystem&) const = default;
};

// The field is spelled in snake case on purpose: it is already in wire form,
// and so reads back only through a coder that keeps keys as they stand.
struct LXPlatform {
    using Self = LXPlatform;
    LXOperatingSystem operating_system;
    LXSoftware type = LXSoftware::app;
    static constexpr auto fields() { return std::tuple{LX_FIELD(operating_system), LX_FIELD(type)}; }
    bool operator==(const LXPlatform&) const = default;
};

struct LXDevice {
    using Self = LXDevice;
    std::string id;
    LXPlatform platform;
    LXHardware type = LXHardware::mobile;
    static constexpr auto fields() { return std::tuple{LX_FIELD(id), LX_FIELD(platform), LX_FIELD(type)}; }
    bool operator==(const LXDevice&) const = default;
};

struct LXSession {
    using Self = LXSession;
    std::optional<std::string> userId;
    std::optional<std::string> sessionId;
    lxhf::Date createdOn;
    std::optional<LXDevice> device;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(userId), LX_FIELD(sessionId), LX_FIELD(createdOn), LX_FIELD(device)};
    }
    bool operator==(const LXSession&) const = default;
};

struct LXSessionInputs {
    using Self = LXSessionInputs;
    std::optional<std::string> partnerUserId;
    LXDevice device;
    static constexpr auto fields() { return std::tuple{LX_FIELD(partnerUserId), LX_FIELD(device)}; }
};

struct LXSessionResponse {
    using Self = LXSessionResponse;
    std::string id;
    static constexpr auto fields() { return std::tuple{LX_FIELD(id)}; }
};

struct LXEvent {
    using Self = LXEvent;
    std::string sessionId;
    std::string occurredDateTime;
    std::string fermoOfferId;
    std::string type;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(sessionId), LX_FIELD(occurredDateTime), LX_FIELD(fermoOfferId), LX_FIELD(type)};
    }
    bool operator==(const LXEvent&) const = default;
};

struct LXMicrositeHotel {
    using Self = LXMicrositeHotel;
    std::string name;
    std::string addressCity;
    static constexpr auto fields() { return std::tuple{LX_FIELD(name), LX_FIELD(addressCity)}; }
};

namespace lxhf {
// "yyyy-MM-dd'T'HH:mm:ss'Z'" in UTC, whole seconds.
std::string formatEventTimestamp(std::chrono::system_clock::time_point t);
}  // namespace lxhf
