#pragma once

#if defined(LXHF_BUILDING_UI_LIBRARY)
#define LXHF_UI_EXPORT __attribute__((visibility("default")))
#else
#define LXHF_UI_EXPORT
#endif
