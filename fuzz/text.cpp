#include "targets.h"

namespace zelfuzz {
namespace {

struct Parsed {
  Held object;
  const char* position;
};

Parsed Parse(const Session& session, const std::string& text) {
  const char* position = text.c_str() + text.size() + 1;
  const ZELInstance object = session.procs.statics.CreateFromText(text.c_str(), &position);
  return {Held(session, object), position};
}

}  // namespace

void FuzzText(Session& session, Bytes input) {
  const Procedures& procs = session.procs;
  // The text ends at its first NUL: ending the string there lets a sanitizer see who reads on.
  std::string text(input.begin(), input.end());
  text = std::string(text.c_str());

  const Parsed parsed = Parse(session, text);
  Expect(session.host.Reports().empty(), "a report about a text");
  if (!parsed.object) {
    Expect(parsed.position >= text.c_str() && parsed.position <= text.c_str() + text.size(),
           "an error position outside of the text");
    const auto offset = static_cast<std::size_t>(parsed.position - text.c_str());
    Expect(!Parse(session, text.substr(0, offset + 1)).object,
           "a text that is right where it is said to be wrong");
    return;
  }
  Expect(parsed.position == nullptr, "an error position without an error");
  const ZELInstance object = parsed.object.Get();
  const Parsed spaced = Parse(session, "\r\n\t " + text + " \n");
  Expect(spaced.object && procs.objects.IsEqual(object, spaced.object.Get()),
         "spaces around a text change what it says");
  const Held clone(session, procs.objects.Clone(object));
  Expect(clone && procs.objects.IsEqual(clone.Get(), object), "a clone that is not equal");

  const Held streamer(session, procs.streamers.NewPOSStreamer());
  MemoryClient client;
  const Held stream = client.NewStream(session);
  Expect(procs.streamers.Serialize(streamer.Get(), stream.Get(), object, nullptr) == 1,
         "a value that cannot be written");
  const Held read(session, procs.streamers.Deserialize(streamer.Get(), stream.Get()));
  Expect(read && procs.objects.IsEqual(read.Get(), object), "a value that changes in a stream");
  Expect(client.position == client.bytes.size(), "a rest in the stream");
}

}  // namespace zelfuzz
