#include "frame/client/own_operations.h"

#include <cstring>

namespace ZEL_T_NMT {
namespace {

// The addresses that a subsystem registers under the name of an interface.
template <typename Interface>
typename Table<Interface>::Procedures ProceduresOf(std::span<const ExportedInterface> exported) {
  typename Table<Interface>::Procedures procedures{};
  for (const ExportedInterface& candidate : exported) {
    if (std::strcmp(candidate.name, Interface::kName) != 0) continue;
    for (std::size_t i = 0; i < procedures.size(); ++i) {
      procedures[i] = candidate.procedures[i].address();
    }
  }
  return procedures;
}

template <typename Interface>
bool AreSame(const Interface& table, const typename Table<Interface>::Procedures& procedures) {
  return std::bit_cast<typename Table<Interface>::Procedures>(table) == procedures;
}

constinit Table<zelutils::ObjectInterface>::Procedures g_ownObjectProcedures{};

}  // namespace

constinit OwnOperations g_own{};
constinit POSInterfaces g_pos;
constinit OwnMethods g_ownMethods;

template <typename Interface>
void POSInterface<Interface>::Know(std::span<const ExportedInterface> exported) {
  own_ = ProceduresOf<Interface>(exported);
}

template <typename Interface>
bool POSInterface<Interface>::Settle() {
  const std::uint64_t generation = g_link.Generation();
  const Table<Interface>* const table = this->Get();
  if (table == nullptr || !AreSame<Interface>(*table, own_)) return false;
  ownGeneration_ = generation;
  return true;
}

#define ZEL_POS_INTERFACE(Name, interface, ...) \
  template class POSInterface<zelutils::Name##Interface>;
POS_KINDS(ZEL_POS_INTERFACE)
#undef ZEL_POS_INTERFACE
template class POSInterface<zelutils::DictIteratorInterface>;
template class POSInterface<zelutils::ObjectStaticsInterface>;

void KnowObjectModel(const OwnOperations& operations, std::span<const ExportedInterface> exported) {
  g_own = operations;
  g_ownObjectProcedures = ProceduresOf<zelutils::ObjectInterface>(exported);
#define ZEL_KNOW(Name, interface, ...) g_pos.interface.Know(exported);
  POS_KINDS(ZEL_KNOW)
#undef ZEL_KNOW
  g_pos.dictIterators.Know(exported);
  g_pos.statics.Know(exported);
}

bool SettleOwnMethods(ZELInstance instance) {
  const zelutils::ObjectInterface& methods = POSObjectMethods(instance);
  if (!AreSame<zelutils::ObjectInterface>(methods, g_ownObjectProcedures)) return false;
  g_ownMethods = {PrimaryInstance(instance).signature, g_link.Generation()};
  return true;
}

}  // namespace ZEL_T_NMT
