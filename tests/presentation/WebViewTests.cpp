// The purchase page in a real WebKitGTK view against the local service's page; needs a display (Xvfb).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "FermoTestService.h"
#include "core/Facade.h"
#include "infra/LoggerSlot.h"
#include "presentation/ui/PurchaseWindow.h"
#include "support/FakeHttpClient.h"
#include "PageTestSupport.h"
#include "support/MainLoop.h"
#include "support/ManualQueue.h"
#include "support/RecordingSystemLog.h"

namespace lxhf::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kPageTimeout = 60.0;  // the first web process start is slow under Xvfb and load

struct RecordingLauncher final : ui::UriLauncher {
    void launch(const std::string& uri, GtkWindow*) override { uris.push_back(uri); }
    std::vector<std::string> uris;
};

class PurchasePage : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        // ".invalid" names never resolve; on a machine without a network the
        // resolver should say so quickly rather than wait for its servers.
        g_setenv("RES_OPTIONS", "timeout:1 attempts:1", TRUE);
        service = startServiceWithDisplay();
        hasDisplay = service != nullptr;
    }
    static void TearDownTestSuite() { delete service; }

    void SetUp() override {
        if (!hasDisplay) GTEST_SKIP() << "no display";
        session = webkit_network_session_new_ephemeral();  // what one test allowed stays with it
        caFile = service->caFile();
        host = GTK_WINDOW(gtk_window_new());
        gtk_window_present(host);
    }
    void TearDown() override {
        if (!hasDisplay) return;
        service->clearFaults();
        if (window && !closed) gtk_window_destroy(window);
        gtk_window_destroy(host);
        runMainLoopFor(0.1);
        g_object_unref(session);
    }

    void open(const std::optional<std::string>& script, LXPurchasePageOptions options = {}) {
        openAt(script ? std::optional(service->micrositeBase() + "?lxtest=" + *script) : std::nullopt, options);
    }
    void openAt(const std::optional<std::string>& url, LXPurchasePageOptions options = {}) {
        ui::PurchaseWindowSetup setup;
        setup.host = host;
        setup.url = url;
        setup.purchaseCallback = [this](const LXFermoPurchaseResult& r) { results.push_back(describe(r)); };
        setup.onEnded = [this](const auto&) { closed = true; };
        setup.readMessage = [this](std::string_view body, std::string_view handler) {
            auto action = LXHotelsFermoSDK::shared().pageMessage(body, handler);
            if (action.kind != Kind::ready) quiet.push_back(action.kind);
            return action;
        };
        setup.warn = [this](std::string_view line) { warnings.emplace_back(line); };
        setup.launcher = launcher;
        setup.caFile = caFile;
        setup.networkSession = session;
        setup.pageOptions = options;
        closed = false;
        results.clear();
        quiet.clear();
        warnings.clear();
        window = ui::presentPurchaseWindow(std::move(setup));
    }

    ui::WebViewController& page() { return *ui::WebViewController::from(gtk_window_get_child(window)); }
    bool waitUntilReady() {
        return runMainLoopUntil([&] { return closed || !page().spinnerSpinning(); }, kPageTimeout) && !closed;
    }
    bool waitUntilClosed() { return runMainLoopUntil([&] { return closed; }, kPageTimeout); }
    // The page went, and nothing else arrives after the one error.
    void expectOneError(const std::string& message) {
        ASSERT_TRUE(waitUntilClosed()) << message;
        runMainLoopFor(0.2);
        EXPECT_THAT(results, ElementsAre("error: " + message));
    }
    // Runs `cause` and waits for `signal` of the page's web view, which must
    // return nothing or FALSE.
    bool waitForSignal(const char* signal, const std::function<void()>& cause = {}) {
        bool seen = false;
        const gulong id = g_signal_connect_swapped(page().webView(), signal, G_CALLBACK(+[](bool* flag) -> gboolean {
                                                       *flag = true;
                                                       return FALSE;
                                                   }),
                                                   &seen);
        if (cause) cause();
        const bool ok = runMainLoopUntil([&] { return seen; }, kPageTimeout);
        g_signal_handler_disconnect(page().webView(), id);
        return ok;
    }

    static inline bool hasDisplay = false;
    static inline testing::FermoTestService* service = nullptr;
    WebKitNetworkSession* session = nullptr;
    std::optional<std::string> caFile;  // the extra CA the page is given
    GtkWindow* host = nullptr;
    GtkWindow* window = nullptr;
    std::shared_ptr<RecordingLauncher> launcher = std::make_shared<RecordingLauncher>();
    bool closed = false;
    std::vector<std::string> results;
    using Kind = LXPurchasePageAction::Kind;
    std::vector<Kind> quiet;  // what the page sent besides "ready"
    std::vector<std::string> warnings;
};

