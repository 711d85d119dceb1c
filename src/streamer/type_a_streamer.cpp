#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::RaisePOSException;

void TypeAStreamer::Serialize(CZELPositionableStream& stream, const CPOSObject& object) {
  OCharStream output(stream);
  WriteObject(output, object);
  output.Finish();
}

void TypeAStreamer::Deserialize(CPOSObject& result, CZELPositionableStream& stream) {
  ICharStream input(stream);
  ReadObject(result, input);
  input.Finish();
}

void TypeAStreamer::WriteObject(OCharStream& output, CPOSObject object) {
  const WritingParams found = FindWritingParams(object);
  if (found.params == nullptr) RaisePOSException("Cannot determine writing params");
  output.PutChar(found.params->open);
  const CharStream::ParamsInForce inForce(output, *found.params);
  found.writer(*this, output, object);
  output.PutRaw(found.params->close);
}

void TypeAStreamer::ReadObject(CPOSObject& result, ICharStream& input) {
  result = CPOSObject();
  char marker;
  if (!input.GetCharAfterSpaces(&marker)) return;
  const ReadingParams found = FindStreamingParams(marker);
  if (found.params == nullptr) RaisePOSException("Cannot determine streaming params");
  const CharStream::ParamsInForce inForce(input, *found.params);
  found.reader(result, *this, input);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
