// SPDX-License-Identifier: MIT

#include "tests/support/program_run.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "tests/support/stream_reader.h"

namespace support {

namespace fs = std::filesystem;

fs::path Place(const fs::path& file, const fs::path& place) {
  fs::create_directories(place.parent_path());
  fs::copy_file(file, place);
  return place;
}

std::string ReadFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void PrintTo(const Result& result, std::ostream* stream) {
  *stream << "status " << result.exit_status << ", output:\n" << result.output;
}

Result Run(const std::vector<std::string>& arguments, const ChildOptions& options) {
  const Pipe pipe = MakePipe();
  ChildOptions with_pipe = options;
  with_pipe.streams.output = pipe.writing;
  ChildProcess child(arguments, with_pipe);
  close(pipe.writing);
  StreamReader reader(pipe.reading);
  EXPECT_TRUE(reader.WaitForEnd());
  const auto exit_status = child.WaitForExit();
  EXPECT_TRUE(exit_status.has_value());
  close(pipe.reading);
  return {reader.text(), exit_status.value_or(-999)};
}

}  // namespace support
