// How the name of a network interface is stored, apart so that long names can be tried.
#ifndef TARVEN_SYS_INTERFACE_NAME_H_
#define TARVEN_SYS_INTERFACE_NAME_H_

namespace interface_name {

// Copies a name of up to 62 characters whole, and of a longer one the first 60 and "...".
void Copy(char (&to)[64], const char* name);

}  // namespace interface_name

#endif
