#include "frame/object/client_stream.h"

#include "frame/core/error.h"
#include "frame/object/guard.h"
#include "frame/object/process_state.h"

namespace ZEL_T_NMT {
namespace {

// The callbacks of a published stream: `client` is the stream object. A count is stored in every
// case, any other result only on success.
struct StreamCallbacks {
  static ZELClientPositionableStream& Stream(void* client) {
    return *static_cast<ZELClientPositionableStream*>(client);
  }

  static void Read(void* client, std::uint32_t* delivered, void* buffer, std::uint32_t wanted) {
    *delivered = 0;
    *delivered = Stream(client).Read(buffer, wanted);
  }
  static void Write(void* client, const void* bytes, std::uint32_t count) {
    Stream(client).Write(bytes, count);
  }
  static void CreateIndependentlyRewindable(void* client, ZELInstance* result) {
    *result = Stream(client).CreateIndependentlyRewindableStream();
  }
  static void Rewind(void* client) { Stream(client).Rewind(); }
  static void CreateIndependentlyPositionable(void* client, ZELInstance* result) {
    *result = Stream(client).CreateIndependentlyPositionableStream();
  }
  static void Mark(void* client, std::uint32_t* position) {
    *position = 0;
    *position = Stream(client).Mark();
  }
  static void Seek(void* client, std::uint32_t position, std::uint32_t second) {
    Stream(client).Seek(position, second);
  }
  static void Destroy(void* client) noexcept {
    delete static_cast<ZELClientPositionableStream*>(client);
  }
};

template <typename Family>
const Family* RequireTable(const Family* table) {
  if (table == nullptr) RaiseInvalidContainer();
  return table;
}

}  // namespace

ZELInstance ZELClientPositionableStream::CreateIndependentlyPositionableStream() {
  throw CZELError::Core(0);
}

ZELInstance PublishPositionableStream(std::unique_ptr<ZELClientPositionableStream> stream) {
  const auto* factory = StreamFactory();
  if (factory == nullptr) return nullptr;
  using Callbacks = StreamCallbacks;
  ZELInstance instance = nullptr;
  ZELCheck(factory->NewClientPositionableStream(
      &instance, static_cast<void*>(stream.get()), &MethodGuard<&Callbacks::Read>::Call,
      &MethodGuard<&Callbacks::Write>::Call,
      &MethodGuard<&Callbacks::CreateIndependentlyRewindable>::Call,
      &MethodGuard<&Callbacks::Rewind>::Call,
      &MethodGuard<&Callbacks::CreateIndependentlyPositionable>::Call,
      &MethodGuard<&Callbacks::Mark>::Call, &MethodGuard<&Callbacks::Seek>::Call,
      &Callbacks::Destroy));
  stream.release();  // NOLINT(bugprone-unused-return-value): the host owns it now
  return instance;
}

CZELPositionableStream::CZELPositionableStream(ZELInstance stream) : stream_(stream) { Bind(); }

void CZELPositionableStream::BindSimple() {
  simple_ = RequireTable(g_simpleStreams->Lookup(stream_.Get()));
}

void CZELPositionableStream::BindRewindable() {
  rewindable_ = RequireTable(g_rewindableStreams->Lookup(stream_.Get()));
}

void CZELPositionableStream::BindPositionable() {
  positionable_ = RequireTable(g_positionableStreams->Lookup(stream_.Get()));
}

void CZELPositionableStream::Bind() {
  BindSimple();
  BindRewindable();
  BindPositionable();
  tableEpoch_ = g_link.tableEpoch;
}

std::uint32_t CZELPositionableStream::ReadUnchecked(void* buffer, std::uint32_t wanted) {
  RefreshBinding();
  std::uint32_t delivered = 0;
  ZELCheck(simple_->Read(stream_.Get(), &delivered, buffer, wanted));
  return delivered;
}

std::uint32_t CZELPositionableStream::Read(void* buffer, std::uint32_t wanted) {
  const std::uint32_t delivered = ReadUnchecked(buffer, wanted);
  if (delivered > wanted) RaisePOSException("stream delivered more than was asked for");
  return delivered;
}

void CZELPositionableStream::Write(const void* bytes, std::uint32_t count) {
  RefreshBinding();
  ZELCheck(simple_->Write(stream_.Get(), bytes, count));
}

std::uint32_t CZELPositionableStream::Mark() {
  RefreshBinding();
  std::uint32_t position = 0;
  ZELCheck(positionable_->Mark(stream_.Get(), &position));
  return position;
}

void CZELPositionableStream::Seek(std::uint32_t position, std::uint32_t second) {
  RefreshBinding();
  ZELCheck(positionable_->Seek(stream_.Get(), position, second));
}

}  // namespace ZEL_T_NMT