TEST_F(PurchasePage, ReadyStopsTheSpinnerAndMessagesThatAreNotEventsAreOnlyLogged) {
    open("ready");
    EXPECT_TRUE(page().spinnerSpinning());
    EXPECT_EQ(gtk_window_get_transient_for(window), host);
    ASSERT_TRUE(waitUntilReady());
    EXPECT_THAT(quiet, IsEmpty());
    evaluate(page().webView(),
             "window.webkit.messageHandlers.CorvaneSDKBridge.postMessage('close');"
             "window.webkit.messageHandlers.CorvaneSDKBridge.postMessage({eventName: 'close'});"
             "window.CorvaneSDKBridge.event('Close'); 0");
    ASSERT_TRUE(runMainLoopUntil([&] { return quiet.size() >= 3; }, kPageTimeout));
    runMainLoopFor(0.2);
    EXPECT_THAT(quiet, ElementsAre(Kind::malformed, Kind::malformed, Kind::unknown));
    EXPECT_THAT(results, IsEmpty());
    EXPECT_FALSE(closed);
}

TEST_F(PurchasePage, PurchaseCloseAndErrorArriveInOrderAndDismiss) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"purchase", {"purchased", "cancelled"}},
        {"close", {"cancelled"}},
        {"error", {"error: Card declined"}},
        {"error-nomessage", {"error: Unable to access microsite error message"}},
    };
    for (const auto& [script, expected] : cases) {
        open(script);
        ASSERT_TRUE(waitUntilClosed()) << script;
        EXPECT_EQ(results, expected);
        EXPECT_THAT(warnings, IsEmpty());
    }
}

TEST_F(PurchasePage, NewWindowLinksGoToTheLauncher) {
    open("newwindow");  // the page follows its link from script, which WebKit treats as a pop-up
    webkit_settings_set_javascript_can_open_windows_automatically(webkit_web_view_get_settings(page().webView()),
                                                                  TRUE);
    ASSERT_TRUE(runMainLoopUntil([&] { return !launcher->uris.empty(); }, kPageTimeout));
    EXPECT_THAT(launcher->uris, ElementsAre(service->baseUrl() + "/cloud/hotels/terms"));
    EXPECT_STREQ(webkit_web_view_get_uri(page().webView()), (service->micrositeBase() + "?lxtest=newwindow").c_str());

    // Anything but a web page would go to whatever application claims its scheme.
    evaluate(page().webView(), "['smb://files.example/share', 'lxcustom:open', 'file:///etc/hosts', "
                               "'HTTP://example.com/upper'].forEach(u => window.open(u)); 0");
    ASSERT_TRUE(runMainLoopUntil([&] { return launcher->uris.size() >= 2; }, kPageTimeout));
    EXPECT_THAT(launcher->uris, ElementsAre(service->baseUrl() + "/cloud/hotels/terms", "http://example.com/upper"));
    const std::string refused = "Refused to open a link that is not http or https";
    EXPECT_THAT(warnings, ElementsAre(refused, refused, refused));
    EXPECT_THAT(results, IsEmpty());
    EXPECT_FALSE(closed);
}

