#pragma once

namespace lxhf {

// GLib 2.74 can deadlock when two threads first use the same GIO types at
// once: one thread, inside a type's g_once initialisation, waits in
// g_type_add_interface_static for the class-init lock, which the other
// holds in a class_init while it waits for that same g_once.
//
// The rule: before the library starts any thread (the HTTP thread, the
// worker, a resolver lookup), the thread that makes it calls this, so every
// GIO and libsoup type those threads touch is registered and its class
// initialised already, and the GIO modules (TLS, proxy) are loaded. Later
// first uses on a helper thread then only read the type system. Runs once
// per process; later calls return at once.
void ensureNetworkTypes();

}  // namespace lxhf
