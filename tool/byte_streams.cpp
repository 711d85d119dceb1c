#include "byte_streams.h"

#include <algorithm>
#include <cstring>

#include "failures.h"

namespace zelpos {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 16;

struct Callbacks {
  ZELClientStreamReadProc read = nullptr;
  ZELClientStreamWriteProc write = nullptr;
  ZELClientStreamMarkProc mark = nullptr;
  ZELClientStreamSeekProc seek = nullptr;
};

zelutils::Stream NewStream(const zelutils::Client& client, void* self, const Callbacks& callbacks) {
  ZELInstance result = nullptr;
  client.Check(client.Procedures<zelutils::StreamFactoryInterface>().NewClientPositionableStream(
      &result, self, callbacks.read, callbacks.write, nullptr, nullptr, nullptr, callbacks.mark,
      callbacks.seek, [](void*) {}));
  return {client, result, zelutils::Handed::kNew};
}

}  // namespace

zelutils::Stream ByteSource::Open(const zelutils::Client& client) {
  if (bytes_.size() > kLongestStream) {
    throw FileError("longer than 4 GiB, which is the most that a stream can hold");
  }
  Callbacks callbacks;
  callbacks.read = [](void* object, std::uint32_t* delivered, void* buffer,
                      std::uint32_t wanted) -> ZELErrorObject {
    auto& self = *static_cast<ByteSource*>(object);
    const std::size_t count = std::min<std::size_t>(wanted, self.bytes_.size() - self.position_);
    if (count != 0) std::memcpy(buffer, self.bytes_.data() + self.position_, count);
    self.position_ += count;
    *delivered = static_cast<std::uint32_t>(count);
    if (self.position_ - self.told_ >= kBlock) {
      self.told_ = self.position_;
      self.tell_(static_cast<double>(self.position_) / static_cast<double>(self.bytes_.size()));
    }
    return nullptr;
  };
  callbacks.mark = [](void* object, std::uint32_t* position) -> ZELErrorObject {
    *position = static_cast<std::uint32_t>(static_cast<ByteSource*>(object)->position_);
    return nullptr;
  };
  callbacks.seek = [](void* object, std::uint32_t position, std::uint32_t) -> ZELErrorObject {
    auto& self = *static_cast<ByteSource*>(object);
    self.position_ = std::min<std::size_t>(position, self.bytes_.size());
    return nullptr;
  };
  return NewStream(client, this, callbacks);
}

zelutils::Stream ByteSink::Open(const zelutils::Client& client) {
  client_ = &client;
  Callbacks callbacks;
  callbacks.write = Write;
  // The streamer asks for these when it gives back a stream that it has read.
  callbacks.mark = [](void*, std::uint32_t* position) -> ZELErrorObject {
    *position = 0;
    return nullptr;
  };
  callbacks.seek = [](void*, std::uint32_t, std::uint32_t) -> ZELErrorObject { return nullptr; };
  return NewStream(client, this, callbacks);
}

ZELErrorObject ByteSink::Write(void* object, const void* bytes, std::uint32_t count) {
  auto& self = *static_cast<ByteSink*>(object);
  try {
    self.written_ += count;
    if (self.written_ > kLongestStream) {
      throw FileError("the value takes more than 4 GiB, which is the most that a stream can hold");
    }
    self.waiting_.append(static_cast<const char*>(bytes), count);
    if (self.waiting_.size() >= kBlock) self.Flush();
    return nullptr;
  } catch (...) {
    self.failure_ = std::current_exception();
    return self.client_->Procedures<zelutils::ErrorInterface>().GetCoreError(0);
  }
}

void ByteSink::Flush() {
  if (!waiting_.empty()) take_(waiting_);
  waiting_.clear();
}

void ByteSink::Rethrow() const {
  if (failure_) std::rethrow_exception(failure_);
}

}  // namespace zelpos
