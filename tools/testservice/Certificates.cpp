// A throw-away CA and a server certificate for 127.0.0.1, made with the
// openssl command. EC P-256 keeps generation to a few tens of milliseconds.

#include "ServiceState.h"

#include <glib.h>
#include <glib/gstdio.h>

namespace lxhf::testing {
namespace {

bool runOpenssl(const std::string& dir, std::vector<std::string> args, std::string& error) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>("openssl"));
    for (auto& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);

    gchar* errText = nullptr;
    gint waitStatus = 0;
    GError* spawnError = nullptr;
    const gboolean spawned = g_spawn_sync(dir.c_str(), argv.data(), nullptr,
                                          GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL), nullptr,
                                          nullptr, nullptr, &errText, &waitStatus, &spawnError);
    bool ok = spawned && g_spawn_check_wait_status(waitStatus, &spawnError);
    if (!ok) {
        error = "openssl " + args.front() + " failed: " +
                (spawnError ? spawnError->message : "") + " " + (errText ? errText : "");
    }
    g_clear_error(&spawnError);
    g_free(errText);
    return ok;
}

}  // namespace

bool makeCertificates(CertificateFiles& files, std::string& error) {
    GError* dirError = nullptr;
    gchar* dir = g_dir_make_tmp("lxhf-testservice-XXXXXX", &dirError);
    if (!dir) {
        error = std::string("temp dir: ") + dirError->message;
        g_error_free(dirError);
        return false;
    }
    files.dir = dir;
    g_free(dir);
    files.caFile = files.dir + "/ca.pem";
    files.certFile = files.dir + "/server.pem";
    files.keyFile = files.dir + "/server.key";

    const std::vector<std::string> ecKey = {"-newkey", "ec", "-pkeyopt",
                                            "ec_paramgen_curve:prime256v1", "-nodes"};
    std::vector<std::string> ca = {"req", "-x509"};
    ca.insert(ca.end(), ecKey.begin(), ecKey.end());
    ca.insert(ca.end(), {"-keyout", "ca.key", "-out", "ca.pem", "-days", "3", "-subj",
                         "/CN=Fermo Local Test CA", "-addext", "basicConstraints=critical,CA:TRUE",
                         "-addext", "keyUsage=critical,keyCertSign,cRLSign"});
    std::vector<std::string> server = {"req", "-x509"};
    server.insert(server.end(), ecKey.begin(), ecKey.end());
    server.insert(server.end(),
                  {"-keyout", "server.key", "-out", "server.pem", "-days", "3", "-subj",
                   "/CN=127.0.0.1", "-CA", "ca.pem", "-CAkey", "ca.key", "-addext",
                   "subjectAltName=IP:127.0.0.1", "-addext", "basicConstraints=critical,CA:FALSE",
                   "-addext", "extendedKeyUsage=serverAuth"});
    if (!runOpenssl(files.dir, ca, error) || !runOpenssl(files.dir, server, error)) {
        removeCertificates(files);
        return false;
    }
    return true;
}

void removeCertificates(const CertificateFiles& files) {
    if (files.dir.empty()) return;
    for (const char* name : {"ca.pem", "ca.key", "server.pem", "server.key", "ca.srl"}) {
        g_remove((files.dir + "/" + name).c_str());
    }
    g_rmdir(files.dir.c_str());
}

}  // namespace lxhf::testing
