#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/HttpClient.h"
#include "platform/MainQueue.h"

namespace lxhf::test {

// Records every request and answers from a script, later, on `queue` (which
// must outlive it). Single threaded. Destroying it drops undelivered answers,
// as the real client does.
class FakeHttpClient final : public HttpClient {
public:
    explicit FakeHttpClient(MainQueue& queue);
    ~FakeHttpClient() override;

    void send(HttpRequest request, std::function<void(HttpResult)> done) override;
    void preconnect(const std::string& url, unsigned connections) override {
        preconnects_.emplace_back(url, connections);
    }

    static HttpResult reply(int status, std::string body = {}, HttpHeaders headers = {});
    static HttpResult failure(std::string description);

    // A suffix matches the URL's end, with or without its query. A once-answer
    // wins over a standing one; requests no suffix matches take the FIFO
    // answers; a request with no answer at all stays pending. An answer whose
    // delay exceeds the request's timeout becomes "The request timed out."
    // when the timeout passes.
    void respondTo(std::string urlSuffix, HttpResult answer, Seconds delay = Seconds{0});
    void respondOnceTo(std::string urlSuffix, HttpResult answer, Seconds delay = Seconds{0});
    void enqueue(HttpResult answer, Seconds delay = Seconds{0});
    // While held, every new request stays pending whatever the script says.
    void hold(bool held) { held_ = held; }

    std::size_t pendingCount() const { return pending_.size(); }
    const HttpRequest& pendingRequest(std::size_t index) const { return pending_.at(index).request; }
    // Answers a pending request (oldest first) through the queue.
    void completePending(std::size_t index, HttpResult answer);
    void completeNext(HttpResult answer) { completePending(0, std::move(answer)); }

    const std::vector<HttpRequest>& requests() const { return requests_; }
    const std::vector<std::pair<std::string, unsigned>>& preconnects() const { return preconnects_; }
    std::vector<HttpRequest> requestsTo(std::string_view urlSuffix) const;
    std::size_t count(std::string_view urlSuffix) const { return requestsTo(urlSuffix).size(); }

private:
    struct Scripted {
        std::string suffix;
        HttpResult answer;
        Seconds delay;
    };
    struct Pending {
        HttpRequest request;
        std::function<void(HttpResult)> done;
    };

    void deliver(const HttpRequest& request, std::function<void(HttpResult)> done, HttpResult answer, Seconds delay);

    MainQueue& queue_;
    std::vector<HttpRequest> requests_;
    std::vector<std::pair<std::string, unsigned>> preconnects_;
    std::vector<Scripted> standing_;
    std::deque<Scripted> once_;
    std::deque<Scripted> fifo_;
    std::deque<Pending> pending_;
    std::vector<std::unique_ptr<WorkItem>> deliveries_;
    bool held_ = false;
};

}  // namespace lxhf::test
