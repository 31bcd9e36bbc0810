#include "platform/ThreadEnd.h"

#include <string>

#include "platform/GLibSystemLog.h"

namespace lxhf {

void logThreadLeftRunning(std::string_view thread, std::chrono::milliseconds limit) {
    // The shared logger may be gone by now; the system log never is.
    GLibSystemLog().write(SystemLog::Type::error, "[LXHotelsFermoSDK] A thread did not stop in time : " +
                                                      std::string(thread) + " still running after " +
                                                      std::to_string(limit.count()) + " ms");
}

}  // namespace lxhf
