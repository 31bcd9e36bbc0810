// The offer button wrapper on a real facade against the local service, in real GTK windows (needs Xvfb).

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <filesystem>
#include <fstream>

#include "LXHotelsFermo/ui/LXFermoButtonWrapper.h"
#include "core/CoreTestSupport.h"
#include "model/ErrorInfo.h"
#include "presentation/ui/WebViewController.h"
#include "PageTestSupport.h"
#include "support/MainLoop.h"
#include "testservice/FermoTestService.h"

namespace lxhf::test {
namespace {

using lxhf::testing::FermoTestService;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = LXFermoPurchaseResult::Kind;

constexpr double kPatience = 30.0;  // the first web process start is slow under Xvfb

std::string built(const std::string& tag, State state) { return tag + ":" + std::to_string(int(state)); }

class ButtonWrapper : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        // Before WebKit reads them: whatever a page leaves on disk lands here.
        xdg = new TempDir();
        g_setenv("XDG_CACHE_HOME", (xdg->path() / "cache").c_str(), TRUE);
        g_setenv("XDG_DATA_HOME", (xdg->path() / "data").c_str(), TRUE);
        service = startServiceWithDisplay();
        hasDisplay = service != nullptr;
    }
    static void TearDownTestSuite() {
        delete service;
        delete xdg;
    }

    void SetUp() override {
        if (!hasDisplay) GTEST_SKIP() << "no display";
        service->clear();
        FacadeParts parts = systemParts();
        parts.overrides.apiBase = service->apiBase();
        parts.overrides.micrositeBase = service->micrositeBase();
        parts.overrides.caFile = service->caFile();
        parts.overrides.intakeUrl = service->intakeUrl();
        parts.overrides.cacheDirectory = dir.path().string();
        sdk = FacadeAccess::make(std::move(parts));
        sdk->configure("partner-token", LXEnvironmentType::staging);
        host = GTK_WINDOW(gtk_window_new());
        column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
        gtk_window_set_child(host, column);
        gtk_window_present(host);
    }
    void TearDown() override {
        if (!hasDisplay) return;
        for (GtkWindow* page : pages()) gtk_window_destroy(page);
        gtk_window_destroy(host);
        runMainLoopFor(0.2);
    }

    // Each build of the host's button is recorded as "<tag>:<state>" and its action kept.
    GtkWidget* wrap(const LXRoomDetails& room, const std::string& tag = "w") {
        return LXFermoButtonWrapper::create(
            room, [this](const LXFermoPurchaseResult& r) { results.push_back(r.kind()); },
            [this, tag](const LXFermoOffer& offer, std::function<void()> action) {
                builds.push_back(tag + ":" + std::to_string(int(offer.state.kind())));
                actions.push_back(std::move(action));
                return lastButton = gtk_button_new_with_label("Book");
            },
            [this](const std::optional<LXFermoPurchaseResult>& outcome) {
                ends.push_back(outcome ? std::optional(outcome->kind()) : std::nullopt);
            },
            {}, *sdk);
    }
    GtkWidget* show(GtkWidget* wrapper) { return gtk_box_append(GTK_BOX(column), wrapper), wrapper; }

    // The purchase pages: windows presented over the host.
    std::vector<GtkWindow*> pages() const {
        std::vector<GtkWindow*> out;
        GListModel* toplevels = gtk_window_get_toplevels();
        for (guint i = 0; i < g_list_model_get_n_items(toplevels); ++i) {
            auto* window = GTK_WINDOW(g_list_model_get_item(toplevels, i));
            if (gtk_window_get_transient_for(window) == host) out.push_back(window);
            g_object_unref(window);
        }
        return out;
    }

    void setOffers(std::vector<LXFermoOfferState> states, const LXRoomDetails& room) {
        LXHotelsFermoSDK::Offers offers;
        for (auto& state : states) offers.push_back(RoomDetailsAccess::makeOffer(room, std::move(state)));
        sdk->setFermoOffers(std::move(offers));
    }

