// LxhfPageAction and the page's bridge: what a host with a web view of its
// own needs to turn the page's messages into results.

#include "gobject/GObjectBridge.h"

#include <string>

struct _LxhfPageAction {
    GObject parent_instance;
    LxhfPageActionKind kind;
    LxhfPurchaseResult result;
    char* errorMessage;  // nullable
    bool stopSpinner;
    bool dismiss;
};

G_DEFINE_FINAL_TYPE(LxhfPageAction, lxhf_page_action, G_TYPE_OBJECT)

enum { PROP_KIND = 1, PROP_RESULT, PROP_ERROR_MESSAGE, PROP_STOP_SPINNER, PROP_DISMISS, N_PROPS };
static GParamSpec* properties[N_PROPS];

static void lxhf_page_action_get_property(GObject* object, guint id, GValue* value, GParamSpec* param) {
    auto* self = LXHF_PAGE_ACTION(object);
    switch (id) {
    case PROP_KIND: g_value_set_enum(value, self->kind); break;
    case PROP_RESULT: g_value_set_enum(value, self->result); break;
    case PROP_ERROR_MESSAGE: g_value_set_string(value, self->errorMessage); break;
    case PROP_STOP_SPINNER: g_value_set_boolean(value, self->stopSpinner); break;
    case PROP_DISMISS: g_value_set_boolean(value, self->dismiss); break;
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

static void lxhf_page_action_finalize(GObject* object) {
    g_free(LXHF_PAGE_ACTION(object)->errorMessage);
    G_OBJECT_CLASS(lxhf_page_action_parent_class)->finalize(object);
}

static void lxhf_page_action_class_init(LxhfPageActionClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->get_property = lxhf_page_action_get_property;
    object->finalize = lxhf_page_action_finalize;
    constexpr auto flags = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
    /**
     * LxhfPageAction:kind:
     *
     * What the message was.
     */
    properties[PROP_KIND] = g_param_spec_enum("kind", nullptr, nullptr, LXHF_TYPE_PAGE_ACTION_KIND,
                                              LXHF_PAGE_ACTION_KIND_MALFORMED, flags);
    /**
     * LxhfPageAction:result:
     *
     * The result the message carries, or %LXHF_PURCHASE_RESULT_NONE.
     */
    properties[PROP_RESULT] = g_param_spec_enum("result", nullptr, nullptr, LXHF_TYPE_PURCHASE_RESULT,
                                                LXHF_PURCHASE_RESULT_NONE, flags);
    /**
     * LxhfPageAction:error-message:
     *
     * Why, for %LXHF_PURCHASE_RESULT_ERROR; %NULL otherwise.
     */
    properties[PROP_ERROR_MESSAGE] = g_param_spec_string("error-message", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfPageAction:stop-spinner:
     *
     * Whether the view should stop its loading spinner.
     */
    properties[PROP_STOP_SPINNER] = g_param_spec_boolean("stop-spinner", nullptr, nullptr, FALSE, flags);
    /**
     * LxhfPageAction:dismiss:
     *
     * Whether the view should take the page down.
     */
    properties[PROP_DISMISS] = g_param_spec_boolean("dismiss", nullptr, nullptr, FALSE, flags);
    g_object_class_install_properties(object, N_PROPS, properties);
}

static void lxhf_page_action_init(LxhfPageAction* self) {
    self->kind = LXHF_PAGE_ACTION_KIND_MALFORMED;
    self->result = LXHF_PURCHASE_RESULT_NONE;
}

namespace {

LxhfPageActionKind kindOf(LXPurchasePageAction::Kind kind) {
    using Kind = LXPurchasePageAction::Kind;
    switch (kind) {
    case Kind::cancelled: return LXHF_PAGE_ACTION_KIND_CANCELLED;
    case Kind::purchased: return LXHF_PAGE_ACTION_KIND_PURCHASED;
    case Kind::error: return LXHF_PAGE_ACTION_KIND_ERROR;
    case Kind::ready: return LXHF_PAGE_ACTION_KIND_READY;
    case Kind::unknown: return LXHF_PAGE_ACTION_KIND_UNKNOWN;
    case Kind::malformed: return LXHF_PAGE_ACTION_KIND_MALFORMED;
    }
    return LXHF_PAGE_ACTION_KIND_MALFORMED;
}

}  // namespace

namespace lxhf::gobject {

LxhfPageAction* pageActionNew(const LXPurchasePageAction& action) {
    auto* self = static_cast<LxhfPageAction*>(g_object_new(LXHF_TYPE_PAGE_ACTION, nullptr));
    self->kind = kindOf(action.kind);
    if (action.result) {
        self->result = resultOf(*action.result);
        self->errorMessage = g_strdup(messageOf(*action.result));
    }
    self->stopSpinner = action.stopSpinner;
    self->dismiss = action.dismiss;
    return self;
}

}  // namespace lxhf::gobject

LxhfPageActionKind lxhf_page_action_get_kind(LxhfPageAction* self) {
    g_return_val_if_fail(LXHF_IS_PAGE_ACTION(self), LXHF_PAGE_ACTION_KIND_MALFORMED);
    return self->kind;
}

LxhfPurchaseResult lxhf_page_action_get_result(LxhfPageAction* self) {
    g_return_val_if_fail(LXHF_IS_PAGE_ACTION(self), LXHF_PURCHASE_RESULT_NONE);
    return self->result;
}

const char* lxhf_page_action_get_error_message(LxhfPageAction* self) {
    g_return_val_if_fail(LXHF_IS_PAGE_ACTION(self), nullptr);
    return self->errorMessage;
}

gboolean lxhf_page_action_get_stop_spinner(LxhfPageAction* self) {
    g_return_val_if_fail(LXHF_IS_PAGE_ACTION(self), FALSE);
    return self->stopSpinner;
}

gboolean lxhf_page_action_get_dismiss(LxhfPageAction* self) {
    g_return_val_if_fail(LXHF_IS_PAGE_ACTION(self), FALSE);
    return self->dismiss;
}

// The constants end in NUL where they are defined, but string_view does not
// say so; copies made once keep that a fact here.
const char* lxhf_page_bridge_handler_name(void) {
    static const std::string name(LXPurchasePageBridge::handlerName);
    return name.c_str();
}

const char* lxhf_page_bridge_user_script(void) {
    static const std::string script(LXPurchasePageBridge::userScript);
    return script.c_str();
}
