#include "platform/GioTypes.h"

#include <gio/gio.h>
#include <libsoup/soup.h>

namespace lxhf {

namespace {

// Interfaces, enums and boxed types need only be registered, which the
// G_TYPE_ macro has done by now; classes are also initialised.
void initialiseClass(GType type) {
    if (!G_TYPE_IS_CLASSED(type)) return;
    // Held for the process: a module's type (the TLS backend's) would
    // otherwise drop its class again when the last reference goes.
    (void)g_type_class_ref(type);
}

// Every type a connection is built from, and the interfaces, enums and
// boxed types they use: the sockets, addresses, streams and TLS classes,
// and libsoup's session, message and default features.
void ensureTypes() {
    const GType types[] = {
        G_TYPE_SOCKET_CONNECTABLE,  G_TYPE_POLLABLE_INPUT_STREAM, G_TYPE_POLLABLE_OUTPUT_STREAM,
        G_TYPE_DATAGRAM_BASED,      G_TYPE_TLS_CLIENT_CONNECTION, G_TYPE_TLS_FILE_DATABASE,
        G_TYPE_TLS_BACKEND,         G_TYPE_PROXY_RESOLVER,        G_TYPE_PROXY,
        G_TYPE_NETWORK_MONITOR,     G_TYPE_CONVERTER,             G_TYPE_INITABLE,
        G_TYPE_ASYNC_INITABLE,      G_TYPE_ASYNC_RESULT,          G_TYPE_SEEKABLE,
        G_TYPE_SOCKET_CLIENT,       G_TYPE_SOCKET_CONNECTION,     G_TYPE_TCP_CONNECTION,
        G_TYPE_TCP_WRAPPER_CONNECTION, G_TYPE_SOCKET,             G_TYPE_INET_ADDRESS,
        G_TYPE_INET_ADDRESS_MASK,   G_TYPE_SOCKET_ADDRESS,        G_TYPE_INET_SOCKET_ADDRESS,
        G_TYPE_NETWORK_ADDRESS,     G_TYPE_NETWORK_SERVICE,       G_TYPE_PROXY_ADDRESS,
        G_TYPE_PROXY_ADDRESS_ENUMERATOR, G_TYPE_SOCKET_ADDRESS_ENUMERATOR, G_TYPE_CANCELLABLE,
        G_TYPE_TASK,                G_TYPE_INPUT_STREAM,          G_TYPE_OUTPUT_STREAM,
        G_TYPE_IO_STREAM,           G_TYPE_FILTER_INPUT_STREAM,   G_TYPE_FILTER_OUTPUT_STREAM,
        G_TYPE_BUFFERED_INPUT_STREAM, G_TYPE_BUFFERED_OUTPUT_STREAM, G_TYPE_MEMORY_INPUT_STREAM,
        G_TYPE_MEMORY_OUTPUT_STREAM, G_TYPE_CONVERTER_INPUT_STREAM, G_TYPE_ZLIB_DECOMPRESSOR,
        G_TYPE_TLS_CERTIFICATE,     G_TYPE_TLS_CONNECTION,        G_TYPE_TLS_DATABASE,
        G_TYPE_TLS_INTERACTION,     G_TYPE_TLS_PASSWORD,          G_TYPE_RESOLVER,
        G_TYPE_SIMPLE_PROXY_RESOLVER, G_TYPE_SOCKET_CONTROL_MESSAGE, G_TYPE_CREDENTIALS,
        G_TYPE_TLS_CERTIFICATE_FLAGS, G_TYPE_SOCKET_CLIENT_EVENT, G_TYPE_TLS_PROTOCOL_VERSION,
        SOUP_TYPE_SESSION,          SOUP_TYPE_MESSAGE,            SOUP_TYPE_SESSION_FEATURE,
        SOUP_TYPE_AUTH_MANAGER,     SOUP_TYPE_AUTH_BASIC,         SOUP_TYPE_AUTH_DIGEST,
        SOUP_TYPE_AUTH_NTLM,        SOUP_TYPE_AUTH_NEGOTIATE,     SOUP_TYPE_CONTENT_DECODER,
        SOUP_TYPE_CONTENT_SNIFFER,  SOUP_TYPE_MULTIPART_INPUT_STREAM, SOUP_TYPE_MESSAGE_HEADERS,
        SOUP_TYPE_MESSAGE_METRICS,  SOUP_TYPE_STATUS,             SOUP_TYPE_MESSAGE_FLAGS,
        SOUP_TYPE_HTTP_VERSION,
    };
    for (GType type : types) initialiseClass(type);
}

// The GIO modules register their types when loaded; the backend's own
// classes are made here too, so the first connection only instantiates them.
void ensureModules() {
    GTlsBackend* backend = g_tls_backend_get_default();
    initialiseClass(g_tls_backend_get_client_connection_type(backend));
    initialiseClass(g_tls_backend_get_file_database_type(backend));
    initialiseClass(g_tls_backend_get_certificate_type(backend));
    (void)g_proxy_resolver_get_default();
    g_object_unref(g_resolver_get_default());
}

// A session and a message also make the private types libsoup registers
// when it builds them (its connection manager, default features).
void buildAndDropSession() {
    SoupSession* session = soup_session_new();
    SoupMessage* message = soup_message_new("POST", "https://127.0.0.1/");
    if (message != nullptr) g_object_unref(message);
    g_object_unref(session);
}

}  // namespace

void ensureNetworkTypes() {
    static GOnce once = G_ONCE_INIT;
    g_once(
        &once,
        [](gpointer) -> gpointer {
            ensureTypes();
            ensureModules();
            buildAndDropSession();
            return nullptr;
        },
        nullptr);
}

}  // namespace lxhf
