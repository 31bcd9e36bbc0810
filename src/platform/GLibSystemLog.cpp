#include "platform/GLibSystemLog.h"

#include <glib.h>

#include <string>

namespace lxhf {

namespace {
constexpr const char* logDomain = "LXHotelsFermo";
}

void GLibSystemLog::write(Type type, std::string_view line) {
    // Errors go out as warnings: GLib's error and critical levels abort or
    // fail test runs, and a library must never take its host down.
    GLogLevelFlags level = type == Type::error ? G_LOG_LEVEL_WARNING : G_LOG_LEVEL_INFO;
    std::string message(line);
    g_log_structured(logDomain, level, "MESSAGE", "%s", message.c_str());
}

}  // namespace lxhf