    static inline bool hasDisplay = false;
    static inline FermoTestService* service = nullptr;
    static inline TempDir* xdg = nullptr;
    TempDir dir;
    std::unique_ptr<LXHotelsFermoSDK> sdk;
    GtkWindow* host = nullptr;
    GtkWidget* column = nullptr;
    GtkWidget* lastButton = nullptr;
    std::vector<std::string> builds;
    std::vector<std::function<void()>> actions;
    std::vector<Kind> results;
    std::vector<std::optional<Kind>> ends;  // each page's final outcome
    const LXRoomDetails room = makeRoom("A1", "hotel-a");
};

TEST_F(ButtonWrapper, AnUnknownRoomIsFetchedOnceWhenThePlaceholderMaps) {
    GtkWidget* wrapper = g_object_ref_sink(wrap(room));
    GtkWidget* placeholder = gtk_widget_get_first_child(wrapper);
    ASSERT_NE(placeholder, nullptr);
    EXPECT_EQ(gtk_widget_get_opacity(placeholder), 0.0);
    runMainLoopFor(0.3);
    EXPECT_EQ(service->count("fermo_offers"), 0) << "nothing is fetched before the placeholder appears";
    EXPECT_THAT(builds, IsEmpty());

    show(wrapper);
    g_object_unref(wrapper);
    ASSERT_TRUE(runMainLoopUntil([&] { return builds.size() >= 2; }, kPatience));
    runMainLoopFor(0.3);
    EXPECT_THAT(builds, ElementsAre(built("w", State::loading), built("w", State::available)));
    EXPECT_EQ(service->count("fermo_offers"), 1);
    EXPECT_EQ(gtk_widget_get_first_child(wrapper), lastButton);
    // The button that replaced the loading one while on screen counts as shown.
    ASSERT_TRUE(runMainLoopUntil([&] { return service->count("events/batch") >= 1; }, kPatience));
    const auto body = service->requests("events/batch").at(0).json();
    ASSERT_EQ(body.size(), 1u) << body.dump();
    EXPECT_EQ(body[0]["type"], "offer_shown") << body.dump();
    EXPECT_EQ(body[0]["fermo_offer_id"], FacadeAccess::board(*sdk).response(room)->offer.id);
    EXPECT_THAT(service->rejected(), IsEmpty());
}

TEST_F(ButtonWrapper, FollowsTheFirstEntryOfTheRoomThroughReplacedLists) {
    setOffers({LXFermoOfferState::unavailable(), LXFermoOfferState::available()}, room);
    GtkWidget* first = g_object_ref_sink(wrap(room, "a"));
    GtkWidget* second = g_object_ref_sink(wrap(room, "b"));
    EXPECT_THAT(builds, ElementsAre(built("a", State::unavailable), built("b", State::unavailable)));

    builds.clear();
    setOffers({LXFermoOfferState::unavailable()}, room);  // same state: the host's widget stays
    EXPECT_THAT(builds, IsEmpty());
    const LXErrorInfo failure = makeError("Error fetching offer");
    setOffers({LXFermoOfferState::error(failure)}, room);
    setOffers({LXFermoOfferState::error(failure)}, room);  // the same error again is no change
    EXPECT_EQ(builds.size(), 2u);
    setOffers({LXFermoOfferState::error(makeError("Error fetching offer", 7))}, room);
    setOffers({LXFermoOfferState::error(makeError("Another failure", 7))}, room);
    EXPECT_EQ(builds.size(), 6u);

    builds.clear();
    sdk->setFermoOffers({});  // the host drops the room: back to the placeholder
    EXPECT_EQ(gtk_widget_get_opacity(gtk_widget_get_first_child(first)), 0.0);
    setOffers({LXFermoOfferState::error(failure)}, room);
    EXPECT_THAT(builds, ElementsAre(built("a", State::error), built("b", State::error)));
    g_object_unref(first);
    g_object_unref(second);
}

