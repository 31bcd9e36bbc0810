#pragma once

#include "LXHotelsFermo/LXExport.h"

extern "C" {
// 1.0
LXHF_EXPORT extern const double LXHotelsFermoVersionNumber;
// "@(#)PROGRAM:LXHotelsFermo  PROJECT:LXHotelsFermo-1\n"
LXHF_EXPORT extern const unsigned char LXHotelsFermoVersionString[];
}
