// The purchase page's window on a desktop: over its host, always closable,
// ending once. Real GTK windows and web views under Xvfb; no window manager.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FermoTestService.h"
#include "LXHotelsFermo/LXHotelsFermoSDK.h"
#include "presentation/ui/PurchaseWindow.h"
#include "PageTestSupport.h"
#include "support/MainLoop.h"

namespace lxhf::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kPatience = 60.0;  // the first web process start is slow under Xvfb and load

// The first descendant of `root` (itself included) that `match` accepts.
GtkWidget* findWidget(GtkWidget* root, const std::function<bool(GtkWidget*)>& match) {
    if (!root || match(root)) return root;
    for (GtkWidget* c = gtk_widget_get_first_child(root); c; c = gtk_widget_get_next_sibling(c))
        if (GtkWidget* found = findWidget(c, match)) return found;
    return nullptr;
}

GtkWidget* closeButton(GtkWindow* window) {
    return findWidget(gtk_window_get_titlebar(window),
                      [](GtkWidget* w) { return GTK_IS_BUTTON(w) && gtk_widget_has_css_class(w, "close"); });
}

// Xvfb offers no way to type a key without XTest, so the window's Escape
// shortcut is found and run as GTK would run it.
bool pressEscape(GtkWindow* window) {
    GListModel* controllers = gtk_widget_observe_controllers(GTK_WIDGET(window));
    bool pressed = false;
    for (guint i = 0; i < g_list_model_get_n_items(controllers) && !pressed; ++i) {
        auto* controller = static_cast<GObject*>(g_list_model_get_item(controllers, i));
        if (GTK_IS_SHORTCUT_CONTROLLER(controller)) {
            auto* shortcuts = G_LIST_MODEL(controller);
            for (guint j = 0; j < g_list_model_get_n_items(shortcuts) && !pressed; ++j) {
                auto* shortcut = static_cast<GtkShortcut*>(g_list_model_get_item(shortcuts, j));
                GtkShortcutTrigger* trigger = gtk_shortcut_get_trigger(shortcut);
                if (GTK_IS_KEYVAL_TRIGGER(trigger) &&
                    gtk_keyval_trigger_get_keyval(GTK_KEYVAL_TRIGGER(trigger)) == GDK_KEY_Escape &&
                    gtk_keyval_trigger_get_modifiers(GTK_KEYVAL_TRIGGER(trigger)) == 0)
                    pressed = gtk_shortcut_action_activate(gtk_shortcut_get_action(shortcut),
                                                           GTK_SHORTCUT_ACTION_EXCLUSIVE, GTK_WIDGET(window), nullptr);
                g_object_unref(shortcut);
            }
        }
        g_object_unref(controller);
    }
    g_object_unref(controllers);
    return pressed;
}

class PageWindow : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        service = startServiceWithDisplay();
        hasDisplay = service != nullptr;
    }
    static void TearDownTestSuite() { delete service; }

    void SetUp() override {
        if (!hasDisplay) GTEST_SKIP() << "no display";
        session = webkit_network_session_new_ephemeral();
        host = GTK_WINDOW(gtk_window_new());
        gtk_window_set_default_size(host, 800, 560);
        gtk_window_present(host);
    }
    void TearDown() override {
        if (!hasDisplay) return;
        service->clearFaults();
        if (window && ends.empty()) gtk_window_destroy(window);
        gtk_window_destroy(host);
        runMainLoopFor(0.1);
        g_object_unref(session);
    }

    void open(const std::optional<std::string>& script, LXPurchasePageOptions options = {},
              double requestTimeout = 60) {
        ui::PurchaseWindowSetup setup;
        setup.host = host;
        if (script) setup.url = service->micrositeBase() + "?lxtest=" + *script;
        setup.purchaseCallback = [this](const LXFermoPurchaseResult& r) { results.push_back(describe(r)); };
        setup.onEnded = [this](const std::optional<LXFermoPurchaseResult>& o) { ends.push_back(describe(o)); };
        setup.readMessage = [](std::string_view body, std::string_view handler) {
            return LXHotelsFermoSDK::shared().pageMessage(body, handler);
        };
        setup.warn = [](std::string_view) {};
        setup.caFile = service->caFile();
        setup.networkSession = session;
        setup.pageOptions = options;
        setup.requestTimeoutSeconds = requestTimeout;
        results.clear();
        ends.clear();
        window = ui::presentPurchaseWindow(std::move(setup));
    }

    ui::WebViewController& page() { return *ui::WebViewController::from(gtk_window_get_child(window)); }
    bool waitUntilReady() {
        return runMainLoopUntil([&] { return !ends.empty() || !page().spinnerSpinning(); }, kPatience) &&
               ends.empty();
    }
    bool waitUntilEnded() { return runMainLoopUntil([&] { return !ends.empty(); }, kPatience); }
    bool isToplevel(GtkWindow* w) {
        GListModel* all = gtk_window_get_toplevels();
        for (guint i = 0; i < g_list_model_get_n_items(all); ++i) {
            auto* item = g_list_model_get_item(all, i);
            g_object_unref(item);
            if (item == w) return true;
        }
        return false;
    }

    static inline bool hasDisplay = false;
    static inline testing::FermoTestService* service = nullptr;
    WebKitNetworkSession* session = nullptr;
    GtkWindow* host = nullptr;
    GtkWindow* window = nullptr;
    std::vector<std::string> results;
    std::vector<std::string> ends;
};

