// SPDX-License-Identifier: MIT

// Memory that runs out: in every operation that takes some, each allocation fails in turn, once and
// from then on, until the operation no longer needs the one that would fail.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "client/client.h"
#include "settings/xml.h"
#include "sys/sys.h"
#include "tests/faults/settings_fixture.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/pseudo_terminal.h"
#include "util/util.h"

namespace {

using registry_test::Key;
using support::FailingAllocation;
using support::GuardedBuffer;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using Extent = FailingAllocation::Extent;

// Calls operation(failed) for each allocation that can fail: failed() tells whether one has. Returns
// how many allocations the undisturbed operation makes.
//
// Descriptors and memory are as before after each call.
using Failed = std::function<bool()>;
uint32_t LetEachFail(const std::function<void(const Failed&)>& operation) {
  uint32_t count = 0;
  for (const Extent extent : {Extent::kOnce, Extent::kFromThenOn}) {
    bool was_disturbed = true;
    for (uint32_t nth = 1; was_disturbed; ++nth) {
      SCOPED_TRACE("allocation " + std::to_string(nth) +
                   (extent == Extent::kOnce ? " fails" : " and all behind it fail"));
      const auto descriptors = support::OpenDescriptors();
      {
        const FailingAllocation failing(nth, extent);
        operation([nth] { return FailingAllocation::Calls() >= nth; });
        EXPECT_EQ(FailingAllocation::Unfreed(), 0);
        was_disturbed = FailingAllocation::Calls() >= nth;
        count = FailingAllocation::Calls();
      }
      EXPECT_EQ(support::OpenDescriptors(), descriptors);
    }
  }
  return count;
}

// ---- Settings ----

class FaultsAllocationSettings : public fault_test::SettingsFaults {};

TEST_F(FaultsAllocationSettings, LoadThatFailsLeavesTheFileAsItIs) {
  EXPECT_EQ(LetEachFail([this](const Failed& failed) {
              PutFile(FileWith(1));
              uint32_t value = 0;
              uint32_t size = sizeof value;
              SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Key");
              const int32_t result = SYS_REG_QueryValue(key, "N", nullptr, &value, &size);
              EXPECT_EQ(key == nullptr, failed());
              EXPECT_EQ(result, failed() ? 1 : 0);
              EXPECT_EQ(value, failed() ? 0U : 1U);
              SYS_REG_CloseKey(key);
              SYS_REG_Flush();
              EXPECT_EQ(File(), FileWith(1));
            }),
            // The document and its text; two blocks for the text as it would be written and one to
            // keep that; the handle; and two blocks again when the flush compares.
            8U);
  ExpectWorks();
}

TEST_F(FaultsAllocationSettings, ChangeIsWrittenWholeOrNotAtAll) {
  LetEachFail([this](const Failed& failed) {
    PutFile(FileWith(1));
    const int32_t result = SetAndFlush(2);
    EXPECT_EQ(File(), failed() ? FileWith(1) : FileWith(2));
    EXPECT_TRUE(result == 0 || failed());
  });
  ExpectWorks();
}

// The store can be used while nothing is written yet: what failed can be done again.
TEST_F(FaultsAllocationSettings, OperationThatFailedSucceedsWhenItIsRepeated) {
  LetEachFail([this](const Failed&) {
    PutFile(FileWith(1));
    const auto try_until = [](const std::function<bool()>& works) {
      for (int attempt = 0; attempt < 3; ++attempt) {
        if (works()) return;
      }
    };
    SYS_REG_HANDLE key = nullptr;
    try_until([&] {
      key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Key\\Sub");
      return key != nullptr;
    });
    const uint32_t number = 3;
    const int32_t result = SYS_REG_SetValue(key, "N", SYS_REG_TYPE_DWORD, &number, sizeof number);
    EXPECT_EQ(result, key == nullptr ? 1 : 0);
    SYS_REG_CloseKey(key);
    SYS_REG_Flush();
  });
  ExpectWorks();
}

TEST_F(FaultsAllocationSettings, MissingFileIsMadeOrLeftOut) {
  LetEachFail([this](const Failed& failed) {
    std::filesystem::remove_all(home_.At("Library"));
    std::filesystem::remove(home_.At("TARVEN_REG_HKEY_CURRENT_USER.xml"));
    const int32_t result = SetAndFlush(2);
    EXPECT_TRUE(result == 0 || failed());
    if (!failed()) {
      EXPECT_EQ(File(), FileWithKey("N=\"0x00000002\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\""));
    }
  });
  ExpectWorks();
}

// A document of more elements than its first block of memory has room for.
TEST_F(FaultsAllocationSettings, LoadThatRunsOutOfMemoryHalfWayLeavesTheFileAsItIs) {
  std::string text = "<Registry>\r\n";
  for (int i = 0; i < 80'000; ++i) text += "  <a/>\r\n";
  text += "</Registry>\r\n";
  PutFile(text);
  // A block, the text, and another block; what comes behind them is the business of the others.
  for (const Extent extent : {Extent::kOnce, Extent::kFromThenOn}) {
    for (uint32_t nth = 1; nth <= 3; ++nth) {
      SCOPED_TRACE(nth);
      {
        const FailingAllocation failing(nth, extent);
        EXPECT_EQ(SYS_REG_QueryValue(HKEY_CURRENT_USER, "N", nullptr, nullptr, nullptr), 1);
        EXPECT_EQ(FailingAllocation::Calls(), nth);
        SYS_REG_Flush();
        EXPECT_EQ(FailingAllocation::Unfreed(), 0);
      }
      EXPECT_TRUE(File() == text);
    }
  }
}

// Keys that are missing are made until the document's memory is used up and more is refused.
TEST_F(FaultsAllocationSettings, FlushTakesNoMemoryForWhatIsNotLoaded) {
  const FailingAllocation counted(UINT32_MAX);
  SYS_REG_Flush();
  EXPECT_EQ(FailingAllocation::Calls(), 0U);
}

TEST_F(FaultsAllocationSettings, KeyThatFindsNoMemoryIsNotMade) {
  LetEachFail([this](const Failed& failed) {
    PutFile("<Registry V=\"\"/>");
    // What is left of the first block is less than a key takes.
    const std::string filling(0x400000 - 400, 'v');
    const uint32_t size = 0;
    const int32_t filled =
        SYS_REG_SetValue(HKEY_CURRENT_USER, "V", SYS_REG_TYPE_SZ, filling.c_str(), size);
    EXPECT_TRUE(filled == 0 || failed());
    const SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "A\\B\\C\\D\\E\\F\\G");
    EXPECT_TRUE(key != nullptr || failed());
    SYS_REG_CloseKey(key);
    SYS_REG_Flush();
  });
}

// Values that fill the document's memory, so that setting one takes more.
TEST_F(FaultsAllocationSettings, ValueIsSetOrKeepsItsOldText) {
  const std::string long_text(0x300000, 'v');
  EXPECT_GE(LetEachFail([&](const Failed& failed) {
              PutFile(FileWith(1));
              {
                const Key key("Other");
                const int32_t result = key.SetString("S", long_text);
                const int32_t second = key.SetString("S", long_text + "w");
                if (key.handle() == nullptr) {
                  EXPECT_EQ(result, 1);
                } else {
                  EXPECT_TRUE(second == 0 || failed());
                  char text[8];
                  uint32_t size = sizeof text;
                  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "S", nullptr, text, &size),
                            result == 0 || second == 0 ? 234 : 0);
                  EXPECT_EQ(size, second == 0   ? long_text.size() + 1
                                  : result == 0 ? long_text.size()
                                                : strlen("kept"));
                }
              }
              SYS_REG_Flush();
            }),
            7U);
  ExpectWorks();
}

