// The interface of the utilities directory.
#include "fileutils/interfaces.h"
#include "fileutils/utils_dir.h"
#include "frame/registry.h"

namespace NFileUtilsImpl {
namespace {

using ZEL_T_NMT::TakeArgument;

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
  *result = Publish(std::make_unique<ZELUtilsDirImpl>(TakeArgument(directory)));
}

void UtilsDirInterface::FileExists(bool* result, ZELInstance directory, ZELStringAtom name) {
  *result = Resolve(directory).FileExists(TakeArgument(name));
}

void UtilsDirInterface::Delete(ZELInstance directory, ZELStringAtom name) {
  Resolve(directory).Delete(TakeArgument(name));
}

void UtilsDirInterface::Rename(ZELInstance directory, ZELStringAtom oldName,
                               ZELStringAtom newName) {
  Resolve(directory).Rename(TakeArgument(oldName), TakeArgument(newName));
}

void UtilsDirInterface::GetFilePathSpec(ZELStringAtom* result, ZELInstance directory,
                                        ZELStringAtom name) {
  *result = Resolve(directory).GetFilePathSpec(TakeArgument(name)).HandOut();
}

void UtilsDirInterface::CreateUniqueFilename(ZELStringAtom* result, ZELInstance directory,
                                             ZELStringAtom prefix, ZELStringAtom extension) {
  *result = Resolve(directory)
                .CreateUniqueFilename(TakeArgument(prefix), TakeArgument(extension))
                .HandOut();
}

const ZEL_T_NMT::ExportEntry UtilsDirInterface::kExports[] = {
    ZEL_UTILS_DIR_METHODS(ZEL_EXPORT_METHOD) ZEL_END_OF_EXPORTS};

}  // namespace NFileUtilsImpl