TEST_F(PurchasePage, TheServiceCertificateIsTrustedThroughTheGivenAuthorityOnly) {
    testing::FermoTestService other;  // another authority, with its own certificate
    std::string error;
    ASSERT_TRUE(other.startOnOwnThread(&error)) << error;
    // Refusals first: a certificate once allowed stays allowed in the session.
    for (const std::optional<std::string>& wrong : {std::optional(other.caFile()), std::optional<std::string>()}) {
        caFile = wrong;
        open("ready", {.reportLoadFailures = true, .readyTimeoutSeconds = 0});
        expectOneError("Unable to load the purchase page: its certificate is not trusted");
    }
    caFile = service->caFile();
    open("ready");
    EXPECT_TRUE(waitUntilReady());
    EXPECT_THAT(results, IsEmpty());
}

TEST_F(PurchasePage, PagesAHostPresentsLogThroughTheSharedLoggerOrNotAtAll) {
    LXEndpoints endpoints;
    endpoints.caFile = service->caFile();
    ASSERT_TRUE(LXHotelsFermoSDK::shared().setEndpoints(endpoints));
    const auto present = [&] {
        window = LXPurchaseWindow::present(
            host, service->micrositeBase() + "?lxtest=ready",
            [this](const LXFermoPurchaseResult& r) { results.push_back(describe(r)); }, [this] { closed = true; });
    };
    // Before any logger: no line anywhere but at GLib's debug level, which
    // the machine drops unless asked. GLib takes one writer per process.
    static int machineLogLines = 0;
    static const GLogWriterFunc counter = [](GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) {
        for (gsize i = 0; i < count && !(level & G_LOG_LEVEL_DEBUG); ++i) {
            const auto* value = static_cast<const char*>(fields[i].value);
            if (g_str_equal(fields[i].key, "GLIB_DOMAIN") && !g_strcmp0(value, "LXHotelsFermo")) ++machineLogLines;
        }
        return g_log_writer_default(level, fields, count, nullptr);
    };
    [[maybe_unused]] static const bool counting = (g_log_set_writer_func(counter, nullptr, nullptr), true);
    machineLogLines = 0;
    present();
    ASSERT_TRUE(waitUntilReady());
    evaluate(page().webView(), "window.CorvaneSDKBridge.event('Close'); window.CorvaneSDKBridge.event('close'); 0");
    ASSERT_TRUE(waitUntilClosed());
    EXPECT_EQ(machineLogLines, 0);

    ManualQueue queue;
    FakeHttpClient intake{queue};
    RecordingSystemLog systemLog;
    processLoggerSlot().installOrRenew(makeLoggerConfig(LXEnvironmentType::staging, "en_US", "S-1"),
                                       LoggerContext{intake, systemLog, "https://intake.test/api/v2/logs"});
    struct Uninstall {
        ~Uninstall() { processLoggerSlot().clear(); }
    } uninstall;
    closed = false;
    results.clear();
    present();
    ASSERT_TRUE(waitUntilReady());
    evaluate(page().webView(), "window.CorvaneSDKBridge.event('Close'); 0");
    ASSERT_TRUE(runMainLoopUntil([&] { return !intake.requests().empty(); }, kPageTimeout));
    EXPECT_EQ(nlohmann::json::parse(intake.requests()[0].body)["message"], "Microsite event: unknown");
    EXPECT_EQ(nlohmann::json::parse(intake.requests()[0].body)["status"], "warn");
    EXPECT_THAT(systemLog.entries(), ElementsAre(::testing::Pair(SystemLog::Type::error,
                                                                 "[LXHotelsFermoSDK] : Microsite event: unknown")));
    EXPECT_THAT(results, IsEmpty());
}

