// What lxfermo does with its command line, and `lxfermo sim` end to end.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "LxfermoProcess.h"
#include "platform/LibsoupHttpClient.h"
#include "support/HostileJson.h"
#include "support/MainLoop.h"
#include "support/TempDir.h"

namespace lxhf::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(LxfermoCommandLine, UnusableArgumentsExitWithTwoAndHelpGoesToStdout) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "Usage: lxfermo <command>"},
        {{"serve"}, "unknown command 'serve'"},
        {{"host", "--api"}, "unknown option '--api'"},
        {{"host", "--api-base"}, "option '--api-base' needs a value"},
        {{"host", "--ca-file", "--cache-dir", "/tmp"}, "option '--ca-file' needs a value"},
        {{"host", "stray"}, "unexpected argument 'stray'"},
        {{"sim", "--port", "70000"}, "--port needs a number from 1 to 65535"},
        {{"host", "--max-concurrent-batches", "0"}, "--max-concurrent-batches wants a whole number from 1 to 64"},
        {{"host", "--max-concurrent-batches", "two"}, "--max-concurrent-batches wants a whole number"},
        {{"host", "--retry=3"}, "option '--retry' takes no value"},
        {{"sim", "--port", "12ab"}, "--port needs a number"},
        {{"demo", "--terminal=yes"}, "option '--terminal' takes no value"},
        {{"sim", "--"}, "'--' needs a command after it"},
        {{"sim", "--", ""}, "'--' needs a command after it"},
        {{"sim", "--print-env", "--", "true"}, "--print-env and a command are alternatives"},
    };
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(::testing::PrintToString(args));
        const auto run = runLxfermo(args);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_EQ(run.out, "");
    }
    for (const std::string command : {"host", "sim", "demo"}) {
        const auto run = runLxfermo({command, "--help"});
        EXPECT_EQ(run.exitCode, 0) << command;
        EXPECT_THAT(run.out, HasSubstr("Usage: lxfermo " + command)) << command;
    }
}

