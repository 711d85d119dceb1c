#include "fileutils/subsystem.h"

#include "fileutils/interfaces.h"

namespace NFileUtilsImpl {
namespace {

ZEL_FILE_UTILS_INTERFACES(ZEL_GUARDED_METHODS)
constexpr ZEL_T_NMT::ExportedInterface kInterfaces[] = {
    ZEL_FILE_UTILS_INTERFACES(ZEL_EXPORTED_INTERFACE)};

}  // namespace

constinit const ZEL_T_NMT::Subsystem kSubsystem = {
    kInterfaces, ZEL_T_NMT::Subsystem::Withdrawal::kFirstToLast, nullptr};

}  // namespace NFileUtilsImpl
