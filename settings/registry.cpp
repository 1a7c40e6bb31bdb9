// SPDX-License-Identifier: MIT

#include "settings/registry.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "settings/xml.h"
#include "settings/xml_load.h"
#include "settings/xml_name.h"
#include "settings/xml_record.h"
#include "sys/files.h"
#include "sys/memory.h"
#include "sys/paths.h"
#include "util/byte_order.h"
#include "util/format.h"
#include "util/hexadecimal.h"
#include "util/parse.h"
#include "util/strings.h"
#include "util/text.h"

namespace {

using xml_load::Outcome;

// ---- Names and paths ----

constexpr uint32_t kNameCapacity = 512;

// The characters that no value's name treats in a way of their own.
constexpr std::array<bool, 256> kIsPlain = [] {
  std::array<bool, 256> is_plain{};
  for (const char character : std::string_view("0123456789_!-"
                                               "abcdefghijklmnopqrstuvwxyz"
                                               "ABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
    is_plain[static_cast<uint8_t>(character)] = true;
  }
  return is_plain;
}();

// Moves the cursor over a piece of text that ends at a blank, the end or a backslash, and appends it
// to a name. False when the name would grow too long; then the piece is left out.
bool AppendPiece(const char** cursor, char* name, uint32_t* length) {
  const auto room = static_cast<int32_t>(kNameCapacity - *length);
  if (UTIL_ParseString(cursor, name + *length, room, '\\') != nullptr) return false;
  *length += static_cast<uint32_t>(UTIL_strlen(name + *length));
  return true;
}

// Reads the next name of a key path, without its blanks, and moves the cursor behind the backslash
// that ends it. Behind a name that is too long there are no others.
void ReadKeyName(const char** cursor, char* name) {
  uint32_t length = 0;
  name[0] = '\0';
  for (;;) {
    UTIL_SkipBlanks(cursor);
    if (**cursor == '\0' || UTIL_ExpectChar(cursor, '\\') == 0) return;
    if (!AppendPiece(cursor, name, &length)) {
      *cursor = "";
      return;
    }
  }
}

// Reads a value's name as its tokens one behind the other, and returns its length. What cannot be
// read as a token, such as a quote that does not close, ends it.
uint32_t ReadValueName(const char* text, char* name) {
  uint32_t length = 0;
  do {
    UTIL_SkipBlanks(&text);
    if (UTIL_ParseToken(&text, name + length, kNameCapacity - length) != 0) {
      name[length] = '\0';
      return length;
    }
    length += static_cast<uint32_t>(UTIL_strlen(name + length));
  } while (*text == ' ');
  return length;
}

// The length of a value's name that stands for itself: it consists of what names do, which is all in
// one token, and need not be cut. 0 for any other.
uint32_t PlainLength(const char* text) {
  uint32_t length = 0;
  while (length < kNameCapacity && kIsPlain[static_cast<uint8_t>(text[length])]) ++length;
  return length < kNameCapacity && text[length] == '\0' ? length : 0;
}

// The names of the attributes that stand beside a value's own.
class AttributeName {
 public:
  static constexpr char kTypeSuffix[] = "_TARVENRegType";

  static AttributeName OfType(const char* value) {
    AttributeName name;
    UTIL_snprintf(name.text_, sizeof name.text_, "%s%s", value, kTypeSuffix);
    return name;
  }
  static AttributeName OfString(const char* value, int32_t number) {
    AttributeName name;
    UTIL_snprintf(name.text_, sizeof name.text_, "%s_TARVENRegMltStr%d", value, number);
    return name;
  }
  const char* text() const { return text_; }

 private:
  char text_[kNameCapacity + sizeof "_TARVENRegMltStr" + 10];
};

// ---- Hives ----

constexpr uintptr_t kFirstConstant = 0x80000000;
constexpr uintptr_t kLastConstant = 0x80000006;

constexpr char kEmptyDocument[] = "<Registry>\r\n</Registry>";
constexpr uint32_t kLargestText = 0x100000;

// A file that another process holds open for a moment is waited for.
constexpr uint32_t kRetries = 3;
constexpr uint32_t kRetryDelayMs = 5;

struct Hive {
  const char* file_name;
  XML_DOC* document = nullptr;  // null while it is not loaded
  // What the file would hold if nothing had been changed since. Null when it could not be kept yet.
  char* cached_text = nullptr;
  int32_t cached_length = 0;
};

// In the order of the constants.
Hive hives[] = {
    {.file_name = "TARVEN_REG_HKEY_CLASSES_ROOT.xml"},
    {.file_name = "TARVEN_REG_HKEY_CURRENT_USER.xml"},
    {.file_name = "TARVEN_REG_HKEY_LOCAL_MACHINE.xml"},
};

// What a handle stands for; handles of opened keys point to one.
struct SYS_REG_KEY {
  XML_DOC* document;
  XML_NODE* element;
};

// A document's text, while the object lives.
class DocumentText {
 public:
  explicit DocumentText(const XML_DOC* document)
      : data_(static_cast<char*>(SYS_MEM_Alloc(kLargestText))),
        length_(XML_ToText(document, data_, kLargestText)) {}
  ~DocumentText() { SYS_MEM_Free(data_); }
  DocumentText(const DocumentText&) = delete;
  DocumentText& operator=(const DocumentText&) = delete;

  const char* data() const { return data_; }
  // Negative when there is no text.
  int32_t length() const { return length_; }

 private:
  char* data_;
  int32_t length_;
};

bool IsConstant(SYS_REG_HANDLE handle) {
  const auto value = reinterpret_cast<uintptr_t>(handle);
  return value >= kFirstConstant && value <= kLastConstant;
}

void BuildFilePath(const Hive& hive, char* path) {
  if (SYS_GetAppSupportDir(path, SYS_PATH_CAPACITY) != 0) path[0] = '\0';
  // A folder that was cut fills the path: nothing has room behind it.
  if (path[0] != '\0') UTIL_strncat(path, "/", 1, SYS_PATH_CAPACITY);
  UTIL_strncat(path, hive.file_name, SYS_PATH_CAPACITY, SYS_PATH_CAPACITY);
  UTIL_ReplaceChar(path, '\\', '/');
}

int32_t OpenWithRetries(const char* path, uint32_t flags) {
  return SYS_FILE_OpenRetry(path, flags, kRetries, kRetryDelayMs);
}

// Sees to it that there is a file with a document: one that is missing is made, and the content of
// one that is no document is given up. One that could not be opened a moment ago keeps its content.
bool ResetFile(const char* path, Outcome outcome) {
  uint32_t flags = SYS_FILE_FLAG_READ | SYS_FILE_FLAG_WRITE | SYS_FILE_FLAG_CREATE;
  if (outcome == Outcome::kNoDocument) flags |= SYS_FILE_FLAG_TRUNCATE;
  const int32_t handle = OpenWithRetries(path, flags);
  if (handle < 0) return false;
  if (SYS_FILE_GetSize(handle) == 0) {
    SYS_FILE_Write(handle, kEmptyDocument, sizeof kEmptyDocument - 1);
  }
  SYS_FILE_Close(handle);
  return true;
}

// Sees to it that a hive is in memory. Returns 0 or -1, also for want of memory or when a read fails:
// the file may hold a good document then and is left alone.
int32_t SYS_REG_LoadHive(const char* path, Hive* hive) {
  if (hive->document != nullptr) return 0;
  Outcome outcome;
  hive->document = xml_load::Load(path, &outcome);
  const bool may_reset = outcome == Outcome::kNotOpened || outcome == Outcome::kNoDocument;
  if (may_reset && ResetFile(path, outcome)) hive->document = XML_LoadFile(path);
  return hive->document != nullptr ? 0 : -1;
}

// Keeps the text of a hive that was just loaded. Returns a negative result when that fails: nothing
// may change the hive before, or the changed text would be kept and the change never be written.
int32_t CacheText(Hive* hive) {
  const DocumentText text(hive->document);
  if (text.length() < 0) return text.length();
  const auto size = static_cast<uint32_t>(text.length());
  hive->cached_text = static_cast<char*>(SYS_MEM_Alloc(size));
  if (hive->cached_text == nullptr) return -1;
  memcpy(hive->cached_text, text.data(), size);
  hive->cached_length = text.length();
  return 0;
}

int32_t LoadWithText(Hive* hive) {
  char path[SYS_PATH_CAPACITY];
  BuildFilePath(*hive, path);
  const int32_t result = SYS_REG_LoadHive(path, hive);
  return result == 0 && hive->cached_text == nullptr ? CacheText(hive) : result;
}

// Finds what a handle stands for. Returns 0, or a negative result for a constant without a hive and
// for a hive that cannot be had.
int32_t SYS_REG_GetHive(SYS_REG_HANDLE handle, SYS_REG_KEY* key) {
  if (!IsConstant(handle)) {
    *key = *static_cast<const SYS_REG_KEY*>(handle);
    return 0;
  }
  const uintptr_t index = reinterpret_cast<uintptr_t>(handle) - kFirstConstant;
  if (index >= std::size(hives)) return -1;
  const int32_t result = LoadWithText(&hives[index]);
  *key = {hives[index].document, XML_GetRoot(hives[index].document)};
  return result;
}

// ---- Values ----

struct TypeName {
  uint32_t type;
  std::string_view text;
};
constexpr TypeName kTypeNames[] = {
    {SYS_REG_TYPE_SZ, "SYS_REG_TYPE_SZ"},
    {SYS_REG_TYPE_MULTI_SZ, "SYS_REG_TYPE_MULTI_SZ"},
    {SYS_REG_TYPE_EXPAND_SZ, "SYS_REG_TYPE_EXPAND_SZ"},
    {SYS_REG_TYPE_BINARY, "SYS_REG_TYPE_BINARY"},
    {SYS_REG_TYPE_DWORD, "SYS_REG_TYPE_DWORD"},
    {SYS_REG_TYPE_QWORD, "SYS_REG_TYPE_QWORD"},
};

// A value that a caller asked for: its key, and its name as it was read.
class Value {
 public:
  // Returns false for bad arguments and for a handle that leads nowhere.
  bool Resolve(SYS_REG_HANDLE handle, const char* name) {
    if (handle == nullptr || name == nullptr || *name == '\0') return false;
    if (SYS_REG_GetHive(handle, &key_) < 0) return false;
    name_ = name;
    length_ = PlainLength(name);
    if (length_ != 0) return true;
    name_ = read_name_;
    length_ = ReadValueName(name, read_name_);
    return true;
  }

  const SYS_REG_KEY& key() const { return key_; }
  const char* name() const { return name_; }
  bool IsNameless() const { return length_ == 0; }

  const XML_ATTR* Find(const char* attribute) const {
    return XML_FindAttr(key_.document, key_.element, attribute);
  }
  int32_t Set(const char* attribute, const char* text) const {
    return ResultOf(XML_SetAttr(key_.document, key_.element, attribute, text));
  }
  int32_t Delete(const char* attribute) const {
    return XML_DeleteAttr(key_.document, key_.element, attribute);
  }

  // The attributes that hold a value; null for what there is not.
  struct Attributes {
    XML_ATTR* data = nullptr;
    XML_ATTR* type = nullptr;
  };

  // Both have names that begin alike: they are looked for at once.
  Attributes FindBoth() const {
    const xml_name::Wanted wanted({name_, length_});
    Attributes found;
    for (XML_ATTR* attribute = key_.element->first_attr; attribute != nullptr;
         attribute = attribute->next) {
      if (!wanted.MayBegin(attribute->name)) continue;
      if (found.data == nullptr && wanted.Is(attribute->name, attribute->name_length)) {
        found.data = attribute;
      } else if (found.type == nullptr && IsTypeName(wanted, attribute)) {
        found.type = attribute;
      } else {
        continue;
      }
      if (found.data != nullptr && found.type != nullptr) break;
    }
    return found;
  }

  int32_t SetBoth(std::string_view text, std::string_view type_text) const {
    const Attributes found = FindBoth();
    const int32_t result =
        found.data != nullptr ? Replace(found.data, text) : Add({name_, length_}, text);
    if (result != SYS_REG_SUCCESS) return result;
    if (found.type != nullptr) return Replace(found.type, type_text);
    return Add(AttributeName::OfType(name_).text(), type_text);
  }

 private:
  static int32_t ResultOf(int32_t result) {
    return result == 0 ? SYS_REG_SUCCESS : SYS_REG_ERR_FAILED;
  }
  int32_t Replace(XML_ATTR* attribute, std::string_view text) const {
    return ResultOf(xml_record::ReplaceValue(key_.document, attribute, text));
  }
  int32_t Add(std::string_view attribute, std::string_view text) const {
    return ResultOf(xml_record::AddAttribute(key_.document, key_.element, attribute, text));
  }

  bool IsTypeName(const xml_name::Wanted& value, const XML_ATTR* attribute) const {
    constexpr std::string_view kSuffix = AttributeName::kTypeSuffix;
    return attribute->name_length == length_ + kSuffix.size() && value.Begins(attribute->name) &&
           xml_name::AreSameBytes(kSuffix.data(), attribute->name + length_, kSuffix.size());
  }

  SYS_REG_KEY key_;
  const char* name_ = nullptr;  // the caller's where it stands for itself
  uint32_t length_ = 0;
  char read_name_[kNameCapacity];
};

// ---- Types ----

// Returns the name that a value of this type is stored with.
std::string_view StoredName(uint32_t type) {
  const auto* const found = std::ranges::find(kTypeNames, type, &TypeName::type);
  return found != std::end(kTypeNames) ? found->text : "???";
}

// Tells a type from its attribute. Returns 0, 1 when it is none of the known, 2 when there is no such
// value.
int32_t ReadType(const XML_ATTR* attribute, uint32_t* type) {
  if (attribute == nullptr) return SYS_REG_ERR_NOT_FOUND;
  for (const TypeName& known : kTypeNames) {
    if (xml_name::AreSame(known.text, attribute->value, attribute->value_length)) {
      *type = known.type;
      return SYS_REG_SUCCESS;
    }
  }
  return SYS_REG_ERR_FAILED;
}

// ---- Deleting ----

int32_t Delete(const Value& value) {
  uint32_t type = 0;
  const AttributeName type_name = AttributeName::OfType(value.name());
  if (ReadType(value.Find(type_name.text()), &type) != SYS_REG_SUCCESS) return SYS_REG_ERR_FAILED;
  if (type == SYS_REG_TYPE_MULTI_SZ) {
    for (int32_t i = 1; value.Delete(AttributeName::OfString(value.name(), i).text()) == 0; ++i) {
    }
  }
  value.Delete(value.name());
  value.Delete(type_name.text());
  return SYS_REG_SUCCESS;
}

// ---- Setting ----

const char* Behind(const char* string) { return string + UTIL_strlen(string) + 1; }

// Whether size bytes are strings one behind the other with an empty one at the end, and no more.
bool AreStrings(const char* strings, uint32_t size) {
  uint32_t start = 0;
  while (start < size) {
    const uint32_t length = UTIL_strnlen(strings + start, size - start);
    start += length + 1;
    if (length == 0) return start == size;
  }
  return false;
}

int32_t SetStrings(const Value& value, const char* strings, uint32_t size) {
  if (!AreStrings(strings, size)) return SYS_REG_ERR_FAILED;
  Delete(value);
  int32_t result = value.Set(value.name(), strings);
  int32_t number = 1;
  const char* const last = strings + size - 1;
  for (const char* string = Behind(strings); string < last; string = Behind(string)) {
    result |= value.Set(AttributeName::OfString(value.name(), number++).text(), string);
  }
  return result;
}

int32_t SetStringsWithType(const Value& value, const char* strings, uint32_t size) {
  const int32_t result = SetStrings(value, strings, size);
  if (result != SYS_REG_SUCCESS) return result;
  return value.Set(AttributeName::OfType(value.name()).text(),
                   StoredName(SYS_REG_TYPE_MULTI_SZ).data());
}

// "0x" and the digits of a number whose low bytes come first in memory. Missing ones are 0, further
// ones are ignored.
template <size_t width>
class NumberText {
 public:
  NumberText(const void* data, size_t size) {
    uint64_t number = 0;
    if (size != 0) memcpy(&number, data, std::min(size, width));
    for (char* end = text_ + sizeof text_; end != text_ + 2; number >>= 32) {
      end -= 8;
      byte_order::StoreLittle(end, hexadecimal::EightDigits(static_cast<uint32_t>(number),
                                                            hexadecimal::kToUpperLetters));
    }
  }
  std::string_view text() const { return {text_, sizeof text_}; }

 private:
  char text_[2 + 2 * width] = {'0', 'x'};
};

// What no type of these has cannot be written.
int32_t Set(const Value& value, uint32_t type, const void* data, uint32_t size) {
  const char* const text = static_cast<const char*>(data);
  const std::string_view type_text = StoredName(type);
  if (type == SYS_REG_TYPE_SZ) return value.SetBoth(text != nullptr ? text : "", type_text);
  if (data == nullptr && size != 0) return SYS_REG_ERR_FAILED;
  switch (type) {
    case SYS_REG_TYPE_DWORD:
      return value.SetBoth(NumberText<4>(data, size).text(), type_text);
    case SYS_REG_TYPE_QWORD:
      return value.SetBoth(NumberText<8>(data, size).text(), type_text);
    case SYS_REG_TYPE_MULTI_SZ:
      return SetStringsWithType(value, text, size);
    default:
      return SYS_REG_ERR_FAILED;
  }
}

// ---- Reading ----

int32_t QueryString(const Value& value, const XML_ATTR* attribute, char* data, uint32_t* size) {
  const uint32_t capacity = *size;
  *size = static_cast<uint32_t>(XML_GetAttrValue(value.key().document, attribute, data, capacity));
  // An equal capacity has no room for the terminator, and is enough all the same on purpose.
  return capacity < *size ? SYS_REG_ERR_MORE_DATA : SYS_REG_SUCCESS;
}

int32_t StoreNumber(const void* number, uint32_t width, void* data, uint32_t* size) {
  if (*size < width) return SYS_REG_ERR_MORE_DATA;
  memcpy(data, number, width);
  *size = width;
  return SYS_REG_SUCCESS;
}

int32_t QueryNumber(const char* text, void* data, uint32_t* size) {
  uint32_t number = 0;
  UTIL_ParseHex32(&text, &number);
  return StoreNumber(&number, sizeof number, data, size);
}

int32_t QueryLongNumber(const char* text, void* data, uint32_t* size) {
  uint64_t number = 0;
  UTIL_ParseHex64(&text, &number);
  return StoreNumber(&number, sizeof number, data, size);
}

// Copies strings one behind the other. What remains of the capacity is counted without the strings'
// terminators, and the size with a final one alone, on purpose: the two numbers tell callers whether
// to come again. What is stored keeps within the capacity whatever they say.
class StringCollector {
 public:
  StringCollector(char* data, uint32_t capacity)
      : data_(data), capacity_(capacity), remaining_(capacity) {}

  void Add(const XML_ATTR* attribute) {
    const uint32_t length = attribute->value_length;
    UTIL_CopyString(data_ + position_, attribute->value, Room());
    total_ += length;
    remaining_ -= std::min(length, remaining_);
    position_ += std::min(length + 1, Room());
  }

  // Ends the strings. Returns the size that is told to the caller.
  uint32_t Finish() {
    if (remaining_ == 0) return total_;
    if (Room() != 0) data_[position_] = '\0';
    return total_ + 1;
  }

 private:
  uint32_t Room() const { return capacity_ - position_; }

  char* data_;
  uint32_t capacity_;
  uint32_t remaining_;
  uint32_t position_ = 0;
  uint32_t total_ = 0;
};

int32_t QueryStrings(const Value& value, const XML_ATTR* attribute, char* data, uint32_t* size) {
  const uint32_t capacity = *size;
  // The caller's name may lie where the strings go.
  char name[kNameCapacity];
  UTIL_CopyString(name, value.name(), sizeof name);
  StringCollector strings(data, capacity);
  for (int32_t i = 1; attribute != nullptr; ++i) {
    strings.Add(attribute);
    attribute = value.Find(AttributeName::OfString(name, i).text());
  }
  *size = strings.Finish();
  return *size > capacity ? SYS_REG_ERR_MORE_DATA : SYS_REG_SUCCESS;
}

int32_t QueryData(const Value& value, const XML_ATTR* attribute, uint32_t type, void* data,
                  uint32_t* size) {
  if (attribute == nullptr) return SYS_REG_ERR_FAILED;
  char* const text = static_cast<char*>(data);
  switch (type) {
    case SYS_REG_TYPE_SZ:
    case SYS_REG_TYPE_EXPAND_SZ:
      return QueryString(value, attribute, text, size);
    case SYS_REG_TYPE_DWORD:
      return QueryNumber(attribute->value, data, size);
    case SYS_REG_TYPE_QWORD:
      return QueryLongNumber(attribute->value, data, size);
    case SYS_REG_TYPE_MULTI_SZ:
      return QueryStrings(value, attribute, text, size);
    default:
      return SYS_REG_ERR_FAILED;
  }
}

// ---- Flushing ----

bool IsAsLoaded(const Hive& hive, const DocumentText& text) {
  return hive.cached_text != nullptr && hive.cached_length == text.length() &&
         memcmp(hive.cached_text, text.data(), static_cast<uint32_t>(text.length())) == 0;
}

void WriteFile(const Hive& hive, const DocumentText& text) {
  char path[SYS_PATH_CAPACITY];
  BuildFilePath(hive, path);
  const int32_t handle =
      OpenWithRetries(path, SYS_FILE_FLAG_WRITE | SYS_FILE_FLAG_CREATE | SYS_FILE_FLAG_TRUNCATE);
  if (handle < 0) return;
  SYS_FILE_Write(handle, text.data(), static_cast<uint32_t>(text.length()));
  SYS_FILE_Close(handle);
}

void Unload(Hive* hive) {
  XML_FreeDoc(hive->document);
  SYS_MEM_Free(hive->cached_text);
  *hive = {.file_name = hive->file_name};
}

void FlushHive(Hive* hive) {
  if (hive->document == nullptr) return;
  {
    const DocumentText text(hive->document);
    if (text.length() >= 0 && !IsAsLoaded(*hive, text)) WriteFile(*hive, text);
  }
  Unload(hive);
}

}  // namespace

// ---- Keys ----

SYS_REG_HANDLE SYS_REG_OpenKey(SYS_REG_HANDLE parent, const char* path) {
  SYS_REG_KEY key;
  if (parent == nullptr || path == nullptr || SYS_REG_GetHive(parent, &key) < 0) return nullptr;
  auto* const handle = static_cast<SYS_REG_KEY*>(SYS_MEM_Alloc(sizeof key));
  if (handle == nullptr) return nullptr;
  while (*path != '\0' && key.element != nullptr) {
    char name[kNameCapacity];
    ReadKeyName(&path, name);
    if (name[0] == '\0') break;
    XML_MakeValidName(name);
    key.element = XML_FindOrAddChild(key.document, key.element, name);
  }
  *handle = key;
  if (key.element != nullptr) return handle;
  SYS_MEM_Free(handle);
  return nullptr;
}

void SYS_REG_CloseKey(SYS_REG_HANDLE handle) {
  if (!IsConstant(handle)) SYS_MEM_Free(handle);
}

// ---- Values ----

int32_t SYS_REG_SetValue(SYS_REG_HANDLE handle, const char* name, uint32_t type, const void* data,
                         uint32_t size) {
  Value value;
  if (!value.Resolve(handle, name)) return SYS_REG_ERR_FAILED;
  return value.IsNameless() ? SYS_REG_SUCCESS : Set(value, type, data, size);
}

int32_t SYS_REG_QueryValue(SYS_REG_HANDLE handle, const char* name, uint32_t* type, void* data,
                           uint32_t* size) {
  Value value;
  if (data != nullptr && size == nullptr) return SYS_REG_ERR_FAILED;
  if (!value.Resolve(handle, name)) return SYS_REG_ERR_FAILED;
  if (value.IsNameless()) return SYS_REG_SUCCESS;
  const Value::Attributes found = value.FindBoth();
  uint32_t found_type = 0;
  const int32_t result = ReadType(found.type, &found_type);
  if (result != SYS_REG_SUCCESS) return result;
  if (type != nullptr) *type = found_type;
  return data != nullptr ? QueryData(value, found.data, found_type, data, size) : SYS_REG_SUCCESS;
}

int32_t SYS_REG_QueryValueEx(SYS_REG_HANDLE handle, const char* name, uint32_t* type, void* data,
                             uint32_t* size) {
  return SYS_REG_QueryValue(handle, name, type, data, size);
}

int32_t SYS_REG_DeleteValue(SYS_REG_HANDLE handle, const char* name) {
  Value value;
  if (!value.Resolve(handle, name)) return SYS_REG_ERR_FAILED;
  return value.IsNameless() ? SYS_REG_SUCCESS : Delete(value);
}

int32_t SYS_REG_DeleteValueEx(SYS_REG_HANDLE handle, const char* name) {
  return SYS_REG_DeleteValue(handle, name);
}

// ---- Files ----

void SYS_REG_Flush() {
  for (Hive& hive : hives) FlushHive(&hive);
}
