#pragma once

/// @file
/// The library's version, for hosts that check it at run time.

#include "LXHotelsFermo/LXExport.h"

extern "C" {
/// The version as a number: 1.0
LXHF_EXPORT extern const double LXHotelsFermoVersionNumber;
/// The version as a what(1) string: "@(#)PROGRAM:LXHotelsFermo  PROJECT:LXHotelsFermo-1\n"
LXHF_EXPORT extern const unsigned char LXHotelsFermoVersionString[];
}
