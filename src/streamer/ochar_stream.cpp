#include "streamer/ochar_stream.h"

#include <algorithm>

#include "frame/base/compiler.h"

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
  ++foreignCalls_;
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

// Stores a text as it is, up to the first word with a byte that may have to be escaped, and returns
// the number of bytes before that word; of a text of less than a word, nothing.
inline std::size_t StorePlain(const EscapedBytes& set, char* place, const char* text,
                              std::size_t length) noexcept {
  if (!ZEL_T_NMT::kHasByteWords || length < kWordSize) return 0;
  const EscapedBytes escaped = set;
  const auto storeWord = [&](std::size_t at) {
    const std::uint64_t word = ZEL_T_NMT::LoadWord(text + at);
    ZEL_T_NMT::StoreWord(place + at, word);
    return escaped.Find(word) == 0;
  };
  const std::size_t last = length - kWordSize;
  std::size_t at = 0;
  for (; at < last; at += kWordSize) {
    if (!storeWord(at)) return at;
  }
  // The last word overlaps the one before it.
  return storeWord(last) ? length : at;
}

}  // namespace

// Characters that are escaped come several in a row: of one beyond ASCII there are several bytes.
template <typename Within>
char* OCharStream::StoreText(const StreamingParams& params, char* place, const char* text,
                             std::size_t length, Within within) {
  static_assert(kRoom >= kWordSize + sizeof WrittenByte::text);
  const char* const end = text + length;
  const EscapedBytes escaped = params.escaped;
  while (text != end) {
    if constexpr (ZEL_T_NMT::kHasByteWords) {
      const auto left = static_cast<std::size_t>(end - text);
      const std::size_t count = std::min(left, kWordSize);
      const std::uint64_t word =
          left >= kWordSize ? ZEL_T_NMT::LoadWord(text) : LastBytes(end, left, length);
      ZEL_T_NMT::StoreWord(place, word);  // what is not counted is replaced
      const std::uint64_t found = escaped.Find(word);
      const std::size_t plain =
          found == 0 ? count : std::min<std::size_t>(ZEL_T_NMT::BytesBefore(found), count);
      text += plain;
      place = within(place + plain);
      if (plain == count) [[likely]]
        continue;
    }
    std::size_t stored = 0;
    do {
      stored = StoreEscaped(params, place, *text++);
      place = within(place + stored);
    } while (text != end && stored > 1);
  }
  return place;
}

void OCharStream::PutText(const char* text, std::size_t length) {
  end_ =
      StoreText(*params_, end_, text, length, [this](char* place) { return WithinBlock(place); });
}

// Of a text for which there is room; out of line, since most texts are stored without it.
ZEL_NEVER_INLINE char* OCharStream::StoreWithin(const StreamingParams& params, char* place,
                                                const char* text, std::size_t length) {
  return StoreText(params, place, text, length, [](char* stored) { return stored; });
}

bool OCharStream::PutMarkedText(const StreamingParams& params, const char* text,
                                std::size_t length) {
  char* const place = end_ + 1;
  // Short texts that are stored as they are take this function alone.
  if (!ZEL_T_NMT::kHasByteWords || length - 1 >= 2 * kWordSize ||
      place + length + 1 >= text_ + kBlockSize) {
    return PutLongMarkedText(params, text, length);
  }
  const EscapedBytes& escaped = params.escaped;
  if (length >= kWordSize) {
    const std::uint64_t first = ZEL_T_NMT::LoadWord(text);
    ZEL_T_NMT::StoreWord(place, first);
    if (escaped.Find(first) != 0) [[unlikely]]
      return PutLongMarkedText(params, text, length);
    // The last word overlaps the first one.
    const std::uint64_t last = ZEL_T_NMT::LoadWord(text + length - kWordSize);
    ZEL_T_NMT::StoreWord(place + length - kWordSize, last);
    if (length > kWordSize && escaped.Find(last) != 0) [[unlikely]]
      return PutLongMarkedText(params, text, length);
  } else {
    // Of the zeros behind the text, the set may have the first one at the earliest.
    const std::uint64_t word = LastBytes(text + length, length, length);
    ZEL_T_NMT::StoreWord(place, word);
    if (ZEL_T_NMT::BytesBefore(escaped.Find(word)) < length) [[unlikely]]
      return PutLongMarkedText(params, text, length);
  }
  place[-1] = params.open;
  place[length] = params.close;
  end_ = place + length + 1;
  return true;
}

ZEL_NEVER_INLINE bool OCharStream::PutLongMarkedText(const StreamingParams& params,
                                                     const char* text, std::size_t length) {
  constexpr std::size_t kMostOfByte = sizeof WrittenByte::text;
  const auto room = static_cast<std::size_t>(text_ + kBlockSize - end_);
  if (length >= kBlockSize / kMostOfByte || room < length * kMostOfByte + 3) return false;
  char* place = end_;
  *place++ = params.open;
  const std::size_t plain = StorePlain(params.escaped, place, text, length);
  place += plain;
  if (plain != length) [[unlikely]] {
    place = StoreWithin(params, place, text + plain, length - plain);
  }
  *place++ = params.close;
  end_ = place;
  return true;
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

}  // namespace NPOSStreamerImpl::NTypeAImpl
