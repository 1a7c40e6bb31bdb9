// SPDX-License-Identifier: MIT
//
// A program of somebody else's, in C++: calls each layer and shows what comes back.
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

#include <tarven/probe/mbolt_api.h>
#include <tarven/probe/probelib.h>
#include <tarven/settings/registry.h>
#include <tarven/settings/xml.h>
#include <tarven/sys/sys.h>
#include <tarven/util/util.h>

namespace {

std::string Formatted() {
  std::vector<char> text(64);
  char* const end = UTIL_snprintf(text.data(), 64, "%04u|%8X", 7u, 0x1A2Bu);
  return {text.data(), end};
}

uint32_t StoreAndReadPort() {
  uint32_t port = 19021;
  uint32_t size = sizeof port;
  const SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Software\\Consumer");
  SYS_REG_SetValue(key, "Port", SYS_REG_TYPE_DWORD, &port, size);
  port = 0;
  SYS_REG_QueryValue(key, "Port", nullptr, &port, &size);
  SYS_REG_CloseKey(key);
  return port;
}

}  // namespace

int main() {
  std::cout << "util: " << Formatted() << '\n';
  std::cout << "sys: 0x" << std::hex << std::uppercase << SYS_GetOSType() << '\n';
  std::cout << "settings: " << std::dec << StoreAndReadPort() << '\n';
  if (PROBELIB_Open() != 0) return 1;
  std::cout << "probe: 0x" << std::hex << static_cast<uint64_t>(MBOLT_Open()) << '\n';
}
