#include "LXHotelsFermo/ui/LXFermoButtonWrapper.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "presentation/ui/PurchaseWindow.h"

namespace lxhf::ui {
namespace {

// What one wrapper knows. Owned by the widget; signal handlers, the button
// action and the purchase window hold it weakly, so they fall silent once the
// widget is disposed. Main context only.
struct WrapperState {
    WrapperState(GtkWidget* widget, LXHotelsFermoSDK& facade, LXRoomDetails roomDetails, LXPurchaseCallback callback,
                 LXFermoButtonWrapper::ButtonFactory factory, LXPurchaseEndCallback ended,
                 LXPurchasePageOptions options)
        : self(widget),
          sdk(&facade),
          room(std::move(roomDetails)),
          purchaseCallback(std::move(callback)),
          button(std::move(factory)),
          onEnded(std::move(ended)),
          pageOptions(options) {}

    GtkWidget* self;  // valid while `alive`
    bool alive = true;
    LXHotelsFermoSDK* sdk;
    LXRoomDetails room;
    LXPurchaseCallback purchaseCallback;
    LXFermoButtonWrapper::ButtonFactory button;
    LXPurchaseEndCallback onEnded;
    LXPurchasePageOptions pageOptions;
    LXSubscription subscription;
    GtkWidget* child = nullptr;
    bool showsPlaceholder = false;
    std::optional<LXFermoOfferState> shown;  // the state the host's widget was built for
    // The purchase address, composed with each build of the host's widget and
    // whenever the room's response changes, as the button's presentation is.
    std::optional<std::string> address;
    std::uint64_t addressRevision = 0;  // of the response it was composed from
    bool presented = false;
    GtkWindow* page = nullptr;  // the presented purchase window, while `presented`
    unsigned renders = 0;  // tells a nested render from the one it interrupted
};

using Weak = std::weak_ptr<WrapperState>;

// Whether the host's widget must be rebuilt. Written out here because an
// error state equals nothing, and a republished error is no change to show.
bool sameOnScreen(const LXFermoOfferState& a, const LXFermoOfferState& b) {
    if (a.kind() != b.kind()) return false;
    if (a.kind() != LXFermoOfferState::Kind::error) return true;
    return a.errorInfo()->message() == b.errorInfo()->message() && a.errorInfo()->code() == b.errorInfo()->code();
}

// Runs `handler` on each "map" of `widget`.
void onMap(GtkWidget* widget, std::function<void(GtkWidget*)> handler) {
    using Handler = std::function<void(GtkWidget*)>;
    g_signal_connect_data(
        widget, "map", G_CALLBACK(+[](GtkWidget* w, gpointer data) { (*static_cast<Handler*>(data))(w); }),
        new Handler(std::move(handler)), [](gpointer data, GClosure*) { delete static_cast<Handler*>(data); },
        GConnectFlags(0));
}

// The outgoing child may be in the middle of one of its own signals (a click
// that refreshed the offers), so it lives until the loop is idle again.
void setChild(WrapperState& s, GtkWidget* widget) {
    if (GtkWidget* old = std::exchange(s.child, nullptr)) {
        g_object_ref(old);
        gtk_widget_unparent(old);
        g_idle_add_full(
            G_PRIORITY_DEFAULT_IDLE, [](gpointer w) { g_object_unref(w); return gboolean(G_SOURCE_REMOVE); }, old,
            nullptr);
    }
    // Recorded first: a mapped wrapper maps the new child inside set_parent,
    // and its "map" handler checks that it is the current child.
    s.child = widget;
    gtk_widget_set_parent(widget, s.self);
}

using State = std::shared_ptr<WrapperState>;

// The facade logs why there is none, once per composition.
void composeAddress(WrapperState& s) {
    s.addressRevision = s.sdk->offerResponseRevision(s.room);
    auto address = s.sdk->purchaseAddress(s.room);
    s.address = address ? std::optional(std::move(address).value()) : std::nullopt;
}

void present(const State& s) {
    if (s->presented || !s->alive) return;
    LXHotelsFermoSDK& sdk = *s->sdk;

    PurchaseWindowSetup setup;
    GtkRoot* root = gtk_widget_get_root(s->self);
    setup.host = root && GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr;
    setup.url = s->address;
    // Results go to the host only while the wrapper lives: its callback's
    // captures may go with it.
    setup.purchaseCallback = [weak = Weak(s)](const LXFermoPurchaseResult& result) {
        auto state = weak.lock();
        if (state && state->alive && state->purchaseCallback) state->purchaseCallback(result);
    };
    setup.readMessage = [&sdk](std::string_view bodyJson, std::string_view handlerName) {
        return sdk.pageMessage(bodyJson, handlerName);
    };
    setup.caFile = sdk.endpoints().caFile;
    setup.pageOptions = s->pageOptions;
    setup.onEnded = [weak = Weak(s)](const std::optional<LXFermoPurchaseResult>& outcome) {
        auto state = weak.lock();
        if (!state) return;
        state->presented = false;
        state->page = nullptr;
        if (state->alive && state->onEnded) state->onEnded(outcome);
    };
    s->presented = true;
    s->page = presentPurchaseWindow(std::move(setup));
}

std::function<void()> actionFor(const State& s) {
    return [weak = Weak(s)] {
        if (auto state = weak.lock()) present(state);
    };
}

void showPlaceholder(const State& s) {
    s->shown.reset();
    if (s->showsPlaceholder) return;
    // Invisible but laid out, so it is mapped like the button would be.
    GtkWidget* placeholder = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_opacity(placeholder, 0.0);
    onMap(placeholder, [weak = Weak(s)](GtkWidget*) {
        auto state = weak.lock();
        if (!state || !state->alive) return;
        // Not from inside "map": the answer swaps this very widget out.
        g_idle_add_full(
            G_PRIORITY_DEFAULT,
            [](gpointer data) {
                auto later = static_cast<Weak*>(data)->lock();
                if (later && later->alive) later->sdk->cacheOffers({later->room});
                return gboolean(G_SOURCE_REMOVE);
            },
            new Weak(weak), [](gpointer data) { delete static_cast<Weak*>(data); });
    });
    setChild(*s, placeholder);
    s->showsPlaceholder = true;
}

void reportShown(const State& s, GtkWidget* button) {
    if (!s->alive || s->child != button) return;
    s->sdk->reportShown(s->room);
}

// The room's entry in the list delivered, which may be older than the
// facade's current one (a change made inside a delivery comes after it):
// the current index is only a hint there.
std::optional<std::size_t> entryOf(const WrapperState& s, const LXHotelsFermoSDK::Offers& offers) {
    const auto hint = s.sdk->offerIndex(s.room);
    if (!hint) return std::nullopt;
    if (*hint < offers.size() && offers[*hint].roomDetails() == s.room) return hint;
    for (std::size_t i = 0; i < offers.size(); ++i)
        if (offers[i].roomDetails() == s.room) return i;
    return std::nullopt;
}

void render(const State& s, const LXHotelsFermoSDK::Offers& offers) {
    if (!s->alive) return;
    const unsigned thisRender = ++s->renders;
    const auto index = entryOf(*s, offers);
    if (!index) {
        showPlaceholder(s);
        return;
    }
    // A copy: the host may replace the list while it builds its widget.
    const LXFermoOffer offer = offers[*index];
    if (s->shown && sameOnScreen(*s->shown, offer.state)) {
        if (s->sdk->offerResponseRevision(s->room) != s->addressRevision) composeAddress(*s);
        return;
    }

    GtkWidget* built = s->button ? s->button(offer, actionFor(s)) : nullptr;
    if (!built) built = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    g_object_ref_sink(built);
    // A render started by the host while it built (or the widget's end)
    // already decided what shows; this widget is stale.
    if (s->alive && thisRender == s->renders) {
        // Composed as the button is built, before it can appear and report.
        composeAddress(*s);
        onMap(built, [weak = Weak(s)](GtkWidget* widget) {
            if (auto state = weak.lock()) reportShown(state, widget);
        });
        setChild(*s, built);
        s->showsPlaceholder = false;
        s->shown = offer.state;
    }
    g_object_unref(built);
}

}  // namespace
}  // namespace lxhf::ui