TEST_F(PurchasePage, APageTheConnectionNeverYieldsIsOneErrorOnlyWhenAskedFor) {
    const std::string unresolvable = "https://purchase.lxhf.invalid/cloud/hotels/purchase";
    openAt(unresolvable);
    ASSERT_TRUE(waitForSignal("load-failed"));
    runMainLoopFor(0.3);
    EXPECT_TRUE(page().spinnerSpinning());
    EXPECT_THAT(results, IsEmpty());
    EXPECT_FALSE(closed);

    // Bound but not listening: a port nobody answers on, held for the test.
    g_autoptr(GSocket) refusing =
        g_socket_new(G_SOCKET_FAMILY_IPV4, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP, nullptr);
    g_autoptr(GInetAddress) loopback = g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4);
    g_autoptr(GSocketAddress) anyPort = g_inet_socket_address_new(loopback, 0);
    ASSERT_TRUE(g_socket_bind(refusing, anyPort, FALSE, nullptr));
    g_autoptr(GSocketAddress) bound = g_socket_get_local_address(refusing, nullptr);
    const std::string refused = "https://127.0.0.1:" +
                                std::to_string(g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(bound))) +
                                "/cloud/hotels/purchase";
    const std::pair<std::string, std::string> cases[] = {
        {unresolvable, "Unable to load the purchase page: the host name could not be resolved"},
        {refused, "Unable to load the purchase page: the connection was refused"},
        {service->micrositeBase() + "?lxtest=fail",
         "Unable to load the purchase page: the connection closed before the whole page arrived"},
    };
    for (const auto& [url, message] : cases) {
        openAt(url, {.reportLoadFailures = true, .readyTimeoutSeconds = 0});
        expectOneError(message);
    }
}

TEST_F(PurchasePage, AServiceThatAnswersBadlyIsOneErrorOnlyWhenAskedFor) {
    const std::string purchasePage = "/cloud/hotels/purchase";
    service->setFault(purchasePage, {.status = 503, .count = 1});
    open("ready");
    ASSERT_TRUE(waitUntilReady());
    runMainLoopFor(0.2);
    EXPECT_THAT(results, IsEmpty());

    // The page's own "error" after the failing status is not a second result.
    service->setFault(purchasePage, {.status = 503, .count = 1});
    open("error", {.reportLoadFailures = true, .readyTimeoutSeconds = 0});
    expectOneError("Unable to load the purchase page: the service answered with HTTP status 503");

    // A page that moves on by script before it is ready is still loading: where it lands counts.
    service->setFault(purchasePage, {.body = "<script>location.replace('/cloud/hotels/terms')</script>", .count = 1});
    service->setFault("/cloud/hotels/terms", {.status = 503, .count = 1});
    open("ready", {.reportLoadFailures = true, .readyTimeoutSeconds = 0});
    expectOneError("Unable to load the purchase page: the service answered with HTTP status 503");

    service->setFault(purchasePage, {.truncate = 300, .count = 1});
    open("ready", {.reportLoadFailures = true, .readyTimeoutSeconds = 0});
    expectOneError("Unable to load the purchase page: the connection closed before the whole page arrived");

    service->setFault(purchasePage, {.delaySeconds = 5, .count = 1});
    open("ready", {.reportLoadFailures = true, .readyTimeoutSeconds = 1.5});
    expectOneError("The purchase page was not ready within 1.5 seconds");

    const gint64 opened = g_get_monotonic_time();  // a page that gets ready in time outlives the deadline
    open("ready", {.reportLoadFailures = true, .readyTimeoutSeconds = 4});
    ASSERT_TRUE(waitUntilReady()) << (results.empty() ? "" : results[0]);
    runMainLoopFor(4.5 - static_cast<double>(g_get_monotonic_time() - opened) / 1e6);
    EXPECT_FALSE(closed);
    EXPECT_THAT(results, IsEmpty());
}

