#include "streamer/ochar_stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace NPOSStreamerImpl::NTypeAImpl {

OCharStream::~OCharStream() {
  try {
    Finish();
  } catch (...) {  // NOLINT(bugprone-empty-catch): the error on its way is the one to report
  }
}

// Puts the run of bytes that stand for themselves, as far as the block has room for it.
inline std::uint32_t OCharStream::PutPlain(const char* text, std::size_t wanted) noexcept {
  const auto limit = static_cast<std::uint32_t>(std::min<std::size_t>(wanted, kCapacity - count_));
  char* const place = cursor_ + count_;
  const StreamingParams& params = *params_;
  std::uint32_t length = 0;
  if constexpr (ZEL_T_NMT::kHasByteWords) {
    std::uint64_t escaped = 0;
    while (escaped == 0 && limit - length >= ZEL_T_NMT::kWordSize) {
      const std::uint64_t word = ZEL_T_NMT::LoadWord(text + length);
      escaped = params.MayBeEscaped(word);
      ZEL_T_NMT::StoreWord(place + length, word);  // what is not counted is replaced
      length += ZEL_T_NMT::BytesBefore(escaped);
    }
  }
  for (; length < limit && params.HowToWriteByte(text[length]) == StreamingParams::kPlain;
       ++length) {
    place[length] = text[length];
  }
  count_ += length;
  return length;
}

void OCharStream::PutText(const char* text, std::size_t length) {
  const char* const end = text + length;
  for (;;) {
    text += PutPlain(text, static_cast<std::size_t>(end - text));
    if (text == end) return;
    PutChar(*text++);
  }
}

void OCharStream::PutAcrossBlocks(const char* bytes, std::size_t length) {
  while (length > 0) {
    if (count_ == kCapacity) WriteWaiting();
    const std::size_t piece = std::min<std::size_t>(length, kCapacity - count_);
    std::memcpy(cursor_ + count_, bytes, piece);
    count_ += static_cast<std::uint32_t>(piece);
    bytes += piece;
    length -= piece;
  }
}

void OCharStream::PutEscaped(char character, char how) {
  PutRaw('\\');
  if (how != StreamingParams::kOctal) {
    PutRaw(how);
    return;
  }
  const auto value = static_cast<unsigned char>(character);
  PutRaw(static_cast<char>('0' + (value >> 6)));
  PutRaw(static_cast<char>('0' + ((value >> 3) & 7)));
  PutRaw(static_cast<char>('0' + (value & 7)));
}

void OCharStream::WriteWaiting() {
  const std::uint32_t waiting = std::exchange(count_, 0);
  stream_.Write(cursor_, waiting);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
