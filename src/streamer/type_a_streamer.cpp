#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::RaisePOSException;

void TypeAStreamer::Serialize(CZELPositionableStream& stream, const CPOSObject& object) {
  OCharStream output(stream, format_.outermost);
  WriteObject(output, object.View());
  output.Finish();
}

void TypeAStreamer::Deserialize(CPOSObject& result, CZELPositionableStream& stream) {
  ICharStream input(stream, format_.outermost);
  result = ReadObject(input);
  input.Finish();
}

void TypeAStreamer::WriteOpenObject(OCharStream& output, POSView value) {
  const OCharStream::OpenValue open(output, value.Handle());
  const KindFormat* kind;
  if (value.IsDirect()) [[likely]] {
    kind = format_.OfType(value.Own()->Type());
  } else {
    output.HoldOpenValues();
    kind = FindWritingParams(value);
    if (kind == nullptr) RaisePOSException("Cannot determine writing params");
  }
  output.PutChar(kind->params.open);
  const CharStream::ParamsInForce inForce(output, kind->params);
  kind->writer.write(*this, output, value);
  output.PutRaw(kind->params.close);
}

CPOSObject TypeAStreamer::ReadObject(ICharStream& input) {
  const KindFormat* const kind = ReadMarker(input);
  return kind == nullptr ? CPOSObject() : ReadContent(*kind, input);
}

const KindFormat* TypeAStreamer::ReadAnyMarker(ICharStream& input) {
  const int marker = input.GetCharAfterSpaces();
  if (marker == ICharStream::kClosed) return nullptr;
  const KindFormat* const kind = FindStreamingParams(static_cast<char>(marker));
  if (kind == nullptr) RaisePOSException("Cannot determine streaming params");
  return kind;
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
