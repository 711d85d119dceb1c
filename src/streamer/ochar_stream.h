// Writes the text of values to a stream, escaped by the rules in force, in blocks of 512 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "streamer/char_stream.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// The cursor is the start of the buffer, the count how many bytes wait in it. A call that raises
// the error of a Write has given up the bytes waiting: nothing is ever written behind a gap.
class OCharStream final : public CharStream {
 public:
  using CharStream::CharStream;
  // Writes what still waits, when an error keeps Finish from being reached; that error stands, and
  // one of this last Write is dropped.
  ~OCharStream() override;

  // Writes what still waits; nothing may be put after it.
  void Finish() {
    if (count_ > 0) WriteWaiting();
  }

  // Writes a character of a value's content.
  virtual void PutChar(char character) {
    const char how = params_->HowToWriteByte(character);
    if (how == StreamingParams::kPlain) [[likely]] {
      PutRaw(character);
    } else {
      PutEscaped(character, how);
    }
  }

  // Writes a byte as it is.
  void PutRaw(char byte) {
    if (count_ == kCapacity) [[unlikely]]
      WriteWaiting();
    cursor_[count_++] = byte;
  }

  // As PutChar of each character.
  void PutText(const char* text, std::size_t length);
  // As PutRaw of each byte.
  void PutRawBytes(const char* bytes, std::size_t length) {
    if (length > kCapacity - count_) [[unlikely]] {
      PutAcrossBlocks(bytes, length);
      return;
    }
    // NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker): Room is null, the cursor never
    std::memcpy(cursor_ + count_, bytes, length);
    count_ += static_cast<std::uint32_t>(length);
  }
  // The place of the next bytes, where up to `most` may be stored for Advance to put; null where
  // the block has no room for as many.
  char* Room(std::uint32_t most) noexcept {
    return most <= kCapacity - count_ ? cursor_ + count_ : nullptr;
  }
  void Advance(std::size_t length) noexcept { count_ += static_cast<std::uint32_t>(length); }
  // As PutRaw of LF and of `tabs` TABs.
  void PutNewLine(std::uint32_t tabs) {
    constexpr char kFewTabs[] = "\n\t\t\t\t\t\t\t";
    constexpr std::uint32_t kLength = sizeof kFewTabs - 1;
    if (tabs < kLength && kLength <= kCapacity - count_) [[likely]] {
      std::memcpy(cursor_ + count_, kFewTabs, kLength);  // of which what comes next replaces some
      count_ += 1 + tabs;
      return;
    }
    PutRaw('\n');
    while (tabs-- > 0) PutRaw('\t');
  }

 private:
  std::uint32_t PutPlain(const char* text, std::size_t wanted) noexcept;
  void PutAcrossBlocks(const char* bytes, std::size_t length);
  void PutEscaped(char character, char how);
  void WriteWaiting();
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
