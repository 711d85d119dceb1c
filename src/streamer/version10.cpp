#include "streamer/version10.h"

#include "streamer/readers.h"
#include "streamer/writers.h"
#include "zelutils/streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {
namespace {

using namespace ZEL_T_NMT;  // NOLINT(google-build-using-namespace): the wrappers of all kinds

struct Kind {
  const StreamingParams* params;
  bool (*is)(ZELInstance object);
  WriterProc writer;
  ReaderProc reader;
};

// In the order in which an object, or a marker, is compared with them.
constexpr Kind kKinds[] = {
    {&kNumberParams, &CPOSNumber::Is, &WriteNumber, &ReadNumber},
    {&kStringParams, &CPOSString::Is, &WriteString, &ReadString},
    {&kUnicodeStringParams, &CPOSUnicodeString::Is, &WriteUnicodeString, &ReadUnicodeString},
    {&kBinDataParams, &CPOSBinData::Is, &WriteBinData, &ReadBinData},
    {&kRawPointerParams, &CPOSRawPointer::Is, &WriteRawPointer, &ReadRawPointer},
    {&kArrayParams, &CPOSArray::Is, &WriteArray, &ReadArray},
    {&kDictParams, &CPOSDict::Is, &WriteDict, &ReadDict},
};

}  // namespace

const char* Version10::VersionName() const noexcept { return POS_STREAMER_TYPE_A_VERSION_1_0; }

ReadingParams Version10::FindStreamingParams(char marker) const {
  for (const Kind& kind : kKinds) {
    if (kind.params->open == marker) return {kind.params, kind.reader};
  }
  return {};
}

WritingParams Version10::FindWritingParams(const CPOSObject& object) const {
  for (const Kind& kind : kKinds) {
    if (kind.is(object.Handle())) return {kind.params, kind.writer};
  }
  return {};
}

void Version10::PutNewLine(TypeAStreamer& streamer, OCharStream& output) {
  output.PutNewLine(static_cast<std::uint32_t>(static_cast<Version10&>(streamer).depth_));
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
