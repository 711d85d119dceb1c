#include "targets.h"
#include "zelutils/streamer.h"

namespace zelfuzz {
namespace {

// Work grows with the text alone: so many calls of the host's procedures at most are made for each
// byte of it, and so many besides.
class WorkBound {
 public:
  explicit WorkBound(const Session& session)
      : session_(session), before_(session.host.TotalCalls()) {}
  void Check(std::size_t bytes, const std::string& what) const {
    constexpr std::uint64_t kCallsPerByte = 8;
    constexpr std::uint64_t kCallsBesides = 150;
    const std::uint64_t calls = session_.host.TotalCalls() - before_;
    Expect(calls <= kCallsBesides + kCallsPerByte * bytes,
           what + ' ' + std::to_string(bytes) + " bytes took " + std::to_string(calls) + " calls");
  }

 private:
  const Session& session_;
  std::uint64_t before_;
};

class Reader {
 public:
  Reader(Session& session, std::uint32_t mostPerRead)
      : session_(session),
        mostPerRead_(mostPerRead),
        streamer_(session, session.procs.streamers.NewPOSStreamer()) {}

  // Reads one value from the client's stream, which has so many bytes left. A failure is
  // reported, just once.
  Held Read(const Held& stream, std::size_t bytes) {
    session_.host.TakeReports();
    const WorkBound bound(session_);
    Held object(session_, session_.procs.streamers.Deserialize(streamer_.Get(), stream.Get()));
    bound.Check(bytes, "reading");
    Expect(session_.host.Reports().size() == (object ? 0 : 1), "a report too many or too few");
    return object;
  }

  // Reads the one value that the bytes hold.
  Held ReadBytes(const std::string& bytes) {
    MemoryClient client{bytes, 0, mostPerRead_};
    return Read(client.NewStream(session_), bytes.size());
  }

  std::string Write(const Held& object) {
    MemoryClient client;
    const Held stream = client.NewStream(session_);
    const WorkBound bound(session_);
    Expect(session_.procs.streamers.Serialize(streamer_.Get(), stream.Get(), object.Get(),
                                              nullptr) == 1,
           "what was read cannot be written");
    bound.Check(client.bytes.size(), "writing");
    return client.bytes;
  }

 private:
  Session& session_;
  std::uint32_t mostPerRead_;
  Held streamer_;
};

}  // namespace

// The first byte says how many bytes a Read delivers at most, and whether a header precedes what
// follows.
void FuzzStream(Session& session, Bytes input) {
  if (input.empty()) return;
  const std::uint8_t control = input[0];
  const std::uint32_t mostPerRead = (control & 0x7Fu) == 0 ? 512 : control & 0x7Fu;
  Reader reader(session, mostPerRead);

  MemoryClient client;
  client.mostPerRead = mostPerRead;
  if ((control & 0x80u) == 0) client.bytes = POS_STREAMER_TYPE_A_VERSION_1_0 " ";
  client.bytes.append(input.begin() + 1, input.end());
  const Held stream = client.NewStream(session);
  for (int count = 0; count < 4; ++count) {
    const std::uint32_t begin = client.position;
    const Held object = reader.Read(stream, client.bytes.size() - begin);
    if (!object) return;
    Expect(client.position > begin && client.position <= client.bytes.size(),
           "the stream stands where it cannot");
    const std::string text = client.bytes.substr(begin, client.position - begin);
    Expect(!reader.ReadBytes(text.substr(0, text.size() - 1)), "a value without its end");

    const std::string written = reader.Write(object);
    const Held again = reader.ReadBytes(written);
    if (!again) {
      // A number too large for a double is an infinity, which has no text to be read from.
      Expect(written.find("inf ") != std::string::npos, "what was written cannot be read");
      continue;
    }
    Expect(session.procs.objects.IsEqual(object.Get(), again.Get()), "a value that changes");
    Expect(reader.Write(again) == written, "a text that changes");
    const Held clone(session, session.procs.objects.Clone(object.Get()));
    Expect(clone && reader.Write(clone) == written, "a clone that is written differently");
  }
}

}  // namespace zelfuzz
