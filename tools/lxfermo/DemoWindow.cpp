// The window form of `lxfermo demo`: one row per room with its live state, a
// Refresh button and a log of state changes and service traffic. A tap on an
// available room opens its purchase page (or shows the address when the
// presentation library is not built).

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <csignal>

#include <string>
#include <vector>

#include "Demo.h"

#ifdef LXFERMO_HAS_UI
#include "LXHotelsFermo/ui/LXFermoButtonWrapper.h"
#include "LXHotelsFermo/ui/LXPurchaseWindow.h"
#endif

namespace lxfermo {
namespace {

struct Row {
    const DemoRoom* room;
    GtkWidget* spinner;
    GtkWidget* status;
    GtkWidget* button;
    std::string lastText;
};

#ifdef LXFERMO_HAS_UI
// As a booking app labels it: what the traveller holds, and for how much.
LXFermoButtonWrapper::ButtonFactory offerButton(LXHotelsFermoSDK& sdk) {
    return LXFermoButtonWrapper::labelledButton([&sdk](const LXFermoOffer& offer) -> std::string {
        const auto terms = sdk.offerTerms(offer.roomDetails());
        if (offer.state.kind() != LXFermoOfferState::Kind::available || !terms) return "Freeze this price";
        return "Hold " + terms->frozenPrice + " " + terms->currency + " for " + terms->deposit + " " + terms->currency;
    });
}
#endif

struct DemoWindow {
    explicit DemoWindow(DemoSetup& setup) : demo(setup) {}

    DemoSetup& demo;
    GMainLoop* loop = nullptr;
    GtkWidget* window = nullptr;
    GtkWidget* list = nullptr;
    GtkTextBuffer* log = nullptr;
    GtkWidget* logView = nullptr;
    std::vector<Row> rows;
    std::size_t requestsLogged = 0;
    LXSubscription subscription;

    void append(const std::string& line) {
        GDateTime* now = g_date_time_new_now_local();
        gchar* stamp = g_date_time_format(now, "%H:%M:%S");
        g_date_time_unref(now);
        GtkTextIter end;
        gtk_text_buffer_get_end_iter(log, &end);
        const std::string text = std::string(stamp) + "  " + line + "\n";
        g_free(stamp);
        gtk_text_buffer_insert(log, &end, text.c_str(), -1);
        gtk_text_buffer_get_end_iter(log, &end);
        GtkTextMark* mark = gtk_text_buffer_create_mark(log, nullptr, &end, FALSE);
        gtk_text_view_scroll_mark_onscreen(GTK_TEXT_VIEW(logView), mark);
        gtk_text_buffer_delete_mark(log, mark);
    }

    void addRow(const DemoRoom& room) {
        GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
        gtk_widget_set_margin_start(box, 12);
        gtk_widget_set_margin_end(box, 12);
        gtk_widget_set_margin_top(box, 8);
        gtk_widget_set_margin_bottom(box, 8);

        Row row;
        row.room = &room;
        row.spinner = gtk_spinner_new();
        gtk_widget_set_size_request(row.spinner, 20, 20);
        gtk_box_append(GTK_BOX(box), row.spinner);

        GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
        gtk_widget_set_hexpand(texts, TRUE);
        GtkWidget* title = gtk_label_new(nullptr);
        gchar* markup = g_markup_printf_escaped("<b>%s</b>", room.title.c_str());
        gtk_label_set_markup(GTK_LABEL(title), markup);
        g_free(markup);
        gtk_label_set_xalign(GTK_LABEL(title), 0);
        row.status = gtk_label_new("");
        gtk_label_set_xalign(GTK_LABEL(row.status), 0);
        gtk_label_set_wrap(GTK_LABEL(row.status), TRUE);
        gtk_box_append(GTK_BOX(texts), title);
        gtk_box_append(GTK_BOX(texts), row.status);
        gtk_box_append(GTK_BOX(box), texts);

#ifdef LXFERMO_HAS_UI
        // The library's own wrapper: it follows the room's state, reports the
        // offer as shown and opens the purchase page on a press.
        row.button = LXFermoButtonWrapper::create(
            room.details, [this](const LXFermoPurchaseResult& result) { append("Page reported: " + result.toJSON()); },
            offerButton(demo.sdk()), [this](const auto& outcome) { pageEnded(outcome); }, pageOptions(), demo.sdk());
#else
        row.button = gtk_button_new_with_label("Freeze this price");
        g_object_set_data(G_OBJECT(row.button), "lxfermo-row", GSIZE_TO_POINTER(rows.size()));
        g_signal_connect(row.button, "clicked", G_CALLBACK(+[](GtkButton* button, DemoWindow* self) {
                             self->tapped(GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(button), "lxfermo-row")));
                         }),
                         this);
#endif
        gtk_widget_set_valign(row.button, GTK_ALIGN_CENTER);
        gtk_box_append(GTK_BOX(box), row.button);

