// SPDX-License-Identifier: MIT

// The terminal server's command line.
#ifndef TARVEN_TOOLS_TERMINAL_SERVER_OPTIONS_H_
#define TARVEN_TOOLS_TERMINAL_SERVER_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace terminal_server {

inline constexpr std::string_view kUsage =
    "usage: vqx-terminal-server [OPTION...]\n"
    "\n"
    "Serves a terminal channel with a simulated target on 127.0.0.1, to one client after\n"
    "another, until SIGINT or SIGTERM.\n"
    "\n"
    "  --port N              the TCP port (default: 19021); 0 picks a free one\n"
    "  --echo                the target echoes what is typed, for clients with -LocalEcho Off\n"
    "  --welcome TEXT        the welcome text, in place of the target's greeting;\n"
    "                        \\r \\n \\t \\\\ and \\xNN stand for what they do in C\n"
    "  --welcome-delay MS    waits that long before the welcome text\n"
    "  --refuse REASON       refuses every client with this reason\n"
    "  --help                shows this text\n";

struct Options {
  uint16_t port = 19021;
  std::optional<std::string> welcome;
  uint32_t welcome_delay_ms = 0;
  std::optional<std::string> refusal;
  bool echo = false;
  bool wants_help = false;
};

// Reads the words behind the program's name. On a bad one returns nothing and says why in error.
std::optional<Options> ParseOptions(const std::vector<std::string>& words, std::string& error);

// Expands \r \n \t \\ and \xNN; nothing for any other or an unfinished escape.
std::optional<std::string> ExpandEscapes(std::string_view text);

}  // namespace terminal_server

#endif