// ---- Dynamic buffers ----

int error_count = 0;

TEST(FaultsAllocationDynbuffer, GrowsOrStaysAsItWas) {
  EXPECT_EQ(LetEachFail([](const Failed& failed) {
              error_count = 0;
              DYNBUFFER buffer;
              const auto on_error = [](const char*) { ++error_count; };
              if (DYNBUFFER_Init(&buffer, on_error, 0x1000, 16, 0) != 0) {
                EXPECT_TRUE(failed());
                EXPECT_EQ(error_count, 1);
                EXPECT_EQ(DYNBUFFER_Free(&buffer), 0);
                return;
              }
              std::string expected;
              int failures = 0;
              for (int i = 0; i < 40; ++i) {
                const std::string piece(static_cast<size_t>(i + 1), static_cast<char>('0' + i));
                const DYNBUFFER before = buffer;
                const int32_t result =
                    DYNBUFFER_Append(&buffer, piece.data(), static_cast<uint32_t>(piece.size()));
                if (result == 0) {
                  expected += piece;
                } else {
                  ++failures;
                  EXPECT_EQ(result, DYNBUFFER_ERR_NO_MEMORY);
                  EXPECT_EQ(memcmp(&buffer, &before, sizeof buffer), 0);
                }
              }
              ASSERT_EQ(buffer.highest + 1, expected.size());
              EXPECT_EQ(memcmp(buffer.data, expected.data(), expected.size()), 0);
              EXPECT_EQ(error_count, failures);
              EXPECT_EQ(failures > 0, failed());
              DYNBUFFER_Free(&buffer);
            }),
            // 16 and the sizes that are twice the one before: 32, 64, 128, 256, 512, 1024.
            7U);
}