        gtk_list_box_append(GTK_LIST_BOX(list), box);
        rows.push_back(row);
    }

    void update(const LXHotelsFermoSDK::Offers& offers) {
        for (std::size_t i = 0; i < offers.size(); ++i) {
            if (i >= rows.size()) {
                const DemoRoom* room = demo.roomAt(i);
                if (!room) break;  // only the demo's own rooms are cached
                addRow(*room);
            }
            Row& row = rows[i];
            const auto kind = offers[i].state.kind();
            const bool loading = kind == LXFermoOfferState::Kind::loading;
            gtk_widget_set_visible(row.spinner, loading);
            if (loading) gtk_spinner_start(GTK_SPINNER(row.spinner));
            else gtk_spinner_stop(GTK_SPINNER(row.spinner));
#ifndef LXFERMO_HAS_UI
            gtk_widget_set_sensitive(row.button, kind == LXFermoOfferState::Kind::available);
#endif

            const std::string text = demo.describe(offers[i]);
            gtk_label_set_text(GTK_LABEL(row.status), text.c_str());
            if (text != row.lastText) {
                append(row.room->title + ": " + text);
                row.lastText = text;
            }
#ifndef LXFERMO_HAS_UI
            // An available offer on screen counts as shown, as the button wrapper reports it.
            if (kind == LXFermoOfferState::Kind::available) demo.reportShown(row.room->details);
#endif
        }
    }

#ifdef LXFERMO_HAS_UI
    // The demo's user sees why a page failed rather than a spinner that never stops.
    static LXPurchasePageOptions pageOptions() { return {.reportLoadFailures = true}; }

    // What a host shows the traveller: the final outcome, not the last message.
    void pageEnded(const std::optional<LXFermoPurchaseResult>& outcome) {
        append("Purchase page ended: " + (outcome ? outcome->toJSON() : std::string("left without a result")));
    }
#endif

    void tapped(std::size_t index) {
        if (index >= rows.size()) return;
        const LXRoomDetails& room = rows[index].room->details;
        bool ok = false;
        const std::string address = demo.purchaseAddress(room, &ok);
        if (!ok) {
            append("No purchase page: " + address);
            return;
        }
#ifdef LXFERMO_HAS_UI
        append("Opening the purchase page");
        LXPurchaseWindow::presentWithOutcome(
            GTK_WINDOW(window), address,
            [this](const LXFermoPurchaseResult& result) { append("Page reported: " + result.toJSON()); },
            [this](const auto& outcome) { pageEnded(outcome); }, pageOptions());
#else
        append("Purchase page (open it in a browser that trusts " + demo.service().caFile() + "):");
        append("  " + address);
#endif
    }

    void logRequests() {
        const auto requests = demo.service().requests();
        for (; requestsLogged < requests.size(); ++requestsLogged) {
            const auto& r = requests[requestsLogged];
            append("service: " + r.method + " " + r.path + " -> " + std::to_string(r.status) +
                   (r.accepted ? "" : " refused: " + r.reason));
        }
    }

