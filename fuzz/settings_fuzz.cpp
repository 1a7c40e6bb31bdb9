// SPDX-License-Identifier: MIT

// The settings store against its model: an input is a program of calls. With an allocation that fails
// the program runs without the model.
//
// Input: the byte of AllocationChoice, then the calls: a byte for what to do, one for the hive and the
// key, one for the name, and what the call takes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "fuzz/support/allocation_choice.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "settings/registry.h"
#include "tests/settings/registry_model.h"
#include "tests/support/large_blocks.h"
#include "tests/support/temporary_home.h"

namespace {

using fuzz::Require;
using registry_model::Answer;
using registry_model::Value;

constexpr size_t kMostCalls = 200;
constexpr size_t kHives = 3;

SYS_REG_HANDLE Hive(size_t number) {
  const SYS_REG_HANDLE hives[kHives] = {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE};
  return hives[number % kHives];
}

// A home for the whole process, and the files of the store in it.
class Home {
 public:
  Home() { std::filesystem::create_directories(Folder()); }

  void Clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
      std::filesystem::remove(entry.path());
    }
  }

 private:
  std::string Folder() const { return home_.At("Library/Application Support/TARVEN"); }

  const support::TemporaryHome home_;
};

// Runs one input.
class Program {
 public:
  Program(fuzz::ByteSource bytes, bool has_model) : bytes_(bytes), has_model_(has_model) {}
  ~Program() {
    CloseKeys();
    SYS_REG_Flush();
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Run() {
    for (size_t calls = 0; calls < kMostCalls && !bytes_.is_empty(); ++calls) Call();
    CheckAll();
    Reload();
    CheckAll();
  }

 private:
  using Place = std::tuple<size_t, size_t, size_t>;  // hive, key, name

  void RequireOfModel(bool holds, const char* rule) const { Require(!has_model_ || holds, rule); }

  // The key stays open until the next reload.
  SYS_REG_HANDLE Open(size_t hive, const char* path) {
    const SYS_REG_HANDLE key = SYS_REG_OpenKey(Hive(hive), path);
    RequireOfModel(key != nullptr, "a key can be opened");
    keys_.push_back(key);
    return key;
  }

  void CloseKeys() {
    for (const SYS_REG_HANDLE key : keys_) SYS_REG_CloseKey(key);
    keys_.clear();
  }

  void Reload() {
    CloseKeys();
    SYS_REG_Flush();
    for (auto& [place, value] : model_) value.CutAsTheFileDoes();
  }

  // Any bytes but the zero and the double quote.
  std::string Text(size_t length) {
    std::string text(bytes_.Bytes(length));
    std::replace(text.begin(), text.end(), '\0', '0');
    std::replace(text.begin(), text.end(), '"', '\'');
    return text;
  }

  void Call() {
    const size_t call = bytes_.Byte() % 8;
    const size_t where = bytes_.Byte();
    const size_t name_number = bytes_.Byte();
    const size_t hive = where / 64 % kHives;
    const size_t key_number = where % std::size(registry_model::kKeys);
    const size_t name = name_number % std::size(registry_model::kNames);
    const bool says_same = name_number >= 128;
    const SYS_REG_HANDLE key =
        Open(hive, (says_same ? registry_model::kSameKeys : registry_model::kKeys)[key_number]);
    const char* const text =
        (says_same ? registry_model::kSameNames : registry_model::kNames)[name];
    Value& value = model_[{hive, key_number, name}];
    switch (call) {
      case 0:
        return SetString(key, text, &value);
      case 1:
        return SetNumber(key, text, SYS_REG_TYPE_DWORD, &value);
      case 2:
        return SetNumber(key, text, SYS_REG_TYPE_QWORD, &value);
      case 3:
        return SetStrings(key, text, &value);
      case 4:
        return RequireOfModel(SYS_REG_DeleteValue(key, text) == value.Delete(),
                              "deleting tells whether there was a value");
      case 5:
        return Query(key, text, value, bytes_.Number<uint16_t>() % 2048);
      case 6:
        return Reload();
      default:
        return SetBadly(key, text);
    }
  }

  void SetString(SYS_REG_HANDLE key, const char* name, Value* value) {
    const std::string text = Text(bytes_.Number<uint16_t>() % 600);
    RequireOfModel(
        SYS_REG_SetValue(key, name, SYS_REG_TYPE_SZ, fuzz::ExactText(text).data(), 0) == 0,
        "a string can be set");
    value->SetString(text);
  }

  // Of fewer bytes than its own, or of more.
  void SetNumber(SYS_REG_HANDLE key, const char* name, uint32_t type, Value* value) {
    const uint32_t size = bytes_.Byte() % 12;
    fuzz::ExactBuffer data(size);
    uint64_t number = 0;
    for (uint32_t i = 0; i < size; ++i) {
      const uint8_t byte = bytes_.Byte();
      data.data()[i] = static_cast<char>(byte);
      if (i < sizeof number) number |= uint64_t{byte} << (8 * i);
    }
    RequireOfModel(SYS_REG_SetValue(key, name, type, data.data(), size) == 0,
                   "a number can be set");
    value->SetNumber(type, number);
  }

  void SetStrings(SYS_REG_HANDLE key, const char* name, Value* value) {
    std::vector<std::string> strings(1 + bytes_.Byte() % 6);
    std::string memory;
    for (std::string& string : strings) {
      string = Text(1 + bytes_.Number<uint16_t>() % 300);
      if (string.empty()) string = "x";
      memory += string + '\0';
    }
    const auto size = static_cast<uint32_t>(memory.size() + 1);
    RequireOfModel(SYS_REG_SetValue(key, name, SYS_REG_TYPE_MULTI_SZ,
                                    fuzz::ExactText(memory).data(), size) == 0,
                   "strings can be set");
    value->SetStrings(strings);
  }

  // A type that cannot be set, or a size that does not fit.
  void SetBadly(SYS_REG_HANDLE key, const char* name) {
    constexpr uint32_t kTypes[] = {0, 2, 3, 5, 6, 8, 9, 10, 12, 0x80000001};
    const uint32_t choice = bytes_.Byte();
    const bool has_bad_type = choice % 16 < std::size(kTypes);
    const uint32_t type = has_bad_type ? kTypes[choice % 16] : uint32_t{SYS_REG_TYPE_MULTI_SZ};
    fuzz::ExactText strings(std::string_view("a\0bc\0", 5));
    // 6 is the size of these strings.
    const uint32_t size = has_bad_type ? 6 : choice / 16 % 6;
    RequireOfModel(SYS_REG_SetValue(key, name, type, strings.data(), size) == 1,
                   "what cannot be set is refused");
  }

  void Query(SYS_REG_HANDLE key, const char* name, const Value& value, uint32_t capacity) {
    fuzz::ExactBuffer data(capacity);
    uint32_t type = 0;
    uint32_t size = capacity;
    const int32_t result = SYS_REG_QueryValue(key, name, &type, data.data(), &size);
    if (!has_model_) return;
    const Answer expected = value.Query(capacity);
    Require(result == expected.result, "a query has its result");
    Require(type == expected.type, "a query tells the type");
    Require(size == expected.size, "a query tells the size");
    Require(data.contents().substr(0, expected.stored.size()) == expected.stored,
            "a query stores the value");
    data.RequireUntouchedFrom(expected.stored.size(), "a query stores no more than the value");
  }

  void CheckAll() {
    for (const auto& [place, value] : model_) {
      const auto [hive, key, name] = place;
      Query(Open(hive, registry_model::kSameKeys[key]), registry_model::kSameNames[name], value,
            2048);
    }
  }

  fuzz::ByteSource bytes_;
  bool has_model_;
  std::map<Place, Value> model_;
  std::vector<SYS_REG_HANDLE> keys_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Home home;
  home.Clear();
  fuzz::ByteSource bytes(data, size);
  const fuzz::AllocationChoice choice(bytes.Byte());
  Program(bytes, !choice.fails()).Run();
  Require(support::large_blocks::InUse() == 0, "the store gives its memory back");
  return 0;
}
