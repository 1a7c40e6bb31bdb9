/* SPDX-License-Identifier: MIT */

/* The system layer: one header per family, all of them here. */
#ifndef TARVEN_SYS_SYS_H_
#define TARVEN_SYS_SYS_H_

#include "clock.h"
#include "console.h"
#include "files.h"
#include "memory.h"
#include "paths.h"
#include "process.h"
#include "serial.h"
#include "socket_services.h"
#include "sockets.h"
#include "threads.h"

#endif
