#pragma once

/* Symbol visibility for the Lxhf GObject API. */

#if defined(LXHF_BUILDING_GOBJECT_LIBRARY)
#define LXHF_API __attribute__((visibility("default")))
#else
#define LXHF_API
#endif
