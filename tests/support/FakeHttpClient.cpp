#include "support/FakeHttpClient.h"

#include <algorithm>
#include <utility>

namespace lxhf::test {

namespace {

bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

bool matches(std::string_view url, std::string_view suffix) {
    return endsWith(url, suffix) || endsWith(url.substr(0, std::min(url.find('?'), url.size())), suffix);
}

}  // namespace

FakeHttpClient::FakeHttpClient(MainQueue& queue) : queue_(queue) {}
FakeHttpClient::~FakeHttpClient() = default;

HttpResult FakeHttpClient::reply(int status, std::string body, HttpHeaders headers) {
    HttpResponse response;
    response.status = status;
    response.body = std::move(body);
    response.headers = std::move(headers);
    return response;
}

HttpResult FakeHttpClient::failure(std::string description) { return TransportError{std::move(description)}; }

void FakeHttpClient::respondTo(std::string urlSuffix, HttpResult answer, Seconds delay) {
    standing_.push_back({std::move(urlSuffix), std::move(answer), delay});
}

void FakeHttpClient::respondOnceTo(std::string urlSuffix, HttpResult answer, Seconds delay) {
    once_.push_back({std::move(urlSuffix), std::move(answer), delay});
}

void FakeHttpClient::enqueue(HttpResult answer, Seconds delay) { fifo_.push_back({{}, std::move(answer), delay}); }

void FakeHttpClient::send(HttpRequest request, std::function<void(HttpResult)> done) {
    requests_.push_back(request);
    if (held_) {
        pending_.push_back({std::move(request), std::move(done)});
        return;
    }
    auto once = std::find_if(once_.begin(), once_.end(), [&](const Scripted& s) { return matches(request.url, s.suffix); });
    if (once != once_.end()) {
        Scripted script = std::move(*once);
        once_.erase(once);
        deliver(request, std::move(done), std::move(script.answer), script.delay);
        return;
    }
    // The latest standing answer for a suffix wins, so a test can change it.
    auto standing = std::find_if(standing_.rbegin(), standing_.rend(),
                                 [&](const Scripted& s) { return matches(request.url, s.suffix); });
    if (standing != standing_.rend()) {
        deliver(request, std::move(done), standing->answer, standing->delay);
        return;
    }
    if (!fifo_.empty()) {
        Scripted script = std::move(fifo_.front());
        fifo_.pop_front();
        deliver(request, std::move(done), std::move(script.answer), script.delay);
        return;
    }
    pending_.push_back({std::move(request), std::move(done)});
}

void FakeHttpClient::completePending(std::size_t index, HttpResult answer) {
    Pending pending = std::move(pending_.at(index));
    pending_.erase(pending_.begin() + static_cast<std::ptrdiff_t>(index));
    deliver(pending.request, std::move(pending.done), std::move(answer), Seconds{0});
}

void FakeHttpClient::deliver(const HttpRequest& request, std::function<void(HttpResult)> done, HttpResult answer,
                             Seconds delay) {
    if (request.timeout.count() > 0 && delay > request.timeout) {
        answer = TransportError{"The request timed out."};
        delay = request.timeout;
    }
    // Work items die with this client, so nothing is delivered after it.
    deliveries_.push_back(queue_.postAfter(delay, [done = std::move(done), answer = std::move(answer)]() mutable {
        done(std::move(answer));
    }));
}

std::vector<HttpRequest> FakeHttpClient::requestsTo(std::string_view urlSuffix) const {
    std::vector<HttpRequest> found;
    std::copy_if(requests_.begin(), requests_.end(), std::back_inserter(found),
                 [&](const HttpRequest& r) { return matches(r.url, urlSuffix); });
    return found;
}

}  // namespace lxhf::test
