// The utilities directory: file operations on names relative to one directory.
#pragma once

#include <memory>

#include "frame/core/client_base.h"
#include "frame/core/string_atom.h"

namespace NFileUtilsImpl {

// Raises an error of the component "ZELUtilsDir", or the allocation failure when the host cannot
// make it: without an error object the caller would take the failure for a success.
[[noreturn]] void RaiseUtilsDirError(const char* message, int errorNumber);

// Holds nothing but the directory's text, unchanged and unchecked: whether it exists shows when a
// file operation is tried.
//
// An operation that fails raises an error of the component "ZELUtilsDir" whose ID is the system's
// error number; one that runs out of memory raises the allocation failure. Then the disk is as it
// was.
class ZELUtilsDirImpl : public ZEL_T_NMT::CZELVirtualClientBase {
 public:
  using Text = ZEL_T_NMT::CZELStringAtom;

  explicit ZELUtilsDirImpl(Text directory) noexcept : directory_(std::move(directory)) {}

  static std::unique_ptr<ZELUtilsDirImpl> GetTempDir();
  static std::unique_ptr<ZELUtilsDirImpl> GetCurrent();

  // True for a directory of that name as well; never raises a system error.
  bool FileExists(const Text& name) const;
  // Removes a file, never a directory.
  void Delete(const Text& name) const;
  // A new name that another file has is an error; nothing is overwritten.
  void Rename(const Text& oldName, const Text& newName) const;
  Text GetFilePathSpec(const Text& name) const;
  // Creates an empty file that no other caller has and returns its name: process and thread number
  // in hexadecimal, prefix, counter, point, extension. Prefix and extension hold no separator. A
  // file that was made has been named before, so that a failure leaves none.
  Text CreateUniqueFilename(const Text& prefix, const Text& extension) const;

  // As Delete, for when the host has no memory to give or is not linked any more: calls it only to
  // raise. Reaches paths of up to 1,023 bytes.
  void DeleteWithoutHost(const Text& name) const;

 protected:
  // Creates an empty file; false when the name exists.
  virtual bool createNewFile(const Text& name) const;

 private:
  static Text JoinPath(const Text& directory, const Text& name);

  Text directory_;
};

}  // namespace NFileUtilsImpl
