// The interface of the utilities directory.
#include "fileutils/interfaces.h"
#include "fileutils/utils_dir.h"
#include "frame/object/registry.h"

namespace NFileUtilsImpl {
namespace {

using ZEL_T_NMT::HoldArgument;

const ZELUtilsDirImpl& Resolve(ZELInstance directory) {
  return *ZEL_T_NMT::Resolve<ZELUtilsDirImpl>(directory, ZEL_T_NMT::ImplementationId::kUtilsDir);
}

ZELInstance Publish(std::unique_ptr<ZELUtilsDirImpl> directory) {
  return ZEL_T_NMT::Publish(std::move(directory), ZEL_T_NMT::ImplementationId::kUtilsDir);
}

}  // namespace

void UtilsDirInterface::GetTempDir(ZELInstance* result) {
  *result = Publish(ZELUtilsDirImpl::GetTempDir());
}

void UtilsDirInterface::GetCurrent(ZELInstance* result) {
  *result = Publish(ZELUtilsDirImpl::GetCurrent());
}

void UtilsDirInterface::NewZELUtilsDir(ZELInstance* result, ZELStringAtom directory) {
  *result = Publish(std::make_unique<ZELUtilsDirImpl>(HoldArgument(directory)));
}

void UtilsDirInterface::FileExists(bool* result, ZELInstance directory, ZELStringAtom name) {
  *result = Resolve(directory).FileExists(HoldArgument(name));
}

void UtilsDirInterface::Delete(ZELInstance directory, ZELStringAtom name) {
  Resolve(directory).Delete(HoldArgument(name));
}

void UtilsDirInterface::Rename(ZELInstance directory, ZELStringAtom oldName,
                               ZELStringAtom newName) {
  Resolve(directory).Rename(HoldArgument(oldName), HoldArgument(newName));
}

void UtilsDirInterface::GetFilePathSpec(ZELStringAtom* result, ZELInstance directory,
                                        ZELStringAtom name) {
  *result = Resolve(directory).GetFilePathSpec(HoldArgument(name)).HandOut();
}

void UtilsDirInterface::CreateUniqueFilename(ZELStringAtom* result, ZELInstance directory,
                                             ZELStringAtom prefix, ZELStringAtom extension) {
  *result = Resolve(directory)
                .CreateUniqueFilename(HoldArgument(prefix), HoldArgument(extension))
                .HandOut();
}

}  // namespace NFileUtilsImpl
