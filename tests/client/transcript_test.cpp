// SPDX-License-Identifier: MIT

// Whole byte streams of the client against scripted servers: each file of transcripts/ is one run.
//
// A file holds comment lines, one step a line, and behind the line "output" all that the client has
// printed at the end. Texts stand in double quotes with C's escapes; @PORT@ is the server's port,
// and the line @BANNER@ stands for the texts of banner.txt.
//
//   arguments WORD...      instead of "-VQXTelnetPort @PORT@"
//   input KIND             terminal (the default), pipe, null or closed
//   start                  starts the client
//   listen                 lets it connect; before that the port refuses connections
//   accept                 waits for it to connect
//   send TEXT, receive TEXT, close, reset    the server's doings on the connection
//   type TEXT              what the user types
//   await TEXT [COUNT]     waits until the client has printed the text so often (once)
//   exit STATUS            waits for the client's end
//   stay                   the client must go on and print nothing more for a while
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "tests/client/client_run.h"

namespace client_test {
namespace {

const std::filesystem::path kFolder = TRANSCRIPTS_FOLDER;

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// The text between the first and the last double quote of a line.
std::string Unquote(const std::string& line) {
  static const std::map<char, char> kEscapes = {{'r', '\r'},  {'n', '\n'}, {'t', '\t'},
                                                {'\\', '\\'}, {'"', '"'},  {'0', '\0'}};
  const size_t first = line.find('"') + 1;
  const size_t last = line.rfind('"');
  std::string text;
  for (size_t i = first; i < last; ++i) {
    if (line[i] != '\\') {
      text += line[i];
    } else if (line[++i] == 'x') {
      text += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      text += kEscapes.at(line[i]);
    }
  }
  return text;
}

std::string ReadTexts(std::istream& file) {
  std::string texts;
  for (std::string line; std::getline(file, line);) {
    if (line == "@BANNER@") {
      std::ifstream banner(kFolder / "banner.txt");
      texts += ReadTexts(banner);
    } else if (!line.empty()) {
      texts += Unquote(line);
    }
  }
  return texts;
}

class Transcript {
 public:
  explicit Transcript(const std::filesystem::path& path) : file_(path) {}

  void Play() {
    for (std::string line; std::getline(file_, line) && line != "output";) {
      if (line.empty() || line[0] == '#') continue;
      SCOPED_TRACE(line);
      const std::string command = line.substr(0, line.find(' '));
      kSteps.at(command)(*this, line);
      if (testing::Test::HasFailure()) break;
    }
    EXPECT_EQ(client_->Output(), WithPort(ReadTexts(file_)));
  }

 private:
  using Step = std::function<void(Transcript&, const std::string& line)>;
  static const std::map<std::string, Step> kSteps;

  std::string WithPort(const std::string& text) const {
    return ReplaceAll(text, "@PORT@", std::to_string(server_.port()));
  }

  void Start() { client_ = std::make_unique<ClientRun>(arguments_, input_); }

  void TakeArguments(const std::string& line) {
    std::istringstream words(WithPort(line.substr(line.find(' '))));
    arguments_.clear();
    for (std::string word; words >> word;) arguments_.push_back(word);
  }

  void TakeInput(const std::string& line) {
    static const std::map<std::string, Input> kInputs = {{"terminal", Input::kTerminal},
                                                         {"pipe", Input::kPipe},
                                                         {"null", Input::kNull},
                                                         {"closed", Input::kClosed}};
    input_ = kInputs.at(line.substr(line.find(' ') + 1));
  }

  void Receive(const std::string& line) {
    const std::string expected = Unquote(line);
    EXPECT_EQ(server_.Receive(expected.size()), expected);
  }

  void Await(const std::string& line) {
    const std::string count = line.substr(line.rfind('"') + 1);
    EXPECT_TRUE(client_->output().WaitFor(Unquote(line), count.empty() ? 1 : std::stoul(count)));
  }

  void AwaitExit(const std::string& line) {
    EXPECT_TRUE(client_->output().WaitForEnd());
    EXPECT_EQ(client_->process().WaitForExit(), std::stoi(line.substr(line.find(' '))));
  }

  void Stay() {
    client_->output().ReadFor(std::chrono::milliseconds(200));
    EXPECT_TRUE(client_->process().IsRunning());
  }

  std::ifstream file_;
  ScriptedServer server_;
  std::vector<std::string> arguments_ = PortArguments(server_);
  Input input_ = Input::kTerminal;
  std::unique_ptr<ClientRun> client_;
};

const std::map<std::string, Transcript::Step> Transcript::kSteps = {
    {"arguments", &Transcript::TakeArguments},
    {"input", &Transcript::TakeInput},
    {"start", [](Transcript& run, const std::string&) { run.Start(); }},
    {"listen", [](Transcript& run, const std::string&) { run.server_.Listen(); }},
    {"accept", [](Transcript& run, const std::string&) { EXPECT_TRUE(run.server_.Accept()); }},
    {"send", [](Transcript& run,
                const std::string& line) { EXPECT_TRUE(run.server_.Send(Unquote(line))); }},
    {"receive", &Transcript::Receive},
    {"close", [](Transcript& run, const std::string&) { run.server_.Close(); }},
    {"reset", [](Transcript& run, const std::string&) { run.server_.Reset(); }},
    {"type", [](Transcript& run,
                const std::string& line) { EXPECT_TRUE(run.client_->Type(Unquote(line))); }},
    {"await", &Transcript::Await},
    {"exit", &Transcript::AwaitExit},
    {"stay", [](Transcript& run, const std::string&) { run.Stay(); }},
};

std::vector<std::string> TranscriptNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
    if (entry.path().stem() != "banner") names.push_back(entry.path().stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class ClientTranscript : public testing::TestWithParam<std::string> {};

TEST_P(ClientTranscript, PrintsEveryByteAsWritten) {
  Transcript(kFolder / (GetParam() + ".txt")).Play();
}

INSTANTIATE_TEST_SUITE_P(Transcripts, ClientTranscript, testing::ValuesIn(TranscriptNames()),
                         [](const auto& run) { return run.param; });

}  // namespace
}  // namespace client_test
