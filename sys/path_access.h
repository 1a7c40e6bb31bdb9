// SPDX-License-Identifier: MIT

// What paths lead to, for the families that stand on paths.
#ifndef TARVEN_SYS_PATH_ACCESS_H_
#define TARVEN_SYS_PATH_ACCESS_H_

namespace path_access {

// Whether the path, of a file or a folder, can be opened for reading. Null cannot.
bool CanBeRead(const char* path);

// Makes the directory part of the path, where it is missing, as SYS_CreateDirRecursive does. True
// when it is there then, and also for a path of a name alone; false for a path without either.
bool MakeFolder(const char* path);

}  // namespace path_access

#endif
