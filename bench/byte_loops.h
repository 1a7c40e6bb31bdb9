// SPDX-License-Identifier: MIT

// One byte a turn: what a user would write without a thought of speed. The compiler is told to leave
// these loops as they are.
#ifndef TARVEN_BENCH_BYTE_LOOPS_H_
#define TARVEN_BENCH_BYTE_LOOPS_H_

#include <cstddef>
#include <cstdint>

namespace byte_loops {

// Return the index, or -1.
int64_t FirstDifference(const uint8_t* first, const uint8_t* second, size_t size);
int64_t FirstDifferenceWithoutCase(const uint8_t* first, const uint8_t* second, size_t size);
int64_t FirstOther(const uint8_t* bytes, uint8_t byte, size_t size);
int64_t IndexOf(const char* text, char character);

int CompareWithoutCase(const char* first, const char* second);
int CompareWithoutCase(const char* first, const char* second, size_t maximum);

void Fill(uint8_t* bytes, uint8_t value, size_t size);
void Copy(uint8_t* destination, const uint8_t* source, size_t size);
void CopyString(char* destination, const char* source, size_t capacity);
void Reverse(uint8_t* bytes, size_t size);

size_t Length(const char* text, size_t maximum);
void ToLower(char* text);
void ToUpper(char* text);
void ReplaceCharacter(char* text, char old_character, char new_character);
bool IsPlain(const char* text);

}  // namespace byte_loops

#endif
