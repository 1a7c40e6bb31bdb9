// SPDX-License-Identifier: MIT

// The settings store beside libraries that keep settings in memory and in a file as well: reading and
// setting values of a key of twenty, and the way from a file and back.
#include <glib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "bench/hive_file.h"
#include "bench/rows.h"
#include "settings/registry.h"

namespace {

// ---- The key ----

constexpr size_t kValues = bench::kValuesOfKey;
constexpr char kKey[] = "Software0";
constexpr char kText[] = "some text of a setting";
constexpr uint32_t kNumber = 0xBEEF;

// The names that HiveText gives: numbers have the even ones, texts the odd ones.
constexpr const char* kNames[kValues] = {"Value0",  "Value1",  "Value2",  "Value3",  "Value4",
                                         "Value5",  "Value6",  "Value7",  "Value8",  "Value9",
                                         "Value10", "Value11", "Value12", "Value13", "Value14",
                                         "Value15", "Value16", "Value17", "Value18", "Value19"};

// Walks through the names of one kind.
class Names {
 public:
  explicit Names(size_t first) : i_(first) {}
  const char* Next() {
    const char* name = kNames[i_];
    benchmark::DoNotOptimize(name);
    i_ = (i_ + 2) % kValues;
    return name;
  }

 private:
  size_t i_;
};

constexpr size_t kFirstNumber = 0;
constexpr size_t kFirstText = 1;

// The same for a file of groups, with the types beside the values or without.
std::string GlibText(size_t size, bool is_typed) {
  std::string text;
  for (int key = 0; text.size() < size; ++key) {
    text += "[Software" + std::to_string(key) + "]\n";
    for (size_t i = 0; i < kValues; ++i) {
      const bool is_number = i % 2 == 0;
      text += std::string(kNames[i]) + "=" + (is_number ? "48879" : kText) + "\n";
      if (is_typed) {
        text += std::string(kNames[i]) +
                "_TARVENRegType=" + (is_number ? "SYS_REG_TYPE_DWORD" : "SYS_REG_TYPE_SZ") + "\n";
      }
    }
  }
  return text;
}

template <typename Value>
void Require(const Value& value, const Value& expected) {
  if (value != expected) std::abort();
}

// ---- The store ----

// Where the files lie: on a disk, or in memory, so that the work itself is seen.
enum class Place { kMemory, kDisk };

support::TemporaryFolder FolderBelow(const char* place) {
  setenv("TMPDIR", place, 1);
  return support::TemporaryFolder();
}

const support::TemporaryFolder& Home(Place place) {
  static const support::TemporaryFolder memory = FolderBelow("/dev/shm");
  static const support::TemporaryFolder disk = FolderBelow("/var/tmp");
  const support::TemporaryFolder& home = place == Place::kMemory ? memory : disk;
  setenv("HOME", home.path().c_str(), 1);
  return home;
}

void PutHive(Place place, const std::string& text) {
  SYS_REG_Flush();
  bench::Store(Home(place), "Library/Application Support/TARVEN/TARVEN_REG_HKEY_CURRENT_USER.xml",
               text);
}

class Store {
 public:
  Store() {
    PutHive(Place::kMemory, bench::OneKey());
    Open();
  }
  ~Store() { Close(); }
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  uint32_t Number(const char* name) const {
    uint32_t number = 0;
    uint32_t size = sizeof number;
    SYS_REG_QueryValue(key_, name, nullptr, &number, &size);
    return number;
  }
  std::string_view Text(const char* name, char* buffer, uint32_t capacity) const {
    SYS_REG_QueryValue(key_, name, nullptr, buffer, &capacity);
    return {buffer, capacity};
  }
  void SetNumber(const char* name, uint32_t number) const {
    SYS_REG_SetValue(key_, name, SYS_REG_TYPE_DWORD, &number, sizeof number);
  }
  void SetText(const char* name, const char* text) const {
    SYS_REG_SetValue(key_, name, SYS_REG_TYPE_SZ, text, 0);
  }
  // Reads everything anew, for what is replaced is not given back before.
  void Refresh() {
    Close();
    Open();
  }

 private:
  void Open() { key_ = SYS_REG_OpenKey(HKEY_CURRENT_USER, kKey); }
  void Close() {
    SYS_REG_CloseKey(key_);
    SYS_REG_Flush();
  }

  SYS_REG_HANDLE key_ = nullptr;
};

// ---- Its rivals ----

// What names and tells a type beside each value.
class TypeName {
 public:
  explicit TypeName(const char* value) { snprintf(text_, sizeof text_, "%s_TARVENRegType", value); }
  const char* text() const { return text_; }

 private:
  char text_[64];
};

class PugixmlStore {
 public:
  explicit PugixmlStore(bool is_typed) : is_typed_(is_typed) {
    document_.load_string(bench::OneKey().c_str(), pugi::parse_minimal);
    key_ = document_.first_child().child(kKey);
  }

