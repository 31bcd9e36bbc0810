#pragma once

#include <atomic>
#include <string_view>

typedef struct _GThread GThread;

namespace lxhf {

// Keeps the facade's state to one thread. `call` names the refused call
// as the host wrote it ("LXHotelsFermoSDK::cacheOffers", "lxhf_sdk_cache_offers"). Notes the thread of the first
// call it sees; a call from any other thread is refused with one critical
// that names it, as g_return_val_if_fail does, and so is every call once
// the process has begun to exit (silently: the host's exit handlers may
// still call in). Safe on any thread; costs one relaxed load when admitted.
class CallerCheck {
public:
    bool admits(std::string_view call);

private:
    std::atomic<GThread*> owner_{nullptr};
};

// Called once the library's statics start going at exit.
void markProcessExiting() noexcept;
bool processExiting() noexcept;

}  // namespace lxhf
