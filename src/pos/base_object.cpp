#include "pos/base_object.h"

namespace NPOSObjectImpl {

// Destroying a composite makes the host release its members, which may destroy them in turn. Down
// to a depth that any stack has room for this is left to recursion, so that members go in their
// order; what lies deeper waits until the outermost destruction is through.
class DestructionQueue {
 public:
  void Destroy(Composite* composite) noexcept {
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
    composite->Kind().destroy(composite);
    --depth_;
  }

  std::uint32_t depth_ = 0;
  Composite* pending_ = nullptr;
};

namespace {

constinit DestructionQueue g_destructions;

}  // namespace

void DestroyPublished(void* object) noexcept {
  auto* const value = static_cast<BaseObject*>(object);
  if (!value->Kind().isComposite) return value->Kind().destroy(value);
  g_destructions.Destroy(static_cast<Composite*>(value));
}

constinit std::uint32_t g_cloneDepth = 0;
constinit std::uint32_t g_equalDepth = 0;

}  // namespace NPOSObjectImpl