// The widget: a single child laid out as the wrapper itself.
G_BEGIN_DECLS
#define LXHF_TYPE_FERMO_BUTTON_WRAPPER (lxhf_fermo_button_wrapper_get_type())
G_DECLARE_FINAL_TYPE(LxhfFermoButtonWrapper, lxhf_fermo_button_wrapper, LXHF, FERMO_BUTTON_WRAPPER, GtkWidget)
G_END_DECLS

struct _LxhfFermoButtonWrapper {
    GtkWidget parent_instance;
    lxhf::ui::State* state;  // null once disposed
};

G_DEFINE_FINAL_TYPE(LxhfFermoButtonWrapper, lxhf_fermo_button_wrapper, GTK_TYPE_WIDGET)

static void lxhf_fermo_button_wrapper_dispose(GObject* object) {
    auto* self = LXHF_FERMO_BUTTON_WRAPPER(object);
    if (self->state) {
        lxhf::ui::State state = std::move(*self->state);
        delete self->state;
        self->state = nullptr;
        state->alive = false;
        state->subscription.reset();
        // A wrapper that leaves takes its page with it, without a result.
        if (state->presented) lxhf::ui::dismissPurchaseWindow(std::exchange(state->page, nullptr));
        if (GtkWidget* child = std::exchange(state->child, nullptr)) gtk_widget_unparent(child);
    }
    G_OBJECT_CLASS(lxhf_fermo_button_wrapper_parent_class)->dispose(object);
}