// What a host developer meets with `lxfermo sim`: only its CA is trusted,
// contract breaks are answered and printed with the reason (and with
// --verbose, each body on one line), and the faults file changes answers for
// as many calls as it says, without stalling others.
TEST(LxfermoSim, RefusesAndPrintsContractBreaksAndPlaysItsFaultsFile) {
    TempDir dir;
    std::ofstream(dir / "faults.json") << R"({"sessions": {"status": 503, "count": 1},
        "fermo_offers": {"body": "[{\"offer\": ", "headers": {"x-client-region": null}, "count": 1},
        "events/batch": {"drop": true, "count": 1}, "/api/v2/logs": {"delay": 2.0, "count": 1}})";
    std::ofstream(dir / "broken.json") << R"({"sessions": {"status": "five hundred"}})";
    LxfermoProcess sim({"sim", "--verbose", "--faults", (dir / "faults.json").string()});
    std::string banner;
    while (auto line = sim.nextLine(20)) {
        banner += *line + "\n";
        if (line->rfind("Press Ctrl-C", 0) == 0) break;
    }
    const auto shown = [&](const std::string& label) {
        const auto at = banner.find(label);
        if (at == std::string::npos) return std::string();
        const auto from = banner.find_first_not_of(' ', at + label.size());
        return banner.substr(from, banner.find('\n', from) - from);
    };
    const std::string base = shown("service at"), api = shown("API base:"), intake = shown("log intake:");
    const std::string ca = shown("CA file:");
    ASSERT_THAT(base, StartsWith("https://127.0.0.1:")) << banner;
    ASSERT_TRUE(std::filesystem::exists(ca)) << banner;


    const auto post = [](std::string url, HttpHeaders headers, std::string body) {
        return HttpRequest{"POST", std::move(url), std::move(headers), std::move(body), Seconds{20}};
    };
    const HttpHeaders bearer = {{"Authorization", "Bearer partner-token"}};
    const std::string inputs = R"({"device": {"id": "D-1", "platform": {"operating_system": {"version": "12",
        "type": "i_os"}, "type": "app"}, "type": "mobile"}})";
    LibsoupHttpClient untrusting;
    auto refused = sendAndWait(untrusting, post(api + "sessions", bearer, inputs));
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.error().description, "Unacceptable TLS certificate");

    LibsoupHttpClient client{std::filesystem::path(ca)};
    const auto answer = [&](const HttpRequest& request) {
        auto result = sendAndWait(client, request);
        if (!result.ok()) ADD_FAILURE() << request.url << ": " << result.error().description;
        return result.ok() ? result.value() : HttpResponse{};
    };
    EXPECT_EQ(answer(post(api + "sessions", bearer, inputs)).status, 503);
    // An unconfigured client's empty token is let through, and noted.
    const auto created = answer(post(api + "sessions", {{"Authorization", "Bearer "}}, inputs));
    ASSERT_EQ(created.status, 201);
    const std::string session = Json::parse(created.body).value("id", "");
    HttpHeaders ours = bearer;
    ours.emplace_back("LX-Session-ID", session);

    Json offers = Json::parse(R"({"type": "create_rooms_deposit_offer",
        "hotel": {"id": "H-1", "name": "Lago", "star_rating": "4", "address": {"line": "Via Roma 1", "city": "Fermo",
                  "country_code": "IT"}},
        "booking": {"stay_dates": {"check_in": "2025-06-01", "check_out": "2025-06-04"}, "guests": {"adults": 2,
                    "children": 1}, "locale": "en_GB", "currency": "EUR", "number_of_rooms": 1},
        "rooms": [{"id": "R1", "merchant_id": "M-1", "name": "Double", "beds": 2, "price": "199.00",
                   "room_type": "double", "cancellation_code": "FLEX", "rate_category_id": "RC", "availability": 3}]})");
    const auto faulted = answer(post(api + "fermo_offers", ours, offers.dump()));
    EXPECT_EQ(faulted.status, 201);
    EXPECT_EQ(faulted.body, R"([{"offer": )");
    EXPECT_EQ(faulted.header("x-client-region"), std::nullopt);
    EXPECT_EQ(answer(post(api + "fermo_offers", ours, offers.dump())).header("x-client-region"), "EU");

    const auto edited = [&](const std::function<void(Json&)>& edit) {
        Json body = offers;
        edit(body);
        return body.dump();
    };
    const auto event = [](const std::string& id, const std::string& when = "2024-03-01T09:05:03Z") {
        return Json::array({{{"session_id", id}, {"occurred_date_time", when}, {"fermo_offer_id", "fo_1"},
                             {"type", "offer_shown"}}}).dump();
    };
    const std::string record = R"({"service": "lx-hotels-fm-sdk", "version": "0.1.0", "source": "iOS",
        "message": "m", "status": "info", "data": {"jsonPayload": {"env": "production", "partner": "Velto",
        "locale": "en"}}})";
    const std::string logs = intake + "?ddsource=iOS&dd-api-key=pub3c9e41b07d5a2f68e1b4c7a90d2f5e83&ddtags=";
    const HttpHeaders jsonType = {{"Content-Type", "application/json"}};
    const std::string production = logs + "env:production,version:0.1.0", deep = deepObject();

    // A delayed answer leaves the service free to answer others meanwhile.
    LibsoupHttpClient other{std::filesystem::path(ca)};
    std::optional<HttpResult> delayed;
    other.send(post(production, jsonType, record), [&](HttpResult r) { delayed.emplace(std::move(r)); });
    EXPECT_FALSE(sendAndWait(other, post(api + "events/batch", bearer, event(session))).ok());  // dropped
    const auto sent = sendAndWait(other, post(api + "events/batch", bearer, event(session)));
    EXPECT_EQ(sent.ok() ? sent.value().status : 0, 204);
    EXPECT_FALSE(delayed.has_value());
    ASSERT_TRUE(runMainLoopUntil([&] { return delayed.has_value(); }, 20));
    EXPECT_EQ(delayed->ok() ? delayed->value().status : 0, 202);

    struct Case {
        HttpRequest request;
        int status;
        std::string reason;
    };
    Json phone = Json::parse(inputs), camel = phone;
    phone["device"]["type"] = "phone";
    camel["partnerUserId"] = "u";
    const std::vector<Case> cases = {
        {post(api + "sessions", {}, inputs), 401, "missing Authorization header"},
        {post(api + "sessions", {{"Authorization", "Token abc"}}, inputs), 401, "is not \"Bearer"},
        {post(api + "sessions", bearer, camel.dump()), 400, "key partnerUserId is not snake case"},
        {post(api + "sessions", bearer, phone.dump()), 400, "device.type has the unexpected value \"phone\""},
        {{"GET", api + "sessions", bearer, ""}, 405, "method GET not allowed"},
        {post(api + "fermo_offers", bearer, offers.dump()), 400, "missing LX-Session-ID"},
        {post(api + "fermo_offers", {{"Authorization", "Bearer t"}, {"LX-Session-ID", "made-up"}}, offers.dump()), 403,
         "not a known session"},
        {post(api + "fermo_offers", ours, edited([](Json& b) { b["rooms"][0]["beds"] = "2"; })), 400,
         "rooms[0].beds must be an integer"},
        {post(api + "fermo_offers", ours, edited([](Json& b) { b["hotel"]["star_rating"] = 4; })), 400,
         "hotel.star_rating must be a string"},
        {post(api + "fermo_offers", ours, edited([](Json& b) { b["rooms"][0]["image_url"] = "https://x/y.jpg"; })),
         400, "rooms[0].image_url must not be sent"},
        {post(api + "fermo_offers", ours, edited([](Json& b) { b["rooms"][0]["merchant_room_id"] = nullptr; })), 400,
         "rooms[0].merchant_room_id is null"},
        {post(api + "fermo_offers", ours, edited([](Json& b) { b["booking"].erase("currency"); })), 400,
         "missing key booking.currency"},
        {post(api + "fermo_offers", ours, R"({"hotel": {"id": )"), 400, "body is not valid JSON"},
        {post(api + "events/batch", ours, event(session)), 400, "LX-Session-ID must not be sent"},
        {post(api + "events/batch", bearer, event("S-unknown")), 403, "[0].session_id is not a known session"},
        {post(api + "events/batch", bearer, event(session, "2024-03-01T09:05:03.120Z")), 400,
         "not yyyy-MM-ddTHH:mm:ssZ"},
        {post(api + "events/batch", bearer, Json::parse(event(session))[0].dump()), 400, "body must be an array"},
        {post(production, {}, record), 400, "Content-Type application/json"},
        {post(logs + "env:staging,version:0.1.0", jsonType, record), 400, "differs from ddtags"},
        {post(logs + "env:production,version:9", jsonType, record), 400, "wrong ddtags"},
        {post(production, jsonType, deep), 400, "body is not valid JSON"},
        {post(base + "/api/hotels/v2/sessions", bearer, "{}"), 404, "no route for /api/hotels/v2/sessions"},
    };
    for (const auto& c : cases) {
        const auto reply = answer(c.request);
        EXPECT_EQ(reply.status, c.status) << c.reason;
        const Json body = Json::parse(reply.body, nullptr, false);
        EXPECT_THAT(body.is_object() ? body.value("reason", "") : reply.body, HasSubstr(c.reason));
    }
    // Every request so far went over one connection after one handshake.
    EXPECT_EQ(client.connectionCount(), 1);
    EXPECT_EQ(client.tlsHandshakeCount(), 1);

    // Each request is printed with its own verdict, faults and notes marked,
    // then its body.
    std::vector<std::string> printed, bodies;
    const std::size_t expected = 7 + cases.size();
    while (bodies.size() < expected) {
        auto line = sim.nextLine(5);
        if (!line) break;
        if (line->rfind("    ", 0) == 0) bodies.push_back(*line);
        else if (line->rfind("  ", 0) == 0) printed.push_back(*line);
    }
    ASSERT_EQ(printed.size(), expected) << ::testing::PrintToString(printed);
    ASSERT_EQ(bodies.size(), expected) << ::testing::PrintToString(bodies);
    EXPECT_THAT(bodies[0], AllOf(StartsWith("    POST /api/hotels/v1.0/sessions body: {"),
                                 HasSubstr(R"("12",\n        "type": "i_os")")));
    EXPECT_EQ(bodies[7 + 2], "    POST /api/hotels/v1.0/sessions body: " + camel.dump());
    EXPECT_THAT(bodies[7 + 20], EndsWith("... (" + std::to_string(deep.size()) + " bytes in all)"));
    EXPECT_THAT(printed[0], AllOf(HasSubstr("POST /api/hotels/v1.0/sessions -> 201"), HasSubstr("(scripted fault)")));
    EXPECT_THAT(printed[1], HasSubstr("-> 201 [empty bearer token]"));
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_THAT(printed[7 + i], AllOf(HasSubstr("-> " + std::to_string(cases[i].status) + " refused: "),
                                          HasSubstr(cases[i].reason)));

    sim.signal(SIGTERM);
    EXPECT_EQ(sim.exitCode(10), 0);
    EXPECT_FALSE(std::filesystem::exists(ca)) << "the CA outlived the service";

    const auto missing = runLxfermo({"sim", "--faults", (dir / "none.json").string()});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("cannot read the faults file"));
    const auto broken = runLxfermo({"sim", "--faults", (dir / "broken.json").string()});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_THAT(broken.err, HasSubstr("status must be an integer"));
}

