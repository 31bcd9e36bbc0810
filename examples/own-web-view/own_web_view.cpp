// A GTK 4 application that lists one room's Fermo offer and shows the
// purchase page in a WebKit web view of its own, through the library's
// public calls only.
//
//   g++ -std=c++20 own_web_view.cpp -o own_web_view $(pkg-config --cflags --libs lxhotelsfermo gtk4 webkitgtk-6.0)
//   lxfermo sim --page purchase       # prints the four values below
//   ./own_web_view API_BASE MICROSITE INTAKE_URL CA_FILE
//
// It prints each state of the offer, then each result the page reports,
// and quits once the page is dismissed.

#include <cstdio>
#include <functional>
#include <string>
#include <utility>

#include <glib/gstdio.h>
#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <LXHotelsFermo/LXHotelsFermoSDK.h>

namespace {

constexpr const char* kRoom = R"({"userId": "u-1",
  "booking": {"stayDates": {"checkIn": "2026-06-12", "checkOut": "2026-06-15"},
              "guests": {"adults": 2, "children": 0}, "locale": "en_US", "currency": "EUR", "numberOfRooms": 1},
  "hotel": {"id": "H-AUR", "name": "Hotel Aurora", "starRating": "4",
            "address": {"line": "1 Rua Nova", "city": "Lisbon", "countryCode": "PT"}},
  "room": {"id": "AUR-101", "merchantId": "M-1", "name": "Double room", "beds": 1, "price": "189.00",
           "roomType": "standard", "cancellationCode": "FREE-48H", "rateCategoryId": "RC-1", "availability": 3,
           "imageUrl": "https://img.example/aur-101.jpg", "priceInclusive": "189.00", "extAttributes": {}}})";

using ResultHandler = std::function<void(const LXFermoPurchaseResult&)>;

// The test service signs its page with the CA it printed; a page of the
// real service needs none of this.
gboolean trustTestService(WebKitWebView* view, const char* uri, GTlsCertificate* certificate,
                          GTlsCertificateFlags, gpointer) {
    const auto& caFile = LXHotelsFermoSDK::shared().endpoints().caFile;
    GTlsDatabase* authority = caFile ? g_tls_file_database_new(caFile->c_str(), nullptr) : nullptr;
    GSocketConnectable* identity = g_network_address_parse_uri(uri, 443, nullptr);
    const bool vouched = authority && identity &&
                         g_tls_database_verify_chain(authority, certificate, G_TLS_DATABASE_PURPOSE_AUTHENTICATE_SERVER,
                                                     identity, nullptr, G_TLS_DATABASE_VERIFY_NONE, nullptr,
                                                     nullptr) == 0;
    if (vouched) {
        webkit_network_session_allow_tls_certificate_for_host(
            webkit_web_view_get_network_session(view), certificate,
            g_network_address_get_hostname(G_NETWORK_ADDRESS(identity)));
        webkit_web_view_load_uri(view, uri);
    }
    if (identity) g_object_unref(identity);
    if (authority) g_object_unref(authority);
    return vouched;
}

