#include "platform/GLibSystemLog.h"

#include <glib.h>

#include <string>

namespace lxhf {

namespace {
constexpr const char* kLogDomain = "LXHotelsFermo";
// syslog(3) priorities, which the journal shows.
constexpr const char* kPriorityError = "3";
constexpr const char* kPriorityInfo = "6";
}  // namespace

void GLibSystemLog::write(Type type, std::string_view line) {
    // A refused status or bad data is not a programmer error, so it must not
    // go out at GLib's warning level: G_DEBUG=fatal-warnings and every GLib
    // test program abort on that. The message level never aborts, and the
    // explicit PRIORITY field keeps the journal's view of it an error.
    const bool error = type == Type::error;
    const std::string message(line);
    const GLogField fields[] = {
        {"PRIORITY", error ? kPriorityError : kPriorityInfo, -1},
        {"GLIB_DOMAIN", kLogDomain, -1},
        {"MESSAGE", message.c_str(), static_cast<gssize>(message.size())},
    };
    g_log_structured_array(error ? G_LOG_LEVEL_MESSAGE : G_LOG_LEVEL_INFO, fields, G_N_ELEMENTS(fields));
}

}  // namespace lxhf
