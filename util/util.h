/* SPDX-License-Identifier: MIT */

/* The utility library: one header per family, all of them here. */
#ifndef TARVEN_UTIL_UTIL_H_
#define TARVEN_UTIL_UTIL_H_

#include "arithmetic.h"
#include "bits.h"
#include "build_stamp.h"
#include "bytes.h"
#include "calendar_days.h"
#include "dynbuffer.h"
#include "float_text.h"
#include "format.h"
#include "memory.h"
#include "parse.h"
#include "quartiles.h"
#include "strings.h"
#include "text.h"
#include "values.h"

#endif