    void build() {
        window = gtk_window_new();
        gtk_window_set_title(GTK_WINDOW(window), "LXHotelsFermo demo");
        gtk_window_set_default_size(GTK_WINDOW(window), 920, 680);
        g_signal_connect(window, "close-request", G_CALLBACK(+[](GtkWindow*, DemoWindow* self) -> gboolean {
                             // Kept open until the loop ends; runDemoWindow destroys it.
                             g_main_loop_quit(self->loop);
                             return TRUE;
                         }),
                         this);

        GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
        gtk_widget_set_margin_start(content, 12);
        gtk_widget_set_margin_end(content, 12);
        gtk_widget_set_margin_top(content, 12);
        gtk_widget_set_margin_bottom(content, 12);

        GtkWidget* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
        GtkWidget* heading = gtk_label_new("Rooms at three hotels, served by the local Fermo test service");
        gtk_widget_set_hexpand(heading, TRUE);
        gtk_label_set_xalign(GTK_LABEL(heading), 0);
        GtkWidget* refresh = gtk_button_new_with_label("Refresh");
        g_signal_connect(refresh, "clicked", G_CALLBACK(+[](GtkButton*, DemoWindow* self) {
                             self->append("Refreshing every offer");
                             self->demo.sdk().refreshCachedOffers(LXRefresh::all);
                         }),
                         this);
        gtk_box_append(GTK_BOX(bar), heading);
        gtk_box_append(GTK_BOX(bar), refresh);
        gtk_box_append(GTK_BOX(content), bar);

        list = gtk_list_box_new();
        gtk_list_box_set_selection_mode(GTK_LIST_BOX(list), GTK_SELECTION_NONE);
        GtkWidget* listScroll = gtk_scrolled_window_new();
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(listScroll), list);
        gtk_widget_set_vexpand(listScroll, TRUE);

        logView = gtk_text_view_new();
        gtk_text_view_set_editable(GTK_TEXT_VIEW(logView), FALSE);
        gtk_text_view_set_monospace(GTK_TEXT_VIEW(logView), TRUE);
        gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(logView), GTK_WRAP_CHAR);
        log = gtk_text_view_get_buffer(GTK_TEXT_VIEW(logView));
        GtkWidget* logScroll = gtk_scrolled_window_new();
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(logScroll), logView);
        gtk_widget_set_size_request(logScroll, -1, 180);

        GtkWidget* paned = gtk_paned_new(GTK_ORIENTATION_VERTICAL);
        gtk_paned_set_start_child(GTK_PANED(paned), listScroll);
        gtk_paned_set_end_child(GTK_PANED(paned), logScroll);
        gtk_paned_set_position(GTK_PANED(paned), 400);
        gtk_widget_set_vexpand(paned, TRUE);
        gtk_box_append(GTK_BOX(content), paned);

        gtk_window_set_child(GTK_WINDOW(window), content);
    }
};

// The window as it is on screen, drawn once more by its own renderer.
bool savePng(GtkWidget* window, const std::string& path) {
    GdkPaintable* paintable = gtk_widget_paintable_new(window);
    const int width = gtk_widget_get_width(window), height = gtk_widget_get_height(window);
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable, snapshot, width, height);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    bool saved = false;
    if (GskRenderer* renderer = gtk_native_get_renderer(GTK_NATIVE(window)); node && renderer) {
        const graphene_rect_t area = GRAPHENE_RECT_INIT(0, 0, float(width), float(height));
        GdkTexture* texture = gsk_renderer_render_texture(renderer, node, &area);
        saved = gdk_texture_save_to_png(texture, path.c_str());
        g_object_unref(texture);
    }
    if (node) gsk_render_node_unref(node);
    g_object_unref(paintable);
    return saved;
}

struct Screenshot {
    DemoWindow* ui;
    std::string path;      // the window's; empty: none
    std::string pagePath;  // the first available room's purchase page; empty: none
    std::size_t rooms;
    int settledTicks = 0;
    int pageTicks = 0;
    bool pressed = false;
    bool taken = false;
    bool saved = false;
};

// The purchase window over the demo's, once it has its page's title.
GtkWindow* loadedPage(GtkWidget* host) {
    GListModel* toplevels = gtk_window_get_toplevels();
    GtkWindow* found = nullptr;
    for (guint i = 0; i < g_list_model_get_n_items(toplevels) && !found; ++i) {
        auto* window = GTK_WINDOW(g_list_model_get_item(toplevels, i));
        const char* title = gtk_window_get_title(window);
        if (gtk_window_get_transient_for(window) == GTK_WINDOW(host) && title && std::string(title) != "Fermo")
            found = window;
        g_object_unref(window);
    }
    return found;
}

