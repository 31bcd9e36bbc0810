// What GLib's TLS backend costs the thread that opens an HTTPS connection,
// before a byte is sent: libsoup makes each client connection with the
// backend's default database, whose GnuTLS credentials read the whole system
// trust store again, and only then sets the session's own database.

#include <benchmark/benchmark.h>

#include <gio/gio.h>

#include "BenchRooms.h"
#include "LocalService.h"

namespace lxhf::bench {
namespace {

// Makes a client connection over an idle stream, as libsoup does, then
// gives it `database` when there is one.
void makeConnections(benchmark::State& state, GTlsDatabase* database) {
    GInputStream* in = g_memory_input_stream_new();
    GOutputStream* out = g_memory_output_stream_new_resizable();
    GIOStream* stream = g_simple_io_stream_new(in, out);
    GSocketConnectable* identity = g_network_address_new("127.0.0.1", 443);
    g_object_unref(g_tls_backend_get_default_database(g_tls_backend_get_default()));  // read once, beforehand
    for (auto _ : state) {
        GIOStream* connection = g_tls_client_connection_new(stream, identity, nullptr);
        if (connection == nullptr) benchFailure("no TLS client connection");
        if (database != nullptr) g_tls_connection_set_database(G_TLS_CONNECTION(connection), database);
        g_object_unref(connection);
    }
    g_object_unref(identity);
    g_object_unref(stream);
    g_object_unref(out);
    g_object_unref(in);
}

void BM_TlsConnection_SystemTrust(benchmark::State& state) { makeConnections(state, nullptr); }

void BM_TlsConnection_CaFile(benchmark::State& state) {
    GError* error = nullptr;
    GTlsDatabase* database = g_tls_file_database_new(localService().caFile().c_str(), &error);
    if (database == nullptr) benchFailure(error->message);
    makeConnections(state, database);
    g_object_unref(database);
}

BENCHMARK(BM_TlsConnection_SystemTrust)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TlsConnection_CaFile)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lxhf::bench
