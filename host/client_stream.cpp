// Streams over callbacks of a client.
#include "streams.h"

namespace zelhost {

namespace {

class ClientStream : public Stream {
 public:
  explicit ClientStream(const ClientCallbacks& callbacks) : callbacks_(callbacks) {}

  ZELErrorObject Read(std::uint32_t& delivered, void* buffer, std::uint32_t wanted) override {
    if (callbacks_.read == nullptr) return NotSupported("Read");
    const ZELErrorObject error = callbacks_.read(callbacks_.client, &delivered, buffer, wanted);
    if (error != nullptr || delivered <= wanted) return error;
    delivered = 0;
    return NewHostError("ZELClientStream::Read: the client delivered more than was wanted");
  }

  ZELErrorObject Write(const void* bytes, std::uint32_t count) override {
    if (callbacks_.write == nullptr) return NotSupported("Write");
    return callbacks_.write(callbacks_.client, bytes, count);
  }

  ZELErrorObject CreateIndependentlyRewindable(ZELInstance& result) override {
    return Create(callbacks_.createIndependentlyRewindable, result,
                  "CreateIndependentlyRewindableStream");
  }

  ZELErrorObject Rewind() override {
    if (callbacks_.rewind == nullptr) return NotSupported("Rewind");
    return callbacks_.rewind(callbacks_.client);
  }

  ZELErrorObject CreateIndependentlyPositionable(ZELInstance& result) override {
    return Create(callbacks_.createIndependentlyPositionable, result,
                  "CreateIndependentlyPositionableStream");
  }

  ZELErrorObject Mark(std::uint32_t& position) override {
    if (callbacks_.mark == nullptr) return NotSupported("Mark");
    return callbacks_.mark(callbacks_.client, &position);
  }

  ZELErrorObject Seek(std::uint32_t position, std::uint32_t second) override {
    if (callbacks_.seek == nullptr) return NotSupported("Seek");
    return callbacks_.seek(callbacks_.client, position, second);
  }

  void End() noexcept override {
    if (callbacks_.destroy != nullptr) callbacks_.destroy(callbacks_.client);
  }

 private:
  static ZELErrorObject NotSupported(const char* method) {
    return NewHostError(std::string(kClientStreamName) + "::" + method +
                        ": the client does not support it");
  }

  ZELErrorObject Create(ZELClientStreamCreateProc create, ZELInstance& result,
                        const char* method) const {
    if (create == nullptr) return NotSupported(method);
    ZELInstance created = nullptr;
    if (const ZELErrorObject error = create(callbacks_.client, &created)) return error;
    if (created == nullptr) {
      return NewHostError(std::string(kClientStreamName) + "::" + method +
                          ": the client made no stream");
    }
    result = created;
    return nullptr;
  }

  ClientCallbacks callbacks_;
};

}  // namespace

ZELErrorObject NewClientStream(ZELInstance& result, const ClientCallbacks& callbacks) {
  return NewStream(result, StreamKind::kClient, std::make_unique<ClientStream>(callbacks));
}

}  // namespace zelhost
