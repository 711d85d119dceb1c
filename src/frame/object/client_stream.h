// Streams, from both sides: base classes of the library's own stream objects, which the host
// publishes as stream instances, and the wrapper through which the library drives any stream
// instance.
#pragma once

#include <cstdint>
#include <memory>

#include "frame/core/client_base.h"
#include "frame/core/container_reference.h"

namespace ZEL_T_NMT {

class ZELClientSimpleStream : public CZELVirtualClientBase {
 public:
  // Reads up to `count` bytes and returns how many; 0 at the end.
  virtual std::uint32_t Read(void* buffer, std::uint32_t count) = 0;
  virtual void Write(const void* buffer, std::uint32_t count) = 0;
};

class ZELClientRewindableStream : public ZELClientSimpleStream {
 public:
  // Returns a new stream instance, without reference.
  virtual ZELInstance CreateIndependentlyRewindableStream() = 0;
  virtual void Rewind() = 0;
};

class ZELClientPositionableStream : public ZELClientRewindableStream {
 public:
  ZELInstance CreateIndependentlyRewindableStream() override {
    return CreateIndependentlyPositionableStream();
  }
  void Rewind() override { Seek(0, 0); }
  // Returns a new stream instance, without reference; a class without such streams raises core
  // error 0.
  virtual ZELInstance CreateIndependentlyPositionableStream();
  // `second` is passed on as given; 0 makes `position` a count of bytes from the start.
  virtual void Seek(std::uint32_t position, std::uint32_t second) = 0;
  virtual std::uint32_t Mark() = 0;
};

// Returns a new stream instance, without reference, or null when there is no stream factory. Either
// way, and when it raises, the caller has no part in the object any more.
ZELInstance PublishPositionableStream(std::unique_ptr<ZELClientPositionableStream> stream);

// The library's handle on a stream instance: one reference, and the instance's methods of all three
// families.
class CZELPositionableStream {
 public:
  // Raises "invalid container" when the instance lacks a method or refuses the reference, and
  // "couldn't get signature" for null.
  explicit CZELPositionableStream(ZELInstance stream);

  ZELInstance Handle() const noexcept { return stream_.Get(); }

  // Each raises the error of the stream. Read returns how many bytes were delivered, never more
  // than wanted; ReadUnchecked returns what the stream says it has delivered.
  std::uint32_t Read(void* buffer, std::uint32_t wanted);
  std::uint32_t ReadUnchecked(void* buffer, std::uint32_t wanted);
  void Write(const void* bytes, std::uint32_t count);
  std::uint32_t Mark();
  void Seek(std::uint32_t position, std::uint32_t second);

 private:
  void BindSimple();
  void BindRewindable();
  void BindPositionable();
  void Bind();
  // The tables end with the link; a stream held across links gets them anew.
  void RefreshBinding() {
    if (tableEpoch_ != g_link.tableEpoch) [[unlikely]]
      Bind();
  }

  ContainerReference stream_;
  const zelutils::SimpleStreamInterface* simple_ = nullptr;
  const zelutils::RewindableStreamInterface* rewindable_ = nullptr;
  const zelutils::PositionableStreamInterface* positionable_ = nullptr;
  std::uint32_t tableEpoch_ = 0;
};

}  // namespace ZEL_T_NMT
