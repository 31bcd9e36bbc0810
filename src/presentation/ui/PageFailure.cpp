#include "presentation/ui/PageFailure.h"

namespace lxhf::ui {

namespace {

// WebKit hands on the network stack's own error domains (GIO, GLib's
// resolver and TLS, libsoup), so the class is read from those.
std::string_view classOf(const GError* error) {
    if (!error) return {};
    if (error->domain == G_RESOLVER_ERROR) return kHostNotResolved;
    if (error->domain == G_TLS_ERROR)
        return error->code == G_TLS_ERROR_BAD_CERTIFICATE ? kCertificateNotTrusted : kSecureConnectionFailed;
    if (error->domain == SOUP_SESSION_ERROR)
        return error->code == SOUP_SESSION_ERROR_PARSING || error->code == SOUP_SESSION_ERROR_ENCODING
                   ? kAnswerNotHttp
                   : std::string_view();
    if (error->domain != G_IO_ERROR) return {};
    switch (error->code) {
        case G_IO_ERROR_CONNECTION_REFUSED: return kConnectionRefused;
        case G_IO_ERROR_HOST_UNREACHABLE:
        case G_IO_ERROR_NETWORK_UNREACHABLE: return kHostUnreachable;
        case G_IO_ERROR_TIMED_OUT: return kConnectionTimedOut;
        case G_IO_ERROR_PARTIAL_INPUT:
        case G_IO_ERROR_CONNECTION_CLOSED:
        // libsoup's word when the connection went away under a request; a load
        // WebKit itself stops fails in WebKit's own domain instead.
        case G_IO_ERROR_CANCELLED: return kConnectionCut;
        default: return {};
    }
}

std::string loadFailed(std::string_view why) { return std::string(kLoadFailedPrefix).append(why); }

}  // namespace

std::string loadFailureMessage(const GError* error) {
    const std::string_view known = classOf(error);
    if (!known.empty()) return loadFailed(known);
    return loadFailed(error && error->message && *error->message ? error->message : "unknown error");
}

namespace {
// The same digits whatever the user's locale.
std::string secondsText(double seconds) {
    char text[G_ASCII_DTOSTR_BUF_SIZE];
    return g_ascii_formatd(text, sizeof text, "%g", seconds);
}
}  // namespace

std::string requestTimeoutMessage(double seconds) {
    return loadFailed("no answer within " + secondsText(seconds) + " seconds");
}

std::string errorStatusMessage(unsigned status) {
    return loadFailed("the service answered with HTTP status " + std::to_string(status));
}

std::string readyTimeoutMessage(double seconds) {
    return "The purchase page was not ready within " + secondsText(seconds) + " seconds";
}

std::string webProcessEndedMessage(WebKitWebProcessTerminationReason reason) {
    switch (reason) {
        case WEBKIT_WEB_PROCESS_CRASHED: return std::string(kWebProcessPrefix) + "crashed";
        case WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT: return std::string(kWebProcessPrefix) + "ran out of memory";
        case WEBKIT_WEB_PROCESS_TERMINATED_BY_API: break;
    }
    return std::string(kWebProcessPrefix) + "was ended";
}

}  // namespace lxhf::ui