TEST_F(PageWindow, CoversItsHostTitledWithThePageFocusedAndFullScreenOnlyWhenAsked) {
    open("ready");
    EXPECT_STREQ(gtk_window_get_title(window), "Fermo");  // before the page has a title
    EXPECT_EQ(gtk_window_get_transient_for(window), host);
    EXPECT_TRUE(gtk_window_get_modal(window));
    EXPECT_FALSE(gtk_window_is_fullscreen(window));
    ASSERT_TRUE(waitUntilReady());
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_get_width(GTK_WIDGET(window)) > 0; }, kPatience));
    EXPECT_NEAR(gtk_widget_get_width(GTK_WIDGET(window)), gtk_widget_get_width(GTK_WIDGET(host)), 40);
    EXPECT_NEAR(gtk_widget_get_height(GTK_WIDGET(window)), gtk_widget_get_height(GTK_WIDGET(host)), 80);

    const std::string title = evaluate(page().webView(), "document.title");
    EXPECT_EQ(title, "Fermo purchase");
    ASSERT_TRUE(runMainLoopUntil([&] { return title == gtk_window_get_title(window); }, 5.0));

    // The keyboard starts in the page, and Tab leads out of it to the close button.
    GtkWidget* focus = gtk_window_get_focus(window);
    EXPECT_TRUE(focus && (focus == GTK_WIDGET(page().webView()) ||
                          gtk_widget_is_ancestor(focus, GTK_WIDGET(page().webView()))));
    GtkWidget* close = closeButton(window);
    ASSERT_NE(close, nullptr);
    bool reached = false;
    for (int i = 0; i < 10 && !reached; ++i) {
        gtk_widget_child_focus(GTK_WIDGET(window), GTK_DIR_TAB_FORWARD);
        reached = gtk_window_get_focus(window) == close;
    }
    EXPECT_TRUE(reached);
    gtk_window_destroy(window);
    ASSERT_TRUE(waitUntilEnded());

    open("ready", {.fullscreen = true});
    EXPECT_TRUE(gtk_window_is_fullscreen(window));
    EXPECT_EQ(gtk_window_get_transient_for(window), host);
}

TEST_F(PageWindow, TheTravellerCanAlwaysLeaveAndThePageEndsOnceWithoutAResult) {
    const std::pair<std::string, std::function<void(GtkWindow*)>> ways[] = {
        {"Escape", [](GtkWindow* w) { ASSERT_TRUE(pressEscape(w)); }},
        {"close button", [](GtkWindow* w) { gtk_widget_activate(closeButton(w)); }},
        {"window manager", [](GtkWindow* w) { gtk_window_close(w); }},
        {"hidden", [](GtkWindow* w) { gtk_widget_set_visible(GTK_WIDGET(w), FALSE); }},
    };
    for (const bool loaded : {true, false}) {  // the page, or the "Unable to load Fermo" line
        for (const auto& [way, leave] : ways) {
            open(loaded ? std::optional<std::string>("ready") : std::nullopt);
            GtkWindow* held = GTK_WINDOW(g_object_ref(window));  // as a host holding the window does
            if (loaded) ASSERT_TRUE(waitUntilReady()) << way;
            else EXPECT_STREQ(gtk_window_get_title(window), "Fermo");
            leave(held);
            ASSERT_TRUE(waitUntilEnded()) << way;
            runMainLoopFor(0.3);
            EXPECT_THAT(ends, ElementsAre("none")) << way;
            EXPECT_THAT(results, IsEmpty()) << way;
            EXPECT_FALSE(isToplevel(held)) << way;
            g_object_unref(held);
        }
    }
}

