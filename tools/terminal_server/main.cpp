// SPDX-License-Identifier: MIT

// A local terminal server with a small simulated target behind it, for the demo and the tests.
#include <csignal>
#include <cstdio>

#include "tools/terminal_server/options.h"
#include "tools/terminal_server/server.h"

namespace {

volatile std::sig_atomic_t stop = 0;

void RequestStop(int) { stop = 1; }

// A shell that starts a program in the background lets it ignore the key that interrupts the foreground.
void StopAt(int signal_number) {
  if (std::signal(signal_number, RequestStop) == SIG_IGN) std::signal(signal_number, SIG_IGN);
}

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  const auto options = terminal_server::ParseOptions({argv + 1, argv + argc}, error);
  if (!options) {
    fprintf(stderr, "vqx-terminal-server: %s\n(--help shows the options)\n", error.c_str());
    return 2;
  }
  if (options->wants_help) {
    fputs(terminal_server::kUsage.data(), stdout);
    return 0;
  }
  StopAt(SIGINT);
  StopAt(SIGTERM);
  terminal_server::Server server(*options, stop);
  if (!server.Listen()) {
    fprintf(
        stderr,
        "vqx-terminal-server: cannot listen on 127.0.0.1:%u; is the port in use? --port 0 picks "
        "a free one\n",
        options->port);
    return 1;
  }
  printf("Listening on 127.0.0.1:%u\n", server.port());
  fflush(stdout);
  server.Run();
  return 0;
}
