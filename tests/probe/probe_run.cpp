#include "tests/probe/probe_run.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "tests/support/stream_reader.h"

namespace probe_test {

namespace fs = std::filesystem;

fs::path Place(const fs::path& file, const fs::path& place) {
  fs::create_directories(place.parent_path());
  fs::copy_file(file, place);
  return place;
}

void PrintTo(const Result& result, std::ostream* stream) {
  *stream << "status " << result.exit_status << ", output:\n" << result.output;
}

Result Run(const std::vector<std::string>& arguments, const support::ChildOptions& options) {
  const support::Pipe pipe = support::MakePipe();
  support::ChildOptions with_pipe = options;
  with_pipe.streams.output = pipe.writing;
  support::ChildProcess child(arguments, with_pipe);
  close(pipe.writing);
  support::StreamReader reader(pipe.reading);
  EXPECT_TRUE(reader.WaitForEnd());
  const auto exit_status = child.WaitForExit();
  EXPECT_TRUE(exit_status.has_value());
  close(pipe.reading);
  return {reader.text(), exit_status.value_or(-999)};
}

std::string ReadFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string ReadFilesNamed(const fs::path& folder, const std::string& beginning) {
  std::string text;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().native().starts_with(beginning)) text += ReadFile(entry.path());
  }
  return text;
}

}  // namespace probe_test
