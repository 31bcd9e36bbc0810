#include "platform/GLibBackgroundQueue.h"

#include <atomic>

#include "platform/ThreadEnd.h"

namespace lxhf {

namespace {

// GLib hands a job to the worker and back with its own futex-based locks,
// which ThreadSanitizer cannot see; the atomics below state the same order
// in terms it can check, at the cost of one uncontended atomic each way.
struct Job {
    std::function<void()> work;
    std::uint64_t id;
    std::weak_ptr<GLibBackgroundQueue::Continuations> continuations;
    GMainContext* context;
    std::shared_ptr<std::atomic<std::uint64_t>> finishedJobs;  // orders one job's work after the last
    std::shared_ptr<GLibBackgroundQueue::Outstanding> outstanding;
    std::atomic<bool> handedOver{false};
    std::atomic<bool> finished{false};
};

gboolean runContinuation(gpointer data) {
    auto* job = static_cast<Job*>(data);
    (void)job->finished.load(std::memory_order_acquire);
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
    (void)job->finished.load(std::memory_order_acquire);
    g_main_context_unref(job->context);
    delete job;
}

// On the worker. An explicit idle source rather than g_main_context_invoke,
// which would run the continuation right here whenever this thread could
// acquire the context.
void runJob(gpointer data, gpointer) {
    auto* job = static_cast<Job*>(data);
    (void)job->handedOver.load(std::memory_order_acquire);
    (void)job->finishedJobs->load(std::memory_order_acquire);
    job->work();
    job->work = nullptr;
    job->finishedJobs->fetch_add(1, std::memory_order_acq_rel);
    job->finished.store(true, std::memory_order_release);
    job->outstanding->finishOne();
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, runContinuation, job, deleteJob);
    g_source_attach(source, job->context);
    g_source_unref(source);
}

}  // namespace

void GLibBackgroundQueue::Outstanding::addOne() {
    std::lock_guard<std::mutex> lock(mutex);
    ++count;
}

void GLibBackgroundQueue::Outstanding::finishOne() {
    std::lock_guard<std::mutex> lock(mutex);
    if (--count == 0) drained.notify_all();
}

bool GLibBackgroundQueue::Outstanding::waitFor(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex);
    return drained.wait_for(lock, limit, [this] { return count == 0; });
}

GLibBackgroundQueue::GLibBackgroundQueue(std::chrono::milliseconds stopLimit)
    : context_(g_main_context_ref_thread_default()), continuations_(std::make_shared<Continuations>()),
      pool_(newPool()), stopLimit_(stopLimit) {}

GLibBackgroundQueue::~GLibBackgroundQueue() {
    // Work already submitted still runs after this returns (the pool is
    // freed once it drains); waiting for it, within the limit, is what keeps
    // a session file written just before exit.
    if (!outstanding_->waitFor(stopLimit_)) logThreadLeftRunning("the worker", stopLimit_);
    g_thread_pool_free(pool_, FALSE, FALSE);
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
    auto* job = new Job{std::move(work), id, continuations_, g_main_context_ref(context_), finishedJobs_, outstanding_};
    outstanding_->addOne();
    job->handedOver.store(true, std::memory_order_release);
    g_thread_pool_push(pool_, job, nullptr);
}

}  // namespace lxhf
