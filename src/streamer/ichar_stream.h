// Reads the text of values from a stream by the rules in force, 512 bytes ahead, and in the end
// gives back to the stream what it has not used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "streamer/char_stream.h"
#include "streamer/text_buffer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// Behind the bytes of a block stands a word of zeros, so that a search for anything that is meant
// ends there. Before them there is room for the end of the block before it.
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
    if (cursor_ == end_) [[unlikely]]
      ReadBlock();
    return *cursor_++;
  }

  // Skips what mostly stands before a marker, as far as the block holds it, and returns the byte
  // behind it, which is not used up; NUL at the block's end.
  char PeekAfterSpaces() noexcept {
    SkipIndentation();
    if (*cursor_ == ' ') ++cursor_;
    return *cursor_;
  }
  // As GetChar until the character is no space; kClosed at the value's closing character. Only for
  // values that whitespace does not close.
  static constexpr int kClosed = -1;
  int GetCharAfterSpaces() {
    // Nothing behind the block's end is printable.
    if (const char byte = PeekAfterSpaces(); byte > ' ') [[likely]] {
      const RawByte meaning = params_->HowToReadByte(byte);
      if (meaning == RawByte::kContent || meaning == RawByte::kClose) [[likely]] {
        ++cursor_;
        return meaning == RawByte::kClose ? kClosed : byte;
      }
    }
    return GetCharAfterMore();
  }

  // Uses up the next byte, which the block must hold, where it stands for itself.
  bool SkipContent() noexcept {
    if (params_->HowToReadByte(*cursor_) != RawByte::kContent) return false;
    ++cursor_;
    return true;
  }

  // Stores up to `wanted` characters and returns how many: fewer only when the value's closing
  // character came first. If `skipWhitespace`, whitespace is not kept; if `mustFill`, fewer raise
  // "GetChars ran out of input".
  std::uint32_t GetChars(char* buffer, std::uint32_t wanted, bool mustFill, bool skipWhitespace);

  // The whole text up to the closing character, which is used up, with a NUL behind it: in `buffer`
  // or, until the next call, in the block; kWordSize bytes may be read of it whatever its length.
  // The rest behind a NUL in the text is dropped.
  // The first `plainBytes` bytes are known to be there as they are.
  std::string_view GetText(TextBuffer<char>& buffer, std::size_t plainBytes);

  // The same of a text that the block holds whole and as it is. For any other, nothing is used up,
  // and there is no text, but the number of bytes that are there as they are.
  struct PlainText {
    const char* text;
    std::size_t length;
  };
  PlainText GetPlainText() noexcept {
    if constexpr (!ZEL_T_NMT::kHasByteWords) return {nullptr, 0};
    const MeantBytes& meant = params_->meant;
    char* at = cursor_;
    std::uint64_t found = meant.Find(ZEL_T_NMT::LoadWord(at));
    for (; found == 0; found = meant.Find(ZEL_T_NMT::LoadWord(at))) at += ZEL_T_NMT::kWordSize;
    at += ZEL_T_NMT::BytesBefore(found);
    const auto length = static_cast<std::size_t>(at - cursor_);
    if (*at != params_->close || at == end_) return {nullptr, length};
    *at = '\0';
    return {std::exchange(cursor_, at + 1), length};
  }

  // The following take what stands in the block as plain digits, side by side, and leave the rest
  // to GetChars: pairs of hexadecimal digits as bytes, and groups of four as 16-bit units, up to
  // `wanted`; they return how many.
  std::uint32_t GetBufferedHexPairs(unsigned char* bytes, std::uint32_t wanted) noexcept;
  std::uint32_t GetBufferedUnits(std::uint16_t* units, std::uint32_t wanted) noexcept;
  // A number with its closing character. None, with nothing used up, when the block does not hold
  // both, or the number takes more than `maxLength` bytes.
  std::optional<double> GetBufferedNumber(std::uint32_t maxLength) noexcept;
  // The same of one to seven digits, which most numbers are; none for any other as well.
  std::optional<double> GetFewDigits() noexcept {
    if constexpr (!ZEL_T_NMT::kHasByteWords) return std::nullopt;
    const std::uint64_t word = ZEL_T_NMT::LoadWord(cursor_);
    const std::uint32_t digits = ZEL_T_NMT::BytesBefore(ZEL_T_NMT::BytesNoDigits(word));
    if (digits - 1 >= ZEL_T_NMT::kWordSize - 1 ||
        params_->HowToReadByte(cursor_[digits]) != RawByte::kClose) {
      return std::nullopt;
    }
    cursor_ += digits + 1;
    return static_cast<double>(ZEL_T_NMT::DigitsValue(word, digits));
  }
  // Reads the next block behind the rest of this one, if that is all content, and of no more than
  // `maxLength` bytes: the value goes on. False, with nothing read, for any other.
  bool ReadOn(std::uint32_t maxLength);

 private:
  std::uint32_t Unread() const noexcept { return static_cast<std::uint32_t>(end_ - cursor_); }
  void ReadBlock();
  void ReadBehindUnread();
  int GetCharAfterMore();
  void Reposition();
  // Skips, of what the block holds, a line's end and up to eight TABs behind it.
  void SkipIndentation() noexcept {
    if constexpr (ZEL_T_NMT::kHasByteWords) {
      if (*cursor_ != '\n') return;
      const char* const tabs = cursor_ + 1;
      cursor_ += 1 + ZEL_T_NMT::BytesBefore(ZEL_T_NMT::LoadWord(tabs) ^ ZEL_T_NMT::WordOf('\t'));
    }
  }
  char EscapedChar();
  bool PassPlainText() noexcept;
  bool DecodeBlock(TextBuffer<char>& buffer);
  const char* DecodeEscapes(const char* at, const char* end, char** out);
  // Uses up what stands before a place of the block.
  void SkipTo(const char* at) noexcept { cursor_ = text_ + (at - text_); }

  static constexpr std::ptrdiff_t kLongestEscape = 4;  // a backslash and three digits

  char text_[std::size_t{2} * kBlockSize + ZEL_T_NMT::kWordSize] = {};
  char* cursor_ = text_;  // the next unread byte
  char* end_ = text_;
  bool finished_ = false;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
