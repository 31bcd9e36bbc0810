// `lxfermo host`: one JSON command a line on stdin, one JSON event a line on
// stdout. Commands run strictly in order: the next line is read only once
// the current command is done, so a "wait" holds everything after it while
// the main loop keeps the library running.

#include <gio/gio.h>
#include <gio/gunixinputstream.h>

#include <csignal>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "CommandLine.h"
#include "Commands.h"
#include "JsonText.h"
#include "LXHotelsFermo/LXHotelsFermoSDK.h"

namespace lxfermo {
namespace {

using Json = nlohmann::json;
// Events keep their keys in the order written, "event" first.
using Event = nlohmann::ordered_json;

constexpr double kLongestWait = 24 * 60 * 60;

const std::vector<OptionInfo> kHostOptions = {
    {"api-base", "URL", "API base, e.g. https://127.0.0.1:PORT/api/hotels/v1.0/"},
    {"microsite-base", "URL", "purchase page base; its scheme, host and port are used"},
    {"ca-file", "FILE", "extra CA certificate to trust (PEM)"},
    {"cache-dir", "DIR", "where the session file is kept"},
    {"intake-url", "URL", "log intake URL"},
    {"max-concurrent-batches", "N", "offer batches in flight at once, 1 to 64 (default 1)"},
    {"retry", "", "retry failed batches with backoff: 1 s doubling to 60 s, with jitter"},
    {"requeue-late-rooms", "", "fetch rooms queued while their batch is in flight next"},
};

constexpr const char* kHostSummary =
    "Drives the library from stdin, one JSON command a line, and writes one JSON\n"
    "event a line to stdout. See docs/host-protocol.md. The options override the\n"
    "endpoints from the start, whatever environment is configured.";

const Json* member(const Json& object, const char* key) {
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

// The library's own JSON text (an offer, a purchase result) as a value to
// put into an event.
Event embedded(const std::string& libraryJson) { return parseLimited<Event>(libraryJson).value_or(nullptr); }

// A room in its field-name JSON form; `path` prefixes the coding path of a
// decoding error, as in "rooms: Index 1.hotel: ...".
LXResult<LXRoomDetails, LXDecodingError> roomFrom(const Json& room, std::vector<std::string> path = {}) {
    auto decoded = LXRoomDetails::fromJSON(compactText(room));
    if (decoded) return decoded;
    LXDecodingError error = decoded.error();
    error.codingPath.insert(error.codingPath.begin(), path.begin(), path.end());
    return error;
}

const char* reasonName(LXNoPurchaseAddress::Reason reason) {
    switch (reason) {
        case LXNoPurchaseAddress::Reason::noResponse: return "noResponse";
        case LXNoPurchaseAddress::Reason::notSignedFullOffer: return "notSignedFullOffer";
        case LXNoPurchaseAddress::Reason::unencodable: return "unencodable";
    }
    return "unencodable";
}

const char* actionName(LXPurchasePageAction::Kind kind) {
    switch (kind) {
        case LXPurchasePageAction::Kind::cancelled: return "cancelled";
        case LXPurchasePageAction::Kind::purchased: return "purchased";
        case LXPurchasePageAction::Kind::error: return "error";
        case LXPurchasePageAction::Kind::ready: return "ready";
        case LXPurchasePageAction::Kind::unknown: return "unknown";
        case LXPurchasePageAction::Kind::malformed: return "malformed";
    }
    return "malformed";
}

class HostSession {
public:
    HostSession(LXEndpoints endpoints, LXFetchPolicy policy, GMainLoop* loop)
        : sdk_(LXHotelsFermoSDK::shared()), loop_(loop), cancellable_(g_cancellable_new()) {
        // Nothing has used the facade yet, so neither can be refused.
        sdk_.setEndpoints(std::move(endpoints));
        sdk_.setFetchPolicy(policy);
        GInputStream* stdinStream = g_unix_input_stream_new(0, FALSE);
        input_ = g_data_input_stream_new(stdinStream);
        g_object_unref(stdinStream);
        // Lines may end in "\n" or "\r\n".
        g_data_input_stream_set_newline_type(input_, G_DATA_STREAM_NEWLINE_TYPE_ANY);
    }

    ~HostSession() {
        g_cancellable_cancel(cancellable_);
        if (waitSource_) g_source_remove(waitSource_);
        g_object_unref(input_);
        g_object_unref(cancellable_);
    }

    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    void start() {
        emit(Event{{"event", "ready"}});
        bool initial = true;
        subscription_ = sdk_.subscribeFermoOffers([this, initial](const LXHotelsFermoSDK::Offers& offers) mutable {
            // The value handed over on subscribe is no change.
            if (std::exchange(initial, false)) return;
            Event list = Event::array();
            for (const auto& offer : offers) list.push_back(embedded(offer.toJSON()));
            emit(Event{{"event", "offers"}, {"offers", std::move(list)}});
        });
        readNext();
    }

    int exitCode() const { return exitCode_; }

private:
    enum class Next { read, hold, stop };

    void readNext() {
        g_data_input_stream_read_line_async(input_, G_PRIORITY_DEFAULT, cancellable_, &HostSession::lineArrived, this);
    }

    static void lineArrived(GObject* source, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        gsize length = 0;
        char* line = g_data_input_stream_read_line_finish(G_DATA_INPUT_STREAM(source), result, &length, &error);
        if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
            // The session may be gone already; touch nothing.
            g_error_free(error);
            return;
        }
        auto* self = static_cast<HostSession*>(data);
        if (error) {
            self->emitError(std::string("cannot read stdin: ") + error->message);
            g_error_free(error);
            self->exitCode_ = 1;
            self->stop();
            return;
        }
        if (!line) return self->stop();  // end of input: quit, without the termination hook
        const std::string text(line, length);
        g_free(line);
        ++self->lineNumber_;
        switch (self->handle(text)) {
            case Next::read: self->readNext(); break;
            case Next::hold: break;
            case Next::stop: self->stop(); break;
        }
    }

    Next handle(const std::string& text) {
        if (text.find_first_not_of(" \t\r") == std::string::npos) return Next::read;
        const auto parsed = parseLimited<Json>(text);
        if (!parsed) return fail("not valid JSON");
        if (!parsed->is_object()) return fail("a command must be a JSON object");
        const Json* cmd = member(*parsed, "cmd");
        if (!cmd || !cmd->is_string()) return fail("missing \"cmd\" (a string)");
        const std::string& name = cmd->get_ref<const std::string&>();
        const Json& command = *parsed;

        if (name == "configure") return configure(command);
        if (name == "cacheOffers") return cacheOffers(command);
        if (name == "refresh") return refresh(command);
        if (name == "updateUser") return updateUser(command);
        if (name == "shown") return shown(command);
        if (name == "purchaseAddress") return purchaseAddress(command);
        if (name == "pageMessage") return pageMessage(command);
        if (name == "terminate") {
            sdk_.applicationWillTerminate();
            return Next::read;
        }
        if (name == "wait") return wait(command);
        if (name == "quit") return Next::stop;
        return fail("unknown command \"" + name + "\"");
    }

    Next configure(const Json& command) {
        const Json* token = member(command, "token");
        const Json* environment = member(command, "environment");
        if (!token || !token->is_string()) return fail("configure needs \"token\" (a string)");
        const auto type = environment && environment->is_string()
                              ? LXHotelsFermo::environmentTypeFromRawValue(environment->get_ref<const std::string&>())
                              : std::nullopt;
        if (!type) return fail("configure needs \"environment\": \"staging\" or \"production\"");
        sdk_.configure(token->get<std::string>(), *type);
        return Next::read;
    }

    Next cacheOffers(const Json& command) {
        const Json* rooms = member(command, "rooms");
        if (!rooms || !rooms->is_array()) return fail("cacheOffers needs \"rooms\" (an array of rooms)");
        std::vector<LXRoomDetails> decoded;
        for (std::size_t i = 0; i < rooms->size(); ++i) {
            auto room = roomFrom((*rooms)[i], {"Index " + std::to_string(i)});
            if (!room) return fail("cacheOffers: rooms: " + room.error().description());
            decoded.push_back(std::move(room).value());
        }
        sdk_.cacheOffers(decoded);
        return Next::read;
    }

    Next refresh(const Json& command) {
        const Json* type = member(command, "type");
        const auto refresh = type && type->is_string()
                                 ? LXHotelsFermo::refreshFromRawValue(type->get_ref<const std::string&>())
                                 : std::nullopt;
        if (!refresh) return fail("refresh needs \"type\": \"all\" or \"errorsOnly\"");
        sdk_.refreshCachedOffers(*refresh);
        return Next::read;
    }

    Next updateUser(const Json& command) {
        const Json* userId = member(command, "userId");
        if (!userId || !(userId->is_string() || userId->is_null()))
            return fail("updateUser needs \"userId\" (a string or null)");
        sdk_.updateUser(userId->is_null() ? std::nullopt : std::optional(userId->get<std::string>()));
        return Next::read;
    }

    // The room of a command that names one, or why there is none.
    std::optional<LXRoomDetails> commandRoom(const Json& command, const std::string& name) {
        const Json* room = member(command, "room");
        if (!room) {
            fail(name + " needs \"room\"");
            return std::nullopt;
        }
        auto decoded = roomFrom(*room);
        if (!decoded) {
            fail(name + ": room: " + decoded.error().description());
            return std::nullopt;
        }
        return std::move(decoded).value();
    }

    Next shown(const Json& command) {
        const auto room = commandRoom(command, "shown");
        if (!room) return Next::read;
        const bool answered = sdk_.offerResponseRevision(*room) != 0;
        sdk_.reportShown(*room);  // without an answer the library logs that
        // The library only logs; the driver wants to know.
        if (!answered) return fail("shown: no offer response is stored for this room");
        return Next::read;
    }

    Next purchaseAddress(const Json& command) {
        const auto room = commandRoom(command, "purchaseAddress");
        if (!room) return Next::read;
        const auto address = sdk_.purchaseAddress(*room);
        Event event{{"event", "purchaseAddress"}};
        if (address) {
            event["url"] = address.value();
        } else {
            event["url"] = nullptr;
            event["reason"] = reasonName(address.error().reason);
            event["message"] = address.error().message;
        }
        emit(event);
        return Next::read;
    }

    Next pageMessage(const Json& command) {
        const Json* body = member(command, "body");
        if (!body) return fail("pageMessage needs \"body\" (the message the page posted, any JSON value)");
        const Json* handler = member(command, "handler");
        if (handler && !handler->is_string()) return fail("pageMessage: \"handler\" must be a string");
        const auto action =
            sdk_.pageMessage(compactText(*body),
                             handler ? handler->get_ref<const std::string&>() : LXPurchasePageBridge::handlerName);
        emit(Event{{"event", "pageMessage"},
                   {"action", actionName(action.kind)},
                   {"result", action.result ? embedded(action.result->toJSON()) : Event(nullptr)},
                   {"stopSpinner", action.stopSpinner},
                   {"dismiss", action.dismiss}});
        return Next::read;
    }

    Next wait(const Json& command) {
        const Json* seconds = member(command, "seconds");
        if (!seconds || !seconds->is_number() || !std::isfinite(seconds->get<double>()) ||
            seconds->get<double>() < 0 || seconds->get<double>() > kLongestWait)
            return fail("wait needs \"seconds\" (a number from 0 to 86400)");
        const auto ms = static_cast<guint>(std::llround(seconds->get<double>() * 1000));
        waitSource_ = g_timeout_add_full(
            G_PRIORITY_DEFAULT, ms,
            [](gpointer data) -> gboolean {
                auto* self = static_cast<HostSession*>(data);
                self->waitSource_ = 0;
                self->emit(Event{{"event", "waited"}});
                self->readNext();
                return G_SOURCE_REMOVE;
            },
            this, nullptr);
        return Next::hold;
    }

    Next fail(const std::string& message) {
        emitError("line " + std::to_string(lineNumber_) + ": " + message);
        return Next::read;
    }

    void emitError(const std::string& message) { emit(Event{{"event", "error"}, {"message", message}}); }

    void emit(const Event& event) {
        if (stdoutGone_) return;
        std::string text = compactText(event);
        text += '\n';
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
            // Nobody is listening any more; there is no point going on.
            stdoutGone_ = true;
            exitCode_ = 1;
            stop();
        }
    }

