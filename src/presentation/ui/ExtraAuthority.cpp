#include "presentation/ui/ExtraAuthority.h"

#include <filesystem>
#include <memory>

namespace lxhf::ui {

namespace {

struct UriUnref {
    void operator()(GUri* uri) const { g_uri_unref(uri); }
};

std::unique_ptr<GUri, UriUnref> parse(const std::string& uri) {
    GUri* parsed = g_uri_parse(uri.c_str(), G_URI_FLAGS_NONE, nullptr);
    if (parsed && (!g_uri_get_host(parsed) || !*g_uri_get_host(parsed))) {
        g_uri_unref(parsed);
        parsed = nullptr;
    }
    return std::unique_ptr<GUri, UriUnref>(parsed);
}

}  // namespace

std::optional<std::string> originOf(const std::string& uri) {
    auto parsed = parse(uri);
    if (!parsed) return std::nullopt;
    int port = g_uri_get_port(parsed.get());
    if (port < 0) port = g_ascii_strcasecmp(g_uri_get_scheme(parsed.get()), "http") == 0 ? 80 : 443;
    return std::string(g_uri_get_host(parsed.get())) + ":" + std::to_string(port);
}

std::optional<std::string> hostOf(const std::string& uri) {
    auto parsed = parse(uri);
    if (!parsed) return std::nullopt;
    return std::string(g_uri_get_host(parsed.get()));
}

bool vouchedForBy(const std::string& caFile, GTlsCertificate* certificate, const std::string& uri) {
    if (!certificate) return false;
    std::error_code ignored;
    const std::filesystem::path absolute = std::filesystem::absolute(caFile, ignored);
    GTlsDatabase* database = g_tls_file_database_new(absolute.c_str(), nullptr);
    if (!database) return false;
    GSocketConnectable* identity = g_network_address_parse_uri(uri.c_str(), 443, nullptr);
    GTlsCertificateFlags flags = G_TLS_CERTIFICATE_GENERIC_ERROR;
    if (identity) {
        flags = g_tls_database_verify_chain(database, certificate, G_TLS_DATABASE_PURPOSE_AUTHENTICATE_SERVER,
                                            identity, nullptr, G_TLS_DATABASE_VERIFY_NONE, nullptr, nullptr);
        g_object_unref(identity);
    }
    g_object_unref(database);
    return flags == 0;
}

}  // namespace lxhf::ui
