// SPDX-License-Identifier: MIT

#include "tests/support/temporary_home.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>

namespace support {

TemporaryHome::TemporaryHome() {
  if (const char* const home = getenv("HOME")) previous_home_ = home;
  setenv("HOME", path().c_str(), 1);
}

TemporaryHome::~TemporaryHome() {
  if (previous_home_) {
    setenv("HOME", previous_home_->c_str(), 1);
  } else {
    unsetenv("HOME");
  }
  std::error_code error;
  std::filesystem::current_path(previous_working_directory_, error);
}

std::string TemporaryHome::At(std::string_view relative) const {
  return path() + "/" + std::string(relative);
}

std::string TemporaryHome::Write(std::string_view relative, std::string_view content) const {
  const std::string path = At(relative);
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::string TemporaryHome::Read(std::string_view relative) const {
  std::ifstream file(At(relative), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace support