// ---- Markup ----

TEST(FaultsAllocationMarkup, BuildsTheDocumentOrTellsTheFailure) {
  const std::string long_name(300, 'n');
  const std::string long_value(0x200000, 'v');
  EXPECT_GE(LetEachFail([&](const Failed& failed) {
              XML_DOC* const document = XML_CreateDoc("Root");
              if (document == nullptr) {
                EXPECT_TRUE(failed());
                return;
              }
              XML_NODE* const root = XML_GetRoot(document);
              bool is_whole = true;
              for (const char* name : {"A", "B", long_name.c_str(), long_name.c_str()}) {
                XML_NODE* const child = XML_FindOrAddChild(document, root, name);
                is_whole &= child != nullptr;
                is_whole &= XML_SetAttr(document, child, "V", long_value.c_str()) == 0;
                is_whole &= XML_SetAttr(document, child, "W", "1") == 0;
              }
              EXPECT_TRUE(is_whole || failed());
              char text[4096];
              const int32_t length = XML_ToText(document, text, sizeof text);
              EXPECT_TRUE(length > 0 || failed());
              EXPECT_EQ(XML_FreeDoc(document), 0);
            }),
            6U);
}

// What was built without memory for its copies can be written, and holds nothing half made.
TEST(FaultsAllocationMarkup, IsWrittenWholeAfterAFailure) {
  LetEachFail([](const Failed& failed) {
    XML_DOC* const document = XML_CreateDoc("Root");
    if (document == nullptr) return;
    XML_NODE* const root = XML_GetRoot(document);
    const int32_t result = XML_SetAttr(document, root, "V", std::string(0x400000, 'v').c_str());
    XML_SetAttr(document, root, "W", "1");
    XML_DeleteAttr(document, root, "V");
    char text[64];
    const int32_t length = XML_ToText(document, text, sizeof text);
    EXPECT_TRUE(result == 0 || failed());
    if (length >= 0) {
      const std::string written(text, static_cast<size_t>(length));
      EXPECT_TRUE(written == "<Root W=\"1\"/>\r\n" || (failed() && written == "<Root/>\r\n"))
          << written;
    } else {
      EXPECT_TRUE(failed());
      EXPECT_EQ(length, -1);
    }
    XML_FreeDoc(document);
  });
}

// ---- Serial ports, console, paths ----

TEST(FaultsAllocationSerial, PortIsOpenedOrTheDeviceIsFreeAgain) {
  const support::PseudoTerminal device;
  const std::string name = device.device_path().substr(strlen("/dev/"));
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              SYS_COM_PORT* const port = SYS_COM_Open(name.c_str(), 115200);
              EXPECT_EQ(port == nullptr, failed());
              if (port != nullptr) SYS_COM_Close(port);
            }),
            1U);
}