    void stop() { g_main_loop_quit(loop_); }

    LXHotelsFermoSDK& sdk_;
    GMainLoop* loop_;
    GCancellable* cancellable_;
    GDataInputStream* input_ = nullptr;
    LXSubscription subscription_;
    guint waitSource_ = 0;
    std::size_t lineNumber_ = 0;
    bool stdoutGone_ = false;
    int exitCode_ = 0;
};

}  // namespace

int runHost(const std::vector<std::string>& args) {
    const auto parsed = optionsOrExit("host", kHostSummary, args, kHostOptions);
    const auto* options = std::get_if<ParsedOptions>(&parsed);
    if (!options) return std::get<int>(parsed);
    LXEndpoints endpoints;
    auto set = [&](const char* name, std::optional<std::string>& field) {
        if (const std::string* value = options->value(name)) field = *value;
    };
    set("api-base", endpoints.apiBase);
    set("microsite-base", endpoints.micrositeBase);
    set("intake-url", endpoints.intakeUrl);
    set("ca-file", endpoints.caFile);
    set("cache-dir", endpoints.cacheDirectory);
    // The TLS database wants an absolute path, and the cwd is ours, not the library's.
    for (auto* path : {&endpoints.caFile, &endpoints.cacheDirectory}) {
        std::error_code ignored;
        if (*path) *path = std::filesystem::absolute(**path, ignored).string();
    }

    LXFetchPolicy policy;
    if (const std::string* text = options->value("max-concurrent-batches")) {
        const auto batches = parseInteger(*text, 1, 64);
        if (!batches) {
            complain("host", "--max-concurrent-batches wants a whole number from 1 to 64");
            return kUsageError;
        }
        policy.maxConcurrentBatches = static_cast<std::uint32_t>(*batches);
    }
    if (options->has("retry")) policy.retry = LXFetchRetry{};
    policy.requeueLateRooms = options->has("requeue-late-rooms");

    // A reader that goes away must not kill us mid-write.
    std::signal(SIGPIPE, SIG_IGN);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    int code = 0;
    {
        HostSession session(std::move(endpoints), policy, loop);
        session.start();
        g_main_loop_run(loop);
        code = session.exitCode();
    }
    g_main_loop_unref(loop);
    return code;
}

}  // namespace lxfermo
