/* SPDX-License-Identifier: MIT */

/* Serial ports: finding the USB ones, and raw access to one of them.
 *
 * A port is named by its device file without the "/dev/" in front: "cu.usbmodem1" on macOS,
 * "ttyUSB0" or "ttyACM0" on Linux. It is always opened in the same raw mode: 8 data bits, no
 * parity, 1 stop bit, no flow control, every byte passed as it is.
 *
 * Handles, names and buffers must not be null. A handle belongs to one thread at a time; nothing
 * here takes a lock. The functions print nothing but the two lines that stand at
 * SYS_COM_Open and SYS_COM_EnumPorts, both to standard output. */
#ifndef TARVEN_SYS_SERIAL_H_
#define TARVEN_SYS_SERIAL_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* An open port. */
typedef struct SYS_COM_PORT {
  int32_t descriptor; /* of the device; callers pass it to SYS_COM_SetSpeed and may wait on it */
} SYS_COM_PORT;

/* The size of a port name's slot, its terminator included. */
enum { SYS_COM_NAME_SIZE = 64 };

/* Opens a port in raw mode, throws away what waits in its queues and claims it for this process: a
 * second open of the device fails until the port is closed, here and in other processes (those
 * with the superuser's rights excepted, whom the system lets through).
 *
 * name    cut to 122 characters
 * speed   in baud; any value that the device's driver takes, not only the usual ones
 *
 * Opening waits for the device as the system does, which a driver may make depend on a carrier.
 *
 * Returns a handle for SYS_COM_Close to release; null when there is no such device, when it is
 * claimed, when there is no memory, and when the speed is refused. Then alone it prints
 * "ERROR while writing port settings." and a line end. */
SYS_COM_PORT* SYS_COM_Open(const char* name, uint32_t speed);

/* Changes the speed of an open port and nothing else.
 *
 * descriptor   the one in the port's handle
 * speed        as for SYS_COM_Open
 *
 * Returns 0, or -1 when the device refuses the speed or is none. */
int32_t SYS_COM_SetSpeed(int32_t descriptor, uint32_t speed);

/* Reads what has arrived, waiting for the first byte no longer than timeout_ms.
 *
 * timeout_ms   0 asks without waiting; the longest, 0xFFFFFFFF, is a time like any other, 49.7 days
 *
 * Returns the number of bytes read, at most capacity and seldom all that were sent at once; 0 when
 * nothing arrived in time or the device has hung up; -1 on an error, which a signal during the wait
 * is. */
int32_t SYS_COM_Read(const SYS_COM_PORT* port, void* buffer, uint32_t capacity,
                     uint32_t timeout_ms);

/* Writes once, waiting until the system takes the bytes.
 *
 * Returns the number of bytes taken, which may be fewer than length: the rest is the caller's to
 * write again. -1 on an error. */
int32_t SYS_COM_Write(const SYS_COM_PORT* port, const void* data, uint32_t length);

/* Closes the device and releases the handle. */
void SYS_COM_Close(SYS_COM_PORT* port);

/* Finds the serial ports of USB devices, and prints "Modem at path: %s\n" with the full path for
 * each of them, in the system's order.
 *
 * names      one slot for each name; a longer one is cut to 63 characters. May be null when
 *            capacity is 0
 * capacity   number of slots; those that no port is left for stay as they are
 *
 * On macOS these are the callout devices whose paths begin with "/dev/cu.usb", in any case; on
 * Linux the terminals named ttyUSB* and ttyACM*.
 *
 * Returns the number of ports found, which may exceed capacity; 0 when the system does not tell. */
uint32_t SYS_COM_EnumPorts(char (*names)[SYS_COM_NAME_SIZE], uint32_t capacity);

#ifdef __cplusplus
}
#endif

#endif
