#pragma once

// The extra certificate authority a library may be given (the local test
// service has its own). The API calls trust it through the HTTP client; the
// purchase page trusts a certificate it signed for the microsite's host only.

#include <optional>
#include <string>

#include <gio/gio.h>

namespace lxhf::ui {

// "host:port" of an absolute URI, the port filled in from the scheme when
// the URI has none; absent when the URI has no host.
std::optional<std::string> originOf(const std::string& uri);
// The host alone, as WebKit's per-host allowance names it.
std::optional<std::string> hostOf(const std::string& uri);

// Whether `certificate`, presented for `uri`, chains to an authority in
// `caFile` and names the host of `uri`. A CA file that cannot be read
// vouches for nothing.
bool vouchedForBy(const std::string& caFile, GTlsCertificate* certificate, const std::string& uri);

}  // namespace lxhf::ui
