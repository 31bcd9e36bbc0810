#include "support/TempDir.h"

#include <glib.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace lxhf::test {

TempDir::TempDir() {
    GError* error = nullptr;
    gchar* made = g_dir_make_tmp("lxhf-test-XXXXXX", &error);
    if (made == nullptr) {
        // Without a scratch directory no file test can mean anything.
        g_printerr("cannot make a temporary directory: %s\n", error->message);
        std::abort();
    }
    path_ = made;
    g_free(made);
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string fileText(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return "<no file>";
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace lxhf::test
