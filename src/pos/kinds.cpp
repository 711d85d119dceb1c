// The operations of each kind of object, and the destruction of objects.
#include "pos/base_object.h"

#include <type_traits>

#include "pos/array.h"
#include "pos/dict.h"
#include "pos/scalars.h"

namespace NPOSObjectImpl {
namespace {

template <typename T>
ZEL_NEVER_INLINE void Destroy(BaseObject& object) noexcept {
  delete &static_cast<T&>(object);
}

// A class has IsEqual for an object of its own; a composite has Clone, which returns a new object.
template <typename T>
constexpr Kind kKindOf = {
    [](BaseObject& object) -> BaseObject* {
      static_assert(IsComposite(T::kType) == std::is_base_of_v<Composite, T>);
      if constexpr (IsComposite(T::kType)) {
        return static_cast<T&>(object).Clone();
      } else {
        return &object;
      }
    },
    [](BaseObject& object, BaseObject& other) {
      T* const sameKind = DownCast<T>(other);
      return sameKind != nullptr && static_cast<T&>(object).IsEqual(*sameKind);
    },
    &Destroy<T>,
};

}  // namespace

#define ZEL_KIND(Name, ...) , kKindOf<Name>
constinit const Kind kKinds[] = {{} POS_KINDS(ZEL_KIND)};
#undef ZEL_KIND

// Destroying a composite makes the host release its members, which may destroy them in turn. Down
// to a depth that any stack has room for this is left to recursion, so that members go in their
// order; what lies deeper waits until the outermost destruction is through.
class DestructionQueue {
 public:
  ZEL_NEVER_INLINE void Destroy(Composite* composite) noexcept {
    if (depth_ >= kMaxDepth) {
      composite->nextPending = pending_;
      pending_ = composite;
      return;
    }
    DestroyNow(composite);
    while (depth_ == 0 && pending_ != nullptr) {
      Composite* next = pending_;
      pending_ = next->nextPending;
      DestroyNow(next);
    }
  }

 private:
  static constexpr std::uint32_t kMaxDepth = 64;

  void DestroyNow(Composite* composite) noexcept {
    ++depth_;
    KindOf(*composite).destroy(*composite);
    --depth_;
  }

  std::uint32_t depth_ = 0;
  Composite* pending_ = nullptr;
};

namespace {

constinit DestructionQueue g_destructions;

}  // namespace

void DestroyPublished(void* object) noexcept {
  auto& value = *static_cast<BaseObject*>(object);
  switch (value.Type()) {
    case POSTypeNumber:  // this kind and the next one by name, since they are the most frequent
      return Destroy<Number>(value);
    case POSTypeString:
      return Destroy<String>(value);
    case POSTypeArray:
    case POSTypeDict:
      return g_destructions.Destroy(static_cast<Composite*>(&value));
    default:
      return KindOf(value).destroy(value);
  }
}

}  // namespace NPOSObjectImpl
