// SPDX-License-Identifier: MIT

// What the processor is taken for, beside what the system says of it.
#include "util/processor_x86_64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace {

using processor::Vectors;

// What Linux calls the first processor's abilities.
std::set<std::string> Flags() {
  std::ifstream file("/proc/cpuinfo");
  std::string line;
  while (std::getline(file, line) && !line.starts_with("flags")) {
  }
  std::istringstream words(line.substr(std::min(line.find(':'), line.size() - 1) + 1));
  return {std::istream_iterator<std::string>(words), {}};
}

TEST(ProcessorWidestVectors, AreWhatTheSystemSays) {
  const std::set<std::string> flags = Flags();
  ASSERT_TRUE(flags.contains("sse2"));
  const Vectors expected = flags.contains("avx2")    ? Vectors::kAvx2
                           : flags.contains("ssse3") ? Vectors::kSsse3
                                                     : Vectors::kSse2;
  EXPECT_EQ(processor::AskForVectors(), expected);
  EXPECT_EQ(processor::WidestVectors(), expected);
}

TEST(ProcessorWidestVectors, AreAskedForOnce) {
  const Vectors found = processor::WidestVectors();
  EXPECT_EQ(processor::known_vectors, static_cast<int>(found));
  processor::known_vectors = static_cast<int>(Vectors::kSse2);
  EXPECT_EQ(processor::WidestVectors(), Vectors::kSse2);
}

}  // namespace
