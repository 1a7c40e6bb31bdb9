// SPDX-License-Identifier: MIT

// Runs a fuzz target over every file of a folder: where no fuzzer is at hand, what it found before
// stays found.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<char> Contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The input has memory of its own size, so that reading beyond it is seen.
void Run(const std::vector<char>& contents) {
  const auto input = std::make_unique<uint8_t[]>(contents.size());
  std::copy(contents.begin(), contents.end(), input.get());
  LLVMFuzzerTestOneInput(input.get(), contents.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  int count = 0;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1], error)) {
    if (!entry.is_regular_file()) continue;
    // Known before a crash: the last one named is the one.
    std::fprintf(stderr, "%s\n", entry.path().c_str());
    Run(Contents(entry.path()));
    ++count;
  }
  std::fprintf(stderr, "%d inputs\n", count);
  if (count > 0) return 0;
  std::fprintf(stderr, "%s: %s\n", argv[1], error ? error.message().c_str() : "no files");
  return 1;
}