TEST_F(ButtonWrapper, TheActionOpensOneSignedPurchasePageOverTheHostWindow) {
    service->setPurchaseScript(lxhf::testing::PurchaseScript::purchase);
    sdk->cacheOffers({room});
    ASSERT_TRUE(runMainLoopUntil([&] { return states(*sdk) == std::vector{State::available}; }, kPatience));
    show(wrap(room));
    ASSERT_TRUE(runMainLoopUntil([&] { return service->count("events/batch") >= 1; }, kPatience)) << "shown";
    ASSERT_EQ(actions.size(), 1u);

    actions[0]();
    actions[0]();  // while the page is up: nothing
    ASSERT_EQ(pages().size(), 1u);
    EXPECT_TRUE(gtk_window_get_modal(pages()[0]));
    ASSERT_NE(ui::WebViewController::from(gtk_window_get_child(pages()[0])), nullptr);

    // The page reports a purchase, then asks to close: it ends purchased.
    ASSERT_TRUE(runMainLoopUntil([&] { return results.size() >= 2 && pages().empty(); }, kPatience));
    EXPECT_THAT(results, ElementsAre(Kind::purchased, Kind::cancelled));
    ASSERT_TRUE(runMainLoopUntil([&] { return !ends.empty(); }, kPatience));
    EXPECT_THAT(ends, ElementsAre(Kind::purchased));
    const auto loads = service->requests("/cloud/hotels/purchase");
    ASSERT_EQ(loads.size(), 1u);
    EXPECT_EQ(loads[0].queryValue("token"), "partner-token");
    EXPECT_EQ(loads[0].queryValue("sessionId"), service->requests("fermo_offers").at(0).header("LX-Session-ID"));
    char* offer = g_uri_unescape_string(loads[0].queryValue("offer").value_or("").c_str(), nullptr);
    ASSERT_NE(offer, nullptr);
    EXPECT_TRUE(service->verifySignatureText(offer)) << offer;
    g_free(offer);

    service->setPurchaseScript(lxhf::testing::PurchaseScript::neverReady);  // the next pages stay up
    actions[0]();  // closed again: a fresh page
    ASSERT_EQ(pages().size(), 1u);
    // The traveller leaves it while the host holds its window: it still ends, once.
    GtkWindow* held = GTK_WINDOW(g_object_ref(pages()[0]));
    gtk_window_close(held);
    ASSERT_TRUE(runMainLoopUntil([&] { return ends.size() >= 2; }, kPatience));
    actions[0]();
    runMainLoopFor(0.2);
    EXPECT_THAT(ends, ElementsAre(Kind::purchased, std::nullopt));
    EXPECT_EQ(pages().size(), 1u);
    g_object_unref(held);
}

TEST_F(ButtonWrapper, WithoutAResponseThePageSaysItCannotLoad) {
    setOffers({LXFermoOfferState::loading()}, room);
    show(wrap(room));
    ASSERT_EQ(actions.size(), 1u);
    actions[0]();
    ASSERT_EQ(pages().size(), 1u);
    GtkWidget* child = gtk_window_get_child(pages()[0]);
    ASSERT_TRUE(GTK_IS_LABEL(child));
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(child)), "Unable to load Fermo");
    EXPECT_EQ(service->count("fermo_offers"), 0);

    // The ready-made factory: its button's click is the action.
    const auto label = [](const LXFermoOffer& offer) { return "Hold " + std::to_string(int(offer.state.kind())); };
    GtkWidget* plain = show(LXFermoButtonWrapper::create(room, {}, LXFermoButtonWrapper::labelledButton(label), *sdk));
    GtkWidget* button = gtk_widget_get_first_child(plain);
    ASSERT_TRUE(GTK_IS_BUTTON(button));
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(button)), "Hold 0");
    EXPECT_FALSE(gtk_widget_get_sensitive(button)) << "no page to buy from";
    setOffers({LXFermoOfferState::available()}, room);
    button = gtk_widget_get_first_child(plain);
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(button)), "Hold 1");
    EXPECT_TRUE(gtk_widget_get_sensitive(button));
    g_signal_emit_by_name(button, "clicked");
    EXPECT_EQ(pages().size(), 2u);
}

