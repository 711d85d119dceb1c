// Streams over memory.
#include <algorithm>
#include <cstring>

#include "streams.h"

namespace zelhost {

namespace {

class MemoryStream : public Stream {
 public:
  using Bytes = std::vector<unsigned char>;

  explicit MemoryStream(std::shared_ptr<Bytes> bytes) : bytes_(std::move(bytes)) {}

  ZELErrorObject Read(std::uint32_t& delivered, void* buffer, std::uint32_t wanted) override {
    delivered =
        static_cast<std::uint32_t>(std::min<std::size_t>(wanted, bytes_->size() - position_));
    if (delivered == 0) return nullptr;
    std::memcpy(buffer, bytes_->data() + position_, delivered);
    position_ += delivered;
    return nullptr;
  }

  // Overwrites what is there and appends the rest.
  ZELErrorObject Write(const void* bytes, std::uint32_t count) override {
    if (count > kLargestPosition - position_) {
      return NewHostError("ZELMemoryStream::Write: the stream would become too long");
    }
    if (count == 0) return nullptr;
    const auto* source = static_cast<const unsigned char*>(bytes);
    const std::size_t over = std::min<std::size_t>(count, bytes_->size() - position_);
    // Appended first: where memory is short, nothing has changed.
    bytes_->insert(bytes_->end(), source + over, source + count);
    std::memcpy(bytes_->data() + position_, source, over);
    position_ += count;
    return nullptr;
  }

  ZELErrorObject CreateIndependentlyPositionable(ZELInstance& result) override {
    return NewStream(result, StreamKind::kMemory, std::make_unique<MemoryStream>(bytes_));
  }

  ZELErrorObject Mark(std::uint32_t& position) override {
    position = position_;
    return nullptr;
  }

  ZELErrorObject Seek(std::uint32_t position, std::uint32_t second) override {
    if (second != 0) return NewHostError("ZELMemoryStream::Seek: the second argument is not 0");
    if (position > bytes_->size()) {
      return NewHostError("ZELMemoryStream::Seek: the position is beyond the end");
    }
    position_ = position;
    return nullptr;
  }

 private:
  std::shared_ptr<Bytes> bytes_;  // never gets shorter, so that no position is beyond its end
  std::uint32_t position_ = 0;
};

}  // namespace

ZELErrorObject NewMemoryStream(ZELInstance& result) {
  return NewStream(result, StreamKind::kMemory,
                   std::make_unique<MemoryStream>(std::make_shared<MemoryStream::Bytes>()));
}

}  // namespace zelhost
