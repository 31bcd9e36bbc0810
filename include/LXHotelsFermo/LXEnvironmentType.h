#pragma once

#include <optional>
#include <string_view>

#include "LXHotelsFermo/LXExport.h"

enum class LXEnvironmentType { production, staging };
enum class LXRefresh { all, errorsOnly };

namespace LXHotelsFermo {

// Raw values "production" and "staging".
LXHF_EXPORT std::string_view rawValue(LXEnvironmentType type) noexcept;
LXHF_EXPORT std::optional<LXEnvironmentType> environmentTypeFromRawValue(std::string_view raw) noexcept;

// Raw values "all" and "errorsOnly".
LXHF_EXPORT std::string_view rawValue(LXRefresh refresh) noexcept;
LXHF_EXPORT std::optional<LXRefresh> refreshFromRawValue(std::string_view raw) noexcept;

}  // namespace LXHotelsFermo
