#include "platform/GLibBackgroundQueue.h"

#include <condition_variable>
#include <mutex>

namespace lxhf {

namespace {

struct Job {
    std::function<void()> work;
    std::uint64_t id;
    std::weak_ptr<GLibBackgroundQueue::Continuations> continuations;
    GMainContext* context;
};

gboolean runContinuation(gpointer data) {
    auto* job = static_cast<Job*>(data);
    if (auto continuations = job->continuations.lock()) {
        auto found = continuations->waiting.find(job->id);
        if (found != continuations->waiting.end()) {
            auto then = std::move(found->second);
            continuations->waiting.erase(found);
            if (then) then();
        }
    }
    return G_SOURCE_REMOVE;
}

void deleteJob(gpointer data) {
    auto* job = static_cast<Job*>(data);
    g_main_context_unref(job->context);
    delete job;
}

// On the worker. An explicit idle source rather than g_main_context_invoke,
// which would run the continuation right here whenever this thread could
// acquire the context.
void runJob(gpointer data, gpointer) {
    auto* job = static_cast<Job*>(data);
    job->work();
    job->work = nullptr;
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, runContinuation, job, deleteJob);
    g_source_attach(source, job->context);
    g_source_unref(source);
}

}  // namespace

GLibBackgroundQueue::GLibBackgroundQueue()
    : context_(g_main_context_ref_thread_default()), continuations_(std::make_shared<Continuations>()),
      pool_(newPool()) {}

GLibBackgroundQueue::~GLibBackgroundQueue() {
    g_thread_pool_free(pool_, FALSE, TRUE);
    g_main_context_unref(context_);
}

GThreadPool* GLibBackgroundQueue::newPool() {
    // Shared threads, at most one at a time: GLib keeps no thread of ours
    // alive while idle, and the items stay in order.
    return g_thread_pool_new(runJob, nullptr, 1, FALSE, nullptr);
}

void GLibBackgroundQueue::submit(std::function<void()> work, std::function<void()> then) {
    const std::uint64_t id = continuations_->nextId++;
    continuations_->waiting.emplace(id, std::move(then));
    auto* job = new Job{std::move(work), id, continuations_, g_main_context_ref(context_)};
    g_thread_pool_push(pool_, job, nullptr);
}

bool GLibBackgroundQueue::waitUntilIdle(std::chrono::milliseconds limit) {
    // Items run in order, so a marker behind them finishes last. The marker
    // is shared: when the wait gives up, the worker still signals into it.
    struct Marker {
        std::mutex mutex;
        std::condition_variable reached;
        bool done = false;
    };
    auto marker = std::make_shared<Marker>();
    submit(
        [marker] {
            std::lock_guard lock(marker->mutex);
            marker->done = true;
            marker->reached.notify_all();
        },
        nullptr);
    std::unique_lock lock(marker->mutex);
    return marker->reached.wait_for(lock, limit, [&] { return marker->done; });
}

}  // namespace lxhf
