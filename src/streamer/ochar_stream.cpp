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

void OCharStream::PutText(const char* text, size_t length) {
  const char* const end = text + length;
  while (text != end) {
    if constexpr (ZEL_T_NMT::kHasByteWords) {
      uint64_t escaped = 0;
      while (escaped == 0 && end - text >= ptrdiff_t{ZEL_T_NMT::kWordSize} &&
             kCapacity - count_ >= ZEL_T_NMT::kWordSize) {
        const uint64_t word = ZEL_T_NMT::LoadWord(text);
        escaped = params_->MayBeEscaped(word);
        ZEL_T_NMT::StoreWord(cursor_ + count_, word);  // what is not counted is replaced
        const uint32_t plain = ZEL_T_NMT::BytesBefore(escaped);
        text += plain;
        count_ += plain;
      }
      if (text == end) return;
    }
    PutChar(*text++);
  }
}

void OCharStream::PutAcrossBlocks(const char* bytes, size_t length) {
  while (length > 0) {
    if (count_ == kCapacity) WriteWaiting();
    const size_t piece = std::min<size_t>(length, kCapacity - count_);
    std::memcpy(cursor_ + count_, bytes, piece);
    count_ += static_cast<uint32_t>(piece);
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
  const uint32_t waiting = std::exchange(count_, 0);
  stream_.Write(cursor_, waiting);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