TEST(FaultsAllocationClient, PrintsWhatItReceivedOrNothing) {
  EXPECT_EQ(LetEachFail([](const Failed& failed) {
              strcpy(_RxBuffer, "a\r\r\nb\r\n");
              CaptureStdout();
              _PrintRxData();
              const std::string printed = GetCapturedStdout();
              EXPECT_EQ(printed, failed() ? "" : "a\r\nb\n");
            }),
            1U);
}

TEST(FaultsAllocationPaths, GiveTheWholeResultOrTheEmptyOne) {
  const support::TemporaryHome home;
  const std::string path = home.Write("name.ext", "");
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              GuardedBuffer directory(SYS_PATH_CAPACITY);
              directory.data()[0] = '\0';
              SYS_SplitPath(path.c_str(), nullptr, 0, directory.data(), SYS_PATH_CAPACITY, nullptr,
                            0, nullptr, 0);
              EXPECT_EQ(std::string(directory.data()), failed() ? "" : home.path());
            }),
            1U);
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              char name[SYS_PATH_CAPACITY];
              SYS_GetFileName(path.c_str(), name, sizeof name - 1);
              EXPECT_EQ(std::string(name), failed() ? "" : "name");
            }),
            1U);
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              char extension[SYS_PATH_CAPACITY];
              SYS_GetFileExt(path.c_str(), extension, sizeof extension - 1);
              EXPECT_EQ(std::string(extension), failed() ? "" : ".ext");
            }),
            1U);
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              const int32_t exists = SYS_DirOfPathExists(path.c_str());
              EXPECT_EQ(exists, failed() ? 0 : 1);
            }),
            1U);
}

TEST(FaultsAllocationPaths, MakeTheFolderOrFailWithoutIt) {
  const support::TemporaryHome home;
  const std::string folder = home.At("a/b/c");
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              std::filesystem::remove_all(home.At("a"));
              const int32_t result = SYS_CreateDirRecursive(folder.c_str());
              EXPECT_EQ(result, failed() ? -1 : 0);
              EXPECT_EQ(std::filesystem::exists(folder), !failed());
            }),
            3U);
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              std::filesystem::remove_all(home.At("Library"));
              char output[SYS_PATH_CAPACITY] = "before";
              const int32_t result = SYS_GetAppSupportDir(output, sizeof output);
              EXPECT_EQ(result, failed() ? -1 : 0);
            }),
            3U);
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              std::filesystem::remove_all(home.At("new"));
              const int32_t handle =
                  SYS_FILE_OpenEx("~/new/file", SYS_FILE_FLAG_WRITE | SYS_FILE_FLAG_CREATE);
              EXPECT_EQ(handle < 0, failed());
              if (handle >= 0) SYS_FILE_Close(handle);
            }),
            2U);
}

TEST(FaultsAllocationPaths, NeedNoMemoryForThePlacesOfTheProgram) {
  EXPECT_EQ(LetEachFail([](const Failed&) {
              char output[SYS_PATH_CAPACITY];
              SYS_GetModulePath(output, sizeof output);
              EXPECT_NE(output[0], '\0');
              SYS_GetExePath(output, sizeof output);
              EXPECT_NE(output[0], '\0');
              SYS_GetModuleDir(output);
              SYS_GetExeDir(output);
              SYS_JoinPath("/tmp/", "x", output, sizeof output);
              EXPECT_STREQ(output, "/tmp/x");
              SYS_MakePath(output, nullptr, "a", "b", "c");
              EXPECT_STREQ(output, "a/b.c");
            }),
            0U);
}

// Waiting for a descriptor that no set of the system's holds takes memory for a larger one.
TEST(FaultsAllocationWait, LargeDescriptorIsWaitedForOrRefused) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const int large = support::DuplicateAtOrAbove(ends[0], 2000);
  ASSERT_GE(large, 2000);
  EXPECT_EQ(LetEachFail([&](const Failed& failed) {
              const int32_t readable = SYS_SOCKET_IsReadable(large, 0);
              const int32_t error = SYS_GetLastError();
              EXPECT_EQ(readable, failed() ? -1 : 0);
              EXPECT_TRUE(!failed() || error == ENOMEM) << error;
            }),
            1U);
  for (const int descriptor : {ends[0], ends[1], large}) close(descriptor);
}

}  // namespace
