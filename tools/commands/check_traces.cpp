#include "tools/commands/check_traces.h"

#include <algorithm>
#include <filesystem>

#include "base/platform.h"
#include "tools/files/paths.h"
#include "tools/terminal/access.h"
#include "tools/terminal/io.h"

namespace zepasign::tools {
namespace {

namespace fs = std::filesystem;

// isOnlyOurs: whether every line of a log file was written by this process.
bool isOnlyOurs(const std::string& path) {
  const std::string own = "(PID=" + std::to_string(platform::processId()) + ")";
  const std::string any = "(PID=";
  std::string text;
  if (!readAll(path, text)) return false;
  for (std::size_t at = text.find(any); at != std::string::npos; at = text.find(any, at + 1)) {
    if (text.compare(at, own.size(), own) != 0) return false;
  }
  return true;
}

void removeOrGive(const std::string& path, bool isRemovable) {
  std::error_code error;
  if (isRemovable && fs::remove(path, error)) return;  // a directory only when it is empty
  const std::string parent = fs::path(path).parent_path().string();
  giveToOwnerOf(parent.empty() ? "." : parent, path);
}

}  // namespace

LogTraces::LogTraces(std::string directory, std::string file)
    : directory_(std::move(directory)), file_(std::move(file)) {
  if (directory_.empty() || file_.empty()) return;
  missing_ = missingParts(directory_);
  before_ = logFiles();
}

LogTraces::~LogTraces() {
  if (directory_.empty() || file_.empty()) return;
  for (const auto& [path, size] : logFiles()) {
    if (!before_.contains(path)) removeOrGive(path, isOnlyOurs(path));
  }
  std::for_each(missing_.rbegin(), missing_.rend(), [](const std::string& path) { removeOrGive(path, true); });
}

bool LogTraces::hasGrown() const {
  const Sizes now = logFiles();
  return std::any_of(now.begin(), now.end(), [this](const auto& each) {
    const auto old = before_.find(each.first);
    return old == before_.end() || old->second < each.second;
  });
}

// logFiles: one a day, with the date behind the name.
LogTraces::Sizes LogTraces::logFiles() const {
  Sizes sizes;
  std::vector<std::string> names;
  if (!platform::listDirectory(directory_, names)) return sizes;
  for (const std::string& name : names) {
    if (!name.starts_with(file_ + ".")) continue;
    const std::string path = directory_ + platform::kDirectorySeparator + name;
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (!error) sizes.emplace(path, size);
  }
  return sizes;
}

}  // namespace zepasign::tools
