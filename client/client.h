// SPDX-License-Identifier: MIT

// The VQX Client's own names, shared by its sources and its tests and by nobody else. They begin
// with an underscore, which sets them apart from the layers' UTIL_ and SYS_ names.
//
// The client runs on the main thread alone.
#ifndef TARVEN_CLIENT_CLIENT_H_
#define TARVEN_CLIENT_CLIENT_H_

#include <cstdint>

// ---- command_line.cpp ----

// The terminal server's TCP port; 0 means that none was given.
extern uint16_t _Port;

// 1 = typed keys are echoed locally.
extern uint8_t _LocalEchoOn;

// Takes the arguments after the program name in order. A help request prints the help and goes on.
// Returns 0, or -1 after the first bad argument, whose error it has printed; what the arguments
// before it set stays set.
int32_t _ParseCmdLine(int32_t argc, const char* const* argv);

// Returns 1 for '0' to '9', else 0.
int32_t _IsDecDigit(char character);

// Returns the value of a hexadecimal digit of either case, -1 for any other character.
int32_t _HexDigitValue(char character);

// ---- output.cpp ----

inline constexpr char kStatusPrefix[] = "###VQX Client: ";
inline constexpr char kErrorPrefix[] = "\n###VQX Client ERROR: ";

// Passes what was printed through the C library on, and whatever is printed through it later at once.
void _UnbufferStandardOutput();

// From the banner on, all client output goes straight to standard output, each text as one write.
void _Print(const char* text);

// Prints one of the client's own status texts, of at most 200 characters, behind its prefix.
void _PrintStatus(const char* text);

// Prints an error text of any length behind the prefix of errors.
void _PrintError(const char* text);

// ---- session.cpp ----

// 1 = leave the session and shut down. Only the session itself sets it.
extern uint8_t _QuitRequested;

// The welcome text and all received text: at most kRxBufferSize - 1 bytes and a terminating zero.
inline constexpr uint32_t kRxBufferSize = 16384;
extern char _RxBuffer[kRxBufferSize];

// Prints the zero-terminated text in _RxBuffer without every CR that stands immediately before an
// LF. Without memory for the copy the text is lost.
void _PrintRxData();

// Connects to the server and relays keys and text, again after every lost connection, until the
// session cannot go on. Returns the error to show at shut-down, which lies in _RxBuffer or is
// constant, or null when there is none left to show.
const char* _RunSession();

// ---- terminal_mode.cpp ----

// 1 once the terminal has been switched to input by single keys, without echo.
extern uint8_t _ConsoleModeSet;

// Opens /dev/null in the place of every standard stream that the client was started without, so
// that no socket takes its number and is read or written as the console.
void _OccupyStandardStreams();

// Returns how many bytes wait on standard input, 0 when that cannot be told. The first call
// switches the terminal, which is never switched back.
int32_t _CountWaitingKeys();

#endif
