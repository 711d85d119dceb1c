// Streams of the host: each is one object behind an instance, whose methods streams.cpp offers as C
// procedures.
#pragma once

#include <cstdint>
#include <memory>

#include "services.h"

namespace zelhost {

// The last position of a stream.
inline constexpr std::uint64_t kLargestPosition = 0xFFFFFFFFu;

// Each operation returns an error object with a reference for the caller, or null. They may throw
// std::bad_alloc. The arguments have been checked: places and buffers are there.
class Stream {
 public:
  virtual ~Stream() = default;

  virtual ZELErrorObject Read(std::uint32_t& delivered, void* buffer, std::uint32_t wanted) = 0;
  virtual ZELErrorObject Write(const void* bytes, std::uint32_t count) = 0;
  virtual ZELErrorObject CreateIndependentlyRewindable(ZELInstance& result) {
    return CreateIndependentlyPositionable(result);
  }
  virtual ZELErrorObject Rewind() { return Seek(0, 0); }
  virtual ZELErrorObject CreateIndependentlyPositionable(ZELInstance& result) = 0;
  virtual ZELErrorObject Mark(std::uint32_t& position) = 0;
  virtual ZELErrorObject Seek(std::uint32_t position, std::uint32_t second) = 0;
  // Called once before the destructor when the instance ends, but not when the host does.
  virtual void End() noexcept {}
};

// The names of the kinds: implementation, signature, and the interface under which the binder keeps
// the stream methods.
inline constexpr const char kMemoryStreamName[] = "ZELMemoryStream";
inline constexpr const char kFileStreamName[] = "ZELFileStream";
inline constexpr const char kClientStreamName[] = "ZELClientStream";

enum class StreamKind : std::uint8_t { kMemory, kFile, kClient };

// Makes an instance of a stream; on an error the stream is gone, without End.
ZELErrorObject NewStream(ZELInstance& result, StreamKind kind, std::unique_ptr<Stream> stream);

// An empty stream over memory: it grows as it is written, and its independent streams share its
// bytes, each with a position of its own.
ZELErrorObject NewMemoryStream(ZELInstance& result);
// A stream over a file; see file_stream.cpp for the modes.
ZELErrorObject NewFileStream(ZELInstance& result, const char* path, const char* mode);

struct ClientCallbacks {
  void* client;
  ZELClientStreamReadProc read;
  ZELClientStreamWriteProc write;
  ZELClientStreamCreateProc createIndependentlyRewindable;
  ZELClientStreamRewindProc rewind;
  ZELClientStreamCreateProc createIndependentlyPositionable;
  ZELClientStreamMarkProc mark;
  ZELClientStreamSeekProc seek;
  ZELClientStreamDestroyProc destroy;
};
// A stream over callbacks, each of which may be null: then the operation is not supported.
ZELErrorObject NewClientStream(ZELInstance& result, const ClientCallbacks& callbacks);

}  // namespace zelhost
