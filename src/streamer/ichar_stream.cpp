#include "streamer/ichar_stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/base/decimal.h"
#include "frame/core/error.h"
#include "streamer/hex_digits.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::BytesBefore;
using ZEL_T_NMT::kHasByteWords;
using ZEL_T_NMT::kWordSize;
using ZEL_T_NMT::LoadWord;
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
  if (position < Unread()) RaisePOSException("stream position before its unread bytes");
  stream_.Seek(position - Unread(), 0);
}

void ICharStream::ReadBlock() {
  char* const place = text_ + kBlockSize;
  cursor_ = end_ = place;
  const std::uint32_t count = stream_.Read(block_.Data(), kBlockSize);
  if (count == 0) RaisePOSException("unexpected EOF");
  std::memcpy(place, block_.Data(), count);
  end_ = place + count;
  std::memset(end_, 0, kWordSize);
}

// The same where some bytes are unread, at most kBlockSize, which stay; should this raise, they are
// used up.
void ICharStream::ReadBehindUnread() {
  const std::uint32_t unread = Unread();
  char* const place = text_ + kBlockSize - unread;
  std::memmove(place, cursor_, unread);
  ReadBlock();
  cursor_ = place;
}

bool ICharStream::ReadOn(std::uint32_t maxLength) {
  if (Unread() > maxLength) return false;
  for (const char* at = cursor_; at != end_; ++at) {
    if (params_->HowToReadByte(*at) != RawByte::kContent) return false;
  }
  ReadBehindUnread();
  return true;
}

namespace {

// The character that three bytes name: the last two count as octal digits whatever they are.
char OctalChar(char first, char second, char third) noexcept {
  const int value = (first - '0') * 64 + (second - '0') * 8 + (third - '0');
  return static_cast<char>(static_cast<unsigned char>(value & 0xFF));
}

bool IsDigit(char character) noexcept { return character >= '0' && character <= '9'; }

char CharOfLetter(const StreamingParams& params, char letter) {
  const EscapePair* pair = params.FindLetter(letter);
  if (pair == nullptr) RaisePOSException("Unexpected escape sequence");
  return pair->character;
}

}  // namespace

char ICharStream::EscapedChar() {
  const char first = NextRawChar();
  if (!IsDigit(first)) return CharOfLetter(*params_, first);
  const char second = NextRawChar();
  return OctalChar(first, second, NextRawChar());
}

// The same after more spaces, other ones, or a block's end, and of a character that is escaped.
int ICharStream::GetCharAfterMore() {
  char character;
  do {
    SkipIndentation();
    while (IsWhitespace(*cursor_)) ++cursor_;
    if (!GetChar(&character)) return kClosed;
  } while (character == ' ');
  return static_cast<unsigned char>(character);
}

std::uint32_t ICharStream::GetChars(char* buffer, std::uint32_t wanted, bool mustFill,
                                    bool skipWhitespace) {
  std::uint32_t kept = 0;
  char character;
  while (kept < wanted && GetChar(&character)) {
    if (!skipWhitespace || !IsWhitespace(character)) buffer[kept++] = character;
  }
  if (mustFill && kept < wanted) RaisePOSException("GetChars ran out of input");
  return kept;
}

std::string_view ICharStream::GetText(TextBuffer<char>& buffer, std::size_t plainBytes) {
  char* begin = cursor_;
  cursor_ += plainBytes;
  bool closed = PassPlainText();
  if (!closed && cursor_ == end_ && end_ - begin <= std::ptrdiff_t{kBlockSize}) {
    // The text goes on in the next block.
    cursor_ = begin;
    const auto plain = Unread();
    ReadBehindUnread();
    begin = std::exchange(cursor_, cursor_ + plain);
    closed = PassPlainText();
  }
  if (closed) [[likely]] {
    cursor_[-1] = '\0';
    return {begin, static_cast<std::size_t>(cursor_ - 1 - begin)};
  }
  const auto plain = static_cast<std::size_t>(cursor_ - begin);
  std::memcpy(buffer.Reserve(static_cast<std::uint32_t>(plain)), begin, plain);
  buffer.Advance(plain);
  while (!DecodeBlock(buffer)) {
  }
  buffer.Reserve(static_cast<std::uint32_t>(kWordSize));
  return buffer.Terminated();
}

