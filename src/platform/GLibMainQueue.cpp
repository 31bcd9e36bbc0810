#include "platform/GLibMainQueue.h"

#include <algorithm>
#include <cmath>

namespace lxhf {

namespace {

// One GSource per queue, woken for the earliest due item, so work runs in due
// order even when the loop was blocked past several deadlines.
struct QueueSource {
    GSource base;
    GLibMainQueue::State* state;
};

void rearm(GLibMainQueue::State& state) {
    if (state.source == nullptr) return;
    g_source_set_ready_time(state.source, state.due.empty() ? -1 : state.due.begin()->first.first);
}

gboolean dispatchQueue(GSource* source, GSourceFunc, gpointer) {
    auto& state = *reinterpret_cast<QueueSource*>(source)->state;
    if (state.due.empty()) {
        rearm(state);
        return G_SOURCE_CONTINUE;
    }
    auto first = state.due.begin();
    if (first->first.first > g_source_get_time(source)) {
        rearm(state);
        return G_SOURCE_CONTINUE;
    }
    // One item per dispatch: the work may cancel other items or destroy the
    // queue itself, so nothing of the state is touched after it ran.
    std::function<void()> work = std::move(first->second);
    state.due.erase(first);
    rearm(state);
    if (work) work();
    return G_SOURCE_CONTINUE;
}

GSourceFuncs queueSourceFuncs = {nullptr, nullptr, dispatchQueue, nullptr, nullptr, nullptr};

class QueuedWork final : public WorkItem {
public:
    QueuedWork(std::weak_ptr<GLibMainQueue::State> state, GLibMainQueue::Key key)
        : state_(std::move(state)), key_(key) {}
    ~QueuedWork() override { cancel(); }
    void cancel() override {
        if (auto state = state_.lock()) {
            state->due.erase(key_);
            rearm(*state);
        }
        state_.reset();
    }

private:
    std::weak_ptr<GLibMainQueue::State> state_;
    GLibMainQueue::Key key_;
};

}  // namespace

GLibMainQueue::GLibMainQueue() : GLibMainQueue(g_main_context_get_thread_default()) {}

GLibMainQueue::GLibMainQueue(GMainContext* context) : state_(std::make_shared<State>()) {
    GSource* source = g_source_new(&queueSourceFuncs, sizeof(QueueSource));
    reinterpret_cast<QueueSource*>(source)->state = state_.get();
    g_source_set_name(source, "LXHotelsFermo main queue");
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_ready_time(source, -1);
    // A null context means the global default one, as everywhere in GLib.
    g_source_attach(source, context);
    state_->source = source;
}

GLibMainQueue::~GLibMainQueue() {
    state_->due.clear();
    g_source_destroy(state_->source);
    g_source_unref(state_->source);
    state_->source = nullptr;
}

GLibMainQueue::Key GLibMainQueue::schedule(gint64 dueTime, std::function<void()> work) {
    Key key{dueTime, state_->nextSequence++};
    state_->due.emplace(key, std::move(work));
    rearm(*state_);
    return key;
}

void GLibMainQueue::post(std::function<void()> work) {
    schedule(g_get_monotonic_time(), std::move(work));
}

std::unique_ptr<WorkItem> GLibMainQueue::postAfter(Seconds delay, std::function<void()> work) {
    // Negative or NaN delays mean "now"; huge ones are capped far in the future.
    double micros = std::clamp(std::isnan(delay.count()) ? 0.0 : delay.count() * 1e6, 0.0, 1e15);
    Key key = schedule(g_get_monotonic_time() + static_cast<gint64>(std::llround(micros)), std::move(work));
    return std::make_unique<QueuedWork>(state_, key);
}

}  // namespace lxhf
