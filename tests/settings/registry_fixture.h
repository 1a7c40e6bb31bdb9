// SPDX-License-Identifier: MIT

// A settings store with a home of its own.
#ifndef TARVEN_TESTS_SETTINGS_REGISTRY_FIXTURE_H_
#define TARVEN_TESTS_SETTINGS_REGISTRY_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "settings/registry.h"
#include "tests/support/temporary_home.h"

namespace registry_test {

inline constexpr char kEmptyFile[] = "<Registry>\r\n</Registry>";

// Constants without a hive.
inline SYS_REG_HANDLE Constant(uintptr_t value) { return reinterpret_cast<SYS_REG_HANDLE>(value); }

class SysReg : public testing::Test {
 protected:
  SysReg() { std::filesystem::create_directories(home_.At(kFolder)); }
  ~SysReg() override { SYS_REG_Flush(); }

  // The file of HKEY_CURRENT_USER, unless another hive is named.
  static std::string FileName(std::string_view hive = "HKEY_CURRENT_USER") {
    return kFolder + ("/TARVEN_REG_" + std::string(hive)) + ".xml";
  }
  std::string FilePath() const { return home_.At(FileName()); }
  std::string File() const { return home_.Read(FileName()); }
  void PutFile(std::string_view text) const { home_.Write(FileName(), text); }
  // A file with one key, "Key", that has these attributes.
  void PutKey(const std::string& attributes) const {
    PutFile("<Registry>\r\n  <Key " + attributes + "/>\r\n</Registry>\r\n");
  }
  static std::string FileWithKey(const std::string& attributes) {
    return "<Registry>\r\n  <Key " + attributes + "/>\r\n</Registry>\r\n";
  }

  static constexpr char kFolder[] = "Library/Application Support/TARVEN";
  const support::TemporaryHome home_;
};

// A key that is closed with the object.
class Key {
 public:
  explicit Key(const char* path = "Key", SYS_REG_HANDLE parent = HKEY_CURRENT_USER)
      : handle_(SYS_REG_OpenKey(parent, path)) {}
  ~Key() { SYS_REG_CloseKey(handle_); }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  SYS_REG_HANDLE handle() const { return handle_; }

  int32_t SetDword(const char* name, uint32_t value) const {
    return SYS_REG_SetValue(handle_, name, SYS_REG_TYPE_DWORD, &value, sizeof value);
  }
  int32_t SetString(const char* name, const std::string& value) const {
    return SYS_REG_SetValue(handle_, name, SYS_REG_TYPE_SZ, value.c_str(),
                            static_cast<uint32_t>(value.size() + 1));
  }
  // The strings as they lie in memory, without the last terminator, which is the text's own.
  int32_t SetStrings(const char* name, std::string_view strings) const {
    return SYS_REG_SetValue(handle_, name, SYS_REG_TYPE_MULTI_SZ, strings.data(),
                            static_cast<uint32_t>(strings.size()));
  }
  int32_t Type(const char* name, uint32_t* type) const {
    return SYS_REG_QueryValue(handle_, name, type, nullptr, nullptr);
  }
  // The value of a DWORD or the result of a query that failed, as -1, -2, -234.
  int64_t Dword(const char* name) const {
    uint32_t value = 0xDEADBEEF;
    uint32_t size = sizeof value;
    const int32_t result = SYS_REG_QueryValue(handle_, name, nullptr, &value, &size);
    return result == 0 ? int64_t{value} : -result;
  }
  std::string String(const char* name) const {
    char text[1024];
    uint32_t size = sizeof text;
    const int32_t result = SYS_REG_QueryValue(handle_, name, nullptr, text, &size);
    return result == 0 ? std::string(text) : "failed with " + std::to_string(result);
  }

 private:
  SYS_REG_HANDLE handle_;
};

}  // namespace registry_test

#endif
