#include "presentation/ui/UriLauncher.h"

#include <glib.h>

namespace lxhf::ui {

namespace {

class DesktopUriLauncher final : public UriLauncher {
public:
    void launch(const std::string& uri, GtkWindow* parent) override {
#if GTK_CHECK_VERSION(4, 10, 0)
        GtkUriLauncher* launcher = gtk_uri_launcher_new(uri.c_str());
        gtk_uri_launcher_launch(launcher, parent, nullptr, &DesktopUriLauncher::finishedGtk, nullptr);
        g_object_unref(launcher);
#else
        (void)parent;  // GTK before 4.10 has no launcher that takes the parent
        g_app_info_launch_default_for_uri_async(uri.c_str(), nullptr, nullptr, &DesktopUriLauncher::finishedGio,
                                                nullptr);
#endif
    }

private:
    // A browser that does not start is the desktop's business; note it only.
    static void note(GError* error) {
        if (!error) return;
        g_log_structured("LXHotelsFermo", G_LOG_LEVEL_INFO, "MESSAGE", "Unable to open link: %s", error->message);
        g_error_free(error);
    }
#if GTK_CHECK_VERSION(4, 10, 0)
    static void finishedGtk(GObject* source, GAsyncResult* result, gpointer) {
        GError* error = nullptr;
        gtk_uri_launcher_launch_finish(GTK_URI_LAUNCHER(source), result, &error);
        note(error);
    }
#else
    static void finishedGio(GObject*, GAsyncResult* result, gpointer) {
        GError* error = nullptr;
        g_app_info_launch_default_for_uri_finish(result, &error);
        note(error);
    }
#endif
};

}  // namespace

std::shared_ptr<UriLauncher> makeDesktopUriLauncher() { return std::make_shared<DesktopUriLauncher>(); }

}  // namespace lxhf::ui
