// Saves the session file again and again, alternating two sessions of very
// different sizes, until it is killed: the victim of the kill tests.

#include <string>

#include "infra/LoggerSlot.h"
#include "infra/SessionStore.h"
#include "support/TempDir.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const lxhf::test::FixedCacheDirectory directory{std::filesystem::path(argv[1])};
    const lxhf::LoggerSlot noLogger;
    for (unsigned i = 0;; ++i) {
        const bool longOne = i % 2 == 1;
        lxhf::SessionStore store;
        store.insert(LXSession{std::string(longOne ? 4096 : 1, 'u'), longOne ? "S-long" : "S-short",
                                     lxhf::Date{0}, std::nullopt},
                     "session");
        if (store.saveToDisk("sessionStore", directory, noLogger)) return 1;
    }
}
