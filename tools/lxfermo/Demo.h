#pragma once

// What the terminal and window forms of `lxfermo demo` share: the embedded
// service, the shared facade pointed at it, the sample rooms and how a
// room's state reads. Main context only.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FermoTestService.h"
#include "LXHotelsFermo/LXHotelsFermoSDK.h"

namespace lxfermo {

inline constexpr const char* kDemoToken = "demo-token";

struct DemoRoom {
    LXRoomDetails details;
    std::string title;  // "Hotel Aurora · Double room"
};

class DemoSetup {
public:
    // Starts the service and points the shared facade at it; absent (with
    // the reason printed) when the service cannot start or the facade is
    // already in use.
    static std::unique_ptr<DemoSetup> start();
    ~DemoSetup();

    LXHotelsFermoSDK& sdk() { return LXHotelsFermoSDK::shared(); }
    lxhf::testing::FermoTestService& service() { return service_; }
    const std::vector<DemoRoom>& rooms() const { return rooms_; }

    // The sample room at `index` in the facade's offer list; null for a
    // room the demo did not make.
    const DemoRoom* roomAt(std::size_t index) const;
    // "available", "unavailable", "error: Error fetching offer", ...
    std::string describe(const LXFermoOffer& offer);
    // The purchase page for an available room, or why there is none.
    std::string purchaseAddress(const LXRoomDetails& room, bool* ok);
    // Reports the room's offer as shown, once per room that has an answer.
    void reportShown(const LXRoomDetails& room);
    // One line for the log: the fetch policy the demo turned on.
    std::string fetchPolicyNote() const;

    DemoSetup(const DemoSetup&) = delete;
    DemoSetup& operator=(const DemoSetup&) = delete;

private:
    DemoSetup() = default;

    lxhf::testing::FermoTestService service_;
    std::vector<DemoRoom> rooms_;
    std::vector<LXRoomDetails> reported_;
    std::filesystem::path cacheDir_;
};

const char* stateName(const LXFermoOfferState& state);
bool allSettled(const LXHotelsFermoSDK::Offers& offers, std::size_t expected);

#ifdef LXFERMO_HAS_GTK
// Opens the window when a display can be used; false when there is none.
// With `screenshot`, saves the window there as a PNG once every room has
// settled, and closes it; with `pageShot`, then presses the first available
// room and saves its purchase page once loaded.
bool runDemoWindow(DemoSetup& demo, int& exitCode, const std::string* screenshot = nullptr,
                   const std::string* pageShot = nullptr);
#endif

}  // namespace lxfermo
