#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FakeHttpClient.h"
#include "support/ManualQueue.h"

using namespace std::chrono_literals;

namespace lxhf {
namespace {

HttpRequest to(std::string url, double timeout = 60) {
    HttpRequest r;
    r.url = std::move(url);
    r.timeout = Seconds{timeout};
    return r;
}


TEST(FakeHttpClient, AnswersByScriptLaterOnTheQueueAndHoldsTheRest) {
    test::ManualQueue queue;
    std::vector<std::string> got;
    auto record = [&](HttpResult r) {
        got.push_back(r.ok() ? std::to_string(r->status) + ":" + r->body : "error:" + r.error().description);
    };
    {
        test::FakeHttpClient http(queue);
        http.respondTo("/sessions", test::FakeHttpClient::reply(201, "standing"));
        http.respondOnceTo("/sessions", test::FakeHttpClient::reply(500, "once"));
        http.enqueue(test::FakeHttpClient::failure("dropped"));
        http.respondTo("/slow", test::FakeHttpClient::reply(200), 90s);

        http.send(to("https://h/api/sessions"), record);
        http.send(to("https://h/api/sessions?x=1"), record);
        http.send(to("https://h/other"), record);
        http.send(to("https://h/other"), record);  // nothing left: pending
        http.send(to("https://h/slow", 60), record);
        EXPECT_TRUE(got.empty());
        queue.runPending();
        EXPECT_EQ(got, (std::vector<std::string>{"500:once", "201:standing", "error:dropped"}));
        ASSERT_EQ(http.pendingCount(), 1u);
        EXPECT_EQ(http.pendingRequest(0).url, "https://h/other");
        http.completeNext(test::FakeHttpClient::reply(204));
        queue.runPending();
        queue.advance(60s);
        EXPECT_EQ(got.back(), "error:The request timed out.");
        EXPECT_EQ(http.count("/sessions"), 2u);
        EXPECT_EQ(http.requests().size(), 5u);

        http.hold(true);
        http.send(to("https://h/api/sessions"), record);
        http.send(to("https://h/api/sessions"), record);
        http.completeNext(test::FakeHttpClient::reply(201, "late"));
        EXPECT_EQ(http.pendingCount(), 1u);
    }
    // The client is gone: its undelivered answer is dropped.
    queue.advance(1s);
    EXPECT_EQ(got, (std::vector<std::string>{"500:once", "201:standing", "error:dropped", "204:",
                                             "error:The request timed out."}));
}

}  // namespace
}  // namespace lxhf
