#pragma once

#include <functional>

#include "platform/HttpClient.h"

namespace lxhf::test {

// Iterates the default GMainContext until `done` holds or the time is up.
// Returns whether `done` held. For tests that run real GLib sources.
bool runMainLoopUntil(const std::function<bool()>& done, double timeoutSeconds = 10.0);

// Iterates the default GMainContext for about `seconds`, whatever happens.
void runMainLoopFor(double seconds);

// Sends through a client answering on the default context and waits for the
// answer; a transport error says so when none came in time.
HttpResult sendAndWait(HttpClient& client, HttpRequest request, double timeoutSeconds = 20.0);

}  // namespace lxhf::test
