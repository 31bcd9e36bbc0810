// A host program built against the installed library only.
#include <LXHotelsFermo/LXHotelsFermoSDK.h>
#include <LXHotelsFermo/LXVersion.h>

#include <cstdio>

int main() {
    auto room = LXRoomDetails::fromJSON("{\"booking\":{}}");
    if (room) return 1;  // incomplete input must be refused
    auto state = LXFermoOfferState::fromJSON("{\"available\":{}}");
    if (!state || state.value() != LXFermoOfferState::available()) return 1;
    LXHotelsFermoSDK::shared().configure("token", LXEnvironmentType::staging);
    if (!LXHotelsFermoSDK::shared().fermoOffers().empty()) return 1;
    std::printf("consumer ok, version %.1f, %s\n", LXHotelsFermoVersionNumber, room.error().description().c_str());
    return 0;
}
