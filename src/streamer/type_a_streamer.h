// The family of texts in which every value begins with a marker of one character and ends with a
// closing character.
#pragma once

#include "streamer/ichar_stream.h"
#include "streamer/ochar_stream.h"
#include "streamer/streamer_base.h"

namespace NPOSStreamerImpl::NTypeAImpl {

class TypeAStreamer;

// Writes the content of an object of its kind. The marker is written, and the kind's rules are in
// force. The object is the same afterwards, unless an error is raised.
using WriterProc = void (*)(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
// Reads the content of an object of its kind up to and including the closing character. The marker
// is read, and the kind's rules are in force.
using ReaderProc = void (*)(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);

// Both null when a lookup finds nothing.
struct WritingParams {
  const StreamingParams* params = nullptr;
  WriterProc writer = nullptr;
};
struct ReadingParams {
  const StreamingParams* params = nullptr;
  ReaderProc reader = nullptr;
};

class TypeAStreamer : public StreamerBase {
 public:
  void Serialize(CZELPositionableStream& stream, const CPOSObject& object) override;
  void Deserialize(CPOSObject& result, CZELPositionableStream& stream) override;

  // Writes an object whole. Raises "Cannot determine writing params".
  virtual void WriteObject(OCharStream& output, CPOSObject object);
  // Reads the next object whole; the result is empty when the closing character of the enclosing
  // value comes first. Raises "Cannot determine streaming params".
  virtual void ReadObject(CPOSObject& result, ICharStream& input);
  // Finds the kind that a marker stands for.
  virtual ReadingParams FindStreamingParams(char marker) const = 0;
  // Finds the kind that an object is of.
  virtual WritingParams FindWritingParams(const CPOSObject& object) const = 0;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
