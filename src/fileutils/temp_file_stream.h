// A positionable stream over a temporary file: written first, then read back.
#pragma once

#include <optional>

#include "fileutils/temp_file.h"
#include "frame/object/client_stream.h"

namespace NFileUtilsImpl {

// All access to the file goes through a file stream of the host. The first independent stream that
// is asked for ends the writing: from then on this stream reads, from the start, and each
// independent stream is a reader of its own over the same file. That first request moves a reader
// to the start as well.
//
// Operations raise the errors of the file stream. The destructor reports what it fails with.
class TempFileStream final : public ZEL_T_NMT::ZELClientPositionableStream {
 public:
  // Opens the file. With `deleteOnClose` the stream is the file's owner, which takes it along.
  TempFileStream(const TempFileShare& file, const char* mode, bool deleteOnClose);
  TempFileStream(const TempFileStream&) = delete;
  TempFileStream& operator=(const TempFileStream&) = delete;
  ~TempFileStream() override;

  std::uint32_t Read(void* buffer, std::uint32_t count) override;
  void Write(const void* buffer, std::uint32_t count) override;
  ZELInstance CreateIndependentlyPositionableStream() override;
  void Seek(std::uint32_t position, std::uint32_t second) override;
  std::uint32_t Mark() override;

 private:
  void CloseFile() noexcept;

  TempFileShare file_;
  // Empty only while the stream is being destroyed.
  std::optional<ZEL_T_NMT::CZELPositionableStream> inner_;
  bool deleteOnClose_;
  bool reopened_ = false;
};

}  // namespace NFileUtilsImpl
