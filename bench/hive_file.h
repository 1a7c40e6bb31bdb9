// SPDX-License-Identifier: MIT

// Files like those of the settings store, made for the benchmarks.
#ifndef TARVEN_BENCH_HIVE_FILE_H_
#define TARVEN_BENCH_HIVE_FILE_H_

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/temporary_folder.h"

namespace bench {

constexpr int kValuesOfKey = 20;

// The tag of a key as the store writes it, of twenty values, or of fewer that make the text so long.
inline void AppendKey(std::string& text, int key, size_t size) {
  text += "  <Software" + std::to_string(key);
  for (int value = 0; value < kValuesOfKey && text.size() < size; ++value) {
    const std::string name = "Value" + std::to_string(value);
    const bool is_number = value % 2 == 0;
    text += " " + name + "=\"" + (is_number ? "0x0000BEEF" : "some text of a setting") + "\" " +
            name + "_TARVENRegType=\"" + (is_number ? "SYS_REG_TYPE_DWORD" : "SYS_REG_TYPE_SZ") +
            "\"";
  }
  text += "/>\r\n";
}

// A file of one key.
inline std::string OneKey() {
  std::string text = "<Registry>\r\n";
  AppendKey(text, 0, SIZE_MAX);
  return text + "</Registry>\r\n";
}

// A file of as many keys as make at least so many bytes altogether.
inline std::string HiveText(size_t size) {
  std::string text = "<Registry>\r\n";
  for (int key = 0; text.size() < size; ++key) AppendKey(text, key, size);
  return text + "</Registry>\r\n";
}

// Stores a file in the folder and returns its path.
inline std::string Store(const support::TemporaryFolder& folder, const std::string& relative,
                         const std::string& content) {
  const std::filesystem::path place = folder.path() / relative;
  std::filesystem::create_directories(place.parent_path());
  std::ofstream(place, std::ios::binary) << content;
  return place;
}

}  // namespace bench

#endif
