// A new file in the temporary directory and its life. The stream that it was made for owns it;
// readers of it share it: wherever the owner's end cannot delete the file because a reader has it
// open, the last reader's end does.
#pragma once

#include <cstdint>

#include "fileutils/utils_dir.h"
#include "frame/core/client_base.h"
#include "frame/core/container_reference.h"
#include "frame/core/string_atom.h"
#include "frame/object/client_stream.h"

namespace NFileUtilsImpl {

// The directory's procedures are called through the binder. If they cannot be, since they were
// withdrawn or the library has been stopped while a client kept the stream, and where the host has
// no memory for the call, deletion goes to the library's own directory object instead.
class TempFile : public ZEL_T_NMT::CZELClientBase {
 public:
  // Creates the file, empty, under a unique name; leaves none when it raises.
  TempFile(const ZEL_T_NMT::CZELStringAtom& prefix, const ZEL_T_NMT::CZELStringAtom& extension);
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  // Deletes the file where its owner could not. A file that no stream could be opened for has had
  // no owner: it stays, empty.
  ~TempFile();

  // Opens the file with a mode of the host's file streams. A file that opens once the owner is gone
  // is not given out: the name may be that of another file by then.
  ZEL_T_NMT::CZELPositionableStream Open(const char* mode) const;

  // The file has got an owner that a client holds. Before, a failure has the file deleted quietly,
  // since the caller is told of that failure.
  void SetDelivered() noexcept { delivered_ = true; }

  // The owner is gone and has closed the file. A failure is left to the last user, or reported when
  // there is no other or no file any more: then the name is not this file's to delete.
  void DeleteWithOwner() noexcept;

  // Reports the exception being handled, for code that must not raise.
  void ReportFailure() const noexcept;

 private:
  friend class TempFileShare;

  // kGone: deleted, or given up for lost.
  enum class State : std::uint8_t { kPresent, kLeftToLastUser, kGone };

  void Delete() const;

  std::uint32_t users_ = 0;
  State state_ = State::kPresent;
  bool delivered_ = false;
  ZEL_T_NMT::ContainerReference directory_;
  // The object behind the directory, null if it is not this library's.
  const ZELUtilsDirImpl* ownDirectory_;
  ZEL_T_NMT::CZELStringAtom name_;
};

// One user's share in a file; the file's object goes with the last.
class TempFileShare {
 public:
  explicit TempFileShare(TempFile* file) noexcept : file_(file) { ++file_->users_; }
  TempFileShare(const TempFileShare& other) noexcept : TempFileShare(other.file_) {}
  TempFileShare& operator=(const TempFileShare&) = delete;
  ~TempFileShare() {
    if (--file_->users_ == 0) delete file_;
  }

  TempFile* operator->() const noexcept { return file_; }

 private:
  TempFile* file_;
};

}  // namespace NFileUtilsImpl
