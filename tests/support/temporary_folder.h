// SPDX-License-Identifier: MIT

// A folder of a test's own.
#ifndef TARVEN_TESTS_SUPPORT_TEMPORARY_FOLDER_H_
#define TARVEN_TESTS_SUPPORT_TEMPORARY_FOLDER_H_

#include <filesystem>
#include <string>

namespace support {

// Fresh and empty; it goes with the object and with all that is in it by then.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::string& beginning_of_name = "test");
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  // Absolute, without links on the way.
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace support

#endif
