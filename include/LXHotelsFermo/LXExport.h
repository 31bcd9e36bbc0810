#pragma once

#if defined(LXHF_BUILDING_LIBRARY)
#define LXHF_EXPORT __attribute__((visibility("default")))
#else
#define LXHF_EXPORT
#endif
