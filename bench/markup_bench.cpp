// Reading and writing files like those of the settings store, beside pugixml.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>
#include <string>

#include "bench/hive_file.h"
#include "settings/xml.h"

namespace {

constexpr int64_t kSizes[] = {4 << 10, 64 << 10, 1 << 20};

// The largest file stays below what is written at most.
std::string TextOf(const benchmark::State& state) {
  return bench::HiveText(static_cast<size_t>(state.range(0)) - 4096 * (state.range(0) >> 20));
}

void EachSize(benchmark::internal::Benchmark* benchmark) {
  for (const int64_t size : kSizes) benchmark->Arg(size);
}

// ---- Loading a file ----

void LoadFile(benchmark::State& state) {
  const support::TemporaryFolder folder;
  const std::string path = bench::Store(folder, "hive.xml", TextOf(state));
  for (auto _ : state) XML_FreeDoc(XML_LoadFile(path.c_str()));
}
BENCHMARK(LoadFile)->Apply(EachSize);

void LoadFilePugixml(benchmark::State& state) {
  const support::TemporaryFolder folder;
  const std::string path = bench::Store(folder, "hive.xml", TextOf(state));
  for (auto _ : state) {
    pugi::xml_document document;
    benchmark::DoNotOptimize(document.load_file(path.c_str(), pugi::parse_minimal));
  }
}
BENCHMARK(LoadFilePugixml)->Apply(EachSize);

// ---- Writing to memory ----

void ToText(benchmark::State& state) {
  const support::TemporaryFolder folder;
  XML_DOC* const document = XML_LoadFile(bench::Store(folder, "hive.xml", TextOf(state)).c_str());
  std::string text(0x100000, ' ');
  for (auto _ : state) {
    const int32_t length = XML_ToText(document, text.data(), static_cast<uint32_t>(text.size()));
    if (length <= 0) state.SkipWithError("The document is not written.");
    benchmark::ClobberMemory();
  }
  XML_FreeDoc(document);
}
BENCHMARK(ToText)->Apply(EachSize);

class TextWriter : public pugi::xml_writer {
 public:
  explicit TextWriter(std::string* text) : text_(text) {}
  void write(const void* data, size_t size) override {
    text_->append(static_cast<const char*>(data), size);
  }

 private:
  std::string* text_;
};

void ToTextPugixml(benchmark::State& state) {
  const support::TemporaryFolder folder;
  pugi::xml_document document;
  document.load_file(bench::Store(folder, "hive.xml", TextOf(state)).c_str(), pugi::parse_minimal);
  std::string text;
  text.reserve(0x200000);
  for (auto _ : state) {
    text.clear();
    TextWriter writer(&text);
    document.save(writer, "  ",
                  pugi::format_indent | pugi::format_no_declaration | pugi::format_no_escapes);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(ToTextPugixml)->Apply(EachSize);

}  // namespace
