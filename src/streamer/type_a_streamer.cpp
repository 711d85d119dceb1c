#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::RaisePOSException;

void TypeAStreamer::Serialize(CZELPositionableStream& stream, const CPOSObject& object) {
  OCharStream output(stream, format_.outermost);
  WriteObject(output, object);
  output.Finish();
}

void TypeAStreamer::Deserialize(CPOSObject& result, CZELPositionableStream& stream) {
  ICharStream input(stream, format_.outermost);
  ReadObject(result, input);
  input.Finish();
}

void TypeAStreamer::WriteObject(OCharStream& output, CPOSObject object) {
  const KindFormat* const kind = FindWritingParams(object);
  if (kind == nullptr) RaisePOSException("Cannot determine writing params");
  output.PutChar(kind->params.open);
  const CharStream::ParamsInForce inForce(output, kind->params);
  kind->writer.write(*this, output, object);
  output.PutRaw(kind->params.close);
}

void TypeAStreamer::ReadObject(CPOSObject& result, ICharStream& input) {
  result = CPOSObject();
  char marker;
  if (!input.GetCharAfterSpaces(&marker)) return;
  const KindFormat* const kind = FindStreamingParams(marker);
  if (kind == nullptr) RaisePOSException("Cannot determine streaming params");
  const CharStream::ParamsInForce inForce(input, kind->params);
  kind->reader(result, *this, input);
}

const KindFormat* TypeAStreamer::FindStreamingParams(char marker) const noexcept {
  const std::size_t index = format_.kindOfMarker[static_cast<unsigned char>(marker)];
  return index == 0 ? nullptr : &format_.kinds[index - 1];
}

const KindFormat* TypeAStreamer::FindWritingParams(const CPOSObject& object) const {
  for (const KindFormat& kind : format_.kinds) {
    if (kind.is(object.Handle())) return &kind;
  }
  return nullptr;
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
