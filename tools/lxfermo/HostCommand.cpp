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
#include "core/Facade.h"
#include "model/JsonCodecs.h"
#include "model/PublicStateCoding.h"

namespace lxfermo {
namespace {

using lxhf::json::Json;

constexpr double kLongestWait = 24 * 60 * 60;

const std::vector<OptionInfo> kHostOptions = {
    {"api-base", "URL", "API base, e.g. https://127.0.0.1:PORT/api/hotels/v1.0/"},
    {"microsite-base", "URL", "purchase page base; its scheme, host and port are used"},
    {"ca-file", "FILE", "extra CA certificate to trust (PEM)"},
    {"cache-dir", "DIR", "where the session file is kept"},
    {"intake-url", "URL", "log intake URL"},
};

constexpr const char* kHostSummary =
    "Drives the library from stdin, one JSON command a line, and writes one JSON\n"
    "event a line to stdout. See docs/host-protocol.md. The options override the\n"
    "endpoints from the start, whatever environment is configured.";

const Json* member(const Json& object, const char* key) {
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

class HostSession {
public:
    HostSession(lxhf::EndpointOverrides overrides, GMainLoop* loop)
        : sdk_(lxhf::FacadeAccess::make(lxhf::systemParts())), loop_(loop), cancellable_(g_cancellable_new()) {
        lxhf::FacadeAccess::setOverrides(*sdk_, std::move(overrides));
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
        emit(Json{{"event", "ready"}});
        bool initial = true;
        subscription_ = sdk_->subscribeFermoOffers([this, initial](const LXHotelsFermoSDK::Offers& offers) mutable {
            // The value handed over on subscribe is no change.
            if (std::exchange(initial, false)) return;
            emit(Json{{"event", "offers"}, {"offers", lxhf::json::Encoder().toJson(offers)}});
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
        const auto parsed = lxhf::json::parse(text);
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
        if (name == "terminate") {
            sdk_->applicationWillTerminate();
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
        sdk_->configure(token->get<std::string>(), *type);
        return Next::read;
    }

    Next cacheOffers(const Json& command) {
        const Json* rooms = member(command, "rooms");
        if (!rooms) return fail("cacheOffers needs \"rooms\" (an array of rooms)");
        auto decoded = lxhf::json::Decoder().fromJson<std::vector<LXRoomDetails>>(*rooms);
        if (!decoded) return fail("cacheOffers: rooms: " + decoded.error().description());
        sdk_->cacheOffers(*decoded);
        return Next::read;
    }

    Next refresh(const Json& command) {
        const Json* type = member(command, "type");
        const auto refresh = type && type->is_string()
                                 ? LXHotelsFermo::refreshFromRawValue(type->get_ref<const std::string&>())
                                 : std::nullopt;
        if (!refresh) return fail("refresh needs \"type\": \"all\" or \"errorsOnly\"");
        sdk_->refreshCachedOffers(*refresh);
        return Next::read;
    }

    Next updateUser(const Json& command) {
        const Json* userId = member(command, "userId");
        if (!userId || !(userId->is_string() || userId->is_null()))
            return fail("updateUser needs \"userId\" (a string or null)");
        sdk_->updateUser(userId->is_null() ? std::nullopt : std::optional(userId->get<std::string>()));
        return Next::read;
    }

    Next shown(const Json& command) {
        const Json* room = member(command, "room");
        if (!room) return fail("shown needs \"room\"");
        auto decoded = lxhf::json::Decoder().fromJson<LXRoomDetails>(*room);
        if (!decoded) return fail("shown: room: " + decoded.error().description());
        const LXOfferResponse* found = lxhf::FacadeAccess::board(*sdk_).response(*decoded);
        if (!found) return fail("shown: no offer response is stored for this room");
        lxhf::FacadeAccess::onShown(*sdk_, *found);
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
                self->emit(Json{{"event", "waited"}});
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

    void emitError(const std::string& message) { emit(Json{{"event", "error"}, {"message", message}}); }

    void emit(const Json& event) {
        if (stdoutGone_) return;
        std::string text = lxhf::json::serialize(event);
        text += '\n';
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
            // Nobody is listening any more; there is no point going on.
            stdoutGone_ = true;
            exitCode_ = 1;
            stop();
        }
    }

    void stop() { g_main_loop_quit(loop_); }

    std::unique_ptr<LXHotelsFermoSDK> sdk_;
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
    lxhf::EndpointOverrides overrides;
    auto set = [&](const char* name, std::optional<std::string>& field) {
        if (const std::string* value = options->value(name)) field = *value;
    };
    set("api-base", overrides.apiBase);
    set("microsite-base", overrides.micrositeBase);
    set("intake-url", overrides.intakeUrl);
    set("ca-file", overrides.caFile);
    set("cache-dir", overrides.cacheDirectory);
    // The TLS database wants an absolute path, and the cwd is ours, not the library's.
    for (auto* path : {&overrides.caFile, &overrides.cacheDirectory}) {
        std::error_code ignored;
        if (*path) *path = std::filesystem::absolute(**path, ignored).string();
    }

    // A reader that goes away must not kill us mid-write.
    std::signal(SIGPIPE, SIG_IGN);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    int code = 0;
    {
        HostSession session(std::move(overrides), loop);
        session.start();
        g_main_loop_run(loop);
        code = session.exitCode();
    }
    g_main_loop_unref(loop);
    return code;
}

}  // namespace lxfermo
