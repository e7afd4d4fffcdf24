#include "tools/terminal/io.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "base/cleanse.h"
#include "base/platform.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

std::FILE* standardOutput = nullptr;
bool failedToWrite = false;

std::string scalarText(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? tr("yes"_m) : tr("no"_m);
  return value.is_null() ? "-" : value.dump();
}

// isShort: whether a list fits on one line.
bool isShort(const Json& value) {
  for (const Json& each : value) {
    if (each.is_structured() || each.is_string()) return false;
  }
  return true;
}

void printIndented(const Json& tree, const std::string& indent);

// printEntry: `head` and the value behind it, or below it when it has parts.
// NOLINTNEXTLINE(misc-no-recursion): as deep as the tree
void printEntry(const std::string& indent, const std::string& head, const Json& value) {
  if (!value.is_structured()) {
    printLine(indent + head + " " + scalarText(value));
  } else if (value.is_array() && isShort(value)) {
    printLine(indent + head + " " + (value.empty() ? "-" : value.dump()));
  } else {
    printLine(indent + head);
    printIndented(value, indent + "  ");
  }
}

// NOLINTNEXTLINE(misc-no-recursion)
void printIndented(const Json& tree, const std::string& indent) {
  if (!tree.is_array()) {
    for (const auto& [name, value] : tree.items()) printEntry(indent, labelText(name) + ":", value);
    return;
  }
  int number = 0;
  for (const Json& value : tree) printEntry(indent, '[' + std::to_string(++number) + ']', value);
}

// controlSize: how many bytes the control character has with which the text begins; 0 when it begins with none. Those
// from U+0080 to U+009F have two, C2 80 to C2 9F: some terminals take U+009B for the beginning of a command.
std::size_t controlSize(std::string_view utf8) {
  const auto first = static_cast<unsigned char>(utf8[0]);
  if (first < ' ' || first == 0x7F) return first == '\t' ? 0 : 1;
  return utf8[0] == '\xC2' && utf8.size() > 1 && (static_cast<unsigned char>(utf8[1]) & 0xE0U) == 0x80 ? 2 : 0;
}

// shownText: in the terminal's encoding. What a file holds must not command the terminal or begin a line.
std::string shownText(std::string_view utf8) {
  std::string text;
  while (!utf8.empty()) {
    const std::size_t control = controlSize(utf8);
    text += control == 0 ? utf8[0] : '?';
    utf8.remove_prefix(control == 0 ? 1 : control);
  }
  return toTerminal(text);
}

// noteFailure: of the standard output.
void noteFailure() {
  if (errno == EPIPE) endByClosedPipe();
  failedToWrite = true;
}

void prompt(const std::string& utf8) { std::fputs((shownText(utf8) + ": ").c_str(), stderr); }

// appendLine: up to the end of the line, which is dropped.
void appendLine(std::FILE* stream, std::string& line) {
  for (int c = std::getc(stream); c != EOF && c != '\n'; c = std::getc(stream)) line += static_cast<char>(c);
  if (line.ends_with('\r')) line.pop_back();
}

// readLine: without a copy elsewhere: the stream has no buffer, and the text does not move while it grows.
void readLine(std::string& line) {
  constexpr std::size_t kLongestLine = 4096;  // that a terminal gives
  std::setvbuf(stdin, nullptr, _IONBF, 0);
  line.clear();
  line.reserve(kLongestLine);
  appendLine(stdin, line);
}

// askHidden: REQUIRES: a HiddenInput lives. The line end that the user types is not shown either.
void askHidden(const std::string& question, std::string& answer) {
  prompt(question);
  readLine(answer);
  std::fputs("\n", stderr);
}

}  // namespace

void openOutput() { standardOutput = takeStandardOutput(); }

bool closeOutput() {
  if (standardOutput != nullptr && std::fclose(standardOutput) != 0) noteFailure();
  standardOutput = nullptr;
  return !failedToWrite;
}

void printBytes(const std::string& bytes) {
  if (standardOutput == nullptr) {
    failedToWrite = true;
  } else if (std::fwrite(bytes.data(), 1, bytes.size(), standardOutput) != bytes.size()) {
    noteFailure();
  }
}

bool flushOutput() {
  if (standardOutput != nullptr && std::fflush(standardOutput) != 0) noteFailure();
  return !failedToWrite;
}

void printLine(const std::string& utf8) { printBytes(shownText(utf8) + "\n"); }

void printListing(const Json& tree, bool asJson) {
  if (asJson) {
    printBytes(tree.dump(2, ' ', true, Json::error_handler_t::replace) + "\n");
  } else {
    printIndented(tree, "");
  }
}

// The standard output goes first: where both are one, the line must not come early or inside a character.
void printError(const std::string& utf8) {
  static_cast<void>(flushOutput());
  const std::string line = shownText("zepasign: " + utf8) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

bool readAll(const std::string& path, std::string& bytes) {
  const platform::FilePtr opened(path == "-" ? nullptr : std::fopen(path.c_str(), "rb"));
  std::FILE* file = path == "-" ? stdin : opened.get();
  if (file == nullptr) return false;
  std::array<char, 65536> block;
  bytes.clear();
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), file)) bytes.append(block.data(), count);
  return std::ferror(file) == 0;
}

bool readFirstLine(const std::string& path, std::string& line) {
  const platform::FilePtr opened(path == "-" ? nullptr : std::fopen(path.c_str(), "rb"));
  std::FILE* file = path == "-" ? stdin : opened.get();
  line.clear();
  if (file != nullptr) appendLine(file, line);
  return !line.empty();
}

bool readRegularFile(const std::string& path, std::string& bytes) {
  return path != "-" && platform::openForReading(path.c_str()) != nullptr && readAll(path, bytes);
}

bool isStandardOutput(const std::string& path) {
  constexpr int kStandardOutput = 1;
  return path == "-" || descriptorOf(path) == kStandardOutput;
}

bool writeFile(const std::string& path, const std::string& bytes, bool isPrivate) {
  if (!isStandardOutput(path)) return writeFileAt(path, bytes, isPrivate);
  printBytes(bytes);
  return !failedToWrite;
}

bool readSecret(const std::string& question, std::string& secret) {
  if (isTerminal(stdin)) {
    const HiddenInput hidden;
    askHidden(question, secret);
  } else {
    readLine(secret);
  }
  return !secret.empty();
}

NewSecret readNewSecret(const std::string& question, const std::string& questionAgain, std::string& secret) {
  if (!isTerminal(stdin)) return readSecret(question, secret) ? NewSecret::kRead : NewSecret::kEmpty;
  const HiddenInput hidden;
  askHidden(question, secret);
  if (secret.empty()) return NewSecret::kEmpty;
  std::string again;
  askHidden(questionAgain, again);
  const CleanseOnExit wipe(again);
  return again == secret ? NewSecret::kRead : NewSecret::kDiffer;
}

Progress::Progress(std::size_t total, bool isWanted)
    : total_(total), visible_(isWanted && total != 1 && isTerminal(stderr)) {}

void Progress::show(std::size_t done) const {
  constexpr std::size_t kWidth = 40;
  if (!visible_) return;
  if (total_ == 0) {
    std::fprintf(stderr, "\r%zu ", done);
  } else {
    const std::string bar(done * kWidth / total_, '#');
    std::fprintf(stderr, "\r[%-40s] %zu/%zu ", bar.c_str(), done, total_);
  }
}

void Progress::erase() const {
  constexpr int kLongest = 70;  // the bar, and two numbers of twelve digits
  if (visible_) std::fprintf(stderr, "\r%*s\r", kLongest, "");
}

}  // namespace zepasign::tools
