#include "streamer/zel_impl.h"

#include <cstring>

#include "zelutils/streamer.h"

namespace NPOSStreamerImpl {
namespace {

// Longer than the name of any version.
constexpr std::size_t kTokenCapacity = 64;

// One byte per call: the stream must end up right after the header, where the version's own
// buffered reader begins.
char GetNextChar(CZELPositionableStream& stream) {
  char byte;
  if (stream.ReadUnchecked(&byte, 1) != 1) {
    ZEL_T_NMT::RaisePOSException("getNextChar unexpected EOF");
  }
  return byte;
}

// Reads the version's name and the space that ends it, and returns the name's length. Leaves a name
// unfinished that is too long to be one.
std::size_t ReadToken(CZELPositionableStream& stream, char (&token)[kTokenCapacity]) {
  char byte = GetNextChar(stream);
  while (byte == ' ') byte = GetNextChar(stream);
  std::size_t length = 0;
  token[length++] = byte;
  while (length < kTokenCapacity) {
    byte = GetNextChar(stream);
    if (byte == ' ') break;
    token[length++] = byte;
  }
  return length;
}

}  // namespace

void ZELImpl::Serialize(CZELPositionableStream& stream, const CPOSObject& object,
                        const char* version) {
  if (version == nullptr) version = POS_STREAMER_DEFAULT_VERSION;
  const std::unique_ptr<StreamerBase> streamer = StreamerBase::LookupStreamer(version);
  // The name was found, so its length is that of a version's name.
  stream.Write(version, static_cast<std::uint32_t>(std::strlen(version)));
  stream.Write(" ", 1);
  streamer->Serialize(stream, object);
}

void ZELImpl::Deserialize(CPOSObject& result, CZELPositionableStream& stream) {
  char token[kTokenCapacity];
  const std::size_t length = ReadToken(stream, token);
  const std::unique_ptr<StreamerBase> streamer =
      StreamerBase::LookupStreamer(std::string_view(token, length));
  streamer->Deserialize(result, stream);
  if (result.IsEmpty()) {
    ZEL_T_NMT::RaisePOSException("POSObjectStreamerImpl::Deserialize failure");
  }
}

}  // namespace NPOSStreamerImpl
