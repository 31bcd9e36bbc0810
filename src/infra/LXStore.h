#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "LXHotelsFermo/LXResult.h"
#include "infra/BoundedCache.h"
#include "model/Date.h"
#include "model/JsonCodecs.h"
#include "platform/CacheDirectory.h"
#include "platform/Clock.h"

namespace lxhf {

class LoggerSlot;

using DateProvider = std::function<WallTime()>;

inline WallTime systemNow() { return std::chrono::system_clock::now(); }
inline DateProvider dateProviderOf(const Clock& clock) {
    return [&clock] { return clock.now(); };
}

// 14 days: how long a stored session stays good without being renewed.
inline constexpr double kEntryLifetime = 1'209'600.0;

// Why a store could not be written or read back.
struct StoreError {
    std::string description;
};

// Logged when there is no cache directory to read or write a store in.
inline constexpr std::string_view kUnexpectedCacheError = "Unexpected cache error";

// Key-value store whose entries expire `entryLifetime` seconds after they are
// written, with a JSON file form. Owned by the engine; main context only.
//
// The key set exists so the store can list itself for saving; it changes only
// on insert and through the cache's eviction handler, which also runs for
// explicit removals, so the two never drift apart.
//
// The in-memory part is defined here. The JSON and file members are defined
// in LXStoreCoding.h and instantiated inside the library for the stores it
// uses (see SessionStore.h).
template <class Key, class Value>
class LXStore {
public:
    struct Entry {
        using Self = Entry;
        Key key;
        Value value;
        Date expirationDate;
        static constexpr auto fields() {
            return std::tuple{::lxhf::json::field("key", &Self::key), ::lxhf::json::field("value", &Self::value),
                              ::lxhf::json::field("expirationDate", &Self::expirationDate)};
        }
        bool operator==(const Entry&) const = default;
    };

    explicit LXStore(DateProvider dateProvider = systemNow, double entryLifetime = kEntryLifetime,
                     std::size_t maximumEntryCount = 0)
        : dateProvider_(std::move(dateProvider)), entryLifetime_(entryLifetime), wrapped_(maximumEntryCount) {
        wrapped_.setEvictionHandler([this](const Entry& gone) { keys_.erase(gone.key); });
    }
    // The eviction handler points back at this store.
    LXStore(const LXStore&) = delete;
    LXStore& operator=(const LXStore&) = delete;

    // Stamps the entry to expire `entryLifetime` from now; a second insert
    // for the same key replaces the first and moves its expiry.
    void insert(Value value, Key key) {
        Date expires{Date::from(dateProvider_()).sinceReferenceDate + entryLifetime_};
        insert(Entry{std::move(key), std::move(value), expires});
    }

    // Keeps the entry's own expiry; loading uses this.
    void insert(Entry entry) {
        Key key = entry.key;
        wrapped_.setObject(key, std::move(entry));
        keys_.insert(std::move(key));
    }

    std::optional<Value> value(const Key& key) {
        auto found = entry(key);
        if (!found) return std::nullopt;
        return std::move(found->value);
    }

    // An entry is live strictly before its expiration date; an expired one is
    // removed on the way out.
    std::optional<Entry> entry(const Key& key) {
        const Entry* found = wrapped_.object(key);
        if (found == nullptr) return std::nullopt;
        if (Date::from(dateProvider_()) < found->expirationDate) return *found;
        removeValue(key);
        return std::nullopt;
    }

    void removeValue(const Key& key) { wrapped_.removeObject(key); }
    void removeAll() { wrapped_.removeAllObjects(); }

    // Keys believed live; may still hold expired ones not yet read.
    const std::unordered_set<Key>& keys() const { return keys_; }
    std::size_t count() const { return wrapped_.count(); }
    std::size_t maximumEntryCount() const { return wrapped_.countLimit(); }
    double entryLifetime() const { return entryLifetime_; }

    // A JSON array of the live entries (expired ones are purged on the way),
    // keys as written, dates as seconds since 2001. A date JSON cannot hold
    // (not finite) fails it.
    LXResult<std::string, StoreError> encode();

    // A store with count limit 1 and the standard lifetime whatever was saved,
    // holding the entries as they are: nothing is checked for expiry here.
    static LXResult<std::unique_ptr<LXStore>, StoreError> decode(std::string_view text,
                                                                 DateProvider dateProvider = systemNow);

    // Writes `name` + ".cache" in the cache directory, atomically. Without a
    // cache directory it logs "Unexpected cache error" and reports success.
    // A store that cannot be encoded writes nothing.
    std::optional<StoreError> saveToDisk(std::string_view name, const CacheDirectory& directory,
                                         const LoggerSlot& logger);


private:
    DateProvider dateProvider_;
    double entryLifetime_;
    std::unordered_set<Key> keys_;
    BoundedCache<Key, Entry> wrapped_;
};

}  // namespace lxhf
