// SPDX-License-Identifier: MIT

// Something else in the place of a standard stream for a while.
#ifndef TARVEN_TESTS_SUPPORT_REPLACED_DESCRIPTOR_H_
#define TARVEN_TESTS_SUPPORT_REPLACED_DESCRIPTOR_H_

namespace support {

// While the object lives, descriptor number is a duplicate of replacement, or closed for a
// replacement of -1. What stdout and stderr hold goes out before each change, so that nothing lands
// on the wrong side. A test that replaces 1 or 2 looks at results after the object's end: what it
// reports in between goes to the replacement.
class ReplacedDescriptor {
 public:
  ReplacedDescriptor(int number, int replacement);
  ~ReplacedDescriptor();
  ReplacedDescriptor(const ReplacedDescriptor&) = delete;
  ReplacedDescriptor& operator=(const ReplacedDescriptor&) = delete;

 private:
  int number_;
  int original_;
};

}  // namespace support

#endif
