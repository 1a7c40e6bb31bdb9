// SPDX-License-Identifier: MIT

// A locale whose numbers have a decimal comma.
#ifndef TARVEN_TESTS_SUPPORT_COMMA_LOCALE_H_
#define TARVEN_TESTS_SUPPORT_COMMA_LOCALE_H_

#include "tests/support/temporary_folder.h"

namespace support {

// Switches the process to such a locale, one of this system's or one compiled for the occasion, and
// back to "C" with its end.
class CommaLocale {
 public:
  CommaLocale();
  ~CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  // False when this system has neither such a locale nor the sources of one.
  bool is_set() const { return is_set_; }

 private:
  TemporaryFolder folder_;
  bool is_set_;
};

}  // namespace support

#endif