  uint32_t Number(const char* name) const {
    if (!HasType(name, "SYS_REG_TYPE_DWORD")) return 0;
    return static_cast<uint32_t>(strtoul(key_.attribute(name).value(), nullptr, 16));
  }
  std::string_view Text(const char* name, char* buffer, uint32_t) const {
    if (!HasType(name, "SYS_REG_TYPE_SZ")) return {};
    const size_t length = strlen(strcpy(buffer, key_.attribute(name).value()));
    return {buffer, length};
  }
  void SetNumber(const char* name, uint32_t number) {
    char text[16];
    snprintf(text, sizeof text, "0x%.8X", number);
    Set(name, text, "SYS_REG_TYPE_DWORD");
  }
  void SetText(const char* name, const char* text) { Set(name, text, "SYS_REG_TYPE_SZ"); }

 private:
  bool HasType(const char* name, const char* type) const {
    return !is_typed_ || strcmp(key_.attribute(TypeName(name).text()).value(), type) == 0;
  }
  void SetAttribute(const char* name, const char* text) {
    pugi::xml_attribute attribute = key_.attribute(name);
    if (!attribute) attribute = key_.append_attribute(name);
    attribute.set_value(text);
  }
  void Set(const char* name, const char* text, const char* type) {
    SetAttribute(name, text);
    if (is_typed_) SetAttribute(TypeName(name).text(), type);
  }

  pugi::xml_document document_;
  pugi::xml_node key_;
  bool is_typed_;
};

class GlibStore {
 public:
  explicit GlibStore(bool is_typed) : file_(g_key_file_new()), is_typed_(is_typed) {
    const std::string text = GlibText(1, is_typed);
    g_key_file_load_from_data(file_, text.c_str(), text.size(), G_KEY_FILE_NONE, nullptr);
  }
  ~GlibStore() { g_key_file_free(file_); }
  GlibStore(const GlibStore&) = delete;
  GlibStore& operator=(const GlibStore&) = delete;

  uint32_t Number(const char* name) const {
    if (!HasType(name, "SYS_REG_TYPE_DWORD")) return 0;
    return static_cast<uint32_t>(g_key_file_get_uint64(file_, kKey, name, nullptr));
  }
  std::string_view Text(const char* name, char* buffer, uint32_t) const {
    if (!HasType(name, "SYS_REG_TYPE_SZ")) return {};
    char* const text = g_key_file_get_string(file_, kKey, name, nullptr);
    const size_t length = strlen(strcpy(buffer, text));
    g_free(text);
    return {buffer, length};
  }
  void SetNumber(const char* name, uint32_t number) {
    g_key_file_set_uint64(file_, kKey, name, number);
    SetType(name, "SYS_REG_TYPE_DWORD");
  }
  void SetText(const char* name, const char* text) {
    g_key_file_set_string(file_, kKey, name, text);
    SetType(name, "SYS_REG_TYPE_SZ");
  }

 private:
  bool HasType(const char* name, const char* type) const {
    if (!is_typed_) return true;
    char* const found = g_key_file_get_value(file_, kKey, TypeName(name).text(), nullptr);
    const bool has_type = strcmp(found, type) == 0;
    g_free(found);
    return has_type;
  }
  void SetType(const char* name, const char* type) {
    if (is_typed_) g_key_file_set_value(file_, kKey, TypeName(name).text(), type);
  }

