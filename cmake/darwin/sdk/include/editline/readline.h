// SPDX-License-Identifier: MIT

// Stands for <editline/readline.h> where Apple's SDK is not at hand: what this project uses and
// nothing else, with the library's names.
#ifndef TARVEN_DARWIN_SDK_READLINE_H_
#define TARVEN_DARWIN_SDK_READLINE_H_

#ifdef __cplusplus
extern "C" {
#endif

char* readline(const char* prompt);
int add_history(const char* line);

#ifdef __cplusplus
}
#endif

#endif
