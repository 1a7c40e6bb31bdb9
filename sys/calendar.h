// Calendar time between the system's form and the layer's, for the sources of this folder.
#ifndef TARVEN_SYS_CALENDAR_H_
#define TARVEN_SYS_CALENDAR_H_

#include <time.h>

#include "sys/clock.h"

namespace calendar {

SYS_TIME FromBrokenDown(const tm& time);

}  // namespace calendar

#endif
