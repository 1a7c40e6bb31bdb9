// SPDX-License-Identifier: MIT

#include "tests/support/comma_locale.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/child_process.h"

namespace support {

namespace {

bool HasComma() {
  char text[8];
  snprintf(text, sizeof text, "%.1f", 1.5);
  return text == std::string_view("1,5");
}

bool SetInstalled() {
  for (const char* const name :
       {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "de_DE"}) {
    if (setlocale(LC_ALL, name) != nullptr && HasComma()) return true;
  }
  return false;
}

bool Compile(const std::string& file) {
  FILE* const null_device = fopen("/dev/null", "r+");
  if (null_device == nullptr) return false;
  const int silent = fileno(null_device);
  ChildProcess localedef({"localedef", "-i", "de_DE", "-f", "UTF-8", file},
                         {.streams = {silent, silent, silent}});
  const std::optional<int> status = localedef.WaitForExit();
  fclose(null_device);
  return status == 0;
}

// The C library looks for locales in the folder that LOCPATH names, too.
bool SetCompiled(const std::filesystem::path& folder) {
  const char* const name = "de_DE.UTF-8";
  if (!Compile(folder / name)) return false;
  setenv("LOCPATH", folder.c_str(), 1);
  return setlocale(LC_ALL, name) != nullptr && HasComma();
}

}  // namespace

CommaLocale::CommaLocale() : is_set_(SetInstalled() || SetCompiled(folder_.path())) {}

CommaLocale::~CommaLocale() {
  setlocale(LC_ALL, "C");
  unsetenv("LOCPATH");
}

}  // namespace support
