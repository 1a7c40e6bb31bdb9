// SPDX-License-Identifier: MIT

// The store against a model of it: the same random operations on both, with flushes in between.
#include <map>
#include <random>
#include <vector>

#include "tests/settings/registry_fixture.h"
#include "tests/settings/registry_model.h"

namespace {

using registry_model::kKeys;
using registry_model::kNames;
using registry_model::kSameKeys;
using registry_model::kSameNames;
using registry_model::Value;
using registry_test::Key;
using registry_test::SysReg;

class SysRegModel : public SysReg {
 protected:
  size_t Random(size_t below) {
    return std::uniform_int_distribution<size_t>(0, below - 1)(random_);
  }

  // Any bytes but the zero and the double quote.
  std::string RandomText(size_t shortest) {
    std::string text(shortest + Random(Random(8) == 0 ? 301 : 12), ' ');
    for (char& character : text) {
      do {
        character = static_cast<char>(1 + Random(255));
      } while (character == '"');
    }
    return text;
  }

  void SetString(const Key& key, const char* name, Value* value) {
    const std::string text = RandomText(0);
    value->SetString(text);
    EXPECT_EQ(key.SetString(name, text), 0);
  }
  void SetNumber(const Key& key, const char* name, uint32_t type, Value* value) {
    const uint64_t number = random_();
    value->SetNumber(type, number);
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), name, type, &number, 8), 0);
  }
  void SetStrings(const Key& key, const char* name, Value* value) {
    std::vector<std::string> strings(1 + Random(5));
    std::string memory;
    for (std::string& string : strings) {
      string = RandomText(1);
      memory += string + '\0';
    }
    value->SetStrings(strings);
    EXPECT_EQ(key.SetStrings(name, memory + '\0'), 0);
  }
  static void Delete(const Key& key, const char* name, Value* value) {
    EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), name), value->Delete());
  }

  static void Check(const Key& key, const char* name, const Value& value, uint32_t capacity) {
    const registry_model::Answer expected = value.Query(capacity);
    uint32_t type = 0;
    std::string data(capacity + 1, '\x5A');
    uint32_t size = capacity;
    EXPECT_EQ(SYS_REG_QueryValue(key.handle(), name, &type, data.data(), &size), expected.result);
    EXPECT_EQ(type, expected.type);
    EXPECT_EQ(size, expected.size);
    std::string expected_data = expected.stored;
    expected_data.resize(data.size(), '\x5A');
    EXPECT_EQ(data, expected_data);
  }

  void CheckAll() {
    for (size_t key = 0; key < std::size(kKeys); ++key) {
      const Key opened(kSameKeys[key]);
      for (size_t name = 0; name < std::size(kNames); ++name) {
        SCOPED_TRACE(std::string(kKeys[key]) + " " + kNames[name]);
        Check(opened, kSameNames[name], model_[{key, name}], 4000);
      }
    }
  }

  void FlushAndReload() {
    SYS_REG_Flush();
    for (auto& [place, value] : model_) value.CutAsTheFileDoes();
  }

  void DoSomething() {
    const size_t key = Random(std::size(kKeys));
    const size_t name = Random(std::size(kNames));
    const Key opened(kKeys[key]);
    Value* const value = &model_[{key, name}];
    switch (Random(7)) {
      case 0:
        return SetString(opened, kNames[name], value);
      case 1:
        return SetNumber(opened, kNames[name], 4, value);
      case 2:
        return SetNumber(opened, kNames[name], 11, value);
      case 3:
        return SetStrings(opened, kNames[name], value);
      case 4:
        return Delete(opened, kNames[name], value);
      default:
        return Check(opened, kSameNames[name], *value, static_cast<uint32_t>(Random(1000)));
    }
  }

  std::mt19937_64 random_{20210705};
  std::map<std::pair<size_t, size_t>, Value> model_;
};

TEST_F(SysRegModel, AgreesWithTheStoreOverTenThousandOperations) {
  for (int i = 0; i < 10'000 && !HasFailure(); ++i) {
    SCOPED_TRACE(i);
    DoSomething();
    if (Random(100) == 0) FlushAndReload();
    if (Random(500) == 0) CheckAll();
  }
  FlushAndReload();
  CheckAll();
}

}  // namespace
