// SPDX-License-Identifier: MIT

// Formatted output: any format with fitting arguments gives what the reference gives, in buffers of
// every size.
//
// Input: the format up to a zero byte, then the arguments in order, numbers as eight bytes and
// strings up to a zero. What stands behind the directives of the first four arguments is left out.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/format_reference.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "util/format.h"

namespace {

using format_reference::Argument;
using format_reference::Kind;
using format_reference::Piece;
using fuzz::Require;

constexpr size_t kMostArguments = 4;

// Longer texts are compared in their first characters.
constexpr size_t kLongestText = 300;
// Up to here in every size, and then in a few.
constexpr size_t kEverySize = 24;

// ---- The call ----

// One call of the function under test, whose arguments have the types that the format asks for.
class Call {
 public:
  Call(const std::string& format, const std::vector<Kind>& kinds,
       const std::vector<Argument>& arguments)
      : format_(format), kinds_(kinds), arguments_(arguments) {
    for (const Argument& argument : arguments) strings_.emplace_back(argument.string);
  }

  char* Into(char* buffer, int32_t capacity) { return With<0>(buffer, capacity); }

 private:
  template <size_t count, typename... Passed>
  char* With(char* buffer, int32_t capacity, Passed... passed) {
    if constexpr (count < kMostArguments) {
      if (count < kinds_.size()) return WithNext<count>(buffer, capacity, passed...);
    }
    return UTIL_snprintf(buffer, capacity, format_.data(), passed...);
  }

  template <size_t count, typename... Passed>
  char* WithNext(char* buffer, int32_t capacity, Passed... passed) {
    const uint64_t number = arguments_[count].number;
    switch (kinds_[count]) {
      case Kind::kInt:
        return With<count + 1>(buffer, capacity, passed..., static_cast<int>(number));
      case Kind::kLong:
        return With<count + 1>(buffer, capacity, passed..., static_cast<long long>(number));
      case Kind::kString:
        return With<count + 1>(buffer, capacity, passed...,
                               static_cast<const char*>(strings_[count].data()));
      default:
        return With<count + 1>(buffer, capacity, passed..., reinterpret_cast<void*>(number));
    }
  }

  fuzz::ExactText format_;
  const std::vector<Kind>& kinds_;
  const std::vector<Argument>& arguments_;
  std::vector<fuzz::ExactText> strings_;
};

void Check(Call& call, const std::string& whole, int32_t capacity) {
  // The terminator stands at position 0 whatever the capacity.
  const auto room = static_cast<size_t>(std::max(capacity, 1));
  fuzz::ExactBuffer buffer(room);
  const char* const end = call.Into(buffer.data(), capacity);
  const std::string text = whole.substr(0, room - 1);
  Require(end == buffer.data() + text.size(), "the result is the terminator's address");
  buffer.RequireText(text, "the text is the reference's, cut to its buffer");
}

void CheckInEverySize(Call& call, const std::string& whole) {
  for (const int32_t capacity : {INT32_MIN, -1}) Check(call, whole, capacity);
  const size_t end = std::min(whole.size() + 2, kLongestText);
  for (size_t capacity = 0; capacity <= end; ++capacity) {
    if (capacity > kEverySize) capacity = std::min(capacity + capacity / 8, end);
    Check(call, whole, static_cast<int32_t>(capacity));
  }
}

// Leaves out all from the first directive on that is one too many. Returns what the others take.
std::vector<Kind> CutToMostArguments(std::string* format, std::vector<Piece>* pieces) {
  std::vector<Kind> kinds;
  for (size_t i = 0; i < pieces->size(); ++i) {
    const Piece& piece = (*pieces)[i];
    const Kind kind = piece.is_directive ? piece.directive.kind() : Kind::kNone;
    if (kind == Kind::kNone) continue;
    if (kinds.size() == kMostArguments) {
      format->resize(piece.start);
      pieces->resize(i);
      break;
    }
    kinds.push_back(kind);
  }
  return kinds;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::ByteSource bytes(data, size);
  std::string format = bytes.Text();
  std::vector<Piece> pieces = format_reference::Pieces(format);
  const std::vector<Kind> kinds = CutToMostArguments(&format, &pieces);

  std::vector<Argument> arguments(kinds.size());
  for (size_t i = 0; i < kinds.size(); ++i) {
    if (kinds[i] == Kind::kString) {
      arguments[i].string = bytes.Text();
    } else {
      arguments[i].number = bytes.Number<uint64_t>();
    }
  }
  Call call(format, kinds, arguments);
  CheckInEverySize(call, format_reference::Formatted(pieces, arguments, kLongestText));
  return 0;
}
