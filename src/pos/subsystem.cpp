#include "pos/subsystem.h"

#include "pos/interfaces.h"
#include "pos/own_operations.h"

namespace NPOSObjectImpl {
namespace {

POS_INTERFACES(ZEL_GUARDED_PROCEDURES)
constexpr ZEL_T_NMT::ExportedInterface kInterfaces[] = {POS_INTERFACES(ZEL_EXPORTED_INTERFACE)};

void Start() { ZEL_T_NMT::KnowObjectModel(kOwnOperations, kInterfaces); }

}  // namespace

constinit const ZEL_T_NMT::Subsystem kSubsystem = {
    kInterfaces, ZEL_T_NMT::Subsystem::Withdrawal::kFirstToLast, &Start};

}  // namespace NPOSObjectImpl
