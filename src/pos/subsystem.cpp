#include "pos/subsystem.h"

#include "pos/interfaces.h"

namespace NPOSObjectImpl {
namespace {

POS_INTERFACES(ZEL_GUARDED_PROCEDURES)
constexpr ZEL_T_NMT::ExportedInterface kInterfaces[] = {POS_INTERFACES(ZEL_EXPORTED_INTERFACE)};

}  // namespace

constinit const ZEL_T_NMT::Subsystem kSubsystem = {
    kInterfaces, ZEL_T_NMT::Subsystem::Withdrawal::kFirstToLast, nullptr};

}  // namespace NPOSObjectImpl
