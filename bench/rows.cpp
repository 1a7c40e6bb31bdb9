// SPDX-License-Identifier: MIT

#include "bench/rows.h"

int main(int argument_count, char** arguments) {
  benchmark::Initialize(&argument_count, arguments);
  if (benchmark::ReportUnrecognizedArguments(argument_count, arguments)) return 1;
  bench::AddRows();
  benchmark::RunSpecifiedBenchmarks();
}
