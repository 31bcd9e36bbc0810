#include "presentation/ui/WebViewController.h"

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

#include "presentation/ui/ExtraAuthority.h"
#include "presentation/ui/PageFailure.h"

namespace lxhf::ui {

namespace {

constexpr const char* kControllerKey = "lxhf-web-view-controller";

// The page's value as JSON text; "null" when it has none (undefined, functions).
std::string toJson(JSCValue* value) {
    char* text = value ? jsc_value_to_json(value, 0) : nullptr;
    if (!text) return "null";
    std::string json(text);
    g_free(text);
    return json;
}

// A host's infinity or centuries mean "no sooner than GLib can wait".
guint timeoutMilliseconds(double seconds) {
    constexpr double kLongestWaitSeconds = 86400.0 * 24;
    if (!(seconds > 0)) return 0;
    return static_cast<guint>(std::min(seconds, kLongestWaitSeconds) * 1000);
}

bool isWebAddress(const char* uri) {
    const char* scheme = g_uri_peek_scheme(uri);  // interned, lower case
    return scheme && (g_str_equal(scheme, "http") || g_str_equal(scheme, "https"));
}

// Holds the controller's widgets for the length of a signal handler: a host
// callback may close the window, and the controller must outlive its own call.
class KeepAlive {
public:
    explicit KeepAlive(std::initializer_list<gpointer> objects) {
        for (gpointer o : objects)
            if (o) held_.push_back(g_object_ref(o));
    }
    ~KeepAlive() {
        for (gpointer o : held_) g_object_unref(o);
    }
    KeepAlive(const KeepAlive&) = delete;
    KeepAlive& operator=(const KeepAlive&) = delete;

private:
    std::vector<gpointer> held_;
};

}  // namespace

PageMessageReader sharedFacadeReader() {
    return [](std::string_view bodyJson, std::string_view handlerName) {
        return LXHotelsFermoSDK::shared().pageMessage(bodyJson, handlerName);
    };
}

// GObject signal entry points; each forwards to the controller it was
// connected with.
struct WebViewControllerSignals {
    static void scriptMessage(WebKitUserContentManager*, JSCValue* value, gpointer self) {
        auto* controller = static_cast<WebViewController*>(self);
        KeepAlive alive{controller->overlay_, controller->webView_};
        controller->receiveScriptMessage(LXPurchasePageBridge::handlerName, toJson(value));
    }

    // WebKitGTK asks for a web view only when a navigation targets a new
    // window, so the action never has a target frame here. Returning no view
    // keeps the page from opening a second one.
    static GtkWidget* create(WebKitWebView*, WebKitNavigationAction* action, gpointer self) {
        static_cast<WebViewController*>(self)->openInBrowser(action);
        return nullptr;
    }

    static void loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self) {
        auto* controller = static_cast<WebViewController*>(self);
        KeepAlive alive{controller->overlay_, controller->webView_};
        // The page's own request has its answer once the first load commits.
        if (event == WEBKIT_LOAD_STARTED && !controller->requestTimerArmed_) {
            controller->requestTimerArmed_ = true;
            controller->requestTimer_ =
                g_timeout_add(timeoutMilliseconds(controller->setup_.requestTimeoutSeconds), &requestTimedOut, self);
        } else if (event == WEBKIT_LOAD_COMMITTED && controller->requestTimer_) {
            g_source_remove(std::exchange(controller->requestTimer_, 0));
        }
        using Load = WebViewController::Load;
        if (event == WEBKIT_LOAD_STARTED) controller->load_ = Load::pending;
        if (event == WEBKIT_LOAD_COMMITTED) {
            controller->load_ = Load::committed;
            controller->checkAnswerStatus();
        }
        // A load replaced before it committed, or a certificate about to be
        // retried, finishes too, with nothing shown.
        if (event == WEBKIT_LOAD_FINISHED && controller->load_ == Load::committed) {
            controller->load_ = Load::finished;
            controller->endFirstLoadIfShown();
        }
    }

    static gboolean requestTimedOut(gpointer self) {
        auto* controller = static_cast<WebViewController*>(self);
        controller->requestTimer_ = 0;
        controller->requestTimedOut_ = true;
        webkit_web_view_stop_loading(controller->webView_);
        return G_SOURCE_REMOVE;
    }

