// A host program that links the installed GTK library (no display needed).
#include <LXHotelsFermo/ui/LXFermoButtonWrapper.h>
#include <LXHotelsFermo/ui/LXPurchaseWindow.h>

#include <cstdio>

int main() {
    using Create = GtkWidget* (*)(LXRoomDetails, LXPurchaseCallback, LXFermoButtonWrapper::ButtonFactory);
    const Create create = &LXFermoButtonWrapper::create;
    const bool linked = create != nullptr && &LXPurchaseWindow::present != nullptr;
    std::printf("ui consumer %s\n", linked ? "ok" : "broken");
    return linked ? 0 : 1;
}
