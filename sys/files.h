/* SPDX-License-Identifier: MIT */

/* Files: opening, reading, writing, position and size, time stamps, views mapped into memory.
 *
 * A handle is the system's descriptor as a signed 32-bit number; -1 means no file. Every file is
 * opened close-on-exec. Positions and sizes are handed out as signed 32-bit numbers: beyond 2 GiB
 * only their low 32 bits are told.
 *
 * The functions print nothing. Any number of threads may call them at once; calls on one handle
 * share its position. A null path fails like one that leads nowhere. */
#ifndef TARVEN_SYS_FILES_H_
#define TARVEN_SYS_FILES_H_

#include <stdint.h>

#include "clock.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Opening and closing ---- */

/* How to open a file, as bits; with neither READ nor WRITE it is opened for reading. */
enum {
  SYS_FILE_FLAG_READ = 0x01,      /* the file may be read */
  SYS_FILE_FLAG_WRITE = 0x02,     /* the file may be written */
  SYS_FILE_FLAG_CREATE = 0x10,    /* a missing file is created, with permissions 0644 */
  SYS_FILE_FLAG_TRUNCATE = 0x20,  /* the file is cut to length 0; not together with EXCLUSIVE */
  SYS_FILE_FLAG_APPEND = 0x40,    /* the position starts at the end; it may be moved later */
  SYS_FILE_FLAG_EXCLUSIVE = 0x80, /* with CREATE: an existing file is a failure; else ignored */
};

/* Opens a file; flags are bits of SYS_FILE_FLAG_..., others are ignored. Returns a handle for
 * SYS_FILE_Close to release, or -1. */
int32_t SYS_FILE_Open(const char* path, uint32_t flags);

/* SYS_FILE_Open that tries again after a failure, up to retry_count more times, and sleeps delay_ms
 * before each further attempt; 0 does not sleep. */
int32_t SYS_FILE_OpenRetry(const char* path, uint32_t flags, uint32_t retry_count,
                           uint32_t delay_ms);

/* SYS_FILE_Open that knows the home directory and makes missing folders.
 *
 * A "~" in front is replaced by the value of HOME or, where that is not set, by the home directory
 * in the user database. Only that one character is looked at: "~name" is the home directory with
 * "name" directly behind it. The resulting path is cut at 511 characters.
 *
 * With SYS_FILE_FLAG_CREATE the folder in front of the file's name is made as
 * SYS_CreateDirRecursive does.
 *
 * Returns a handle; or -1, also when there is no home directory or the folder cannot be made. */
int32_t SYS_FILE_OpenEx(const char* path, uint32_t flags);

/* Closes a handle; one that is not open is ignored. */
void SYS_FILE_Close(int32_t handle);

/* ---- Reading and writing ---- */

/* Reads up to size bytes with one read. How many arrived, if any, is not told: what was not read is
 * left as it was, so fill the buffer beforehand where that matters. */
void SYS_FILE_Read(int32_t handle, void* buffer, uint32_t size);

/* Reads up to and including the next line feed (10) or byte 0xFF, but at most capacity - 1 bytes,
 * and terminates them.
 *
 * capacity   below 2 nothing is read: 1 stores an empty text, 0 nothing at all
 *
 * Returns the number of bytes stored; or -1 on a failure and also when the file ends first: a last
 * line without a line feed is read but not handed out, and the buffer is not terminated. */
int32_t SYS_FILE_ReadLine(int32_t handle, char* buffer, uint32_t capacity);

/* Writes with one write. Returns the number of bytes written, which may be less than size when the
 * disk is full, or -1. */
int32_t SYS_FILE_Write(int32_t handle, const void* data, uint32_t size);

/* ---- Position and size ---- */

/* Moves the position.
 *
 * offset   in bytes, may be negative
 * origin   0 from the start, 1 from the position, 2 from the end; anything else is the start
 *
 * Returns the new position, or -1. */
int32_t SYS_FILE_Seek(int32_t handle, int32_t offset, int32_t origin);

/* Returns the size in bytes, or -1; the position stays where it was. */
int32_t SYS_FILE_GetSize(int32_t handle);

/* Cuts the file to length bytes, or fills it up with zeros; the position stays where it was.
 * Returns 0, or -1. */
int32_t SYS_FILE_Truncate(int32_t handle, int32_t length);

/* ---- Files by name, and what is known of them ---- */

/* Removes a file. Returns 0 always, also when there was none or it could not be removed. */
int32_t SYS_FILE_Delete(const char* path);

/* Returns 1 if the path, of a file or a folder, can be opened for reading, else 0. It is opened to
 * find out; where that is a named pipe, the call waits for a writer. */
int32_t SYS_FILE_Exists(const char* path);

/* Returns 1 for a regular file that nobody may write, by its permissions alone; 0 for anything else
 * there is and for a null path; -1 when there is nothing at that path. */
int32_t SYS_FILE_IsReadOnly(const char* path);

/* Stores when the file was last read and last written, in the time zone of the process and in whole
 * seconds; either record may be null. Returns 0; or -1 and leaves the records alone. */
int32_t SYS_FILE_GetTime(int32_t handle, SYS_TIME* access_time, SYS_TIME* modification_time);

/* ---- Views in memory ---- */

/* Maps a part of a file, open for reading and writing, into memory; stores change the file.
 *
 * offset   where the part starts; any byte
 * length   a file that ends before the part does is extended with zeros and one space (0x20) as its
 *          new last byte; the position is behind that space then
 *
 * Returns the address of the byte at offset, for SYS_FILE_Unmap to release; null when the file
 * cannot be extended or mapped. The handle may be closed meanwhile. */
void* SYS_FILE_Map(int32_t handle, uint64_t offset, uint64_t length);

/* Releases a view, given as SYS_FILE_Map was asked for and answered.
 *
 * The whole pages that hold length bytes from the start of the page of offset are released, though
 * the view may end in one page more, which then stays mapped. Offsets on page limits avoid that.
 *
 * Returns 0, or -1. */
int32_t SYS_FILE_Unmap(void* address, uint64_t offset, uint64_t length);

/* Writes the pages that hold a part of a view back to the file, waits for that, and has other views
 * of it show the same. Returns 0, or -1. */
int32_t SYS_FILE_FlushMap(void* address, uint64_t length);

/* ---- Without a purpose of their own ---- */

/* Returns the handle unchanged. */
int32_t SYS_FILE_Reserved1(int32_t handle);

/* Returns -1 always. */
int32_t SYS_FILE_Reserved2(void);

#ifdef __cplusplus
}
#endif

#endif