// `sh -c SCRIPT lxfermo` with TMPDIR set, so what the sim makes lands there.
RunResult runShell(const std::string& script, const std::filesystem::path& tmpdir) {
    RunResult run;
    gchar** env = g_environ_setenv(g_get_environ(), "TMPDIR", tmpdir.c_str(), TRUE);
    const gchar* argv[] = {"/bin/sh", "-c", script.c_str(), LXFERMO_BINARY, nullptr};
    gchar *out = nullptr, *err = nullptr;
    gint status = 0;
    if (g_spawn_sync(nullptr, const_cast<gchar**>(argv), env, G_SPAWN_DEFAULT, nullptr, nullptr, &out, &err, &status,
                     nullptr))
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = out ? std::string(out) : "";
    run.err = err ? err : "";
    g_free(out);
    g_free(err);
    g_strfreev(env);
    return run;
}

bool gone(const std::vector<std::string>& paths, double seconds) {
    for (int i = 0;; ++i) {
        if (std::none_of(paths.begin(), paths.end(), [](const auto& p) { return std::filesystem::exists(p); }))
            return true;
        if (i >= seconds * 20) return false;
        g_usleep(50000);
    }
}

// How an app under development gets the sim's addresses: from a shell's
// eval of --print-env (exactly, even in a folder named with a quote and a
// space), with the service left answering in the background until its pid
// is signalled; or as the environment of a command run under the sim, whose
// status the sim returns and after which nothing of the service is left.
TEST(LxfermoSim, HandsItsAddressesToAnApp) {
    TempDir dir;
    const auto odd = dir / "it's here";
    std::filesystem::create_directory(odd);
    const auto printed = runShell(R"sh(eval "$("$0" sim --print-env)" || exit 9
        printf '%s\n' "$LXHF_API_BASE" "$LXHF_MICROSITE_BASE" "$LXHF_INTAKE_URL" "$LXHF_CA_FILE" "$LXHF_CACHE_DIR" \
          "$LXHF_SIM_PID")sh",
                                  odd);
    ASSERT_EQ(printed.exitCode, 0) << printed.err;
    std::vector<std::string> values;
    std::istringstream lines(printed.out);
    for (std::string line; std::getline(lines, line);) values.push_back(line);
    ASSERT_EQ(values.size(), 6u) << printed.out;
    const pid_t pid = std::atoi(values[5].c_str());
    ASSERT_GT(pid, 1);
    struct Stop {
        pid_t pid;
        ~Stop() { kill(pid, SIGTERM); }
    } stop{pid};
    EXPECT_THAT(values[0], AllOf(StartsWith("https://127.0.0.1:"), EndsWith("/api/hotels/v1.0/")));
    EXPECT_THAT(values[1], EndsWith("/cloud/hotels/purchase"));
    EXPECT_THAT(values[2], EndsWith("/api/v2/logs"));
    EXPECT_THAT(values[3], StartsWith(odd.string() + "/"));
    EXPECT_TRUE(std::filesystem::is_regular_file(values[3]));
    EXPECT_THAT(values[4], StartsWith(odd.string() + "/"));
    EXPECT_TRUE(std::filesystem::is_directory(values[4]));
    LibsoupHttpClient client{std::filesystem::path(values[3])};
    const auto session = sendAndWait(client, HttpRequest{"POST", values[0] + "sessions",
                                                         {{"Authorization", "Bearer partner-token"}},
                                                         R"({"device": {"id": "D-1", "platform": {"operating_system":
                                                         {"version": "12", "type": "i_os"}, "type": "app"},
                                                         "type": "mobile"}})",
                                                         Seconds{20}});
    ASSERT_TRUE(session.ok()) << session.error().description;
    EXPECT_EQ(session.value().status, 201);
    ASSERT_EQ(kill(pid, SIGTERM), 0);
    EXPECT_TRUE(gone({values[3], values[4]}, 10)) << "the stopped sim left its files";

    // A file it cannot use is reported by the command the shell runs.
    std::ofstream(dir / "broken.json") << R"({"sessions": {"status": "five hundred"}})";
    const auto broken = runLxfermo({"sim", "--print-env", "--faults", (dir / "broken.json").string()});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_THAT(broken.err, HasSubstr("status must be an integer"));
    EXPECT_EQ(broken.out, "");

    const auto ran = runLxfermo({"sim", "--page", "close", "--", "/bin/sh", "-c",
                                 R"sh(test -f "$LXHF_CA_FILE" && test -d "$LXHF_CACHE_DIR" &&
            case $LXHF_API_BASE$LXHF_MICROSITE_BASE$LXHF_INTAKE_URL in *127.0.0.1*) ;; *) exit 1;; esac &&
            echo "$LXHF_CA_FILE" && echo "$LXHF_CACHE_DIR" && exit 7)sh"});
    EXPECT_EQ(ran.exitCode, 7) << ran.err;
    std::istringstream ranLines(ran.out);
    std::string ca, cache;
    std::getline(ranLines, ca);
    std::getline(ranLines, cache);
    EXPECT_THAT(ca, EndsWith(".pem"));
    EXPECT_FALSE(cache.empty());
    EXPECT_TRUE(gone({ca, cache}, 0)) << "the sim left its files after the command";
    EXPECT_EQ(runLxfermo({"sim", "--", "/bin/sh", "-c", "kill -TERM $$"}).exitCode, 128 + SIGTERM);
    const auto missing = runLxfermo({"sim", "--", "/nonexistent/command"});
    EXPECT_EQ(missing.exitCode, 127);
    EXPECT_THAT(missing.err, HasSubstr("cannot run '/nonexistent/command'"));
}

}  // namespace
}  // namespace lxhf::test
