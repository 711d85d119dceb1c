#include "instance_kinds.h"

#include <map>
#include <new>
#include <tuple>

namespace zelhost {

constinit const Kind* kinds = nullptr;

namespace {

struct State {
  std::vector<Kind> kinds;
  std::map<std::tuple<ZELStringAtom, ZELStringAtom, ZELDestroyProc>, std::uint32_t> index;
};

constinit State* state = nullptr;

// Throws bad_alloc, and holds neither then.
void HoldNames(ZELStringAtom implementation, ZELStringAtom interfaceName) {
  if (!KeepAtom(implementation)) throw std::bad_alloc();
  if (KeepAtom(interfaceName)) return;
  DropAtom(implementation);
  throw std::bad_alloc();
}

}  // namespace

void OpenKinds() {
  state = new State;
  state->kinds.push_back({});
  kinds = state->kinds.data();
}

void CloseKinds() noexcept {
  delete state;
  state = nullptr;
  kinds = nullptr;
}

std::uint32_t FindOrAddKind(ZELStringAtom implementation, ZELStringAtom interfaceName,
                            ZELDestroyProc destroy, bool isStream) {
  const char* implementationText = AtomText(implementation);
  const char* interfaceText = AtomText(interfaceName);
  if (implementationText == nullptr || interfaceText == nullptr) return 0;
  const auto [position, added] =
      state->index.try_emplace({implementation, interfaceName, destroy}, 0u);
  if (!added) return position->second;
  const std::size_t number = state->kinds.size();
  try {
    state->kinds.push_back(
        {implementation, interfaceName, destroy, implementationText, interfaceText, isStream});
    kinds = state->kinds.data();
    HoldNames(implementation, interfaceName);
  } catch (...) {
    state->kinds.resize(number);
    state->index.erase(position);
    throw;
  }
  return position->second = static_cast<std::uint32_t>(number);
}

}  // namespace zelhost
