#include "pki/der.h"

namespace zepasign::der {

std::size_t sizeOf(const Tag& tag, std::size_t size) {
  return static_cast<std::size_t>(ASN1_object_size(tag.constructed, static_cast<int>(size), tag.number));
}

void append(Buffer& out, Bytes bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

void appendHeader(Buffer& out, const Tag& tag, std::size_t size) {
  unsigned char header[kMaxHeaderSize];
  unsigned char* end = header;
  ASN1_put_object(&end, tag.constructed, static_cast<int>(size), tag.number, tag.tagClass);
  out.insert(out.end(), header, end);
}

Buffer element(const Tag& tag, std::initializer_list<Bytes> parts) {
  std::size_t size = 0;
  for (Bytes part : parts) size += part.size();
  Buffer out;
  out.reserve(sizeOf(tag, size));
  appendHeader(out, tag, size);
  for (Bytes part : parts) append(out, part);
  return out;
}

void Reader::enter() {
  constexpr int kInvalid = 0x80;  // the bit that ASN1_get_object sets
  const unsigned char* at = rest_.data();
  long size = 0;
  int number = 0;
  int tagClass = 0;
  if ((ASN1_get_object(&at, &size, &number, &tagClass, static_cast<long>(rest_.size())) & kInvalid) != 0) {
    rest_ = {};
    contentSize_ = 0;
    return;
  }
  rest_ = rest_.subspan(static_cast<std::size_t>(at - rest_.data()));
  contentSize_ = static_cast<std::size_t>(size);
}

Bytes Reader::take() {
  const Bytes start = rest_;
  enter();
  rest_ = rest_.subspan(contentSize_);
  return start.first(start.size() - rest_.size());
}

Bytes Reader::takeIf(const Tag& tag) { return !rest_.empty() && rest_.front() == identifierOf(tag) ? take() : Bytes(); }

}  // namespace zepasign::der
