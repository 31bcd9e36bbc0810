#pragma once

// The JSON and file members of LXStore. Included only where a store type is
// explicitly instantiated, inside the library.

#include <vector>

#include "infra/LXStore.h"
#include "infra/LoggerSlot.h"
#include "model/JsonCodecs.h"

namespace lxhf {

template <class Key, class Value>
LXResult<std::string, StoreError> LXStore<Key, Value>::encode() {
    std::vector<Entry> live;
    // Oldest first, so the file reads in the order entries were written.
    for (const Key& key : wrapped_.keys()) {
        if (keys_.count(key) == 0) continue;
        if (auto found = entry(key)) live.push_back(std::move(*found));
    }
    auto text = json::Encoder().tryEncode(live);
    if (!text) return StoreError{text.error().description()};
    return std::move(text).value();
}

template <class Key, class Value>
LXResult<std::unique_ptr<LXStore<Key, Value>>, StoreError> LXStore<Key, Value>::decode(std::string_view text,
                                                                                       DateProvider dateProvider) {
    auto entries = json::Decoder().decode<std::vector<Entry>>(text);
    if (!entries) return StoreError{entries.error().description()};
    auto store = std::make_unique<LXStore>(std::move(dateProvider), kEntryLifetime, 1);
    for (auto& entry : entries.value()) store->insert(std::move(entry));
    return store;
}

template <class Key, class Value>
std::optional<StoreError> LXStore<Key, Value>::saveToDisk(std::string_view name, const CacheDirectory& directory,
                                                          const LoggerSlot& logger) {
    auto root = directory.path();
    if (!root) {
        logWarn(logger, kUnexpectedCacheError);
        return std::nullopt;
    }
    auto text = encode();
    if (!text) return text.error();
    if (auto failed = writeWholeFileAtomically(*root / (std::string(name) + ".cache"), text.value()))
        return StoreError{failed->description};
    return std::nullopt;
}

}  // namespace lxhf
