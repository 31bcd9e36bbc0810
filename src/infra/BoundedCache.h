#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lxhf {

// A map with a count limit that tells its owner about every object it lets
// go of: pushed out by the limit, removed by key or emptied. LXStore keeps
// its key set in step through that handler.
// Not thread safe; owned and used on one thread.
template <class Key, class Object>
class BoundedCache {
public:
    using EvictionHandler = std::function<void(const Object&)>;

    // A limit of 0 means no limit.
    explicit BoundedCache(std::size_t countLimit = 0) : countLimit_(countLimit) {}

    void setEvictionHandler(EvictionHandler handler) { onEvict_ = std::move(handler); }
    std::size_t countLimit() const { return countLimit_; }
    std::size_t count() const { return objects_.size(); }

    // Replacing an object is not an eviction; it counts as the newest again.
    void setObject(const Key& key, Object object) {
        auto found = objects_.find(key);
        if (found != objects_.end()) {
            order_.erase(found->second.order);
            found->second = Slot{std::move(object), next_};
        } else {
            objects_.emplace(key, Slot{std::move(object), next_});
        }
        order_.emplace(next_++, key);
        // The limit never pushes out the object that was just set.
        while (countLimit_ > 0 && objects_.size() > countLimit_ && order_.size() > 1)
            evict(order_.begin()->second);
    }

    const Object* object(const Key& key) const {
        auto found = objects_.find(key);
        return found == objects_.end() ? nullptr : &found->second.object;
    }

    void removeObject(const Key& key) {
        if (objects_.count(key) != 0) evict(key);
    }

    void removeAllObjects() {
        while (!order_.empty()) evict(order_.begin()->second);
    }

    // Oldest first.
    std::vector<Key> keys() const {
        std::vector<Key> out;
        out.reserve(order_.size());
        for (const auto& [order, key] : order_) out.push_back(key);
        return out;
    }

private:
    struct Slot {
        Object object;
        std::uint64_t order;
    };

    // The object leaves the map before the handler sees it, so a handler that
    // calls back into the cache finds it consistent.
    void evict(Key key) {
        auto found = objects_.find(key);
        Object gone = std::move(found->second.object);
        order_.erase(found->second.order);
        objects_.erase(found);
        if (onEvict_) onEvict_(gone);
    }

    std::size_t countLimit_;
    EvictionHandler onEvict_;
    std::unordered_map<Key, Slot> objects_;
    std::map<std::uint64_t, Key> order_;
    std::uint64_t next_ = 0;
};

}  // namespace lxhf
