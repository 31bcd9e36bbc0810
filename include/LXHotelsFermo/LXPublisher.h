#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

// Ends its subscription when destroyed (or reset). Safe to outlive the
// publisher, and safe to destroy from inside a delivery.
class LXSubscription {
public:
    LXSubscription() = default;
    explicit LXSubscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    LXSubscription(LXSubscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
    LXSubscription& operator=(LXSubscription&& other) noexcept {
        if (this != &other) {
            reset();
            cancel_ = std::exchange(other.cancel_, nullptr);
        }
        return *this;
    }
    LXSubscription(const LXSubscription&) = delete;
    LXSubscription& operator=(const LXSubscription&) = delete;
    ~LXSubscription() { reset(); }

    void reset() {
        if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
    }

private:
    std::function<void()> cancel_;
};

// Holds a current value and tells subscribers of each new one. The current
// value is delivered on subscribe. Main context only.
template <class T>
class LXPublisher {
public:
    using Callback = std::function<void(const T&)>;

    explicit LXPublisher(T initial = T{}) : state_(std::make_shared<State>(std::move(initial))) {}

    const T& value() const noexcept { return state_->value; }

    [[nodiscard]] LXSubscription subscribe(Callback callback) {
        const auto id = state_->nextId++;
        state_->subscribers.push_back({id, std::make_shared<Callback>(std::move(callback))});
        auto first = state_->subscribers.back().callback;
        (*first)(state_->value);
        std::weak_ptr<State> weak = state_;
        return LXSubscription([weak, id] {
            if (auto state = weak.lock()) std::erase_if(state->subscribers, [id](auto& s) { return s.id == id; });
        });
    }

    void publish(T value) {
        state_->value = std::move(value);
        notify();
    }

    // For in-place edits of the value, followed by notify().
    T& mutableValue() noexcept { return state_->value; }

    void notify() {
        // A copy, so callbacks may subscribe or unsubscribe while we deliver.
        auto current = state_->subscribers;
        auto keepAlive = state_;
        for (auto& s : current) {
            if (isSubscribed(s.id)) (*s.callback)(keepAlive->value);
        }
    }

private:
    struct Subscriber {
        std::uint64_t id;
        std::shared_ptr<Callback> callback;
    };
    struct State {
        explicit State(T v) : value(std::move(v)) {}
        T value;
        std::vector<Subscriber> subscribers;
        std::uint64_t nextId = 0;
    };

    bool isSubscribed(std::uint64_t id) const {
        for (auto& s : state_->subscribers) if (s.id == id) return true;
        return false;
    }

    std::shared_ptr<State> state_;
};