TEST_F(ButtonWrapper, TheServicePageShowsTheOfferPlainlyAndLeavesNothingOnDisk) {
    ASSERT_EQ(std::filesystem::path(g_get_user_cache_dir()), xdg->path() / "cache");
    service->setPurchaseScript(lxhf::testing::PurchaseScript::ready);
    const LXRoomDetails offered = makeRoom("E1", "hotel-e");
    sdk->cacheOffers({offered});
    ASSERT_TRUE(runMainLoopUntil([&] { return states(*sdk) == std::vector{State::available}; }, kPatience));
    show(wrap(offered));
    actions[0]();
    ASSERT_EQ(pages().size(), 1u);
    auto* page = ui::WebViewController::from(gtk_window_get_child(pages()[0]));
    ASSERT_TRUE(runMainLoopUntil([&] { return !page->spinnerSpinning(); }, kPatience));
    const std::string sessionId = service->requests("fermo_offers").at(0).header("LX-Session-ID").value_or("?");
    // What the traveller reads, worked out from the address the library composed.
    const std::string shown = evaluate(page->webView(), R"(['hotel', 'room', 'price', 'deposit', 'until']
        .map(id => document.getElementById(id).textContent).join(' | '))");
    EXPECT_THAT(shown, ::testing::MatchesRegex(R"(.+ \| .+ \| €[0-9.,]+ \| €[0-9.,]+ \| [A-Z][a-z]+ [0-9].*)")) << shown;
    evaluate(page->webView(), "document.getElementById('hold').click(); 0");
    ASSERT_TRUE(runMainLoopUntil([&] { return !ends.empty(); }, kPatience));
    EXPECT_THAT(results, ElementsAre(Kind::purchased, Kind::cancelled));
    EXPECT_THAT(ends, ElementsAre(Kind::purchased));
    runMainLoopFor(2.0);  // WebKit writes its caches a little later

    std::vector<std::string> holders;
    std::error_code error;
    for (auto it = std::filesystem::recursive_directory_iterator(xdg->path(), error);
         it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
        if (!it->is_regular_file(error)) continue;
        std::ifstream file(it->path(), std::ios::binary);
        const std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        if (content.find("partner-token") != std::string::npos || content.find(sessionId) != std::string::npos)
            holders.push_back(it->path().string());
    }
    EXPECT_THAT(holders, IsEmpty());
}

TEST_F(ButtonWrapper, AnErrorButtonAppearsOncePerMappingNotPerPublish) {
    service->setRoomOutcome(roomId(room), lxhf::testing::Outcome::omitted);
    sdk->cacheOffers({room});
    ASSERT_TRUE(runMainLoopUntil([&] { return states(*sdk) == std::vector{State::error}; }, kPatience));
    GtkWidget* wrapper = show(wrap(room));
    const auto logged = [&](const std::string& message) {
        int n = 0;
        for (const auto& record : service->logs()) n += record.value("message", "") == message;
        return n;
    };
    const auto appearances = [&] { return logged("Error accessing available offerResponse in onAppear"); };
    // The purchase address is composed with each build of the button.
    const auto compositions = [&] { return logged("offerResponse is not a signedFullOffer"); };
    ASSERT_TRUE(runMainLoopUntil([&] { return appearances() == 1 && compositions() == 1; }, kPatience));
    GtkWidget* button = gtk_widget_get_first_child(wrapper);

    // Each publish carries the same error again.
    sdk->setFermoOffers(LXHotelsFermoSDK::Offers(sdk->fermoOffers()));
    sdk->cacheOffers({makeRoom("A2", "hotel-a")});
    ASSERT_TRUE(runMainLoopUntil([&] { return states(*sdk) == std::vector{State::error, State::available}; },
                                 kPatience));
    EXPECT_EQ(gtk_widget_get_first_child(wrapper), button);
    gtk_widget_set_visible(wrapper, FALSE);
    gtk_widget_set_visible(wrapper, TRUE);  // mapped anew: it appears again
    ASSERT_TRUE(runMainLoopUntil([&] { return appearances() >= 2; }, kPatience));
    runMainLoopFor(0.3);
    EXPECT_EQ(appearances(), 2);
    EXPECT_EQ(builds.size(), 1u);
    EXPECT_EQ(gtk_widget_get_first_child(wrapper), button);
    actions[0]();  // the tap shows what the build composed
    runMainLoopFor(0.3);
    EXPECT_EQ(compositions(), 1);
}

