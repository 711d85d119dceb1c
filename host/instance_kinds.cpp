#include "instance_kinds.h"

#include <map>
#include <tuple>

namespace zelhost {

constinit const Kind* kinds = nullptr;

namespace {

struct State {
  std::vector<Kind> kinds;
  std::map<std::tuple<ZELStringAtom, ZELStringAtom, ZELDestroyProc>, std::uint32_t> index;
};

constinit State* state = nullptr;

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
  try {
    state->kinds.push_back(
        {implementation, interfaceName, destroy, implementationText, interfaceText, isStream});
  } catch (...) {
    state->index.erase(position);
    throw;
  }
  KeepAtom(implementation);
  KeepAtom(interfaceName);
  kinds = state->kinds.data();
  return position->second = static_cast<std::uint32_t>(state->kinds.size() - 1);
}

}  // namespace zelhost