    static gboolean loadFailed(WebKitWebView*, WebKitLoadEvent, gchar* uri, GError* error, gpointer self) {
        auto* controller = static_cast<WebViewController*>(self);
        controller->load_ = WebViewController::Load::pending;
        if (controller->retryCancelledFirstLoad(uri, error)) return TRUE;
        // The first load is over, one way or the other; a certificate being
        // retried fails through load-failed-with-tls-errors instead.
        if (controller->requestTimer_) g_source_remove(std::exchange(controller->requestTimer_, 0));
        // Once the page has loaded, a link in it that fails is the page's business.
        if (!controller->setup_.pageOptions.reportLoadFailures || controller->firstLoadOver_) return FALSE;
        KeepAlive alive{controller->overlay_, controller->webView_};
        if (controller->requestTimedOut_) {
            controller->reportPageFailure(requestTimeoutMessage(controller->setup_.requestTimeoutSeconds));
            return FALSE;
        }
        // A load replaced by another, or turned into a download, is no failure of the page.
        if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
            g_error_matches(error, WEBKIT_POLICY_ERROR, WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE))
            return FALSE;
        controller->reportPageFailure(loadFailureMessage(error));
        return FALSE;
    }

    // Whatever the page was doing is gone with its process.
    static void webProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer self) {
        auto* controller = static_cast<WebViewController*>(self);
        if (!controller->setup_.pageOptions.reportLoadFailures) return;
        KeepAlive alive{controller->overlay_, controller->webView_};
        controller->reportPageFailure(webProcessEndedMessage(reason));
    }

    // The page's certificate is not one the session trusts: it may still be
    // one the library's extra CA signed.
    static gboolean loadFailedWithTlsErrors(WebKitWebView*, char* uri, GTlsCertificate* certificate,
                                            GTlsCertificateFlags, gpointer self) {
        return static_cast<WebViewController*>(self)->trustExtraAuthority(uri, certificate);
    }

    // Loaded again on the next turn, outside the failed load's emission.
    static gboolean retry(gpointer self) {
        auto* controller = static_cast<WebViewController*>(self);
        controller->retrySource_ = 0;
        webkit_web_view_load_uri(controller->webView_, controller->retryUri_.c_str());
        return G_SOURCE_REMOVE;
    }

    static gboolean readyTimedOut(gpointer self) {
        auto* controller = static_cast<WebViewController*>(self);
        controller->readyTimer_ = 0;
        KeepAlive alive{controller->overlay_, controller->webView_};
        controller->reportPageFailure(readyTimeoutMessage(controller->setup_.pageOptions.readyTimeoutSeconds));
        return G_SOURCE_REMOVE;
    }

    static void destroyed(GtkWidget*, gpointer self) { static_cast<WebViewController*>(self)->release(); }
    static void destroy(gpointer self) { delete static_cast<WebViewController*>(self); }
};

WebViewController& WebViewController::create(const std::string& url, WebViewSetup setup) {
    auto* controller = new WebViewController(url, std::move(setup));
    g_object_set_data_full(G_OBJECT(controller->overlay_), kControllerKey, controller,
                           &WebViewControllerSignals::destroy);
    return *controller;
}

WebViewController* WebViewController::from(GtkWidget* widget) {
    return widget ? static_cast<WebViewController*>(g_object_get_data(G_OBJECT(widget), kControllerKey)) : nullptr;
}

