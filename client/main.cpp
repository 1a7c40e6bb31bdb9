// SPDX-License-Identifier: MIT

// Start, banner and shut-down of the VQX Client: the user's terminal onto an embedded target.
#include "client/client.h"
#include "sys/clock.h"
#include "util/build_stamp.h"
#include "util/format.h"

namespace {

constexpr uint16_t kDefaultPort = 19021;
constexpr uint32_t kFarewellMs = 1000;

// A frame of 60 characters; every line of it ends in a blank and a line feed.
// clang-format off
constexpr const char* kBannerHead[] = {
    "************************************************************ \n",
    "*                          TARVEN                          * \n",
    "*                Tools for embedded targets                * \n",
    "************************************************************ \n",
    "*                                                          * \n",
    "*             Copyright (c) 2020 - 2026 TARVEN             * \n",
    "*                                                          * \n",
    "*       www.tarven.example    support@tarven.example       * \n",
    "*                                                          * \n",
    "************************************************************ \n",
    "*                                                          * \n",
};
constexpr char kBannerProgram[] =
    "* TARVEN M-Bolt VQX Client   Compiled %s %s * \n";
constexpr const char* kBannerTail[] = {
    "*                                                          * \n",
    "************************************************************ \n\n",
    "-----------------------------------------------\n",
};
// clang-format on

void PrintBanner() {
  for (const char* const line : kBannerHead) _PrintStatus(line);
  char program[128];
  UTIL_snprintf(program, sizeof program, kBannerProgram, UTIL_GetBuildDate(), UTIL_GetBuildTime());
  _PrintStatus(program);
  for (const char* const line : kBannerTail) _PrintStatus(line);
}

// Returns the error to show at shut-down, or null.
const char* RunWithBanner() {
  if (_Port == 0) _Port = kDefaultPort;
  _UnbufferStandardOutput();
  PrintBanner();
  if (_LocalEchoOn == 0) _PrintStatus("Local echo has been disabled.\n");
  return _RunSession();
}

void ShutDown(const char* error_message) {
  if (error_message != nullptr) _PrintError(error_message);
  _Print("\r\n");
  _PrintStatus("Shutting down...\r\n");
  SYS_Sleep(kFarewellMs);
}

}  // namespace

// The exit status is 0 whatever happened: the client reports through its messages alone.
int main(int argc, char** argv) {
  _OccupyStandardStreams();
  _LocalEchoOn = 1;
  const char* error_message = nullptr;
  if (_ParseCmdLine(argc, argv) >= 0) error_message = RunWithBanner();
  ShutDown(error_message);
  return 0;
}
