#include "tests/support/files.h"

#include <openssl/evp.h>

#include <fstream>
#include <random>
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

void writeFile(const fs::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  if (!(file << bytes).flush()) throw std::runtime_error("cannot write " + path.string());
}

std::string readFile(const fs::path& path) {
  std::ostringstream bytes;
  const std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  if (fs::file_size(path) > 0) bytes << file.rdbuf();
  return bytes.str();
}

TempFolder::TempFolder() {
  std::random_device random;
  do {
    path_ = fs::temp_directory_path() / ("zepasign-" + std::to_string(random()));
  } while (!fs::create_directory(path_));
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TempFolder::write(const std::string& name, const std::string& bytes) const {
  writeFile(path_ / name, bytes);
  return path(name);
}

std::string propertyText(const Properties& properties) {
  std::string text;
  for (const auto& [key, value] : properties) text.append(key).append(" = ").append(value).append("\n");
  return text;
}

std::vector<std::string> readLog(const fs::path& folder) {
  static const std::regex dailyLog(R"(.*\.\d{8})");
  std::set<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
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