WebViewController::WebViewController(const std::string& url, WebViewSetup setup)
    : setup_(std::move(setup)), micrositeOrigin_(originOf(url)) {
    if (!setup_.readMessage) setup_.readMessage = sharedFacadeReader();
    if (!setup_.warn) setup_.warn = [](std::string_view) {};
    if (!setup_.launcher) setup_.launcher = makeDesktopUriLauncher();

    contentManager_ = webkit_user_content_manager_new();
    const std::string source(LXPurchasePageBridge::userScript);
    const std::string name(LXPurchasePageBridge::handlerName);
    WebKitUserScript* script =
        webkit_user_script_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                               WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
    webkit_user_content_manager_add_script(contentManager_, script);
    webkit_user_script_unref(script);
    webkit_user_content_manager_register_script_message_handler(contentManager_, name.c_str(), nullptr);
    g_signal_connect(contentManager_, ("script-message-received::" + name).c_str(),
                     G_CALLBACK(&WebViewControllerSignals::scriptMessage), this);
    bridgeAttached_ = true;

    WebKitNetworkSession* session = setup_.networkSession;
    if (!session) session = ownSession_ = webkit_network_session_new_ephemeral();
    GObject* view = static_cast<GObject*>(g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", contentManager_,
                                                       "network-session", session, nullptr));
    webView_ = WEBKIT_WEB_VIEW(g_object_ref_sink(view));
    webkit_settings_set_enable_back_forward_navigation_gestures(webkit_web_view_get_settings(webView_), TRUE);
    gtk_widget_set_hexpand(GTK_WIDGET(webView_), TRUE);
    gtk_widget_set_vexpand(GTK_WIDGET(webView_), TRUE);
    g_signal_connect(webView_, "create", G_CALLBACK(&WebViewControllerSignals::create), this);
    g_signal_connect(webView_, "load-changed", G_CALLBACK(&WebViewControllerSignals::loadChanged), this);
    g_signal_connect(webView_, "load-failed", G_CALLBACK(&WebViewControllerSignals::loadFailed), this);
    g_signal_connect(webView_, "load-failed-with-tls-errors",
                     G_CALLBACK(&WebViewControllerSignals::loadFailedWithTlsErrors), this);
    g_signal_connect(webView_, "web-process-terminated", G_CALLBACK(&WebViewControllerSignals::webProcessTerminated),
                     this);

    spinner_ = gtk_spinner_new();
    gtk_widget_set_halign(spinner_, GTK_ALIGN_CENTER);
    gtk_widget_set_valign(spinner_, GTK_ALIGN_CENTER);
    gtk_widget_set_size_request(spinner_, 37, 37);  // the large indicator's size
    gtk_spinner_start(GTK_SPINNER(spinner_));

    overlay_ = gtk_overlay_new();
    gtk_overlay_set_child(GTK_OVERLAY(overlay_), GTK_WIDGET(webView_));
    gtk_overlay_add_overlay(GTK_OVERLAY(overlay_), spinner_);
    g_signal_connect(overlay_, "destroy", G_CALLBACK(&WebViewControllerSignals::destroyed), this);

    const auto& options = setup_.pageOptions;
    if (options.reportLoadFailures && options.readyTimeoutSeconds > 0)
        readyTimer_ = g_timeout_add(timeoutMilliseconds(options.readyTimeoutSeconds),
                                    &WebViewControllerSignals::readyTimedOut, this);

    webkit_web_view_load_uri(webView_, url.c_str());
}

WebViewController::~WebViewController() { release(); }

bool WebViewController::spinnerSpinning() const {
    return spinner_ && gtk_widget_get_visible(spinner_) && gtk_spinner_get_spinning(GTK_SPINNER(spinner_));
}

void WebViewController::receiveScriptMessage(std::string_view handlerName, std::string_view bodyJson) {
    apply(setup_.readMessage(bodyJson, handlerName));
}

void WebViewController::apply(const LXPurchasePageAction& action) {
    // A host that asked for failures gets one last result: nothing follows a
    // failure, a "close" or an "error".
    const bool silent = abandoned_ || (finished_ && setup_.pageOptions.reportLoadFailures);
    if (action.result && setup_.purchaseCallback && !silent) setup_.purchaseCallback(*action.result);
    if (action.stopSpinner) {
        ready_ = true;
        if (readyTimer_) g_source_remove(std::exchange(readyTimer_, 0));
        stopSpinner();
        endFirstLoadIfShown();
    }
    if (action.dismiss) {
        finished_ = true;
        cancelTimers();
        if (setup_.dismiss) setup_.dismiss();
    }
}

void WebViewController::stopSpinner() {
    if (!spinner_) return;  // the host's callback may already have closed the page
    gtk_spinner_stop(GTK_SPINNER(spinner_));
    gtk_widget_set_visible(spinner_, FALSE);
}

void WebViewController::endFirstLoadIfShown() {
    if (ready_ && load_ == Load::finished) firstLoadOver_ = true;
}

// WebKit shows the page of an error status like any other; only the status
// tells the service failed.
void WebViewController::checkAnswerStatus() {
    if (!setup_.pageOptions.reportLoadFailures || firstLoadOver_ || !webView_) return;
    WebKitWebResource* page = webkit_web_view_get_main_resource(webView_);
    WebKitURIResponse* response = page ? webkit_web_resource_get_response(page) : nullptr;
    const guint status = response ? webkit_uri_response_get_status_code(response) : 0;
    if (status >= 500 && status <= 599) reportPageFailure(errorStatusMessage(status));
}

