#pragma once

// The microsite in a web view with a spinner over it, and the script bridge
// that turns the page's events into purchase results.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include "LXHotelsFermo/LXHotelsFermoSDK.h"
#include "LXHotelsFermo/LXPurchasePage.h"
#include "LXHotelsFermo/ui/LXPurchaseWindow.h"
#include "presentation/ui/UriLauncher.h"

namespace lxhf::ui {

// Reads one message of the page and logs it, as a facade's pageMessage does.
using PageMessageReader = std::function<LXPurchasePageAction(std::string_view bodyJson, std::string_view handlerName)>;
using WarningSink = std::function<void(std::string_view)>;

// The process facade's pageMessage.
PageMessageReader sharedFacadeReader();

inline constexpr std::string_view kRefusedNonWebLink = "Refused to open a link that is not http or https";

struct WebViewSetup {
    LXPurchaseCallback purchaseCallback;   // may be empty
    std::function<void()> dismiss;         // asks the presenter to take the page down; may be empty
    PageMessageReader readMessage;         // empty: the process facade's
    WarningSink warn;                      // the view's own lines; empty: skipped
    std::shared_ptr<UriLauncher> launcher;  // null: the desktop's browser
    // The extra CA the library was given, if any: a certificate it signed is
    // accepted for the microsite's host, as the API calls accept it.
    std::optional<std::string> caFile;
    // Tests only: a session shared by several pages. Null: an ephemeral
    // session of the page's own, so nothing the page stored (its address
    // with the partner token and session id in the disk cache, cookies,
    // local storage) outlives it.
    WebKitNetworkSession* networkSession = nullptr;
    LXPurchasePageOptions pageOptions;
    // Tests only: the request timeout, shortened.
    double requestTimeoutSeconds = 60.0;
};

// Owned by its widget and destroyed with it; main context only. Every signal
// it connects is disconnected before it goes, so nothing calls into a dead
// controller.
class WebViewController {
public:
    // Builds the widget and starts loading `url`. WebKitGTK has no per-request
    // timeout, so the 60 s request timeout is kept by stopping the first load
    // when its main document has not arrived after 60 s. It covers the
    // page's own request only: later navigations do not restart it.
    static WebViewController& create(const std::string& url, WebViewSetup setup);
    static WebViewController* from(GtkWidget* widget);

    WebViewController(const WebViewController&) = delete;
    WebViewController& operator=(const WebViewController&) = delete;

    GtkWidget* widget() const { return overlay_; }
    WebKitWebView* webView() const { return webView_; }
    WebKitUserContentManager* contentManager() const { return contentManager_; }
    bool spinnerSpinning() const;

    // The page's message, as the bridge handler receives it.
    void receiveScriptMessage(std::string_view handlerName, std::string_view bodyJson);

    // Removes the user scripts and the message handler. Runs when the page
    // ends (abandon) or its widget is destroyed, not when it is merely
    // unmapped; harmless to repeat.
    void detachBridge();

    // The page goes without a result: its bridge and timers stop now, so
    // nothing more reaches the purchase callback. Taking the widget down is
    // the caller's business.
    void abandon();

    static constexpr unsigned kRequestTimeoutSeconds = 60;

private:
    WebViewController(const std::string& url, WebViewSetup setup);
    ~WebViewController();
    friend struct WebViewControllerSignals;

    void apply(const LXPurchasePageAction& action);
    void stopSpinner();
    void endFirstLoadIfShown();
    void checkAnswerStatus();
    void reportPageFailure(std::string message);
    void openInBrowser(WebKitNavigationAction* action);
    bool retryCancelledFirstLoad(const char* uri, const GError* error);
    void retryLater(const char* uri, unsigned delayMs = 0);
    bool trustExtraAuthority(const char* uri, GTlsCertificate* certificate);
    void cancelTimers();
    void release();

    WebViewSetup setup_;
    std::optional<std::string> micrositeOrigin_;  // "host:port" of the page first loaded
    GtkWidget* overlay_ = nullptr;
    GtkWidget* spinner_ = nullptr;
    WebKitWebView* webView_ = nullptr;                   // our own reference
    WebKitUserContentManager* contentManager_ = nullptr;  // our own reference
    bool bridgeAttached_ = false;
    bool released_ = false;
    bool ready_ = false;
    bool finished_ = false;  // the page was dismissed or reported as failed
    // Only the page's first load can fail it, later navigations cannot. A
    // page that redirects by script or meta refresh has committed and
    // finished before the next load starts, so the first load lasts until
    // the page has also said "ready".
    bool firstLoadOver_ = false;
    enum class Load { pending, committed, finished };
    Load load_ = Load::pending;  // the latest load; pending again once it fails
    bool abandoned_ = false;  // no result is reported any more
    bool requestTimedOut_ = false;
    bool requestTimerArmed_ = false;  // once: the first load only
    guint requestTimer_ = 0;
    WebKitNetworkSession* ownSession_ = nullptr;  // our own reference, when none was given
    guint readyTimer_ = 0;
    bool extraTrustUsed_ = false;  // once only: a second refusal is final
    unsigned cancelRetries_ = 0;   // a few only: see retryCancelledFirstLoad
    std::string retryUri_;
    guint retrySource_ = 0;
};

}  // namespace lxhf::ui
