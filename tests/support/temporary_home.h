// SPDX-License-Identifier: MIT

// A home directory of a test's own.
#ifndef TARVEN_TESTS_SUPPORT_TEMPORARY_HOME_H_
#define TARVEN_TESTS_SUPPORT_TEMPORARY_HOME_H_

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/temporary_folder.h"

namespace support {

// A fresh and empty directory that HOME names while the object lives. At the end it goes with all
// that is in it, and HOME and the working directory become again what they were.
class TemporaryHome {
 public:
  TemporaryHome();
  ~TemporaryHome();
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;

  // Without a "/" at its end.
  const std::string& path() const { return folder_.path().native(); }

  // The path of something in it.
  std::string At(std::string_view relative) const;

  // Stores a file, in a folder that exists, and returns its path; reads one, "" when it is missing.
  std::string Write(std::string_view relative, std::string_view content) const;
  std::string Read(std::string_view relative) const;

 private:
  TemporaryFolder folder_{"home"};
  std::optional<std::string> previous_home_;
  std::filesystem::path previous_working_directory_ = std::filesystem::current_path();
};

}  // namespace support

#endif
