/* The system layer: one header per family, all of them here. */
#ifndef TARVEN_SYS_SYS_H_
#define TARVEN_SYS_SYS_H_

#include "memory.h"

#endif
