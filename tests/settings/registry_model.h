// SPDX-License-Identifier: MIT

// What the settings store holds, told plainly: the values of its keys, and what each call gives.
#ifndef TARVEN_TESTS_SETTINGS_REGISTRY_MODEL_H_
#define TARVEN_TESTS_SETTINGS_REGISTRY_MODEL_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace registry_model {

// What a query gives.
struct Answer {
  int32_t result = 0;
  uint32_t type = 0;  // 0: none is told
  uint32_t size = 0;
  std::string stored;  // the bytes from the start of the buffer; what is behind them stays
};

// A value as its attributes hold it. The further strings outlive a change to another type.
class Value {
 public:
  uint32_t type() const { return type_; }

  void SetString(const std::string& text) {
    type_ = 1;
    text_ = text;
  }
  void SetNumber(uint32_t type, uint64_t number) {
    type_ = type;
    number_ = type == 4 ? static_cast<uint32_t>(number) : number;
  }
  // At least one, none of them empty.
  void SetStrings(const std::vector<std::string>& strings) {
    if (type_ == 7) further_strings_.clear();
    type_ = 7;
    text_ = strings[0];
    if (further_strings_.size() < strings.size() - 1) further_strings_.resize(strings.size() - 1);
    std::copy(strings.begin() + 1, strings.end(), further_strings_.begin());
  }

  // Returns the result of the call.
  int32_t Delete() {
    if (type_ == 0) return 1;
    if (type_ == 7) further_strings_.clear();
    type_ = 0;
    return 0;
  }

  // A file keeps 255 bytes of every text.
  void CutAsTheFileDoes() {
    text_.resize(std::min<size_t>(text_.size(), 255));
    for (std::string& string : further_strings_) {
      string.resize(std::min<size_t>(string.size(), 255));
    }
  }

  // With a buffer of so many bytes.
  Answer Query(uint32_t capacity) const {
    switch (type_) {
      case 0:
        return {.result = 2, .type = 0, .size = capacity, .stored = {}};
      case 1:
        return QueryString(capacity);
      case 4:
        return QueryNumber(sizeof(uint32_t), capacity);
      case 11:
        return QueryNumber(sizeof(uint64_t), capacity);
      default:
        return QueryStrings(capacity);
    }
  }

 private:
  // The text as a buffer of some room gets it: cut and terminated.
  static std::string CutAndTerminated(const std::string& text, size_t room) {
    return room == 0 ? std::string() : text.substr(0, room - 1) + '\0';
  }

  Answer QueryString(uint32_t capacity) const {
    return {.result = capacity < text_.size() ? 234 : 0,
            .type = type_,
            .size = static_cast<uint32_t>(text_.size()),
            .stored = CutAndTerminated(text_, capacity)};
  }

  Answer QueryNumber(uint32_t width, uint32_t capacity) const {
    if (capacity < width) return {.result = 234, .type = type_, .size = capacity, .stored = {}};
    std::string bytes(width, '\0');
    memcpy(bytes.data(), &number_, width);
    return {.result = 0, .type = type_, .size = width, .stored = bytes};
  }

  // The size counts the strings' characters and, unless these fill the buffer, one terminator. Of
  // what is stored, each string has its own.
  Answer QueryStrings(uint32_t capacity) const {
    std::vector<std::string> strings = {text_};
    strings.insert(strings.end(), further_strings_.begin(), further_strings_.end());
    Answer answer = {.result = 0, .type = type_, .size = 0, .stored = {}};
    for (const std::string& string : strings) {
      answer.size += static_cast<uint32_t>(string.size());
      answer.stored += CutAndTerminated(string, capacity - answer.stored.size());
    }
    if (answer.size < capacity) {
      ++answer.size;
      if (answer.stored.size() < capacity) answer.stored += '\0';
    }
    answer.result = answer.size > capacity ? 234 : 0;
    return answer;
  }

  uint32_t type_ = 0;  // 0: there is none
  std::string text_;
  uint64_t number_ = 0;
  std::vector<std::string> further_strings_;
};

// Names that differ in case alone are the same, so the model knows them by number.
inline constexpr const char* kKeys[] = {"A", "B\\C", "b\\D", "Long key\\x", "a\\A"};
inline constexpr const char* kSameKeys[] = {"a", "B\\c", "B\\d", "LONGKEY\\X", "A\\a"};
inline constexpr const char* kNames[] = {"N", "Value!", "x-1", "_", "Serial No", "n2"};
inline constexpr const char* kSameNames[] = {"n", "VALUE!", "X-1", "_", "serialno", "N2"};

}  // namespace registry_model

#endif
