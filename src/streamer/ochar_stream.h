// Writes the text of values to a stream, escaped by the rules in force, in blocks of 512 bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "frame/client/pos_wrappers.h"
#include "streamer/char_stream.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// A block is written as soon as there is a byte behind it. The bytes are collected in a place with
// room for a piece of text behind the block, so that a piece is stored whole and only then, if at
// all, cut. A call that raises the error of a Write has given up the bytes waiting: nothing is ever
// written behind a gap.
class OCharStream final : public CharStream {
 public:
  using CharStream::CharStream;
  // Writes what still waits, when an error keeps Finish from being reached; that error stands, and
  // one of this last Write is dropped.
  ~OCharStream() override;

  // Writes what still waits; nothing may be put after it.
  void Finish();

  // A value on its way to the stream, for the life of this. Borrowed at first: the stream's Write
  // is the only code of somebody else's that runs while a value of the library's own is written,
  // and before each call of it all such values are held.
  class OpenValue {
   public:
    OpenValue(OCharStream& output, ZELInstance value) noexcept
        : output_(output), outer_(std::exchange(output.openValues_, this)), value_(value) {}
    OpenValue(const OpenValue&) = delete;
    OpenValue& operator=(const OpenValue&) = delete;
    ~OpenValue() { output_.openValues_ = outer_; }

   private:
    friend class OCharStream;
    OCharStream& output_;
    OpenValue* const outer_;
    const ZELInstance value_;
    ZEL_T_NMT::CPOSObject held_;
  };
  // Takes a reference to each open value; before anything of somebody else's is called. Raises what
  // CPOSObject raises.
  void HoldOpenValues();
  // The number of times that this was done, so that what is known of values of the library's own
  // holds as long as it stays; may begin again after 2^32 of them.
  std::uint32_t ForeignCalls() const noexcept { return foreignCalls_; }

  // Writes a character of a value's content.
  virtual void PutChar(char character) { Advance(StoreEscaped(*params_, end_, character)); }
  // As PutChar of each character.
  void PutText(const char* text, std::size_t length);
  // Puts the marker, which is never escaped, the content and the closing character of a kind, whose
  // content `store` stores at the place that it is given: as it is to stand there, at most kRoom
  // bytes. It returns their number.
  template <typename Store>
  void PutMarked(const StreamingParams& params, Store store) {
    char* place = end_;
    *place++ = params.open;
    place += store(place);
    *place++ = params.close;
    Advance(static_cast<std::size_t>(place - end_));
  }
  // The same of a text, where the stream is not called for it. False, with nothing put, where the
  // block might not hold all of it and a byte more.
  bool PutMarkedText(const StreamingParams& params, const char* text, std::size_t length);
  // The same with a space behind it.
  bool PutMarkedTextAndSpace(const StreamingParams& params, const char* text, std::size_t length) {
    if (!PutMarkedText(params, text, length)) return false;
    *end_++ = ' ';
    return true;
  }

  // Writes a byte as it is.
  void PutRaw(char byte) {
    char* const place = end_;
    *place = byte;
    end_ = WithinBlock(place + 1);
  }
  // As PutRaw of each byte.
  void PutRawBytes(const char* bytes, std::size_t length);
  // As PutRaw of LF and of `tabs` TABs.
  void PutNewLine(std::uint32_t tabs) {
    constexpr char kFewTabs[] = "\n\t\t\t\t\t\t\t";
    constexpr std::uint32_t kLength = sizeof kFewTabs - 1;
    char* const place = end_;
    std::memcpy(place, kFewTabs, kLength);  // of which what comes next replaces some
    end_ = WithinBlock(place + 1 + std::min(tabs, kLength - 1));
    for (; tabs >= kLength; --tabs) PutRaw('\t');
  }

  // The place of the next bytes, where up to kRoom may be stored for Advance to put.
  static constexpr std::size_t kRoom = 64;
  char* Place() noexcept { return end_; }
  void Advance(std::size_t length) {
    end_ += length;
    if (end_ > text_ + kBlockSize) [[unlikely]]
      end_ = WriteBlock(end_);
  }

 private:
  // Stores a character of the content, needs room for four bytes, and returns how many it takes.
  static std::size_t StoreEscaped(const StreamingParams& params, char* place,
                                  char character) noexcept {
    const WrittenByte& written = params.HowToWriteByte(character);
    std::memcpy(place, written.text.data(), sizeof written.text);
    return written.length;
  }
  // The place of the next bytes behind what is stored up to `end`: when that exceeds the block,
  // the block is written.
  char* WithinBlock(char* end) {
    if (end > text_ + kBlockSize) [[unlikely]]
      return WriteBlock(end);
    return end;
  }
  // Stores a text and returns the place behind it. `within`, which may write a block, is given the
  // place after each step of less than kRoom bytes, and returns the one to go on at.
  template <typename Within>
  static char* StoreText(const StreamingParams& params, char* place, const char* text,
                         std::size_t length, Within within);
  bool PutLongMarkedText(const StreamingParams& params, const char* text, std::size_t length);
  static char* StoreWithin(const StreamingParams& params, char* place, const char* text,
                           std::size_t length);
  char* WriteBlock(const char* end);

  OpenValue* openValues_ = nullptr;  // the innermost one
  std::uint32_t foreignCalls_ = 0;
  char text_[kBlockSize + sizeof WrittenByte::text + kRoom + 1];
  char* end_ = text_;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
