#include "content.h"

#include <utility>

#include "files.h"
#include "platform.h"

namespace zelpos {

Content::Content(const std::string& file) {
  if (file != "-" && Map(file)) return;
  buffer_ = ReadFile(file);
  data_ = buffer_.c_str();
  size_ = buffer_.size();
}

Content::Content(Content&& other) noexcept { *this = std::move(other); }

Content& Content::operator=(Content&& other) noexcept {
  if (mapped_ != 0) UnmapFile({data_, size_, mapped_});
  buffer_ = std::move(other.buffer_);
  size_ = std::exchange(other.size_, 0);
  mapped_ = std::exchange(other.mapped_, 0);
  const char* const data = std::exchange(other.data_, nullptr);
  data_ = mapped_ != 0 ? data : buffer_.c_str();
  return *this;
}

Content::~Content() {
  if (mapped_ != 0) UnmapFile({data_, size_, mapped_});
}

void Content::Relax() const noexcept {
  if (mapped_ != 0) RelaxMapping({data_, size_, mapped_});
}

bool Content::Map(const std::string& file) {
  const Mapping mapping = MapFile(PathOf(file));
  data_ = mapping.data;
  size_ = mapping.size;
  mapped_ = mapping.reserved;
  return mapped_ != 0;
}

}  // namespace zelpos