void WebViewController::reportPageFailure(std::string message) {
    if (finished_) return;
    finished_ = true;
    cancelTimers();
    if (setup_.purchaseCallback) setup_.purchaseCallback(LXFermoPurchaseResult::error(LXErrorInfo(std::move(message))));
    if (setup_.dismiss) setup_.dismiss();
}

void WebViewController::openInBrowser(WebKitNavigationAction* action) {
    WebKitURIRequest* request = action ? webkit_navigation_action_get_request(action) : nullptr;
    const char* uri = request ? webkit_uri_request_get_uri(request) : nullptr;
    if (!uri || !*uri) return;
    // Any other scheme would start whatever application claims it.
    if (!isWebAddress(uri)) {
        setup_.warn(kRefusedNonWebLink);
        return;
    }
    GtkRoot* root = gtk_widget_get_root(overlay_);
    setup_.launcher->launch(uri, GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr);
}

bool WebViewController::trustExtraAuthority(const char* uri, GTlsCertificate* certificate) {
    if (!setup_.caFile || !uri || extraTrustUsed_ || !micrositeOrigin_) return false;
    if (originOf(uri) != micrositeOrigin_) return false;
    const auto host = hostOf(uri);
    if (!host || !vouchedForBy(*setup_.caFile, certificate, uri)) return false;
    extraTrustUsed_ = true;
    webkit_network_session_allow_tls_certificate_for_host(webkit_web_view_get_network_session(webView_), certificate,
                                                          host->c_str());
    retryLater(uri);
    return true;
}

// On a loaded machine WebKit's network process sometimes ends the first load
// with a bare GIO cancellation that nothing of ours asked for, where it would
// report the certificate, and shows that as an error page (about one first
// load in six with four pages opening at once). A few more tries, spaced
// out, get through.
bool WebViewController::retryCancelledFirstLoad(const char* uri, const GError* error) {
    constexpr unsigned kMaxCancelRetries = 4;
    if (!g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) || !uri) return false;
    if (cancelRetries_ >= kMaxCancelRetries || firstLoadOver_ || requestTimedOut_ || abandoned_ || finished_ ||
        released_ || retrySource_)
        return false;
    retryLater(uri, 50u << cancelRetries_++);
    return true;
}

void WebViewController::retryLater(const char* uri, unsigned delayMs) {
    retryUri_ = uri;
    // Not an ordinary idle: a window whose frames take longer to draw than
    // they last (software GL) never leaves the loop idle.
    retrySource_ = delayMs ? g_timeout_add(delayMs, &WebViewControllerSignals::retry, this)
                           : g_idle_add_full(G_PRIORITY_DEFAULT, &WebViewControllerSignals::retry, this, nullptr);
}

void WebViewController::abandon() {
    abandoned_ = true;
    finished_ = true;
    cancelTimers();
    detachBridge();
}

void WebViewController::detachBridge() {
    if (!bridgeAttached_) return;
    bridgeAttached_ = false;
    const std::string name(LXPurchasePageBridge::handlerName);
    webkit_user_content_manager_remove_all_scripts(contentManager_);
    webkit_user_content_manager_unregister_script_message_handler(contentManager_, name.c_str(), nullptr);
    g_signal_handlers_disconnect_by_data(contentManager_, this);
}

void WebViewController::cancelTimers() {
    if (requestTimer_) g_source_remove(std::exchange(requestTimer_, 0));
    if (readyTimer_) g_source_remove(std::exchange(readyTimer_, 0));
    if (retrySource_) g_source_remove(std::exchange(retrySource_, 0));
}

void WebViewController::release() {
    if (released_) return;
    released_ = true;
    detachBridge();
    cancelTimers();
    if (webView_) {
        g_signal_handlers_disconnect_by_data(webView_, this);
        g_object_unref(std::exchange(webView_, nullptr));
    }
    if (contentManager_) g_object_unref(std::exchange(contentManager_, nullptr));
    if (ownSession_) g_object_unref(std::exchange(ownSession_, nullptr));
    // The overlay's own handlers go with it: this runs from its "destroy".
    spinner_ = nullptr;
}

}  // namespace lxhf::ui
