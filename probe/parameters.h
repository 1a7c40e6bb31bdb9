// SPDX-License-Identifier: MIT

// What the number of arguments stands for in code made from entry_points.def: PARAMETERS_2 is the
// list of a function's two parameters, ARGUMENTS_2 passes them on.
#ifndef TARVEN_PROBE_PARAMETERS_H_
#define TARVEN_PROBE_PARAMETERS_H_

#include <stdint.h>

#define PARAMETERS_0
#define PARAMETERS_1 uintptr_t a
#define PARAMETERS_2 uintptr_t a, uintptr_t b
#define PARAMETERS_3 uintptr_t a, uintptr_t b, uintptr_t c
#define PARAMETERS_4 uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d
#define PARAMETERS_5 uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d, uintptr_t e
#define PARAMETERS_6 uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d, uintptr_t e, uintptr_t f

#define ARGUMENTS_0
#define ARGUMENTS_1 a
#define ARGUMENTS_2 a, b
#define ARGUMENTS_3 a, b, c
#define ARGUMENTS_4 a, b, c, d
#define ARGUMENTS_5 a, b, c, d, e
#define ARGUMENTS_6 a, b, c, d, e, f

#endif
