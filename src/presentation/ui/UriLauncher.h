#pragma once

#include <memory>
#include <string>

#include <gtk/gtk.h>


namespace lxhf::ui {

// Opens a link the page wants in a new window. The desktop's browser in the
// library; a recorder in tests.
class UriLauncher {
public:
    virtual ~UriLauncher() = default;
    virtual void launch(const std::string& uri, GtkWindow* parent) = 0;
};

std::shared_ptr<UriLauncher> makeDesktopUriLauncher();

}  // namespace lxhf::ui
