#include "LXHotelsFermo/LXVersion.h"

extern "C" {
const double LXHotelsFermoVersionNumber = 1.0;
const unsigned char LXHotelsFermoVersionString[] = "@(#)PROGRAM:LXHotelsFermo  PROJECT:LXHotelsFermo-1\n";
}
