/* SPDX-License-Identifier: MIT */

/* Memory: the allocation pair that every module uses, and two process-wide odds and ends.
 *
 * The functions print nothing. Allocation and release may run on any number of threads at once. */
#ifndef TARVEN_SYS_MEMORY_H_
#define TARVEN_SYS_MEMORY_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns size bytes, not cleared, for SYS_MEM_Free to release; null when there is no memory. A
 * size of 0 gives what malloc gives for it, which is no failure. */
void* SYS_MEM_Alloc(uint32_t size);

/* SYS_MEM_Alloc with a tag that says what the memory is for; it is accepted and not used. */
void* SYS_MEM_AllocNamed(uint32_t size, const char* tag);

/* The same as SYS_MEM_Alloc. */
void* SYS_MEM_AllocBlock(uint32_t size);

/* Gives memory another size as realloc does and returns its result unchanged. After null the old
 * memory still stands (C11, 7.22.3.5). */
void* SYS_MEM_Realloc(void* memory, uint32_t size);

/* Releases memory from any of the above; null is ignored. */
void SYS_MEM_Free(void* memory);

/* Releases the memory that a pointer variable holds, if any, and sets the variable to null. A null
 * address is ignored. The variable may be of any pointer type. */
void SYS_MEM_FreeAndClear(void* address_of_pointer);

/* A full memory barrier that also waits out any other caller. Returns 0. */
int32_t SYS_SpinSync(void);

/* One value for the whole process, 0 before the first store. */
void SYS_SetUserValue(uint64_t value);
uint64_t SYS_GetUserValue(void);

#ifdef __cplusplus
}
#endif

#endif
