// The stream factory, and the stream methods as C procedures over the three kinds of streams.
#include "streams.h"

#include <array>

namespace zelhost {

namespace {

constexpr const char* kKindNames[] = {kMemoryStreamName, kFileStreamName, kClientStreamName};

constinit std::array<std::uint32_t, std::size(kKindNames)> containerKinds{};

void DestroyStream(void* object) noexcept {
  auto* stream = static_cast<Stream*>(object);
  stream->End();
  delete stream;
}

// The beginning of all stream methods: counts the call, and runs the body on the stream.
template <typename Body>
ZELErrorObject OnStream(ZELInstance instance, Service service, bool argumentsAreThere,
                        Body body) noexcept {
  if (Fails(service)) return InjectedError(service);
  return WithoutExceptions([&] {
    auto* stream = static_cast<Stream*>(StreamObject(instance, ServiceName(service).data()));
    if (stream == nullptr || !argumentsAreThere) {
      if (!argumentsAreThere) NoteMisuse(ServiceName(service), "of no place or bytes");
      return NewHostError(std::string(ServiceName(service)) +
                          (stream == nullptr ? ": not a stream" : ": an argument is missing"));
    }
    return body(*stream);
  });
}

ZELErrorObject Read(ZELInstance instance, std::uint32_t* delivered, void* buffer,
                    std::uint32_t wanted) noexcept {
  const bool argumentsAreThere = delivered != nullptr && (buffer != nullptr || wanted == 0);
  return OnStream(instance, Service::kRead, argumentsAreThere, [&](Stream& stream) {
    if (Fails(Service::kShortRead)) wanted /= 2;
    *delivered = 0;
    return stream.Read(*delivered, buffer, wanted);
  });
}

ZELErrorObject Write(ZELInstance instance, const void* bytes, std::uint32_t count) noexcept {
  return OnStream(instance, Service::kWrite, bytes != nullptr || count == 0,
                  [&](Stream& stream) { return stream.Write(bytes, count); });
}

ZELErrorObject CreateIndependentlyRewindableStream(ZELInstance instance,
                                                   ZELInstance* result) noexcept {
  return OnStream(instance, Service::kCreateRewindable, result != nullptr,
                  [&](Stream& stream) { return stream.CreateIndependentlyRewindable(*result); });
}

ZELErrorObject Rewind(ZELInstance instance) noexcept {
  return OnStream(instance, Service::kRewind, true, [](Stream& stream) { return stream.Rewind(); });
}

ZELErrorObject CreateIndependentlyPositionableStream(ZELInstance instance,
                                                     ZELInstance* result) noexcept {
  return OnStream(instance, Service::kCreatePositionable, result != nullptr,
                  [&](Stream& stream) { return stream.CreateIndependentlyPositionable(*result); });
}

ZELErrorObject Mark(ZELInstance instance, std::uint32_t* position) noexcept {
  return OnStream(instance, Service::kMark, position != nullptr,
                  [&](Stream& stream) { return stream.Mark(*position); });
}

ZELErrorObject Seek(ZELInstance instance, std::uint32_t position, std::uint32_t second) noexcept {
  return OnStream(instance, Service::kSeek, true,
                  [&](Stream& stream) { return stream.Seek(position, second); });
}

// The same for the factory's procedures.
template <typename Make>
ZELErrorObject MakeStream(ZELInstance* result, Service service, Make make) noexcept {
  if (Fails(service)) return InjectedError(service);
  return WithoutExceptions([&]() -> ZELErrorObject {
    if (result != nullptr) return make();
    NoteMisuse(ServiceName(service), "of no place for the result");
    return NewHostError(std::string(ServiceName(service)) + ": no place for the result");
  });
}

ZELErrorObject NewPositionableMemoryStream(ZELInstance* result) noexcept {
  return MakeStream(result, Service::kNewMemoryStream, [&] { return NewMemoryStream(*result); });
}

ZELErrorObject NewPositionableFileStream(ZELInstance* result, const char* path,
                                         const char* mode) noexcept {
  return MakeStream(result, Service::kNewFileStream,
                    [&] { return NewFileStream(*result, path, mode); });
}

ZELErrorObject NewClientPositionableStream(
    ZELInstance* result, void* client, ZELClientStreamReadProc read, ZELClientStreamWriteProc write,
    ZELClientStreamCreateProc createIndependentlyRewindable, ZELClientStreamRewindProc rewind,
    ZELClientStreamCreateProc createIndependentlyPositionable, ZELClientStreamMarkProc mark,
    ZELClientStreamSeekProc seek, ZELClientStreamDestroyProc destroy) noexcept {
  return MakeStream(result, Service::kNewClientStream, [&] {
    return NewClientStream(*result, {client, read, write, createIndependentlyRewindable, rewind,
                                     createIndependentlyPositionable, mark, seek, destroy});
  });
}

constexpr ZELProc NewPositionableBufferStream = Unsupported;
constexpr ZELProc NewClientSimpleStream = Unsupported;
constexpr ZELProc NewClientRewindableStream = Unsupported;

void Open(const HostOptions&) {
  const Procedure methods[] = {ZEL_SIMPLE_STREAM_METHODS(ZELHOST_PROCEDURE)
                                   ZEL_REWINDABLE_STREAM_METHODS(ZELHOST_PROCEDURE)
                                       ZEL_POSITIONABLE_STREAM_METHODS(ZELHOST_PROCEDURE)};
  const Procedure factory[] = {ZEL_STREAM_FACTORY_METHODS(ZELHOST_PROCEDURE)};
  for (std::size_t i = 0; i < std::size(kKindNames); ++i) {
    containerKinds[i] = NewStreamKind(kKindNames[i], DestroyStream);
    OfferProcedures(kKindNames[i], methods);
  }
  OfferProcedures(ZEL_STREAM_FACTORY_INTERFACE, factory);
}

void Close() noexcept {}
void Count(Counts&) {}
void ListLeaks(std::vector<Leak>&) {}

}  // namespace

constinit const ServiceLife kStreamLife = {Open, Close, Count, ListLeaks};

ZELErrorObject NewStream(ZELInstance& result, StreamKind kind, std::unique_ptr<Stream> stream) {
  const std::uint32_t containerKind = containerKinds[static_cast<std::size_t>(kind)];
  const ZELErrorObject error = NewStreamContainer(&result, stream.get(), containerKind);
  if (error == nullptr) static_cast<void>(stream.release());
  return error;
}

void CloseStream(void* stream) noexcept { delete static_cast<Stream*>(stream); }

}  // namespace zelhost
