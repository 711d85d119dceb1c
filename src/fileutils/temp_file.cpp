#include "fileutils/temp_file.h"

#include <cerrno>

#include "frame/core/core_interfaces.h"
#include "frame/core/error.h"
#include "frame/object/guard.h"
#include "frame/object/registry.h"
#include "zelutils/fileutils.h"

namespace NFileUtilsImpl {
namespace {

using ZEL_T_NMT::ContainerReference;
using ZEL_T_NMT::CZELPositionableStream;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::ZELCheck;

constinit ZEL_T_NMT::ImportedInterface<zelutils::UtilsDirInterface> g_utilsDir;

const zelutils::UtilsDirInterface& UtilsDir() { return *ZEL_T_NMT::Require(g_utilsDir.Get()); }

bool IsUtilsDirAvailable() noexcept {
  try {
    return g_utilsDir.Get() != nullptr;
  } catch (...) {
    return false;
  }
}

// The holder of an atom that a procedure has delivered.
CZELStringAtom TakeDelivered(ZELStringAtom atom) {
  CZELStringAtom holder(atom, CZELStringAtom::Reference::kAdopt);
  if (holder.Text() == nullptr) ZEL_T_NMT::RaiseAllocationFailure();
  return holder;
}

ContainerReference NewTempDirectory() {
  ZELInstance directory = nullptr;
  ZELCheck(UtilsDir().GetTempDir(&directory));
  return ContainerReference::Adopt(directory);
}

const ZELUtilsDirImpl* OwnDirectory(ZELInstance directory) noexcept {
  try {
    return ZEL_T_NMT::Resolve<ZELUtilsDirImpl>(directory, ZEL_T_NMT::ImplementationId::kUtilsDir);
  } catch (...) {
    return nullptr;
  }
}

CZELStringAtom NewUniqueFile(ZELInstance directory, const CZELStringAtom& prefix,
                             const CZELStringAtom& extension) {
  ZELStringAtom name = 0;
  ZELCheck(UtilsDir().CreateUniqueFilename(&name, directory, prefix.Atom(), extension.Atom()));
  return TakeDelivered(name);
}

// Whether the exception being handled says that there is no file of the name.
bool IsNoFile() noexcept {
  try {
    throw;
  } catch (const ZEL_T_NMT::CZELError& error) {
    return error.Handle() != nullptr && ZEL_T_NMT::Errors().GetID(error.Handle()) == ENOENT;
  } catch (...) {
    return false;
  }
}

}  // namespace

// The file comes last: nothing that can fail may follow.
TempFile::TempFile(const CZELStringAtom& prefix, const CZELStringAtom& extension)
    : directory_(NewTempDirectory()),
      ownDirectory_(OwnDirectory(directory_.Get())),
      name_(NewUniqueFile(directory_.Get(), prefix, extension)) {}

TempFile::~TempFile() {
  if (state_ != State::kLeftToLastUser) return;
  try {
    Delete();
  } catch (...) {
    ReportFailure();
  }
}

CZELPositionableStream TempFile::Open(const char* mode) const {
  ZELStringAtom path = 0;
  ZELCheck(UtilsDir().GetFilePathSpec(&path, directory_.Get(), name_.Atom()));
  const CZELStringAtom pathText = TakeDelivered(path);
  const auto* factory = ZEL_T_NMT::Require(ZEL_T_NMT::StreamFactory());
  ZELInstance stream = nullptr;
  ZELCheck(factory->NewPositionableFileStream(&stream, pathText.Text(), mode));
  const ContainerReference taken = ContainerReference::Adopt(stream);
  if (state_ != State::kPresent) {
    RaiseUtilsDirError("TempFileStream: The file's owner is gone", ENOENT);
  }
  return CZELPositionableStream(taken.Get());
}

void TempFile::DeleteWithOwner() noexcept {
  try {
    Delete();
    state_ = State::kGone;
  } catch (...) {
    state_ = users_ > 1 && !IsNoFile() ? State::kLeftToLastUser : State::kGone;
    if (state_ == State::kGone) ReportFailure();
  }
}

void TempFile::ReportFailure() const noexcept {
  if (delivered_) ZEL_T_NMT::ReportCurrentException();
}

void TempFile::Delete() const {
  if (IsUtilsDirAvailable()) {
    try {
      ZELCheck(UtilsDir().Delete(directory_.Get(), name_.Atom()));
      return;
    } catch (const std::bad_alloc&) {
      if (ownDirectory_ == nullptr) throw;
    }
  }
  if (ownDirectory_ == nullptr) ZEL_T_NMT::RaiseMissingInterface();
  ownDirectory_->DeleteWithoutHost(name_);
}

}  // namespace NFileUtilsImpl
