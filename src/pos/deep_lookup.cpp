#include "pos/deep_lookup.h"

#include <cstring>
#include <limits>

#include "pos/array.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::BinderBlock;

// Takes the steps of a path, each of which leads from one object to a member of it.
class Walk {
 public:
  // The walk cuts keys out of the path's text by writing to it.
  explicit Walk(char* path) noexcept : rest_(path) {}

  // The handle of the member that the path leads to, or null.
  ZELInstance From(Dict& dict) {
    ZELInstance reached = TakeKey(dict);
    while (reached != nullptr && *rest_ != '\0') reached = Step(reached);
    return reached;
  }

 private:
  ZELInstance Step(ZELInstance from) {
    if (*rest_ == '.') {
      const Dict* dict = QuietCheck<Dict>(from);
      return dict == nullptr ? nullptr : TakeKey(*dict);
    }
    if (*rest_ == '[') {
      const Array* array = QuietCheck<Array>(from);
      return array == nullptr ? nullptr : TakeSubscript(*array);
    }
    return nullptr;  // text right after a "]"
  }

  // The path goes on with "." and a key, which ends at the next "." or "[".
  ZELInstance TakeKey(const Dict& dict) {
    char* const key = rest_ + 1;
    rest_ = key + std::strcspn(key, ".[");
    const char after = *rest_;
    *rest_ = '\0';
    const ZELInstance member = dict.Get(key);
    *rest_ = after;
    return member;
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

  char* rest_;
};

}  // namespace

ZELInstance DeepGet(Dict& dict, const char* path) {
  const std::size_t length = std::strlen(path);
  const std::size_t lead = *path == '.' ? 0 : 1;
  const BinderBlock<char> buffer(length + lead + 1);
  buffer.Get()[0] = '.';
  std::memcpy(buffer.Get() + lead, path, length + 1);
  try {
    return Walk(buffer.Get()).From(dict);
  } catch (...) {
    return nullptr;
  }
}

}  // namespace NPOSObjectImpl