static void lxhf_fermo_button_wrapper_class_init(LxhfFermoButtonWrapperClass* klass) {
    G_OBJECT_CLASS(klass)->dispose = lxhf_fermo_button_wrapper_dispose;
    gtk_widget_class_set_layout_manager_type(GTK_WIDGET_CLASS(klass), GTK_TYPE_BIN_LAYOUT);
    gtk_widget_class_set_css_name(GTK_WIDGET_CLASS(klass), "lxfermobuttonwrapper");
}

static void lxhf_fermo_button_wrapper_init(LxhfFermoButtonWrapper* self) { self->state = nullptr; }

GtkWidget* LXFermoButtonWrapper::create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button) {
    return create(std::move(room), std::move(purchaseCallback), std::move(button), LXHotelsFermoSDK::shared());
}

GtkWidget* LXFermoButtonWrapper::create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button,
                                        LXHotelsFermoSDK& sdk) {
    return create(std::move(room), std::move(purchaseCallback), std::move(button), {}, {}, sdk);
}

GtkWidget* LXFermoButtonWrapper::create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button,
                                        LXPurchaseEndCallback onEnded, LXPurchasePageOptions options) {
    return create(std::move(room), std::move(purchaseCallback), std::move(button), std::move(onEnded), options,
                  LXHotelsFermoSDK::shared());
}

GtkWidget* LXFermoButtonWrapper::create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button,
                                        LXPurchaseEndCallback onEnded, LXPurchasePageOptions options,
                                        LXHotelsFermoSDK& sdk) {
    if (!sdk.admitsCall("LXFermoButtonWrapper::create")) return nullptr;
    auto* self = LXHF_FERMO_BUTTON_WRAPPER(g_object_new(LXHF_TYPE_FERMO_BUTTON_WRAPPER, nullptr));
    auto state = std::make_shared<lxhf::ui::WrapperState>(GTK_WIDGET(self), sdk, std::move(room),
                                                          std::move(purchaseCallback), std::move(button),
                                                          std::move(onEnded), options);
    self->state = new lxhf::ui::State(state);
    // The current list arrives at once (after the delivery under way, when
    // made inside one), so the first child is normally in place on return.
    state->subscription = sdk.subscribeFermoOffers([weak = lxhf::ui::Weak(state)](const LXHotelsFermoSDK::Offers& offers) {
        if (auto s = weak.lock()) lxhf::ui::render(s, offers);
    });
    return GTK_WIDGET(self);
}

LXFermoButtonWrapper::ButtonFactory LXFermoButtonWrapper::labelledButton(
    std::function<std::string(const LXFermoOffer&)> label) {
    using Action = std::function<void()>;
    return [label = std::move(label)](const LXFermoOffer& offer, Action action) -> GtkWidget* {
        GtkWidget* button = gtk_button_new_with_label(label ? label(offer).c_str() : "");
        // Any other state has no page to buy from: pressing it would only say so.
        gtk_widget_set_sensitive(button, offer.state.kind() == LXFermoOfferState::Kind::available);
        g_signal_connect_data(
            button, "clicked", G_CALLBACK(+[](GtkButton*, gpointer run) { (*static_cast<Action*>(run))(); }),
            new Action(std::move(action)), [](gpointer run, GClosure*) { delete static_cast<Action*>(run); },
            GConnectFlags(0));
        return button;
    };
}