  GKeyFile* file_;
  bool is_typed_;
};

// ---- Work with any of them ----

constexpr uint32_t kCapacity = 256;

template <typename AnyStore>
void RequireAllValues(AnyStore& store) {
  char buffer[kCapacity];
  for (size_t i = 0; i < kValues; ++i) {
    if (i % 2 == 0) {
      Require(store.Number(kNames[i]), kNumber);
      store.SetNumber(kNames[i], 1);
      Require(store.Number(kNames[i]), 1U);
    } else {
      Require(store.Text(kNames[i], buffer, kCapacity), std::string_view(kText));
      store.SetText(kNames[i], "another text");
      Require(store.Text(kNames[i], buffer, kCapacity), std::string_view("another text"));
    }
  }
}

template <typename AnyStore>
void QueryNumbers(benchmark::State& state, AnyStore& store) {
  RequireAllValues(store);
  Names names(kFirstNumber);
  for (auto _ : state) benchmark::DoNotOptimize(store.Number(names.Next()));
}

template <typename AnyStore>
void QueryTexts(benchmark::State& state, AnyStore& store) {
  RequireAllValues(store);
  Names names(kFirstText);
  char buffer[kCapacity];
  for (auto _ : state) {
    benchmark::DoNotOptimize(store.Text(names.Next(), buffer, kCapacity));
    benchmark::ClobberMemory();
  }
}

// The store of this project is read anew from time to time, which is not timed.
void RefreshNow(benchmark::State& state, Store& store) {
  state.PauseTiming();
  store.Refresh();
  state.ResumeTiming();
}
template <typename AnyStore>
void RefreshNow(benchmark::State&, AnyStore&) {}

constexpr int kSetsBetweenRefreshes = 20'000;

template <typename AnyStore, typename Set>
void SetMany(benchmark::State& state, AnyStore& store, Set set) {
  RequireAllValues(store);
  int sets = 0;
  for (auto _ : state) {
    if (++sets % kSetsBetweenRefreshes == 0) RefreshNow(state, store);
    set();
    benchmark::ClobberMemory();
  }
}

template <typename AnyStore>
void SetNumbers(benchmark::State& state, AnyStore& store) {
  Names names(kFirstNumber);
  uint32_t number = 0;
  SetMany(state, store, [&] { store.SetNumber(names.Next(), number++); });
}

template <typename AnyStore>
void SetTexts(benchmark::State& state, AnyStore& store) {
  constexpr const char* kTexts[] = {kText, "some other text of it"};
  Names names(kFirstText);
  uint32_t i = 0;
  SetMany(state, store, [&] { store.SetText(names.Next(), kTexts[i++ % 2]); });
}

// The store looks at the type of a value before it gives it, and keeps it up to date. A rival that
// does the same is the one to beat; the other is told of.
template <typename Work>
void AddStoreRow(const std::string& workload, Work work) {
  bench::Row("settings", workload)
      .Project([work](benchmark::State& state) {
        Store store;
        work(state, store);
      })
      .Peer("GLib key file, untyped", 0,
            [work](benchmark::State& state) {
              GlibStore store(false);
              work(state, store);
            })
      .Peer("GLib key file, typed", 1.0,
            [work](benchmark::State& state) {
              GlibStore store(true);
              work(state, store);
            })
      .Peer("pugixml, untyped", 0,
            [work](benchmark::State& state) {
              PugixmlStore store(false);
              work(state, store);
            })
      .Peer("pugixml, typed", 1.0, [work](benchmark::State& state) {
        PugixmlStore store(true);
        work(state, store);
      });
}

// ---- From a file and back ----

constexpr size_t kFileSize = 64 << 10;

template <Place kPlace>
void Cycle(benchmark::State& state) {
  PutHive(kPlace, bench::HiveText(kFileSize));
  uint32_t number = 0;
  for (auto _ : state) {
    SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, kKey);
    ++number;
    SYS_REG_SetValue(key, "Value10", SYS_REG_TYPE_DWORD, &number, sizeof number);
    SYS_REG_CloseKey(key);
    SYS_REG_Flush();
  }
  SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, kKey);
  uint32_t stored = 0;
  uint32_t size = sizeof stored;
  SYS_REG_QueryValue(key, "Value10", nullptr, &stored, &size);
  SYS_REG_CloseKey(key);
  Require(stored, number);
}

template <Place kPlace>
void CyclePugixml(benchmark::State& state) {
  const std::string path = bench::Store(Home(kPlace), "pugixml.xml", bench::HiveText(kFileSize));
  uint32_t number = 0;
  for (auto _ : state) {
    pugi::xml_document document;
    document.load_file(path.c_str(), pugi::parse_minimal);
    char text[16];
    snprintf(text, sizeof text, "0x%.8X", ++number);
    document.first_child().child(kKey).attribute("Value10").set_value(text);
    document.save_file(path.c_str(), "  ",
                       pugi::format_indent | pugi::format_no_declaration | pugi::format_no_escapes);
  }
  pugi::xml_document document;
  document.load_file(path.c_str(), pugi::parse_minimal);
  const char* const stored = document.first_child().child(kKey).attribute("Value10").value();
  Require(static_cast<uint32_t>(strtoul(stored, nullptr, 16)), number);
}

template <Place kPlace>
void CycleGlib(benchmark::State& state) {
  const std::string path = bench::Store(Home(kPlace), "glib.ini", GlibText(kFileSize, true));
  uint32_t number = 0;
  for (auto _ : state) {
    GKeyFile* const file = g_key_file_new();
    g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr);
    g_key_file_set_uint64(file, kKey, "Value10", ++number);
    g_key_file_save_to_file(file, path.c_str(), nullptr);
    g_key_file_free(file);
  }
  GKeyFile* const file = g_key_file_new();
  g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr);
  Require<uint64_t>(g_key_file_get_uint64(file, kKey, "Value10", nullptr), number);
  g_key_file_free(file);
}

template <Place kPlace>
void AddCycleRow(const char* workload) {
  bench::Row("settings cycle", workload)
      .Project(Cycle<kPlace>)
      .Peer("GLib key file", 0.6, CycleGlib<kPlace>)
      .Peer("pugixml", 0.6, CyclePugixml<kPlace>);
}

}  // namespace

void bench::AddRows() {
  AddStoreRow("query a DWORD of 20 values", [](auto& state, auto& s) { QueryNumbers(state, s); });
  AddStoreRow("query an SZ of 20 values", [](auto& state, auto& s) { QueryTexts(state, s); });
  AddStoreRow("set a DWORD of 20 values", [](auto& state, auto& s) { SetNumbers(state, s); });
  AddStoreRow("set an SZ of 20 values", [](auto& state, auto& s) { SetTexts(state, s); });
  AddCycleRow<Place::kMemory>("load, change, save 64 KiB, in memory");
  AddCycleRow<Place::kDisk>("load, change, save 64 KiB, on a disk");
}
