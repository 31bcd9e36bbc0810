#pragma once

/* The Lxhf GObject API: the library for C hosts and, through GObject
   Introspection, for Python, JavaScript, Rust and Vala. */

#include <lxhf/lxhf-offer-terms.h>
#include <lxhf/lxhf-offer.h>
#include <lxhf/lxhf-page.h>
#include <lxhf/lxhf-room-details.h>
#include <lxhf/lxhf-sdk.h>
#include <lxhf/lxhf-types.h>
#include <lxhf/lxhf-version.h>
#include <lxhf/lxhf-widgets.h>