TEST_F(PurchasePage, OnceLoadedOnlyTheEndOfItsWebProcessFailsThePage) {
    open("ready");
    ASSERT_TRUE(waitUntilReady());
    ASSERT_TRUE(waitForSignal("web-process-terminated",
                              [&] { webkit_web_view_terminate_web_process(page().webView()); }));
    runMainLoopFor(0.3);
    EXPECT_THAT(results, IsEmpty());
    EXPECT_FALSE(closed);

    open("ready", {.reportLoadFailures = true, .readyTimeoutSeconds = 0});
    ASSERT_TRUE(waitUntilReady());
    evaluate(page().webView(), "window.CorvaneSDKBridge.event('purchased'); 0");
    ASSERT_TRUE(runMainLoopUntil([&] { return !results.empty(); }, kPageTimeout));
    // A link in the page that fails is the page's business.
    ASSERT_TRUE(waitForSignal("load-failed", [&] {
        evaluate(page().webView(), "window.location.href = 'https://terms.lxhf.invalid/'; 0");
    }));
    runMainLoopFor(0.3);
    EXPECT_THAT(results, ElementsAre("purchased"));
    EXPECT_FALSE(closed);

    webkit_web_view_terminate_web_process(page().webView());
    ASSERT_TRUE(waitUntilClosed());
    runMainLoopFor(0.2);
    EXPECT_THAT(results, ElementsAre("purchased", "error: The purchase page stopped: its web process was ended"));

    // Nor does anything follow the page's own "error", however soon it comes.
    open("ready", {.reportLoadFailures = true, .readyTimeoutSeconds = 0});
    ASSERT_TRUE(waitUntilReady());
    for (const char* event : {"error", "purchased", "close"}) {
        const std::string body = std::string(R"({"eventName":")") + event + R"(","data":{"message":"Card declined"}})";
        page().receiveScriptMessage("CorvaneSDKBridge", body);
    }
    expectOneError("Card declined");
}

TEST_F(PurchasePage, ClosingTheWindowRemovesTheBridge) {
    open("ready");
    ASSERT_TRUE(waitUntilReady());
    EXPECT_EQ(evaluate(page().webView(), "typeof window.CorvaneSDKBridge"), "object");
    auto* manager = WEBKIT_USER_CONTENT_MANAGER(g_object_ref(page().contentManager()));
    gtk_window_close(window);  // as a user would
    ASSERT_TRUE(waitUntilClosed());

    // Registering succeeds only when no handler of that name is left.
    EXPECT_TRUE(webkit_user_content_manager_register_script_message_handler(manager, "CorvaneSDKBridge", nullptr));
    webkit_user_content_manager_unregister_script_message_handler(manager, "CorvaneSDKBridge", nullptr);
    // A fresh page on the same manager gets no bridge script.
    auto* view = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", manager,
                                              "network-session", session, nullptr));
    GtkWindow* other = GTK_WINDOW(gtk_window_new());
    gtk_window_set_child(other, GTK_WIDGET(view));
    gtk_window_present(other);
    webkit_web_view_load_uri(view, (service->micrositeBase() + "?lxtest=never-ready").c_str());
    ASSERT_TRUE(runMainLoopUntil([&] { return !webkit_web_view_is_loading(view); }, kPageTimeout));
    EXPECT_EQ(evaluate(view, "typeof window.CorvaneSDKBridge"), "undefined");
    gtk_window_destroy(other);
    g_object_unref(manager);
    EXPECT_THAT(results, IsEmpty());
}

TEST_F(PurchasePage, ClosedPagesLeaveNothingAliveHoweverTheyClose) {
    // What the pages made and is not finalized yet, by kind. Static: a leaked
    // object outlives the test, and its weak reference with it.
    static std::map<std::string, int> live;
    const auto track = [](gpointer object, const char* kind) {
        ++live[kind];
        g_object_weak_ref(G_OBJECT(object), [](gpointer k, GObject*) { --live[static_cast<const char*>(k)]; },
                          const_cast<char*>(kind));
    };
    const auto noneLive = [] {
        return std::all_of(live.begin(), live.end(), [](const auto& entry) { return entry.second == 0; });
    };
    const char* ways[] = {"host closes", "page closes", "page error", "closed while loading", "dismissed"};
    for (int cycle = 0; cycle < 20; ++cycle) {
        const std::string way = ways[cycle % 5];
        open(way == "page closes" ? "close" : way == "page error" ? "error" : "ready");
        track(window, "windows");
        track(page().widget(), "pages");
        track(page().webView(), "web views");
        track(page().contentManager(), "content managers");
        if (way == "host closes" || way == "dismissed") {
            ASSERT_TRUE(waitUntilReady()) << way;
            if (way == "host closes") gtk_window_close(window);
            else ui::dismissPurchaseWindow(window);
        } else if (way == "closed while loading") {
            gtk_window_close(window);
        }
        ASSERT_TRUE(waitUntilClosed()) << way;
        ASSERT_TRUE(runMainLoopUntil(noneLive, 5.0))
            << way << ": " << ::testing::PrintToString(live) << " still alive after cycle " << cycle;
    }
}

}  // namespace
}  // namespace lxhf::test
