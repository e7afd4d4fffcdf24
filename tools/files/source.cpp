#include "tools/files/source.h"

#include <algorithm>

namespace zepasign::tools {
namespace {

constexpr std::size_t kBlockSize = 65'536;

}  // namespace

Source::Source(const std::string& path)
    : opened_(path == "-" ? nullptr : std::fopen(path.c_str(), "rb")), file_(path == "-" ? stdin : opened_.get()) {}

bool Source::isGood() const { return file_ != nullptr && std::ferror(file_) == 0; }

// fill: appends the next block to the unread bytes; false at the end. The end is asked for again at the next call.
bool Source::fill() {
  if (file_ == nullptr) return false;
  unread_.erase(0, position_);
  position_ = 0;
  const std::size_t before = unread_.size();
  unread_.resize(before + kBlockSize);
  const std::size_t count = std::fread(&unread_[before], 1, kBlockSize, file_);
  unread_.resize(before + count);
  if (count == 0 && std::ferror(file_) == 0) std::clearerr(file_);
  return count > 0;
}

const std::string& Source::head() {
  while (unread_.size() - position_ < kBlockSize && fill()) {
  }
  return unread_;
}

bool Source::readLine(std::string& line) {
  std::size_t end = unread_.find('\n', position_);
  while (end == std::string::npos) {
    const std::size_t searched = unread_.size() - position_;
    if (!fill()) return false;
    end = unread_.find('\n', searched);
  }
  line.assign(unread_, position_, end - position_);
  position_ = end + 1;
  return true;
}

bool Source::readLastLine(std::string& line) {
  line = unread_.substr(position_);
  position_ = unread_.size();
  return !line.empty();
}

bool Source::readRest(std::string& bytes, std::size_t limit) {
  while (unread_.size() - position_ <= limit && fill()) {
  }
  bytes = unread_.substr(position_);
  return isGood() && bytes.size() <= limit;
}

}  // namespace zepasign::tools