TEST_F(PageWindow, TheEndCarriesThePurchaseWhateverFollowsIt) {
    const std::tuple<std::string, std::vector<std::string>, std::string> cases[] = {
        {"purchase", {"purchased", "cancelled"}, "purchased"},
        {"close", {"cancelled"}, "cancelled"},
        {"error", {"error: Card declined"}, "error: Card declined"},
    };
    for (const auto& [script, reported, outcome] : cases) {
        open(script);
        ASSERT_TRUE(waitUntilEnded()) << script;
        runMainLoopFor(0.2);
        EXPECT_EQ(results, reported);
        EXPECT_THAT(ends, ElementsAre(outcome));
    }
    // A purchase, then the traveller leaves before the page closes itself.
    open("ready");
    ASSERT_TRUE(waitUntilReady());
    evaluate(page().webView(), "window.CorvaneSDKBridge.event('purchased'); 0");
    ASSERT_TRUE(runMainLoopUntil([&] { return !results.empty(); }, kPatience));
    gtk_window_close(window);
    ASSERT_TRUE(waitUntilEnded());
    EXPECT_THAT(ends, ElementsAre("purchased"));
}

TEST_F(PageWindow, APageHiddenAndShownAgainKeepsItsBridge) {
    open("ready");
    ASSERT_TRUE(waitUntilReady());
    gtk_widget_set_visible(page().widget(), FALSE);  // unmapped, as in a minimised window
    runMainLoopFor(0.2);
    gtk_widget_set_visible(page().widget(), TRUE);
    runMainLoopFor(0.2);
    EXPECT_EQ(evaluate(page().webView(), "typeof window.CorvaneSDKBridge"), "object");
    evaluate(page().webView(), "window.CorvaneSDKBridge.event('close'); 0");
    ASSERT_TRUE(waitUntilEnded());
    EXPECT_THAT(results, ElementsAre("cancelled"));
}

TEST_F(PageWindow, TheRequestTimeoutCoversThePagesOwnFirstLoadOnly) {
    // Long enough for a first load on a busy machine, short enough for a test.
    constexpr double kTimeout = 6;
    const LXPurchasePageOptions report = {.reportLoadFailures = true, .readyTimeoutSeconds = 0};
    service->setFault("/cloud/hotels/purchase", {.delaySeconds = kTimeout + 2, .count = 1});
    open("ready", report, kTimeout);
    ASSERT_TRUE(waitUntilEnded());
    EXPECT_THAT(results, ElementsAre("error: Unable to load the purchase page: no answer within 6 seconds"));

    // Answered in time; late in the timeout, and before it is ready, the page
    // moves on to a page slower than the timeout, which the timeout does not cover.
    service->setFault("/cloud/hotels/terms", {.delaySeconds = kTimeout + 2, .count = 1});
    const gint64 opened = g_get_monotonic_time();
    open("never-ready", report, kTimeout);
    const auto since = [&] { return static_cast<double>(g_get_monotonic_time() - opened) / 1e6; };
    const auto title = [&] {
        const char* text = webkit_web_view_get_title(page().webView());
        return std::string(text ? text : "");
    };
    ASSERT_TRUE(runMainLoopUntil([&] { return !ends.empty() || title() == "Fermo purchase"; }, kPatience));
    runMainLoopFor(kTimeout - 1 - since());
    evaluate(page().webView(), "window.location.href = '/cloud/hotels/terms'; 0");
    ASSERT_TRUE(runMainLoopUntil([&] { return !ends.empty() || title() == "Fermo terms"; }, kPatience));
    EXPECT_THAT(results, IsEmpty());
    EXPECT_THAT(ends, IsEmpty());
}

}  // namespace
}  // namespace lxhf::test
