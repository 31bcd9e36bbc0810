// LxhfPageOptions: the C++ page options as GObject properties, so a host can
// set them from Python or JavaScript by name.

#include "gobject/GObjectBridge.h"

struct _LxhfPageOptions {
    GObject parent_instance;
    LXPurchasePageOptions options;
};

G_DEFINE_FINAL_TYPE(LxhfPageOptions, lxhf_page_options, G_TYPE_OBJECT)

enum { PROP_REPORT_LOAD_FAILURES = 1, PROP_READY_TIMEOUT_SECONDS, PROP_FULLSCREEN, N_PROPS };
static GParamSpec* properties[N_PROPS];

static void lxhf_page_options_set_property(GObject* object, guint id, const GValue* value, GParamSpec* param) {
    auto& options = LXHF_PAGE_OPTIONS(object)->options;
    switch (id) {
    case PROP_REPORT_LOAD_FAILURES: options.reportLoadFailures = g_value_get_boolean(value); break;
    case PROP_READY_TIMEOUT_SECONDS: options.readyTimeoutSeconds = g_value_get_double(value); break;
    case PROP_FULLSCREEN: options.fullscreen = g_value_get_boolean(value); break;
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

static void lxhf_page_options_get_property(GObject* object, guint id, GValue* value, GParamSpec* param) {
    const auto& options = LXHF_PAGE_OPTIONS(object)->options;
    switch (id) {
    case PROP_REPORT_LOAD_FAILURES: g_value_set_boolean(value, options.reportLoadFailures); break;
    case PROP_READY_TIMEOUT_SECONDS: g_value_set_double(value, options.readyTimeoutSeconds); break;
    case PROP_FULLSCREEN: g_value_set_boolean(value, options.fullscreen); break;
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

static void lxhf_page_options_class_init(LxhfPageOptionsClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = lxhf_page_options_set_property;
    object->get_property = lxhf_page_options_get_property;
    constexpr auto flags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
    const LXPurchasePageOptions defaults;
    /**
     * LxhfPageOptions:report-load-failures:
     *
     * Off by default: a page that fails to load, or never says it is ready,
     * keeps its spinner turning until the traveller leaves, and nothing is
     * reported. On: every failure of the page ends in exactly one
     * %LXHF_PURCHASE_RESULT_ERROR, whose message says what failed ("Unable
     * to load the purchase page: the connection was refused", "The purchase
     * page was not ready within 30 seconds", ...), and the page is taken
     * down.
     */
    properties[PROP_REPORT_LOAD_FAILURES] =
        g_param_spec_boolean("report-load-failures", nullptr, nullptr, defaults.reportLoadFailures, flags);
    /**
     * LxhfPageOptions:ready-timeout-seconds:
     *
     * With #LxhfPageOptions:report-load-failures, how long the page may take
     * to say it is ready. Zero or less: no limit.
     */
    properties[PROP_READY_TIMEOUT_SECONDS] = g_param_spec_double(
        "ready-timeout-seconds", nullptr, nullptr, -G_MAXDOUBLE, G_MAXDOUBLE, defaults.readyTimeoutSeconds, flags);
    /**
     * LxhfPageOptions:fullscreen:
     *
     * Off by default: the page is a modal window the size of the host's,
     * centred on it. On: the whole monitor, for a kiosk. Either way its
     * close button and Escape close it.
     */
    properties[PROP_FULLSCREEN] = g_param_spec_boolean("fullscreen", nullptr, nullptr, defaults.fullscreen, flags);
    g_object_class_install_properties(object, N_PROPS, properties);
}

static void lxhf_page_options_init(LxhfPageOptions* self) { lxhf::gobject::construct(self->options); }

LxhfPageOptions* lxhf_page_options_new(void) {
    return static_cast<LxhfPageOptions*>(g_object_new(LXHF_TYPE_PAGE_OPTIONS, nullptr));
}

namespace lxhf::gobject {

LXPurchasePageOptions optionsOf(LxhfPageOptions* options) { return options ? options->options : LXPurchasePageOptions{}; }

}  // namespace lxhf::gobject
