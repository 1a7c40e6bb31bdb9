// SPDX-License-Identifier: MIT

// Which descriptors this process has open.
#ifndef TARVEN_TESTS_SUPPORT_OPEN_DESCRIPTORS_H_
#define TARVEN_TESTS_SUPPORT_OPEN_DESCRIPTORS_H_

#include <vector>

namespace support {

// In ascending order; compare two lists to see that nothing was left open.
std::vector<int> OpenDescriptors();

// Returns a duplicate of the descriptor whose number is at least lowest, after raising the limit of
// open descriptors if need be; -1 when the system does not allow that many.
int DuplicateAtOrAbove(int descriptor, int lowest);

}  // namespace support

#endif
