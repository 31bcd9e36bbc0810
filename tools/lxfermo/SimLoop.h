#pragma once

// The main loop of `lxfermo sim`: what ends it, and the request log printed
// as requests arrive. All on the thread that runs the loop.

#include <gio/gio.h>

#include <cstddef>
#include <csignal>
#include <cstdio>

#include "FermoTestService.h"

namespace lxfermo {

struct SimRun {
    lxhf::testing::FermoTestService* service;
    GMainLoop* loop;
    bool verbose = false;  // each request's body too
    std::size_t printed = 0;
};

// SIGINT and SIGTERM end the loop, or go to the child when there is one,
// which ends the loop by exiting. Made before anything is announced, so a
// signal sent as soon as an address shows is caught.
class Signals {
public:
    explicit Signals(GMainLoop* loop);
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    void forwardTo(GSubprocess* child) { child_ = child; }

private:
    struct Handler {
        Signals* self;
        int number;
    };
    static gboolean onSignal(gpointer data);

    GMainLoop* loop_;
    GSubprocess* child_ = nullptr;
    Handler handlers_[2] = {{this, SIGINT}, {this, SIGTERM}};
    guint interrupt_ = 0, terminate_ = 0;
};

// Runs the loop until it is quit, printing each request to `log` unless
// it is null.
void runLoop(SimRun& run, std::FILE* log);

}  // namespace lxfermo
