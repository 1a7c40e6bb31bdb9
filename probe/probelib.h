/* SPDX-License-Identifier: MIT */

/* The probe's shared library, opened at run time.
 *
 * The probe's programming interface (mbolt_api.h) needs no library at link time. When it is first
 * called, "libmboltarm.dylib" is looked for in these places, and the first file that loads is taken:
 *
 *   1.  the folder of the module that this code stands in (program or loadable module)
 *   2.  three folder levels above that one
 *   3.  the folder of the running executable
 *   4.  three folder levels above that one
 *   5.  /Applications/TARVEN/MBolt/libmboltarm.dylib
 *   6.  /Applications/TARVEN/MBolt/libmboltarm.5.dylib
 *
 * A file that is there but does not load (another processor, a library it needs missing) counts as
 * absent. The system's own search for libraries is never asked. Paths are cut to 511 characters, but
 * a module whose path is longer has no places 1 and 2. When the module is the program itself, its
 * path on Linux is the name it was started under.
 *
 * Nothing is locked: threads that make the first call at once may all search and all open the
 * library, which the system counts; they come to the same handle. */
#ifndef TARVEN_PROBE_PROBELIB_H_
#define TARVEN_PROBE_PROBELIB_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The library's handle, as dlopen gives it; null until the library is open, and never null again.
 * For reading only. */
extern void* PROBELIB_hLib;

/* Opens the library, unless it is open already.
 *
 * exit_on_failure   what to do when no place holds the library: non-zero writes "Could not open
 *                   M-Bolt shared library. Exiting now." and a line break to standard output and
 *                   ends the process with status 1; 0 writes "Could not open M-Bolt shared
 *                   library." and a line break and returns
 *
 * Returns 0 when the library is open, and 1 when it could not be opened; the next call then
 * searches again. */
uint8_t PROBELIB_Load(int32_t exit_on_failure);

/* Opens the library like PROBELIB_Load, but never ends the process: returns 0, or -1 after the
 * message when the library could not be opened. */
int32_t PROBELIB_Open(void);

/* Does nothing: its address tells the loader which module this code stands in. */
void PROBELIB_Anchor(void);

#ifdef __cplusplus
}
#endif

#endif
