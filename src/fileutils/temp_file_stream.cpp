#include "fileutils/temp_file_stream.h"

#include <memory>

#include "fileutils/interfaces.h"
#include "frame/core/core_interfaces.h"
#include "frame/core/error.h"

namespace NFileUtilsImpl {
namespace {

using ZEL_T_NMT::ContainerReference;
using ZEL_T_NMT::CZELPositionableStream;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::PublishPositionableStream;

// "rb" is read-only and untranslated in the open modes of the standard input-output library.
constexpr const char* kReadMode = "rb";

CZELStringAtom TakeText(const char* text) {
  if (text == nullptr) ZEL_T_NMT::RaisePOSException("null text");
  return CZELStringAtom(text);
}

}  // namespace

TempFileStream::TempFileStream(const TempFileShare& file, const char* mode, bool deleteOnClose)
    : file_(file), inner_(file_->Open(mode)), deleteOnClose_(deleteOnClose) {}

// The file is closed before it is deleted: some systems demand it.
TempFileStream::~TempFileStream() {
  CloseFile();
  if (deleteOnClose_) file_->DeleteWithOwner();
}

std::uint32_t TempFileStream::Read(void* buffer, std::uint32_t count) {
  return inner_->Read(buffer, count);
}

void TempFileStream::Write(const void* buffer, std::uint32_t count) {
  inner_->Write(buffer, count);
}

void TempFileStream::Seek(std::uint32_t position, std::uint32_t second) {
  inner_->Seek(position, second);
}

std::uint32_t TempFileStream::Mark() { return inner_->Mark(); }

ZELInstance TempFileStream::CreateIndependentlyPositionableStream() {
  if (!reopened_) {
    inner_ = file_->Open(kReadMode);
    reopened_ = true;
  }
  const ZELInstance reader =
      PublishPositionableStream(std::make_unique<TempFileStream>(file_, kReadMode, false));
  if (reader == nullptr) ZEL_T_NMT::RaiseMissingInterface();
  return reader;
}

// An empty stream over memory takes the file stream's place. It is for whoever should still call
// this one; where there is none to be had, the file stream goes all the same.
void TempFileStream::CloseFile() noexcept {
  try {
    if (const auto* factory = ZEL_T_NMT::StreamFactory()) {
      ZELInstance memory = nullptr;
      ZEL_T_NMT::ZELCheck(factory->NewPositionableMemoryStream(&memory));
      const ContainerReference taken = ContainerReference::Adopt(memory);
      inner_ = CZELPositionableStream(taken.Get());
      return;
    }
  } catch (...) {
    file_->ReportFailure();
  }
  inner_.reset();
}

void TempFileStreamFactoryInterface::NewTempFileStream(ZELInstance* result, const char* prefix,
                                                       const char* extension, const char* mode) {
  const CZELStringAtom prefixText = TakeText(prefix);
  const CZELStringAtom extensionText = TakeText(extension);
  const CZELStringAtom modeText = TakeText(mode);
  const TempFileShare file(new TempFile(prefixText, extensionText));
  ContainerReference stream = ContainerReference::Adopt(
      PublishPositionableStream(std::make_unique<TempFileStream>(file, modeText.Text(), true)));
  file->SetDelivered();
  *result = stream.HandOut();
}

}  // namespace NFileUtilsImpl
