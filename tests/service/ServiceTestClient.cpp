#include "ServiceTestClient.h"

#include <glib.h>

#include <algorithm>

namespace lxhf::testing {

using nlohmann::json;

struct ServiceTestClient::Pending {
    SoupMessage* msg = nullptr;
    bool finished = false;
    Reply reply;
    gint64 startedAt = g_get_monotonic_time();
};

namespace {
void onSent(GObject* source, GAsyncResult* result, gpointer data) {
    auto* p = static_cast<ServiceTestClient::Pending*>(data);
    GError* error = nullptr;
    GBytes* bytes = soup_session_send_and_read_finish(SOUP_SESSION(source), result, &error);
    if (error) {
        p->reply.error = error->message;
        g_error_free(error);
    } else {
        p->reply.status = static_cast<int>(soup_message_get_status(p->msg));
        gsize size = 0;
        const auto* body = static_cast<const char*>(g_bytes_get_data(bytes, &size));
        if (body) p->reply.body.assign(body, size);
        SoupMessageHeadersIter iter;
        soup_message_headers_iter_init(&iter, soup_message_get_response_headers(p->msg));
        const char *name = nullptr, *value = nullptr;
        while (soup_message_headers_iter_next(&iter, &name, &value)) p->reply.headers.emplace_back(name, value);
    }
    if (bytes) g_bytes_unref(bytes);
    p->reply.seconds = static_cast<double>(g_get_monotonic_time() - p->startedAt) / G_USEC_PER_SEC;
    p->finished = true;
}
}  // namespace

std::string Reply::header(const std::string& name) const {
    for (const auto& [key, value] : headers)
        if (g_ascii_strcasecmp(key.c_str(), name.c_str()) == 0) return value;
    return {};
}

ServiceTestClient::ServiceTestClient(const std::string& caFile) : session_(soup_session_new()) {
    soup_session_set_timeout(session_, 10);
    if (caFile.empty()) return;
    GTlsDatabase* database = g_tls_file_database_new(caFile.c_str(), nullptr);
    soup_session_set_tls_database(session_, database);
    g_clear_object(&database);
}

ServiceTestClient::~ServiceTestClient() {
    // Let requests still under way finish against their own Pending first.
    for (int i = 0; i < 500 && std::any_of(pending_.begin(), pending_.end(), [](Pending* p) { return !p->finished; }); ++i) {
        g_main_context_iteration(nullptr, FALSE);
        g_usleep(1000);
    }
    soup_session_abort(session_);
    for (Pending* p : pending_) {
        g_object_unref(p->msg);
        delete p;
    }
    g_object_unref(session_);
}

int ServiceTestClient::begin(const std::string& method, const std::string& url, const Headers& headers,
                             const std::string& body) {
    auto* p = new Pending;
    p->msg = soup_message_new(method.c_str(), url.c_str());
    pending_.push_back(p);
    const int id = static_cast<int>(pending_.size()) - 1;
    if (!p->msg) {
        p->reply.error = "bad URL";
        p->finished = true;
        p->msg = soup_message_new("GET", "https://127.0.0.1/");
        return id;
    }
    for (const auto& [name, value] : headers)
        soup_message_headers_replace(soup_message_get_request_headers(p->msg), name.c_str(), value.c_str());
    if (!body.empty()) {
        GBytes* bytes = g_bytes_new(body.data(), body.size());
        soup_message_set_request_body_from_bytes(p->msg, nullptr, bytes);
        g_bytes_unref(bytes);
    }
    soup_session_send_and_read_async(session_, p->msg, G_PRIORITY_DEFAULT, nullptr, onSent, p);
    return id;
}

bool ServiceTestClient::done(int id) const { return pending_.at(static_cast<std::size_t>(id))->finished; }
Reply ServiceTestClient::reply(int id) const { return pending_.at(static_cast<std::size_t>(id))->reply; }

Reply ServiceTestClient::send(const std::string& method, const std::string& url, const Headers& headers,
                              const std::string& body) {
    const int id = begin(method, url, headers, body);
    while (!done(id)) g_main_context_iteration(nullptr, TRUE);
    return reply(id);
}

json sampleSessionInputs() {
    return json::parse(R"({"partner_user_id": "user-7", "device": {"id": "5B0A3C1E-8F7D-4E2A-9C11-3D0E6A7B9F21",
        "platform": {"operating_system": {"version": "12", "type": "i_os"}, "type": "app"}, "type": "mobile"}})");
}

json sampleBooking() {
    return json::parse(R"({"stay_dates": {"check_in": "2025-06-01", "check_out": "2025-06-04"},
        "guests": {"adults": 2, "children": 1}, "locale": "en_GB", "currency": "EUR", "number_of_rooms": 2})");
}

json sampleRoom(const std::string& id, const std::string& price) {
    return json{{"id", id}, {"merchant_id", "M-1"}, {"name", "Double " + id}, {"beds", 2}, {"price", price},
                {"room_type", "double"}, {"cancellation_code", "FLEX"}, {"rate_category_id", "RC-9"}, {"availability", 3}};
}

json sampleOfferRequest(std::vector<json> rooms) {
    const json hotel = json::parse(R"({"id": "H-100", "name": "Hotel Lago", "star_rating": "4",
        "address": {"line": "Via Roma 1", "city": "Fermo", "country_code": "IT"},
        "check_in_time": {"local_time": "15:00", "utc_offset": "+01:00"}})");
    return json{{"hotel", hotel}, {"booking", sampleBooking()}, {"rooms", std::move(rooms)},
                {"type", "create_rooms_deposit_offer"}};
}

Headers bearer(const std::string& token) { return {{"Authorization", "Bearer " + token}}; }

}  // namespace lxhf::testing
