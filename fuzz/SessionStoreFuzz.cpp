// The session store file: whatever loads must save and load back unchanged.

#include <chrono>

#include "FuzzCheck.h"
#include "infra/SessionStore.h"

namespace {

// A fixed "now" (2032), so whether an entry has expired never depends on the day.
lxhf::WallTime fixedNow() { return lxhf::WallTime{std::chrono::seconds{1957000000}}; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzzText(data, size);
    auto store = lxhf::SessionStore::decode(text, fixedNow);
    if (!store) return 0;
    auto& loaded = *store.value();
    (void)loaded.value(std::string(lxhf::kSessionStoreKey));
    const auto saved = loaded.encode();
    LXHF_FUZZ_CHECK(saved.ok());
    auto reloaded = lxhf::SessionStore::decode(saved.value(), fixedNow);
    LXHF_FUZZ_CHECK(reloaded.ok());
    const auto again = reloaded.value()->encode();
    LXHF_FUZZ_CHECK(again.ok() && again.value() == saved.value());
    return 0;
}
