// SPDX-License-Identifier: MIT

// Stands for <IOKit/serial/IOSerialKeys.h> where Apple's SDK is not at hand: what this project uses
// and nothing else, with the system's names and values.
#ifndef TARVEN_DARWIN_SDK_IOSERIALKEYS_H_
#define TARVEN_DARWIN_SDK_IOSERIALKEYS_H_

#define kIOSerialBSDServiceValue "IOSerialBSDClient"
#define kIOSerialBSDTypeKey "IOSerialBSDClientType"
#define kIOSerialBSDAllTypes "IOSerialStream"
#define kIOCalloutDeviceKey "IOCalloutDevice"

#endif
