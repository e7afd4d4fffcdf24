#include "tools/files/paths.h"

#include <algorithm>
#include <filesystem>

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

}  // namespace zepasign::tools
