// Reads the text of values from a stream by the rules in force, 512 bytes ahead, and in the end
// gives back to the stream what it has not used.
#pragma once

#include <cstddef>
#include <cstdint>

#include "streamer/char_stream.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// The cursor is the next unread byte, the count how many unread bytes the buffer has.
class ICharStream final : public CharStream {
 public:
  using CharStream::CharStream;
  // Repositions the stream, when an error keeps Finish from being reached; that error stands, and
  // one of repositioning is dropped.
  ~ICharStream() override;

  // Repositions the stream right after the last byte used; nothing may be read after it. Raises the
  // error of the stream, and "stream position before its unread bytes" for a stream whose position
  // is smaller than what it has just delivered: there is no place to go back to.
  void Finish();

  // Stores the next character of the value's content. False at the value's closing character, which
  // is then used up. Raises "unexpected EOF" and "Unexpected escape sequence".
  virtual bool GetChar(char* character) {
    const char byte = NextRawChar();
    const RawByte meaning = params_->HowToReadByte(byte);
    if (meaning == RawByte::kContent) [[likely]] {
      *character = byte;
      return true;
    }
    if (meaning == RawByte::kClose) return false;
    *character = meaning == RawByte::kFolded ? ' ' : EscapedChar();
    return true;
  }

  // The next byte as it is. Raises "unexpected EOF".
  char NextRawChar() {
    if (count_ == 0) [[unlikely]]
      ReadBlock();
    --count_;
    return *cursor_++;
  }

  // As GetChar until the character is no space. Only for values that whitespace does not close.
  bool GetCharAfterSpaces(char* character) {
    do {
      char* const end = cursor_ + count_;
      char* cursor = cursor_;
      while (cursor != end && IsWhitespace(*cursor)) ++cursor;
      cursor_ = cursor;
      count_ = static_cast<std::uint32_t>(end - cursor);
      if (!GetChar(character)) return false;
    } while (*character == ' ');
    return true;
  }

  // Stores up to `wanted` characters and returns how many: fewer only when the value's closing
  // character came first. If `skipWhitespace`, whitespace is not kept; if `mustFill`, fewer raise
  // "GetChars ran out of input".
  std::uint32_t GetChars(char* buffer, std::uint32_t wanted, bool mustFill, bool skipWhitespace);

  // Decodes pairs of hexadecimal digits, up to `wanted`, as long as they stand in the buffer side
  // by side, and returns how many: 0 tells nothing but that GetChars has to take over.
  std::uint32_t GetBufferedHexPairs(unsigned char* bytes, std::uint32_t wanted) noexcept;

  // Stores a number that stands in the buffer with its closing character, and uses both up. False,
  // with nothing used up, when it does not, or takes more than `maxLength` bytes.
  bool GetBufferedNumber(double* number, std::uint32_t maxLength) noexcept;

 private:
  void ReadBlock();
  void Reposition();
  char EscapedChar();
  std::uint32_t CopyContent(char* buffer, std::uint32_t wanted) noexcept;

  bool finished_ = false;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
