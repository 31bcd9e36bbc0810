#pragma once

#include <functional>

namespace lxhf::test {

// Iterates the default GMainContext until `done` holds or the time is up.
// Returns whether `done` held. For tests that run real GLib sources.
bool runMainLoopUntil(const std::function<bool()>& done, double timeoutSeconds = 10.0);

// Iterates the default GMainContext for about `seconds`, whatever happens.
void runMainLoopFor(double seconds);

}  // namespace lxhf::test
