#include "demo/files.h"

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace zepasign::demo {

namespace fs = std::filesystem;

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

TempDirectory::TempDirectory() {
  std::random_device random;
  do {
    path_ = fs::temp_directory_path() / ("zepasign-" + std::to_string(random()));
  } while (!fs::create_directory(path_));
}

TempDirectory::~TempDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TempDirectory::write(const std::string& name, const std::string& bytes) const {
  writeFile(path_ / name, bytes);
  return path(name);
}

std::string propertyText(const Properties& properties) {
  std::string text;
  for (const auto& [key, value] : properties) text.append(key).append(" = ").append(value).append("\n");
  return text;
}

}  // namespace zepasign::demo
