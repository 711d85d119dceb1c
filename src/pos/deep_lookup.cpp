#include "pos/deep_lookup.h"

#include <cstring>
#include <limits>

#include "frame/base/byte_words.h"
#include "frame/base/compiler.h"
#include "pos/array.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::kWordSize;

// The end of a key: the next "." or "[" or the NUL at the path's end, behind which there is a word.
ZEL_ALWAYS_INLINE const char* EndOfKey(const char* at) noexcept {
  if constexpr (!ZEL_T_NMT::kHasByteWords) return at + std::strcspn(at, ".[");
  for (;; at += kWordSize) {
    const std::uint64_t word = ZEL_T_NMT::LoadWord(at);
    const std::uint64_t ends = ZEL_T_NMT::BytesBelow(word, 1) | ZEL_T_NMT::BytesEqual(word, '.') |
                               ZEL_T_NMT::BytesEqual(word, '[');
    if (ends != 0) return at + ZEL_T_NMT::BytesBefore(ends);
  }
}

// Takes the steps of a path, each of which leads from one object to a member of it.
class Walk {
 public:
  explicit Walk(const char* path) noexcept : rest_(path) {}

  // The handle of the member that the path leads to, or null.
  ZELInstance From(const Dict& dict) {
    // The first key may have a "." before it, as all others do.
    if (*rest_ == '.') ++rest_;
    ZELInstance reached = TakeKey(dict);
    while (reached != nullptr && *rest_ != '\0') reached = Step(reached);
    return reached;
  }

 private:
  ZELInstance Step(ZELInstance from) {
    if (*rest_ == '.') {
      const Dict* dict = QuietCheck<Dict>(from);
      ++rest_;
      return dict == nullptr ? nullptr : TakeKey(*dict);
    }
    if (*rest_ == '[') {
      const Array* array = QuietCheck<Array>(from);
      return array == nullptr ? nullptr : TakeSubscript(*array);
    }
    return nullptr;  // text right after a "]"
  }

  // The path goes on with a key, which ends at the next "." or "[".
  ZELInstance TakeKey(const Dict& dict) noexcept {
    const char* const key = rest_;
    rest_ = EndOfKey(key);
    return dict.Get(SoughtKey{key, static_cast<std::size_t>(rest_ - key)});
  }

  // The path goes on with "[", digits and "]". An index beyond 32 bits is beyond any array's end.
  ZELInstance TakeSubscript(const Array& array) {
    constexpr std::uint64_t kBeyond = std::numeric_limits<std::uint32_t>::max();
    const char* const digits = ++rest_;
    std::uint64_t index = 0;
    for (; *rest_ >= '0' && *rest_ <= '9'; ++rest_) {
      index = index * 10 + static_cast<std::uint64_t>(*rest_ - '0');
      if (index > kBeyond) index = kBeyond;
    }
    if (rest_ == digits || *rest_ != ']') return nullptr;
    ++rest_;
    return array.GetAt(static_cast<std::uint32_t>(index));
  }

  const char* rest_;
};

}  // namespace

ZELInstance DeepGet(const Dict& dict, const char* path) {
  // Code that is asked for objects on the way may let go of the path's atom: the walk has a copy.
  const std::size_t length = std::strlen(path);
  const ZEL_T_NMT::BinderBlock<char> copy(length + kWordSize);
  std::memcpy(copy.Get(), path, length);
  ZEL_T_NMT::StoreWord(copy.Get() + length, 0);
  try {
    return Walk(copy.Get()).From(dict);
  } catch (...) {
    return nullptr;
  }
}

}  // namespace NPOSObjectImpl
