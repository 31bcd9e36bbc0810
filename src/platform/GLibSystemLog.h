#pragma once

#include "platform/SystemLog.h"

namespace lxhf {

// Writes through GLib structured logging (journald when the host runs under
// systemd), domain "LXHotelsFermo". Stateless; any thread.
class GLibSystemLog final : public SystemLog {
public:
    void write(Type type, std::string_view line) override;
};

}  // namespace lxhf
