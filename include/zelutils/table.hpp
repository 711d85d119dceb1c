// Typed tables of procedures, for programs in C++ on either side of the binder.
//
// For each interface of the C headers there is a struct that has its name, the names of its methods
// and a slot of the right type for each, in the order of the interface's list:
//   zelutils::Table<zelutils::NumberInterface> numbers;
//   numbers.Import(lookup);
//   double value = numbers.Get(number);
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

#include "zelutils/zelutils.h"

namespace zelutils {

// The two names of a procedure within its interface.
struct Method {
  const char* name;
  const char* procType;
};

#define ZEL_TABLE_METHOD(method, procedureType) {#method, #procedureType},
#define ZEL_TABLE_SLOT(method, procedureType) ::procedureType method = nullptr;
#define ZEL_TABLE_INTERFACE(Name, interfaceName, METHODS)             \
  struct Name##Interface {                                            \
    static constexpr const char* kName = interfaceName;               \
    static constexpr Method kMethods[] = {METHODS(ZEL_TABLE_METHOD)}; \
    METHODS(ZEL_TABLE_SLOT)                                           \
  };
// The families of methods that instances offer have no name in the binder.
#define ZEL_TABLE_FAMILY(Name, METHODS) ZEL_TABLE_INTERFACE(Name, nullptr, METHODS)

ZEL_TABLE_INTERFACE(Binder, ZEL_BINDER_INTERFACE, ZEL_BINDER_METHODS)
ZEL_CORE_INTERFACES(ZEL_TABLE_INTERFACE)
ZEL_LIBRARY_INTERFACES(ZEL_TABLE_INTERFACE)
ZEL_STREAM_FAMILIES(ZEL_TABLE_FAMILY)
ZEL_DATA_STORE_FAMILIES(ZEL_TABLE_FAMILY)
ZEL_TABLE_FAMILY(Stream, ZEL_STREAM_METHODS)

#undef ZEL_TABLE_FAMILY
#undef ZEL_TABLE_INTERFACE
#undef ZEL_TABLE_SLOT
#undef ZEL_TABLE_METHOD

// The procedures of one interface. All slots are null until an import has found every method.
template <typename Interface>
class Table : public Interface {
 public:
  static constexpr std::size_t kCount = std::size(Interface::kMethods);
  using Procedures = std::array<ZELProc, kCount>;
  static_assert(std::is_trivially_copyable_v<Interface> && sizeof(Interface) == sizeof(Procedures));

  constexpr Table() noexcept = default;
  // With slots of the caller's; others are null.
  explicit constexpr Table(const Interface& slots) noexcept : Interface(slots) {}

  // Fills the slots, in the order of the methods.
  void Assign(const Procedures& procedures) noexcept {
    static_cast<Interface&>(*this) = std::bit_cast<Interface>(procedures);
  }

  // Asks `find(interface name, method name, procedure-type name)` for each procedure, from the last
  // to the first. Returns null when all were found; otherwise the first that was not, and the slots
  // stay as they were: what was made through them can still be given back through them.
  template <typename Find>
  const Method* Import(Find&& find) {
    Procedures found;
    for (std::size_t i = kCount; i-- > 0;) {
      const Method& method = Interface::kMethods[i];
      found[i] = find(Interface::kName, method.name, method.procType);
      if (found[i] == nullptr) return &method;
    }
    Assign(found);
    return nullptr;
  }

  // Imports unless that was done in this generation: for the binder's unregister counter, read
  // before the call, or for whatever else tells that procedures may have changed. 0 is never
  // current. A failed import is tried again by the next call.
  template <typename Find>
  const Method* Refresh(std::uint64_t generation, Find&& find) {
    if (generation_ == generation) return nullptr;
    const Method* const missing = Import(find);
    if (missing == nullptr) generation_ = generation;
    return missing;
  }
  bool IsOf(std::uint64_t generation) const noexcept { return generation_ == generation; }

 private:
  std::uint64_t generation_ = 0;
};

}  // namespace zelutils
