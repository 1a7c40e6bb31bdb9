// Reading a 32-bit number out of a key of twenty values, beside two libraries that keep settings in
// memory as well.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdlib>
#include <pugixml.hpp>
#include <string>

#include "bench/hive_file.h"
#include "settings/registry.h"

namespace {

// The value in the middle of the key.
constexpr char kName[] = "Value10";
constexpr uint32_t kNumber = 0xBEEF;

std::string OneKey() {
  // Twenty values come to some 1,400 bytes, and a second key is not begun.
  return bench::HiveText(1300);
}

void QueryDword(benchmark::State& state) {
  const support::TemporaryFolder folder;
  bench::Store(folder, "Library/Application Support/TARVEN/TARVEN_REG_HKEY_CURRENT_USER.xml",
               OneKey());
  setenv("HOME", folder.path().c_str(), 1);
  SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Software0");
  for (auto _ : state) {
    uint32_t value = 0;
    uint32_t size = sizeof value;
    SYS_REG_QueryValue(key, kName, nullptr, &value, &size);
    if (value != kNumber) state.SkipWithError("The value is another one.");
  }
  SYS_REG_CloseKey(key);
  SYS_REG_Flush();
}
BENCHMARK(QueryDword);

void QueryDwordPugixml(benchmark::State& state) {
  pugi::xml_document document;
  document.load_string(OneKey().c_str(), pugi::parse_minimal);
  const pugi::xml_node key = document.first_child().child("Software0");
  for (auto _ : state) {
    const char* const text = key.attribute(kName).value();
    if (std::strtoul(text, nullptr, 16) != kNumber)
      state.SkipWithError("The value is another one.");
  }
}
BENCHMARK(QueryDwordPugixml);

// The same with the type looked at, as the store does.
void QueryTypedDwordPugixml(benchmark::State& state) {
  pugi::xml_document document;
  document.load_string(OneKey().c_str(), pugi::parse_minimal);
  const pugi::xml_node key = document.first_child().child("Software0");
  for (auto _ : state) {
    const std::string type_name = std::string(kName) + "_TARVENRegType";
    const std::string_view type = key.attribute(type_name.c_str()).value();
    const char* const text = key.attribute(kName).value();
    if (type != "SYS_REG_TYPE_DWORD" || std::strtoul(text, nullptr, 16) != kNumber) {
      state.SkipWithError("The value is another one.");
    }
  }
}
BENCHMARK(QueryTypedDwordPugixml);

void QueryIntegerGlib(benchmark::State& state) {
  std::string text = "[Software0]\n";
  for (int value = 0; value < 20; ++value) {
    text += "Value" + std::to_string(value) +
            (value % 2 == 0 ? "=48879\n" : "=some text of a setting\n");
  }
  GKeyFile* const file = g_key_file_new();
  g_key_file_load_from_data(file, text.c_str(), text.size(), G_KEY_FILE_NONE, nullptr);
  for (auto _ : state) {
    if (g_key_file_get_uint64(file, "Software0", kName, nullptr) != kNumber) {
      state.SkipWithError("The value is another one.");
    }
  }
  g_key_file_free(file);
}
BENCHMARK(QueryIntegerGlib);

}  // namespace
