#pragma once

/// @file
/// A current value with subscribers, and the subscriptions that end them.

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// Ends its subscription when destroyed (or reset). Safe to outlive the
/// publisher, and safe to destroy from inside a delivery.
class LXSubscription {
public:
    /// A subscription to nothing.
    LXSubscription() = default;
    /// A subscription that `cancel` ends.
    explicit LXSubscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    /// Takes over `other`'s subscription; `other` is left ending nothing.
    LXSubscription(LXSubscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
    /// Ends this subscription, then takes over `other`'s.
    LXSubscription& operator=(LXSubscription&& other) noexcept {
        if (this != &other) {
            reset();
            cancel_ = std::exchange(other.cancel_, nullptr);
        }
        return *this;
    }
    /// A subscription is ended once; it is moved, never copied.
    LXSubscription(const LXSubscription&) = delete;
    /// A subscription is ended once; it is moved, never copied.
    LXSubscription& operator=(const LXSubscription&) = delete;
    /// Ends the subscription.
    ~LXSubscription() { reset(); }

    /// Ends the subscription now; later calls do nothing.
    void reset() {
        if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
    }

private:
    std::function<void()> cancel_;
};

/// Holds a current value and tells subscribers of each new one. The current
/// value is delivered on subscribe. Main context only.
///
/// Each callback gets a value that stays valid for the whole callback,
/// whatever the callback does: the list it sees is a snapshot, which an edit
/// made during a delivery copies rather than changes. A publication (or a
/// subscription's first delivery) made inside a delivery is queued and
/// delivered when the current one ends, never recursively; every subscriber
/// sees every value published after it subscribed, in order, and the last
/// one it sees is the current value.
///
/// @tparam T the value held.
template <class T>
class LXPublisher {
public:
    /// What a subscriber is called with each value.
    using Callback = std::function<void(const T&)>;

    /// A publisher holding `initial`.
    explicit LXPublisher(T initial = T{}) : state_(std::make_shared<State>(std::move(initial))) {}

    /// The current value.
    const T& value() const noexcept { return *state_->value; }

    /// Calls `callback` with the current value, then with each new one, until
    /// the returned subscription ends.
    [[nodiscard]] LXSubscription subscribe(Callback callback) {
        const auto id = state_->nextId++;
        state_->subscribers.push_back({id, std::make_shared<Callback>(std::move(callback)), state_->nextSequence});
        enqueue(id);
        std::weak_ptr<State> weak = state_;
        LXSubscription subscription([weak, id] {
            if (auto state = weak.lock()) std::erase_if(state->subscribers, [id](auto& s) { return s.id == id; });
        });
        drain();
        return subscription;
    }

    /// Makes `value` the current value and tells every subscriber.
    void publish(T value) {
        mutableValue() = std::move(value);
        notify();
    }

    /// For in-place edits of the value, followed by notify(). Copies the
    /// value first when a delivery still holds it.
    T& mutableValue() {
        if (state_->value.use_count() > 1) state_->value = std::make_shared<T>(*state_->value);
        return *state_->value;
    }

    /// Tells every subscriber of the current value, after edits through mutableValue().
    void notify() {
        enqueue(kEverySubscriber);
        drain();
    }

private:
    static constexpr std::uint64_t kEverySubscriber = UINT64_MAX;

    struct Subscriber {
        std::uint64_t id;
        std::shared_ptr<Callback> callback;
        std::uint64_t firstSequence;  // publications queued before it subscribed are not its own
    };
    struct Delivery {
        std::shared_ptr<const T> value;
        std::uint64_t sequence;
        std::uint64_t onlyTo;  // a subscriber's id, or kEverySubscriber
    };
    struct State {
        explicit State(T v) : value(std::make_shared<T>(std::move(v))) {}
        std::shared_ptr<T> value;
        std::vector<Subscriber> subscribers;
        std::vector<Delivery> queued;
        std::size_t nextQueued = 0;
        bool delivering = false;
        std::uint64_t nextId = 0;
        std::uint64_t nextSequence = 0;
    };

    void enqueue(std::uint64_t onlyTo) {
        state_->queued.push_back({state_->value, state_->nextSequence++, onlyTo});
    }

    // Delivers what is queued, oldest first; a delivery already under way
    // further up the stack does this itself when the callback returns.
    void drain() {
        if (state_->delivering) return;
        auto state = state_;  // callbacks may destroy the publisher
        state->delivering = true;
        struct Done {
            State& state;
            ~Done() {
                state.delivering = false;
                state.queued.clear();
                state.nextQueued = 0;
            }
        } done{*state};
        while (state->nextQueued < state->queued.size()) {
            const Delivery delivery = state->queued[state->nextQueued++];
            auto subscribers = state->subscribers;  // callbacks may subscribe or unsubscribe
            for (auto& s : subscribers) {
                if (delivery.onlyTo != kEverySubscriber && delivery.onlyTo != s.id) continue;
                if (delivery.sequence < s.firstSequence || !isSubscribed(*state, s.id)) continue;
                (*s.callback)(*delivery.value);
            }
        }
    }

    static bool isSubscribed(const State& state, std::uint64_t id) {
        for (auto& s : state.subscribers)
            if (s.id == id) return true;
        return false;
    }

    std::shared_ptr<State> state_;
};