// own-web-view: begin
// Shows the purchase page for `room` over `parent`, in a web view of our own.
void presentPurchasePage(GtkWindow* parent, const LXRoomDetails& room, ResultHandler onResult) {
    auto& sdk = LXHotelsFermoSDK::shared();
    GtkWindow* window = GTK_WINDOW(gtk_window_new());
    gtk_window_set_transient_for(window, parent);
    gtk_window_set_default_size(window, 800, 600);
    auto address = sdk.purchaseAddress(room);  // why there is none is logged
    if (!address) {
        gtk_window_set_child(window, gtk_label_new("Unable to load Fermo"));
        gtk_window_present(window);
        return;
    }

    // The page calls window.CorvaneSDKBridge.event(name, data); the script
    // forwards that to a message handler of the bridge's name.
    WebKitUserContentManager* content = webkit_user_content_manager_new();
    const std::string script(LXPurchasePageBridge::userScript), handler(LXPurchasePageBridge::handlerName);
    WebKitUserScript* bridge = webkit_user_script_new(script.c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                                                      WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
    webkit_user_content_manager_add_script(content, bridge);
    webkit_user_script_unref(bridge);
    webkit_user_content_manager_register_script_message_handler(content, handler.c_str(), nullptr);

    struct Page {
        GtkWindow* window;
        ResultHandler onResult;
    };
    const auto onMessage = +[](WebKitUserContentManager*, JSCValue* body, Page* page) {
        char* json = jsc_value_to_json(body, 0);
        // Logs what the page got wrong, and says what to do in this order.
        const LXPurchasePageAction action = LXHotelsFermoSDK::shared().pageMessage(json ? json : "null");
        g_free(json);
        if (action.result) page->onResult(*action.result);
        if (!action.dismiss) return;
        // Closed once WebKit's signal has returned, never from inside it.
        const auto close = +[](gpointer window) {
            gtk_window_close(GTK_WINDOW(window));
            g_object_unref(window);
            return gboolean(G_SOURCE_REMOVE);
        };
        g_idle_add(close, g_object_ref(page->window));
    };
    g_signal_connect_data(content, ("script-message-received::" + handler).c_str(), G_CALLBACK(onMessage),
                          new Page{window, std::move(onResult)},
                          [](gpointer page, GClosure*) { delete static_cast<Page*>(page); }, GConnectFlags(0));

    GtkWidget* view = GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", content, nullptr));
    g_object_unref(content);
    g_signal_connect(view, "load-failed-with-tls-errors", G_CALLBACK(trustTestService), nullptr);
    gtk_window_set_child(window, view);
    webkit_web_view_load_uri(WEBKIT_WEB_VIEW(view), address->c_str());
    gtk_window_present(window);
}
// own-web-view: end

const char* stateName(const LXFermoOfferState& state) {
    switch (state.kind()) {
        case LXFermoOfferState::Kind::loading: return "loading";
        case LXFermoOfferState::Kind::available: return "available";
        case LXFermoOfferState::Kind::unavailable: return "unavailable";
        case LXFermoOfferState::Kind::error: return "error";
    }
    return "?";
}

struct App {
    explicit App(LXRoomDetails r) : room(std::move(r)) {}
    LXRoomDetails room;
    GtkWindow* window = nullptr;
    GtkLabel* label = nullptr;
    LXSubscription subscription;
    bool presented = false;
};

void activate(GtkApplication* gtk, App* app) {
    app->window = GTK_WINDOW(gtk_application_window_new(gtk));
    app->label = GTK_LABEL(gtk_label_new("Hotel Aurora, Double room: loading"));
    gtk_window_set_child(app->window, GTK_WIDGET(app->label));
    gtk_window_present(app->window);

    auto& sdk = LXHotelsFermoSDK::shared();
    sdk.cacheOffers({app->room});
    app->subscription = sdk.subscribeFermoOffers([app, gtk](const LXHotelsFermoSDK::Offers& offers) {
        const auto index = LXHotelsFermoSDK::shared().offerIndex(app->room);
        if (!index || *index >= offers.size()) return;
        const LXFermoOfferState& state = offers[*index].state;
        std::printf("offer: %s\n", stateName(state));
        gtk_label_set_text(app->label, (std::string("Hotel Aurora, Double room: ") + stateName(state)).c_str());
        if (state.kind() != LXFermoOfferState::Kind::available || app->presented) return;
        app->presented = true;
        LXHotelsFermoSDK::shared().reportShown(app->room);  // the offer is on screen
        presentPurchasePage(app->window, app->room, [gtk](const LXFermoPurchaseResult& result) {
            std::printf("result: %s\n", result.toJSON().c_str());
            if (result.kind() != LXFermoPurchaseResult::Kind::purchased) g_application_quit(G_APPLICATION(gtk));
        });
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s API_BASE MICROSITE INTAKE_URL CA_FILE\n", argv[0]);
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    auto room = LXRoomDetails::fromJSON(kRoom);
    if (!room) {
        std::fprintf(stderr, "%s\n", room.error().description().c_str());
        return 1;
    }
    char* cache = g_dir_make_tmp("own-web-view-XXXXXX", nullptr);
    auto& sdk = LXHotelsFermoSDK::shared();
    sdk.setEndpoints({.apiBase = argv[1], .micrositeBase = argv[2], .intakeUrl = argv[3], .caFile = argv[4],
                      .cacheDirectory = cache});
    sdk.configure("partner-token", LXEnvironmentType::staging);

    App app{room.value()};
    GtkApplication* gtk = gtk_application_new("com.example.OwnWebView", G_APPLICATION_NON_UNIQUE);
    sdk.connectApplicationShutdown(G_APPLICATION(gtk));
    g_signal_connect(gtk, "activate", G_CALLBACK(activate), &app);
    const int status = g_application_run(G_APPLICATION(gtk), 1, argv);
    app.subscription.reset();
    g_object_unref(gtk);
    char* sessionFile = g_build_filename(cache, "sessionStore.cache", nullptr);
    g_remove(sessionFile);
    g_rmdir(cache);
    g_free(sessionFile);
    g_free(cache);
    return status;
}
