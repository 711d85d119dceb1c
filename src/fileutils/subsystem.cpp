#include "fileutils/subsystem.h"

#include "fileutils/interfaces.h"
#include "frame/link/binder_link.h"

namespace NFileUtilsImpl {
namespace {

using ZEL_T_NMT::RegisterExports;
using ZEL_T_NMT::ZELUnregisterInterface;

bool RegisterInterfaces() {
  return RegisterExports(UtilsDirInterface::kExports, ZEL_UTILS_DIR_INTERFACE) &&
         RegisterExports(TempFileStreamFactory::kExports, ZEL_UTILS_TEMP_FILE_STREAM_FACTORY);
}

// In the order of their registration.
void UnregisterInterfaces() {
  ZELUnregisterInterface(ZEL_UTILS_DIR_INTERFACE);
  ZELUnregisterInterface(ZEL_UTILS_TEMP_FILE_STREAM_FACTORY);
}

}  // namespace

constinit const ZEL_T_NMT::Subsystem kSubsystem = {&RegisterInterfaces, &UnregisterInterfaces};

}  // namespace NFileUtilsImpl
