#include "streamer/ochar_stream.h"

#include <algorithm>

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::kWordSize;

OCharStream::~OCharStream() {
  try {
    Finish();
  } catch (...) {  // NOLINT(bugprone-empty-catch): the error on its way is the one to report
  }
}

void OCharStream::Finish() {
  const auto waiting = static_cast<std::uint32_t>(std::exchange(end_, text_) - text_);
  if (waiting == 0) return;
  std::memcpy(block_.Data(), text_, waiting);
  stream_.Write(block_.Data(), waiting);
}

// Those that are held already stand outside of all that are not.
void OCharStream::HoldOpenValues() {
  for (OpenValue* open = openValues_; open != nullptr && open->held_.IsEmpty();
       open = open->outer_) {
    open->held_ = ZEL_T_NMT::CPOSObject(open->value_);
  }
}

char* OCharStream::WriteBlock(const char* end) {
  char* const blockEnd = text_ + kBlockSize;
  const auto rest = static_cast<std::size_t>(end - blockEnd);
  end_ = blockEnd;  // the block is whole should a value not be held
  HoldOpenValues();
  std::memcpy(block_.Data(), text_, kBlockSize);
  end_ = text_;  // nothing waits should the stream fail
  stream_.Write(block_.Data(), kBlockSize);
  std::memcpy(text_, blockEnd, rest);
  return text_ + rest;
}

namespace {

std::uint64_t Load4(const char* bytes) noexcept {
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// The word of the `count` bytes before `end`, 1 to 7, with zeros behind. The text is `length` bytes
// long: nothing before it is touched.
[[maybe_unused]] std::uint64_t LastBytes(const char* end, std::size_t count,
                                         std::size_t length) noexcept {
  if (length >= kWordSize) return ZEL_T_NMT::LoadWord(end - kWordSize) >> (64 - 8 * count);
  // Loads that overlap agree where they do.
  const char* const begin = end - count;
  if (count >= 4) return Load4(begin) | Load4(end - 4) << (8 * (count - 4));
  const auto byte = [&](std::size_t index) {
    return std::uint64_t{static_cast<unsigned char>(begin[index])} << (8 * index);
  };
  return byte(0) | byte(count / 2) | byte(count - 1);
}

}  // namespace

void OCharStream::PutText(const char* text, std::size_t length) {
  static_assert(kRoom >= kWordSize + sizeof WrittenByte::text);
  const char* const end = text + length;
  char* place = end_;
  if constexpr (ZEL_T_NMT::kHasByteWords) {
    const EscapedBytes escaped = params_->escaped;
    for (auto left = length; left > 0; left = static_cast<std::size_t>(end - text)) {
      const std::size_t count = std::min(left, kWordSize);
      const std::uint64_t word =
          left >= kWordSize ? ZEL_T_NMT::LoadWord(text) : LastBytes(end, left, length);
      ZEL_T_NMT::StoreWord(place, word);  // what is not counted is replaced
      const std::uint64_t found = escaped.Find(word);
      if (found == 0 || ZEL_T_NMT::BytesBefore(found) >= count) [[likely]] {
        text += count;
        place = WithinBlock(place + count);
      } else {
        text += ZEL_T_NMT::BytesBefore(found);
        place = PutEscapes(WithinBlock(place + ZEL_T_NMT::BytesBefore(found)), text, end);
      }
    }
  } else {
    while (text != end) place = PutEscapes(place, text, end);
  }
  end_ = place;
}

// Puts one character, and those that follow as long as they are escaped: of a character beyond
// ASCII there are several bytes.
char* OCharStream::PutEscapes(char* place, const char*& text, const char* end) {
  const StreamingParams& params = *params_;
  const char* at = text;
  std::size_t stored = 0;
  do {
    stored = StoreEscaped(params, place, *at++);
    place = WithinBlock(place + stored);
  } while (at != end && stored > 1);
  text = at;
  return place;
}

void OCharStream::PutRawBytes(const char* bytes, std::size_t length) {
  while (length > 0) {
    const std::size_t piece = std::min(length, kRoom);
    std::memcpy(end_, bytes, piece);
    Advance(piece);
    bytes += piece;
    length -= piece;
  }
}

void OCharStream::PutNewLine(std::uint32_t tabs) {
  constexpr char kFewTabs[] = "\n\t\t\t\t\t\t\t";
  constexpr std::uint32_t kLength = sizeof kFewTabs - 1;
  std::memcpy(end_, kFewTabs, kLength);  // of which what comes next replaces some
  Advance(std::size_t{1} + std::min(tabs, kLength - 1));
  for (; tabs >= kLength; --tabs) PutRaw('\t');
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
