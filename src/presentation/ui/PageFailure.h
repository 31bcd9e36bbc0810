#pragma once

// The texts a purchase page that failed hands its host in an `error` result.
// Hosts log or match them, so each class of failure keeps one wording.

#include <string>
#include <string_view>

#include <webkit/webkit.h>

namespace lxhf::ui {

inline constexpr std::string_view kLoadFailedPrefix = "Unable to load the purchase page: ";
inline constexpr std::string_view kHostNotResolved = "the host name could not be resolved";
inline constexpr std::string_view kHostUnreachable = "the host could not be reached";
inline constexpr std::string_view kConnectionRefused = "the connection was refused";
inline constexpr std::string_view kConnectionTimedOut = "the connection timed out";
inline constexpr std::string_view kConnectionCut = "the connection closed before the whole page arrived";
inline constexpr std::string_view kCertificateNotTrusted = "its certificate is not trusted";
inline constexpr std::string_view kSecureConnectionFailed = "the secure connection could not be set up";
inline constexpr std::string_view kAnswerNotHttp = "the answer was not valid HTTP";
inline constexpr std::string_view kWebProcessPrefix = "The purchase page stopped: its web process ";

// "Unable to load the purchase page: " and the class of `error`; a failure of
// no known class carries WebKit's own description instead.
std::string loadFailureMessage(const GError* error);
// "... no answer within N seconds"
std::string requestTimeoutMessage(double seconds);
// "... the service answered with HTTP status N"
std::string errorStatusMessage(unsigned status);
// "The purchase page was not ready within N seconds"
std::string readyTimeoutMessage(double seconds);
// "The purchase page stopped: its web process crashed / ran out of memory / was ended"
std::string webProcessEndedMessage(WebKitWebProcessTerminationReason reason);

}  // namespace lxhf::ui
