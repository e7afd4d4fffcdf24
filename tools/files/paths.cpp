#include "tools/files/paths.h"

#include <algorithm>
#include <filesystem>

#include "base/platform.h"
#include "tools/terminal/filesystem.h"

namespace zepasign::tools {

std::vector<std::string> missingParts(const std::string& path) {
  namespace fs = std::filesystem;
  std::vector<std::string> missing;
  std::error_code error;
  for (fs::path each = fs::path(path).lexically_normal(); !each.empty() && !fs::exists(each, error);
       each = each.parent_path()) {
    if (each.has_filename()) missing.push_back(each.string());
  }
  std::reverse(missing.begin(), missing.end());
  return missing;
}

std::vector<std::string> filesAt(const std::string& path) {
  std::vector<std::string> names;
  if (!isDirectory(path) || !platform::listDirectory(path, names)) return {path};
  const std::string within = path + platform::kDirectorySeparator;
  std::vector<std::string> files;
  for (const std::string& name : names) {
    std::string file = within + name;
    if (statusOf(file).isRegular()) files.push_back(std::move(file));
  }
  return files;
}

}  // namespace zepasign::tools
