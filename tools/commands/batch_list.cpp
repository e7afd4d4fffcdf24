#include "tools/commands/batch_list.h"

namespace zepasign::tools {

NameList::NameList(std::FILE* stream) : stream_(stream) {
  while (beginning_.size() < kPathBound && separator_ != '\0') {
    const int c = std::getc(stream_);
    if (c == EOF) break;
    beginning_ += static_cast<char>(c);
    if (c == '\0') separator_ = '\0';
  }
}

int NameList::get() {
  return at_ < beginning_.size() ? static_cast<unsigned char>(beginning_[at_++]) : std::getc(stream_);
}

bool NameList::next(std::string& name) {
  for (int c = 0; c != EOF;) {
    bool isName = true;
    name.clear();
    for (c = get(); c != EOF && c != separator_; c = get()) {
      if (c == '\0' || name.size() == kPathBound) isName = false;
      if (isName) name += static_cast<char>(c);
    }
    if (c != EOF || !name.empty()) ++number_;
    if (separator_ == '\n' && name.ends_with('\r')) name.pop_back();
    if (!isName) name.clear();
    if (!isName || !name.empty()) return true;
  }
  return false;
}

}  // namespace zepasign::tools
