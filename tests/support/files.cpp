#include "tests/support/files.h"

#include <openssl/evp.h>

#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

namespace zepasign::testing {
namespace {

namespace fs = std::filesystem;

std::string withoutPrefix(const std::string& line) {
  static const std::regex prefix(
      R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{3} \(PID=\d+\) (?=DEBUG | INFO |PARAM | WARN |ERROR ) ?)");
  static const std::regex dumpRow(R"( 0x[0-9a-f]{8} -( [0-9a-f]{2}| {3}){16} : )");
  std::smatch match;
  if (std::regex_search(line, match, prefix, std::regex_constants::match_continuous)) return match.suffix();
  if (std::regex_search(line, dumpRow, std::regex_constants::match_continuous)) return line;
  throw std::runtime_error("log line of an unknown form: " + line);
}

}  // namespace

std::vector<std::string> readLog(const fs::path& directory) {
  static const std::regex dailyLog(R"(.*\.\d{8})");
  std::set<fs::path> files;
  for (const auto& entry : fs::directory_iterator(directory)) {
    if (std::regex_match(entry.path().filename().string(), dailyLog)) files.insert(entry.path());
  }
  std::vector<std::string> lines;
  for (const fs::path& file : files) {
    std::istringstream text(readFile(file));
    for (std::string line; std::getline(text, line);) {
      if (line.ends_with('\r')) line.pop_back();
      lines.push_back(withoutPrefix(line));
    }
  }
  return lines;
}

std::string base64Decode(const std::string& text) {
  std::string bytes(text.size(), '\0');
  const int length =
      EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                      reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  if (length < 0) throw std::runtime_error("not Base64: " + text);
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
  bytes.resize(static_cast<std::size_t>(length) - padding);
  return bytes;
}

}  // namespace zepasign::testing
