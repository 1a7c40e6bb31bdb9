// The folder that something is about to be made in.
#ifndef TARVEN_SYS_PATH_FOLDER_H_
#define TARVEN_SYS_PATH_FOLDER_H_

namespace path_folder {

// Makes the directory part of the path, where it is missing, as SYS_CreateDirRecursive does. True
// when it is there then, and also for a path of a name alone; false for a path without either.
bool Make(const char* path);

}  // namespace path_folder

#endif