bool finishShot(Screenshot& shot, bool saved) {
    shot.saved = saved;
    shot.taken = true;
    g_main_loop_quit(shot.ui->loop);
    return false;
}

// Once every room has settled and the event batch has had its time: the
// window, then a press on the first available room and its page, loaded.
gboolean takeScreenshotWhenSettled(gpointer data) {
    constexpr int kTicksPerSecond = 1000 / 300 + 1;
    auto& shot = *static_cast<Screenshot*>(data);
    DemoWindow& ui = *shot.ui;
    const auto offers = ui.demo.sdk().fermoOffers();
    if (!allSettled(offers, shot.rooms) || ++shot.settledTicks < 10) return G_SOURCE_CONTINUE;
    if (shot.settledTicks == 10) {
        ui.logRequests();
        if (!shot.path.empty() && !savePng(ui.window, shot.path)) return finishShot(shot, false);
        if (shot.pagePath.empty()) return finishShot(shot, true);
    }
    if (!shot.pressed) {
        shot.pressed = true;
        for (std::size_t i = 0; i < offers.size() && i < ui.rows.size(); ++i) {
            if (offers[i].state.kind() != LXFermoOfferState::Kind::available) continue;
            gtk_widget_activate(gtk_widget_get_first_child(ui.rows[i].button));
            break;
        }
    }
    GtkWindow* page = loadedPage(ui.window);
    if (!page) return shot.pageTicks++ > 30 * kTicksPerSecond ? finishShot(shot, false) : G_SOURCE_CONTINUE;
    // Its fonts and layout settle after the title comes.
    if (++shot.pageTicks < 2 * kTicksPerSecond) return G_SOURCE_CONTINUE;
    return finishShot(shot, savePng(GTK_WIDGET(page), shot.pagePath));
}

}  // namespace

bool runDemoWindow(DemoSetup& demo, int& exitCode, const std::string* screenshot, const std::string* pageShot) {
    if (!gtk_init_check()) return false;
    DemoWindow ui(demo);
    ui.loop = g_main_loop_new(nullptr, FALSE);
    ui.build();
    ui.append("Test service at " + demo.service().baseUrl());
    ui.append(demo.fetchPolicyNote());
    ui.subscription = demo.sdk().subscribeFermoOffers([&ui](const LXHotelsFermoSDK::Offers& offers) { ui.update(offers); });

    std::vector<LXRoomDetails> rooms;
    for (const auto& room : demo.rooms()) rooms.push_back(room.details);
    demo.sdk().cacheOffers(rooms);
    const guint poll = g_timeout_add(
        300,
        [](gpointer data) -> gboolean {
            static_cast<DemoWindow*>(data)->logRequests();
            return G_SOURCE_CONTINUE;
        },
        &ui);

    // Ctrl-C in the starting terminal closes the window like its close button.
    auto quit = [](gpointer loop) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return G_SOURCE_CONTINUE;
    };
    const guint interrupt = g_unix_signal_add(SIGINT, quit, ui.loop);
    const guint terminate = g_unix_signal_add(SIGTERM, quit, ui.loop);

    Screenshot shot{&ui, screenshot ? *screenshot : "", pageShot ? *pageShot : "", rooms.size()};
    const bool shooting = screenshot || pageShot;
    const guint shooter = shooting ? g_timeout_add(300, takeScreenshotWhenSettled, &shot) : 0;

    gtk_window_present(GTK_WINDOW(ui.window));
    g_main_loop_run(ui.loop);
    if (shooter && !shot.taken) g_source_remove(shooter);

    g_source_remove(interrupt);
    g_source_remove(terminate);

    g_source_remove(poll);
    ui.subscription.reset();
    gtk_window_destroy(GTK_WINDOW(ui.window));
    g_main_loop_unref(ui.loop);
    exitCode = 0;
    if (shooting && !shot.saved) {
        std::fprintf(stderr, "lxfermo demo: could not save the screenshot\n");
        exitCode = 1;
    }
    return true;
}

}  // namespace lxfermo
