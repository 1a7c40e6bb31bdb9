/* SPDX-License-Identifier: MIT */

/* The settings store: keys with typed values, after the registry of another platform, in files of
 * the user's.
 *
 * A hive is a tree of keys and lies in one markup file (xml.h) in the folder
 * "Library/Application Support/TARVEN" of the directory that HOME names, or in the current directory
 * when HOME is not set or has no such folder and none can be made:
 *
 *   HKEY_CLASSES_ROOT    TARVEN_REG_HKEY_CLASSES_ROOT.xml
 *   HKEY_CURRENT_USER    TARVEN_REG_HKEY_CURRENT_USER.xml
 *   HKEY_LOCAL_MACHINE   TARVEN_REG_HKEY_LOCAL_MACHINE.xml
 *
 * docs/settings-format.md describes the file. A hive is read when it is first used and kept in memory;
 * changes reach the file with SYS_REG_Flush and not before. A missing file is made; one whose text is
 * no document is replaced by an empty one. One that cannot be read, for want of memory or by the
 * system's refusal, is left as it is.
 *
 * Value names. Blanks are dropped: "Serial No" and "SerialNo" name the same value. A name or a part
 * of it in double quotes keeps its blanks, but a name must consist of what attributes may be called
 * (letters, digits, "_", "!" and "-", which is not the first), or the file is lost at its next load.
 * Any other character that ends a token (util/parse.h) ends the name. At most 511 characters count.
 * Case does not matter.
 *
 * Results: SYS_REG_SUCCESS (0), SYS_REG_ERR_FAILED (1), SYS_REG_ERR_NOT_FOUND (2),
 * SYS_REG_ERR_MORE_DATA (234). A name that reads as nothing makes set, query and delete return 0
 * without doing anything. A null handle or a null or empty name gives 1, and so does a handle that
 * leads to no hive or to one that cannot be had, for want of its file or of memory.
 *
 * Nothing is printed. The store takes no locks: one thread at a time may use it. Between processes the
 * last flush wins. */
#ifndef TARVEN_SETTINGS_REGISTRY_H_
#define TARVEN_SETTINGS_REGISTRY_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A key: one of the hives' constants, or what SYS_REG_OpenKey gave. */
typedef void* SYS_REG_HANDLE;

/* The root keys of the hives. The constants 0x80000003 to 0x80000006 belong to no hive and are refused
 * everywhere. */
#define HKEY_CLASSES_ROOT ((SYS_REG_HANDLE)(uintptr_t)0x80000000u)
#define HKEY_CURRENT_USER ((SYS_REG_HANDLE)(uintptr_t)0x80000001u)
#define HKEY_LOCAL_MACHINE ((SYS_REG_HANDLE)(uintptr_t)0x80000002u)

/* Types of values. Only SZ, DWORD, MULTI_SZ and QWORD can be set. */
enum {
  SYS_REG_TYPE_SZ = 1,        /* a string */
  SYS_REG_TYPE_EXPAND_SZ = 2, /* a string; read like SZ */
  SYS_REG_TYPE_BINARY = 3,    /* cannot be read either */
  SYS_REG_TYPE_DWORD = 4,     /* a 32-bit number in host byte order */
  SYS_REG_TYPE_MULTI_SZ = 7,  /* strings one behind the other; an empty one ends them */
  SYS_REG_TYPE_QWORD = 11     /* a 64-bit number in host byte order */
};

/* What the functions return. */
enum {
  SYS_REG_SUCCESS = 0,        /* it is done */
  SYS_REG_ERR_FAILED = 1,     /* it could not be done */
  SYS_REG_ERR_NOT_FOUND = 2,  /* the key has no such value */
  SYS_REG_ERR_MORE_DATA = 234 /* the value is longer than the buffer */
};

/* Opens a key, and makes it and the keys on the way to it where they are missing.
 *
 * path   names separated by backslashes, e.g. "Software\\VQX". Blanks are dropped; a character that
 *        no name may have becomes "_". An empty name ends the path: "" opens the parent itself, "A\\\\B"
 *        opens A. A name of more than 511 characters ends the path in front of the piece that is too
 *        much.
 *
 * Returns a handle for SYS_REG_CloseKey, or null: for a null parent or path, a parent that leads to
 * no hive, a hive that cannot be had, or without memory. */
SYS_REG_HANDLE SYS_REG_OpenKey(SYS_REG_HANDLE parent, const char* path);

/* Releases a handle from SYS_REG_OpenKey; null and the constants from 0x80000000 to 0x80000006 are
 * ignored. */
void SYS_REG_CloseKey(SYS_REG_HANDLE handle);

/* Sets a value, with its type; a new one comes behind the key's others.
 *
 * data   SZ: a terminated string; size is not looked at, and null stands for ""
 *        DWORD, QWORD: the number's low bytes; missing ones are 0, further ones are ignored
 *        MULTI_SZ: terminated strings and an empty one at the end
 * size   bytes of data; for MULTI_SZ exactly those of all strings with their terminators
 *
 * In the file strings are cut to 255 bytes, and one with a double quote does not read back the same.
 *
 * Returns 0, or 1 also for a type that cannot be set, for null data that has a size, and for a size
 * that does not fit MULTI_SZ. */
int32_t SYS_REG_SetValue(SYS_REG_HANDLE handle, const char* name, uint32_t type, const void* data,
                         uint32_t size);

/* Reads a value.
 *
 * type   receives the type; may be null
 * data   receives the value; null asks for the type alone
 * size   in: the capacity of data in bytes; out: what there was. Not null when data is not
 *
 *   SZ, EXPAND_SZ   data is cut to the capacity and terminated, size becomes the length without the
 *                   terminator. A capacity that is smaller gives 234; one that is equal gives 0,
 *                   although the last character is cut.
 *   DWORD, QWORD    size becomes 4 or 8; a smaller capacity gives 234 and stores nothing.
 *   MULTI_SZ        size becomes the lengths of all strings and 1, each string's own terminator not
 *                   counted; where strings fill the capacity, the lengths alone. A size above the
 *                   capacity gives 234. Nothing is stored behind the capacity: what has no room there
 *                   is cut.
 *
 * Returns 0; 1 also when the value or a known type is missing and for BINARY; 2 when there is no such
 * value; 234. */
int32_t SYS_REG_QueryValue(SYS_REG_HANDLE handle, const char* name, uint32_t* type, void* data,
                           uint32_t* size);

/* The same as SYS_REG_QueryValue. */
int32_t SYS_REG_QueryValueEx(SYS_REG_HANDLE handle, const char* name, uint32_t* type, void* data,
                             uint32_t* size);

/* Removes a value. Returns 0, or 1 also when there is none or its type is unknown. */
int32_t SYS_REG_DeleteValue(SYS_REG_HANDLE handle, const char* name);

/* The same as SYS_REG_DeleteValue. */
int32_t SYS_REG_DeleteValueEx(SYS_REG_HANDLE handle, const char* name);

/* Writes every hive that was changed to its file and forgets all hives: the next use reads the files
 * again. Handles from SYS_REG_OpenKey become stale; close them before.
 *
 * A file is written in place: when the process dies or the disk fills up meanwhile, the old content is
 * lost. A file that cannot be opened is left as it is. A hive's text is limited to 1 MiB (xml.h). */
void SYS_REG_Flush(void);

#ifdef __cplusplus
}
#endif

#endif
