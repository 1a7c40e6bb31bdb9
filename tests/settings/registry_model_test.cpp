// The store against a model of it: the same random operations on both, with flushes in between.
#include <map>
#include <random>
#include <vector>

#include "tests/settings/registry_fixture.h"

namespace {

using registry_test::Key;
using registry_test::SysReg;

// A value as its attributes hold it. The further strings outlive a change to another type.
struct ModelValue {
  uint32_t type = 0;  // 0: there is none
  std::string text;
  uint64_t number = 0;
  std::vector<std::string> further_strings;
};

// A file keeps 255 bytes of every text.
void CutAsTheFileDoes(ModelValue* value) {
  value->text.resize(std::min<size_t>(value->text.size(), 255));
  for (std::string& string : value->further_strings) {
    string.resize(std::min<size_t>(string.size(), 255));
  }
}

class SysRegModel : public SysReg {
 protected:
  // Names that differ in case alone are the same, so the model knows them by number.
  static constexpr const char* kKeys[] = {"A", "B\\C", "b\\D", "Long key\\x", "a\\A"};
  static constexpr const char* kSameKeys[] = {"a", "B\\c", "B\\d", "LONGKEY\\X", "A\\a"};
  static constexpr const char* kNames[] = {"N", "Value!", "x-1", "_", "Serial No", "n2"};
  static constexpr const char* kSameNames[] = {"n", "VALUE!", "X-1", "_", "serialno", "N2"};

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

  void SetString(const Key& key, const char* name, ModelValue* value) {
    value->type = 1;
    value->text = RandomText(0);
    EXPECT_EQ(key.SetString(name, value->text), 0);
  }
  void SetNumber(const Key& key, const char* name, uint32_t type, ModelValue* value) {
    value->type = type;
    value->number = random_();
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), name, type, &value->number, 8), 0);
    if (type == 4) value->number &= 0xFFFFFFFF;
  }
  void SetStrings(const Key& key, const char* name, ModelValue* value) {
    if (value->type == 7) value->further_strings.clear();
    value->type = 7;
    std::vector<std::string> strings(1 + Random(5));
    std::string memory;
    for (std::string& string : strings) {
      string = RandomText(1);
      memory += string + '\0';
    }
    value->text = strings[0];
    for (size_t i = 1; i < strings.size(); ++i) {
      if (value->further_strings.size() < i) value->further_strings.emplace_back();
      value->further_strings[i - 1] = strings[i];
    }
    EXPECT_EQ(key.SetStrings(name, memory + '\0'), 0);
  }
  void Delete(const Key& key, const char* name, ModelValue* value) {
    EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), name), value->type == 0 ? 1 : 0);
    if (value->type == 7) value->further_strings.clear();
    value->type = 0;
  }

  static void CheckStrings(const ModelValue& value, const std::string& data, uint32_t size) {
    std::string expected = value.text + '\0';
    size_t lengths = value.text.size();
    for (const std::string& string : value.further_strings) {
      expected += string + '\0';
      lengths += string.size();
    }
    EXPECT_EQ(size, lengths + 1);
    EXPECT_EQ(data.substr(0, expected.size() + 1), expected + '\0');
  }
  static void Check(const Key& key, const char* name, const ModelValue& value) {
    uint32_t type = 0;
    std::string data(4000, '\x5A');
    auto size = static_cast<uint32_t>(data.size());
    const int32_t result = SYS_REG_QueryValue(key.handle(), name, &type, data.data(), &size);
    if (value.type == 0) {
      EXPECT_EQ(result, 2);
      return;
    }
    ASSERT_EQ(result, 0);
    ASSERT_EQ(type, value.type);
    if (type == 7) return CheckStrings(value, data, size);
    if (type == 1) {
      EXPECT_EQ(size, value.text.size());
      EXPECT_EQ(data.substr(0, size), value.text);
      return;
    }
    uint64_t number = 0;
    memcpy(&number, data.data(), size);
    EXPECT_EQ(size, type == 4 ? 4U : 8U);
    EXPECT_EQ(number, value.number);
  }

  void CheckAll() {
    for (size_t key = 0; key < std::size(kKeys); ++key) {
      const Key opened(kSameKeys[key]);
      for (size_t name = 0; name < std::size(kNames); ++name) {
        SCOPED_TRACE(std::string(kKeys[key]) + " " + kNames[name]);
        Check(opened, kSameNames[name], model_[{key, name}]);
      }
    }
  }

  void FlushAndReload() {
    SYS_REG_Flush();
    for (auto& [place, value] : model_) CutAsTheFileDoes(&value);
  }

  void DoSomething() {
    const size_t key = Random(std::size(kKeys));
    const size_t name = Random(std::size(kNames));
    const Key opened(kKeys[key]);
    ModelValue* const value = &model_[{key, name}];
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
        return Check(opened, kSameNames[name], *value);
    }
  }

  std::mt19937_64 random_{20210705};
  std::map<std::pair<size_t, size_t>, ModelValue> model_;
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
