// SPDX-License-Identifier: MIT

// A network of a test's own, so that its settings can be changed without anybody else noticing.
#ifndef TARVEN_TESTS_SUPPORT_PRIVATE_NETWORK_H_
#define TARVEN_TESTS_SUPPORT_PRIVATE_NETWORK_H_

#include <cstdint>
#include <functional>
#include <string>

namespace support {

// Runs a function in a forked child that sees nothing but a loopback interface, "lo", of its own.
// Returns false without running it where the system does not allow that (it takes root). The
// function may use EXPECT_ and ASSERT_; what fails there fails the calling test.
bool RunInPrivateNetwork(const std::function<void()>& function);

// For use inside: writes a setting below /proc/sys/net; false when there is no such setting.
bool WriteNetworkSetting(const std::string& name, const std::string& value);

// For use inside: gives "lo" another address under a label of its own, such as "lo:1". Both are in
// host byte order.
bool AddLoopbackAddress(const std::string& label, uint32_t address, uint32_t netmask);

// For use inside: takes 127.0.0.1 from "lo".
bool RemoveLoopbackAddress();

}  // namespace support

#endif
