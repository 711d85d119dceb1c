#include "streamer/ichar_stream.h"

#include <algorithm>
#include <cstring>

#include "frame/base/decimal.h"
#include "frame/core/error.h"
#include "streamer/hex_digits.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::RaisePOSException;

ICharStream::~ICharStream() {
  if (finished_) return;
  try {
    Reposition();
  } catch (...) {  // NOLINT(bugprone-empty-catch): the error on its way is the one to report
  }
}

void ICharStream::Finish() {
  finished_ = true;
  Reposition();
}

void ICharStream::Reposition() {
  const std::uint32_t position = stream_.Mark();
  if (position < count_) RaisePOSException("stream position before its unread bytes");
  stream_.Seek(position - count_, 0);
}

void ICharStream::ReadBlock() {
  cursor_ = static_cast<char*>(buffer_.Data());
  count_ = stream_.Read(cursor_, kCapacity);
  if (count_ == 0) RaisePOSException("unexpected EOF");
}

char ICharStream::EscapedChar() {
  const char first = NextRawChar();
  if (first >= '0' && first <= '9') {
    // The other two bytes count as octal digits whatever they are.
    const char second = NextRawChar();
    const char third = NextRawChar();
    const int value = (first - '0') * 64 + (second - '0') * 8 + (third - '0');
    return static_cast<char>(static_cast<unsigned char>(value & 0xFF));
  }
  const EscapePair* pair = params_->FindLetter(first);
  if (pair == nullptr) RaisePOSException("Unexpected escape sequence");
  return pair->character;
}

// Takes the run of bytes in the buffer that stand for themselves.
inline std::uint32_t ICharStream::CopyContent(char* buffer, std::uint32_t wanted) noexcept {
  const std::uint32_t limit = std::min(wanted, count_);
  const char* const bytes = cursor_;
  const StreamingParams& params = *params_;
  std::uint32_t length = 0;
  if constexpr (ZEL_T_NMT::kHasByteWords) {
    std::uint64_t meant = 0;
    while (meant == 0 && limit - length >= ZEL_T_NMT::kWordSize) {
      const std::uint64_t word = ZEL_T_NMT::LoadWord(bytes + length);
      meant = params.MayBeMeant(word);
      ZEL_T_NMT::StoreWord(buffer + length, word);  // what is not counted is replaced
      length += ZEL_T_NMT::BytesBefore(meant);
    }
  }
  for (; length < limit && params.HowToReadByte(bytes[length]) == RawByte::kContent; ++length) {
    buffer[length] = bytes[length];
  }
  cursor_ += length;
  count_ -= length;
  return length;
}

std::uint32_t ICharStream::GetChars(char* buffer, std::uint32_t wanted, bool mustFill,
                                    bool skipWhitespace) {
  std::uint32_t kept = 0;
  while (kept < wanted) {
    if (!skipWhitespace) {
      kept += CopyContent(buffer + kept, wanted - kept);
      if (kept == wanted) break;
    }
    char character;
    if (!GetChar(&character)) break;
    if (skipWhitespace && IsWhitespace(character)) continue;
    buffer[kept++] = character;
  }
  if (mustFill && kept < wanted) RaisePOSException("GetChars ran out of input");
  return kept;
}

std::uint32_t ICharStream::GetBufferedHexPairs(unsigned char* bytes,
                                               std::uint32_t wanted) noexcept {
  const std::uint32_t limit = std::min(wanted, count_ / 2);
  std::uint32_t pairs = 0;
  for (; pairs < limit; ++pairs, cursor_ += 2) {
    const int value = HexPairValue(cursor_[0], cursor_[1]);
    if (value < 0) break;
    bytes[pairs] = static_cast<unsigned char>(value);
  }
  count_ -= 2 * pairs;
  return pairs;
}

bool ICharStream::GetBufferedNumber(double* number, std::uint32_t maxLength) noexcept {
  const std::uint32_t limit = std::min(maxLength + 1, count_);
  const ZEL_T_NMT::Decimal decimal = ZEL_T_NMT::DecimalPrefix(cursor_, limit, true);
  if (decimal.length == 0 || decimal.length == limit ||
      params_->HowToReadByte(cursor_[decimal.length]) != RawByte::kClose) {
    return false;
  }
  const auto used = static_cast<std::uint32_t>(decimal.length) + 1;
  cursor_ += used;
  count_ -= used;
  *number = decimal.value;
  return true;
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