TEST_F(ButtonWrapper, ADestroyedWrapperTakesItsPageDownWithoutAResult) {
    service->setPurchaseScript(lxhf::testing::PurchaseScript::neverReady);
    // A real offer, so the page is the microsite in a web view; a room of its
    // own, as the service keeps other tests' room outcomes.
    const LXRoomDetails offered = makeRoom("D1", "hotel-d");
    sdk->cacheOffers({offered});
    ASSERT_TRUE(runMainLoopUntil([&] { return states(*sdk) == std::vector{State::available}; }, kPatience));
    GtkWidget* wrapper = show(wrap(offered));
    actions[0]();
    ASSERT_EQ(pages().size(), 1u);
    // Static: a leaked object outlives the test, and its weak pointer with it.
    static gpointer alive[3];
    alive[0] = wrapper;
    alive[1] = pages()[0];
    alive[2] = ui::WebViewController::from(gtk_window_get_child(pages()[0]))->webView();
    for (gpointer& object : alive) g_object_add_weak_pointer(G_OBJECT(object), &object);
    gtk_box_remove(GTK_BOX(column), wrapper);
    ASSERT_TRUE(runMainLoopUntil([&] { return pages().empty(); }, kPatience));
    EXPECT_TRUE(runMainLoopUntil([] { return !alive[0] && !alive[1] && !alive[2]; }, 5.0))
        << "wrapper " << alive[0] << ", window " << alive[1] << ", web view " << alive[2];
    EXPECT_THAT(results, IsEmpty());
}

TEST_F(ButtonWrapper, ADestroyedWrapperCallsNothingBack) {
    setOffers({LXFermoOfferState::available()}, room);
    GtkWidget* wrapper = show(wrap(room));
    runMainLoopFor(0.1);
    ASSERT_EQ(builds.size(), 1u);

    gtk_box_remove(GTK_BOX(column), wrapper);  // the last reference: disposed
    setOffers({LXFermoOfferState::unavailable()}, room);
    sdk->setFermoOffers({});
    actions[0]();
    runMainLoopFor(0.3);
    EXPECT_EQ(builds.size(), 1u);
    EXPECT_THAT(pages(), IsEmpty());
    EXPECT_EQ(service->count("fermo_offers"), 0);
}

TEST_F(ButtonWrapper, EveryCallbackMayCallBackIntoTheLibraryAndEndTheWrapper) {
    service->setPurchaseScript(lxhf::testing::PurchaseScript::purchase);
    const LXRoomDetails offered = makeRoom("F1", "hotel-f"), other = makeRoom("F2", "hotel-f");
    sdk->cacheOffers({offered});
    ASSERT_TRUE(runMainLoopUntil([&] { return states(*sdk) == std::vector{State::available}; }, kPatience));
    GtkWidget* wrapper = nullptr;
    std::function<void()> press;
    int building = 0, nestedBuilds = 0;
    std::vector<std::optional<Kind>> ended;
    wrapper = show(LXFermoButtonWrapper::create(
        offered,
        [&](const LXFermoPurchaseResult& result) {
            results.push_back(result.kind());
            sdk->reportShown(offered);
            sdk->cacheOffers({other});
            (void)sdk->pageMessage(R"({"eventName":"close","data":{}})");
        },
        [&](const LXFermoOffer&, std::function<void()> action) {
            nestedBuilds += building++ > 0;
            // Each change lands after this build, never inside it.
            sdk->setFermoOffers(sdk->fermoOffers());
            sdk->refreshCachedOffers(LXRefresh::errorsOnly);
            auto subscription = sdk->subscribeFermoOffers([](const LXHotelsFermoSDK::Offers&) {});
            subscription.reset();
            press = std::move(action);
            --building;
            return gtk_button_new_with_label("Book");
        },
        [&](const std::optional<LXFermoPurchaseResult>& outcome) {
            ended.push_back(outcome ? std::optional(outcome->kind()) : std::nullopt);
            sdk->updateUser("traveller-2");
            press();  // a new page, which the wrapper's end below takes down again
            gtk_box_remove(GTK_BOX(column), wrapper);
        },
        {}, *sdk));
    ASSERT_TRUE(press);
    press();
    ASSERT_TRUE(runMainLoopUntil([&] { return !ended.empty() && pages().empty(); }, kPatience));
    runMainLoopFor(0.3);
    EXPECT_EQ(nestedBuilds, 0);
    EXPECT_THAT(results, ElementsAre(Kind::purchased, Kind::cancelled));
    EXPECT_THAT(ended, ElementsAre(Kind::purchased));
    EXPECT_THAT(roomIds(*sdk), ElementsAre("F1", "F2"));
}

}  // namespace
}  // namespace lxhf::test
