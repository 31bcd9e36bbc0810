#pragma once

/// @file
/// The service environment and the kinds of refresh, with their raw values.

#include <optional>
#include <string_view>

#include "LXHotelsFermo/LXExport.h"

/// Which of the service's environments the library talks to.
enum class LXEnvironmentType { production, staging };
/// @var LXEnvironmentType::production
/// The live service.
/// @var LXEnvironmentType::staging
/// The staging service, for a host's own testing.

/// What LXHotelsFermoSDK::refreshCachedOffers fetches again.
enum class LXRefresh { all, errorsOnly };
/// @var LXRefresh::all
/// Every room goes back to loading and is fetched again.
/// @var LXRefresh::errorsOnly
/// No room changes state; only the batches still queued are sent again.

namespace LXHotelsFermo {

/// Raw values "production" and "staging".
LXHF_EXPORT std::string_view rawValue(LXEnvironmentType type) noexcept;
/// The environment whose raw value is `raw`; nothing for any other text.
LXHF_EXPORT std::optional<LXEnvironmentType> environmentTypeFromRawValue(std::string_view raw) noexcept;

/// Raw values "all" and "errorsOnly".
LXHF_EXPORT std::string_view rawValue(LXRefresh refresh) noexcept;
/// The refresh whose raw value is `raw`; nothing for any other text.
LXHF_EXPORT std::optional<LXRefresh> refreshFromRawValue(std::string_view raw) noexcept;

}  // namespace LXHotelsFermo
