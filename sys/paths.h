/* SPDX-License-Identifier: MIT */

/* Paths: splitting and joining, folders, and the places of the program and of its files.
 *
 * Paths are bytes with "/" between their parts. They are meant to have at most 511 characters; a
 * buffer for one has SYS_PATH_CAPACITY bytes, and longer paths are cut, not refused, unless a
 * function says otherwise. A capacity counts the terminator; with one of 0, and with a null output,
 * nothing is stored.
 *
 * The functions print nothing. Any number of threads may call them at once. */
#ifndef TARVEN_SYS_PATHS_H_
#define TARVEN_SYS_PATHS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Room for a path: 511 characters and the terminator. */
enum { SYS_PATH_CAPACITY = 512 };

/* ---- Paths as text ---- */

/* Splits a path into its parts.
 *
 * directory   what stands before the last "/", without it: nothing for "/x" and for "x"
 * name        what stands behind that "/", without the extension. A path without "/" goes here as a
 *             whole, extension included.
 * extension   the last part's text from its last "." on, that dot included. A dot that the part
 *             begins with begins no extension.
 * drive       always empty
 *
 * "d/a.tar.gz" has the parts "d", "a.tar" and ".gz"; "a.txt" has the name "a.txt" and the extension
 * ".txt"; "d/.profile" has the name ".profile" and no extension.
 *
 * Each output may be null. REQUIRES: the others have room for SYS_PATH_CAPACITY bytes, whatever
 * their capacities say; parts are cut at that or, if it is larger, at the capacity.
 *
 * With a null path, or without memory for a copy of the path, nothing is stored. */
void SYS_SplitPath(const char* path, char* drive, uint32_t drive_capacity, char* directory,
                   uint32_t directory_capacity, char* name, uint32_t name_capacity, char* extension,
                   uint32_t extension_capacity);

/* Puts a path together: directory, "/" unless there is one already or nothing before it, name, and
 * "." with the extension. Null parts are left out, an extension without a name as well.
 *
 * output      has room for SYS_PATH_CAPACITY bytes; overlaps with no part
 * drive       ignored
 * extension   without its dot, unlike what SYS_SplitPath gives */
void SYS_MakePath(char* output, const char* drive, const char* directory, const char* name,
                  const char* extension);

/* Applies a relative path to a base path.
 *
 * base       of something that can be opened for reading: its folder counts, which is all up to and
 *            including its last "/"; so a folder counts itself only when its path ends in "/".
 *            Anything else counts as it stands and has to end in its own "/".
 * relative   set directly behind that. One that begins with "/" is the result alone, and so is an
 *            empty one.
 *
 * The output, which overlaps with neither, is cut at capacity - 1 characters and filled up with
 * zeros. */
void SYS_JoinPath(const char* base, const char* relative, char* output, uint32_t capacity);

/* Stores the extension of a path, with its dot, as SYS_SplitPath gives it, or an empty text when it
 * is longer than capacity.
 *
 * REQUIRES: output has room for capacity + 1 bytes: a text of exactly capacity characters is stored
 * with its terminator behind them. */
void SYS_GetFileExt(const char* path, char* output, uint32_t capacity);

/* SYS_GetFileExt for the name without its extension, as SYS_SplitPath gives it. */
void SYS_GetFileName(const char* path, char* output, uint32_t capacity);

/* ---- Folders ---- */

/* Returns 1 if the directory part of the path can be opened for reading, else 0. A path without one,
 * "/x" included, gives 0. */
int32_t SYS_DirOfPathExists(const char* path);

/* Makes a folder, and the folders in front of it where they are missing, with permissions 0777 less
 * the process's file-creation mask.
 *
 * Returns 0 when the folder, or a link to it, exists or was made; -1 otherwise. A path that ends in
 * "/" gives -1 when the folder was missing, although it is made then. So does a chain of more than
 * 128 folders, which counts the first existing one, or all threads' chains together. */
int32_t SYS_CreateDirRecursive(const char* path);

/* Stores "Library/Application Support/TARVEN" in the directory that HOME names, cut at
 * SYS_PATH_CAPACITY or the capacity, and makes that folder if it is missing.
 *
 * Returns 0; or -1 without output or capacity, when HOME is not set and when there is no folder. */
int32_t SYS_GetAppSupportDir(char* output, uint32_t capacity);

/* Stores a folder that takes temporary files: that of the module, with a "/" behind it, or, where no
 * file can be made there, ".TARVEN" in the directory that HOME names, without a "/" and made if it is
 * missing.
 *
 * The text is cut at capacity - 1 characters; the last byte of the output becomes 0 in any case.
 * Every call leaves one descriptor open for the life of the process. */
void SYS_GetTempDir(char* output, uint32_t capacity);

/* ---- The program ---- */

/* Stores the path of the module (program or library) that holds this code, as the dynamic linker
 * knows it, with symbolic links at its end resolved; an empty text when the linker does not tell.
 * For a program, Linux gives the name that it was started by. A name without "/" is looked up as a
 * symbolic link in /usr/local/bin, and stays as it is when there is none.
 *
 * The text is cut at capacity - 1 characters. */
void SYS_GetModulePath(char* output, uint32_t capacity);

/* Stores the folder of the module, with a "/" behind it.
 *
 * output   has room for SYS_PATH_CAPACITY bytes */
void SYS_GetModuleDir(char* output);

/* Stores the path of the running executable; an empty text when it does not fit or the system does
 * not tell. */
void SYS_GetExePath(char* output, uint32_t capacity);

/* Stores the folder of the running executable, with a "/" behind it; an empty text when the
 * executable's path has more than 511 characters or the system does not tell.
 *
 * output   has room for SYS_PATH_CAPACITY bytes */
void SYS_GetExeDir(char* output);

#ifdef __cplusplus
}
#endif

#endif
