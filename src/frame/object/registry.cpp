#include "frame/object/registry.h"

namespace ZEL_T_NMT {
namespace {

// Members are made in this order and given back in the reverse one.
class ImplementationRegistry : public CZELClientBase {
 public:
  const Implementation* Entries() const noexcept { return entries_; }

 private:
  static Implementation Make(const char* name, const char* interfaceName) {
    CZELStringAtom first(name);
    return {std::move(first), CZELStringAtom(interfaceName)};
  }

#define ZEL_MAKE_IMPLEMENTATION(id, name, interfaceName) Make(name, interfaceName),
  Implementation entries_[5] = {ZEL_IMPLEMENTATIONS(ZEL_MAKE_IMPLEMENTATION)};
#undef ZEL_MAKE_IMPLEMENTATION
};

constinit ImplementationRegistry* g_registry = nullptr;

}  // namespace

constinit const Implementation* g_implementations = nullptr;

void CreateImplementationRegistry() {
  if (g_registry != nullptr) return;
  g_registry = new ImplementationRegistry();
  g_implementations = g_registry->Entries();
}

void DestroyImplementationRegistry() noexcept {
  g_implementations = nullptr;
  delete g_registry;
  g_registry = nullptr;
}

void* PrimaryObject(ZELInstance instance, ImplementationId id) noexcept {
  if (instance == nullptr || g_implementations == nullptr) return nullptr;
  const ZELPrimaryInstance& primary = PrimaryInstance(instance);
  const Implementation& implementation = g_implementations[static_cast<std::uint32_t>(id)];
  return IsSameText(primary.implementationName, implementation.name.Text()) ? primary.object
                                                                            : nullptr;
}

void* ResolveElsewhere(ZELInstance instance, ImplementationId id) {
  const Implementation& implementation = ImplementationOf(id);
  void* object = PrimaryObject(instance, id);
  if (object != nullptr) return object;
  ZELCheck(Containers().NGetInstance(&object, instance, implementation.name.Atom()));
  if (object == nullptr) RaiseInvalidContainer();
  return object;
}

}  // namespace ZEL_T_NMT
