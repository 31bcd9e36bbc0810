// Query-item encoding and the microsite address. The input is split on
// newlines into the parts a host and the service control: token, session id,
// scheme, host, path, hotel name, image address, an extra attribute's name
// and value, client region, price.

#include <algorithm>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "page/MicrositeAddress.h"
#include "page/QueryBuilder.h"

namespace {

constexpr std::string_view kKeptInQuery = "-._~!$'()*+,;:@/?";
constexpr std::string_view kNames[] = {"token",  "priceInclusive", "imageUrl",     "hotel",       "extAttributes",
                                       "sessionId", "offer",       "clientRegion", "featureFlags"};

bool isHexUpper(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }
bool isAlnum(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }
int hexValue(char c) { return c <= '9' ? c - '0' : c - 'A' + 10; }

// Undoes %XX, checking that nothing else was left unencoded.
std::string decodeQueryComponent(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '%') {
            LXHF_FUZZ_CHECK(i + 2 < text.size() && isHexUpper(text[i + 1]) && isHexUpper(text[i + 2]));
            out.push_back(char(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
            i += 2;
        } else {
            LXHF_FUZZ_CHECK(isAlnum(c) || kKeptInQuery.find(c) != std::string_view::npos);
            out.push_back(c);
        }
    }
    return out;
}

std::vector<std::string> splitLines(std::string_view text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        parts.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

LXRoomDetails roomWith(const std::vector<std::string>& part) {
    LXRoom room;
    room.id = "R1";
    room.merchantId = "M1";
    room.imageUrl = part[6];
    room.extAttributes[part[7]] = part[8];
    room.priceInclusive = part[10];
    return LXRoomDetails::make(std::nullopt, LXBooking{{"2024-06-01", "2024-06-04"}, {2, 0}, "en_US", "EUR", 1},
                               LXHotel{"H1", part[5], "4", std::nullopt, {"Via Roma 1", "Fermo", "IT"}, std::nullopt},
                               std::move(room));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzzText(data, size);
    LXHF_FUZZ_CHECK(decodeQueryComponent(lxhf::QueryBuilder::encodeQueryComponent(text)) == text);

    auto part = splitLines(text);
    const bool hasSession = part.size() > 1;
    part.resize(11);
    if (part[2].empty()) part[2] = "https";

    lxhf::MicrositeAddressInputs inputs;
    inputs.endpoint = {part[2], part[3], part[4]};
    inputs.token = part[0];
    if (hasSession) inputs.sessionId = part[1];
    LXOfferResponse response;
    response.type = LXOfferResponseType::signedFullOffer;
    response.offer.room.id = "R1";
    response.offer.room.name = part[5];
    if (!part[9].empty()) response.clientRegion = part[9];
    response.featureFlags = FeatureFlags{{part[7], CodableValue{part[8]}}};
    inputs.offerResponse = response;

    auto address = lxhf::micrositeAddress(inputs, roomWith(part));
    if (!address) return 0;
    const auto bare = lxhf::QueryBuilder(part[2], part[3], part[4]).url();
    LXHF_FUZZ_CHECK(bare.has_value());
    const std::string& url = address.value();
    LXHF_FUZZ_CHECK(url.size() > bare->size() && url.compare(0, bare->size(), *bare) == 0 && url[bare->size()] == '?');

    // Nine items in their fixed order; "&" and "=" never survive inside one.
    std::vector<std::string> items;
    std::size_t start = bare->size() + 1;
    for (;;) {
        const std::size_t end = url.find('&', start);
        items.push_back(url.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos) break;
        start = end + 1;
    }
    LXHF_FUZZ_CHECK(items.size() == std::size(kNames));
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::string& item = items[i];
        const std::size_t eq = item.find('=');
        LXHF_FUZZ_CHECK(item.compare(0, eq, kNames[i]) == 0 && (eq == std::string::npos || eq == kNames[i].size()));
        if (eq != std::string::npos) (void)decodeQueryComponent(std::string_view(item).substr(eq + 1));
    }
    LXHF_FUZZ_CHECK(decodeQueryComponent(std::string_view(items[0]).substr(6)) == inputs.token);
    LXHF_FUZZ_CHECK(decodeQueryComponent(std::string_view(items[1]).substr(15)) == part[10]);
    LXHF_FUZZ_CHECK((items[5] == "sessionId") == !hasSession);
    return 0;
}