// Uses up what the block holds of a text as it is, but for whitespace, which is folded there. True
// when that was all of the text, and its closing character is used up.
inline bool ICharStream::PassPlainText() noexcept {
  const StreamingParams& params = *params_;
  const MeantBytes meant = params.meant;
  char* at = cursor_;
  bool closed;
  for (;;) {
    if constexpr (kHasByteWords) {
      std::uint64_t found = meant.Find(LoadWord(at));
      for (; found == 0; found = meant.Find(LoadWord(at))) at += kWordSize;
      at += BytesBefore(found);
    }
    const RawByte meaning = params.HowToReadByte(*at);
    closed = meaning == RawByte::kClose && at != end_;
    if (closed) [[likely]]
      break;
    if (*at == '\0' || meaning == RawByte::kEscape) break;
    if (meaning == RawByte::kFolded) *at = ' ';
    ++at;
  }
  cursor_ = closed ? at + 1 : at;
  return closed;
}

// Takes the block's part of a text. True when the closing character was there.
bool ICharStream::DecodeBlock(TextBuffer<char>& buffer) {
  if (cursor_ == end_) ReadBlock();
  const StreamingParams& params = *params_;
  const MeantBytes meant = params.meant;
  char* const place = buffer.Reserve(Unread() + static_cast<std::uint32_t>(kWordSize));
  char* out = place;
  // Stores to `out` might change members; not these.
  const char* at = cursor_;
  const char* const end = end_;
  bool closed = false;
  while (at != end) {
    if constexpr (kHasByteWords) {
      const std::uint64_t word = LoadWord(at);
      const std::uint64_t found = meant.Find(word);
      const std::size_t plain = found == 0 ? kWordSize : BytesBefore(found);
      ZEL_T_NMT::StoreWord(out, word);  // what is not counted is replaced
      out += plain;
      at += plain;
      if (plain == kWordSize || at == end) continue;
    }
    const RawByte meaning = params.HowToReadByte(*at);
    if (meaning == RawByte::kEscape) {
      if (end - at >= kLongestEscape) {
        at = DecodeEscapes(at, end, &out);
        continue;
      }
      // The escape's end may be in the next block, which ends this one's part.
      SkipTo(at + 1);
      *out++ = EscapedChar();
      buffer.Advance(static_cast<std::size_t>(out - place));
      return false;
    }
    const char byte = *at++;
    closed = meaning == RawByte::kClose;
    if (closed) break;
    *out++ = meaning == RawByte::kFolded ? ' ' : byte;
  }
  SkipTo(at);
  buffer.Advance(static_cast<std::size_t>(out - place));
  return closed;
}

// Stores the characters of escapes that follow one another, as many as stand before `end` whole,
// of which there is one; a character beyond ASCII is several of them. Returns the place behind.
inline const char* ICharStream::DecodeEscapes(const char* at, const char* end, char** out) {
  char* place = *out;
  do {
    if (IsDigit(at[1])) [[likely]] {
      *place++ = OctalChar(at[1], at[2], at[3]);
      at += kLongestEscape;
    } else {
      SkipTo(at + 2);
      *place++ = CharOfLetter(*params_, at[1]);
      at += 2;
    }
  } while (end - at >= kLongestEscape && *at == '\\');
  *out = place;
  return at;
}

std::uint32_t ICharStream::GetBufferedHexPairs(unsigned char* bytes,
                                               std::uint32_t wanted) noexcept {
  const std::uint32_t limit = std::min(wanted, Unread() / 2);
  std::uint32_t pairs = 0;
  for (; pairs < limit; ++pairs, cursor_ += 2) {
    const int value = HexPairValue(cursor_[0], cursor_[1]);
    if (value < 0) break;
    bytes[pairs] = static_cast<unsigned char>(value);
  }
  return pairs;
}

std::uint32_t ICharStream::GetBufferedUnits(std::uint16_t* units, std::uint32_t wanted) noexcept {
  const std::uint32_t limit = std::min(wanted, Unread() / 4);
  std::uint32_t count = 0;
  for (; count < limit; ++count, cursor_ += 4) {
    const int value = HexGroupValue(cursor_);
    if (value < 0) break;
    units[count] = static_cast<std::uint16_t>(value);
  }
  return count;
}

std::optional<double> ICharStream::GetBufferedNumber(std::uint32_t maxLength) noexcept {
  const std::uint32_t limit = std::min(maxLength + 1, Unread());
  const ZEL_T_NMT::Decimal decimal = ZEL_T_NMT::DecimalPrefix(cursor_, limit, true);
  if (decimal.length == 0 || decimal.length == limit ||
      params_->HowToReadByte(cursor_[decimal.length]) != RawByte::kClose) {
    return std::nullopt;
  }
  cursor_ += decimal.length + 1;
  return decimal.value;
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
