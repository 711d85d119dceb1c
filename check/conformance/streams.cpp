// Tests of a host's streams: over memory, over a file, and over a client's procedures.
#include <cstdio>
#include <filesystem>
#include <random>

#include "conformance/holders.h"

namespace zelcheck {
namespace {

constexpr const char* kWrongBytes = "what is written is not what is read back";
constexpr const char* kNoTempFiles = "temporary-file streams do not work";
constexpr const char* kLeaks = "streams of the library are never destroyed";

// A stream with the procedures that its instance gives.
class HeldStream {
 public:
  HeldStream(const Probe& host, ZELErrorObject error, ZELInstance stream) : host_(host) {
    Take(error, stream);
  }
  // A new one over memory.
  explicit HeldStream(const Probe& host) : host_(host) {
    ZELInstance stream = nullptr;
    const ZELErrorObject error = host.streams.NewPositionableMemoryStream(&stream);
    Take(error, stream);
  }
  HeldStream(const HeldStream&) = delete;
  HeldStream& operator=(const HeldStream&) = delete;
  ~HeldStream() { Release(); }

  bool IsMade() const { return stream_ != nullptr; }
  bool HasMethods() const { return hasMethods_; }
  ZELInstance Get() const { return stream_; }
  void Release() {
    if (stream_ != nullptr) host_.containers.Release(stream_);
    stream_ = nullptr;
  }

  // Each answers whether it went well.
  bool Write(const std::string& bytes) const {
    return !host_.Failed(
        methods_.Write(stream_, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
  }
  bool Seek(std::uint32_t position) const {
    return !host_.Failed(methods_.Seek(stream_, position, 0));
  }
  bool Rewind() const { return !host_.Failed(methods_.Rewind(stream_)); }
  // "?" for a failure, and for a count that is more than wanted.
  std::string Read(std::uint32_t wanted) const {
    std::string bytes(wanted + 8, '\x7e');
    std::uint32_t delivered = 0;
    if (host_.Failed(methods_.Read(stream_, &delivered, bytes.data(), wanted))) return "?";
    if (delivered > wanted ||
        bytes.substr(delivered) != std::string(bytes.size() - delivered, '\x7e'))
      return "?";
    return bytes.substr(0, delivered);
  }
  // All ones for a failure.
  std::uint32_t Mark() const {
    std::uint32_t position = 0;
    return host_.Failed(methods_.Mark(stream_, &position)) ? ~0U : position;
  }
  ZELErrorObject Create(bool positionable, ZELInstance* result) const {
    return positionable ? methods_.CreateIndependentlyPositionableStream(stream_, result)
                        : methods_.CreateIndependentlyRewindableStream(stream_, result);
  }

 private:
  void Take(ZELErrorObject error, ZELInstance stream) {
    if (host_.Failed(error) || stream == nullptr || host_.containers.AddRef(stream) == 0) return;
    stream_ = stream;
    hasMethods_ = methods_.Import([this](const char*, const char* method, const char* procType) {
      const HeldAtom name(host_, method);
      const HeldAtom type(host_, procType);
      ZELProc found = nullptr;
      const bool failed =
          host_.Failed(host_.containers.GetMethod(&found, stream_, name.Get(), type.Get(), 0));
      return failed ? nullptr : found;
    }) == nullptr;
  }

  const Probe& host_;
  zelutils::Table<zelutils::StreamInterface> methods_;
  ZELInstance stream_ = nullptr;
  bool hasMethods_ = false;
};

// The verdict of what is done with a stream over memory that holds "0123456789" and stands at its
// end.
template <typename Test>
Verdict WithDigits(const Probe& host, Test test) {
  const HeldStream stream(host);
  if (!stream.IsMade()) return Undecided("this host makes no streams");
  if (!stream.HasMethods()) return Undecided("the stream lacks methods");
  if (!stream.Write("0123456789")) return Failed("ten bytes cannot be written");
  return test(stream);
}

// A stream made from another one.
Verdict OfIndependent(const Probe& host, bool positionable,
                      Verdict (*test)(const HeldStream& stream, const HeldStream& independent)) {
  return WithDigits(host, [&](const HeldStream& stream) {
    ZELInstance made = nullptr;
    const ZELErrorObject error = stream.Create(positionable, &made);
    const HeldStream independent(host, error, made);
    if (!independent.IsMade()) return Failed("no independent stream is made");
    if (!independent.HasMethods()) return Failed("the independent stream lacks methods");
    return test(stream, independent);
  });
}

// Questions that a client's stream was asked.
struct Client {
  std::uint32_t wanted = 0, sought = 0, second = 1;
  std::string written;
  int rewound = 0, destroyed = 0;
  ZELErrorObject error = nullptr;

  static Client& Of(void* client) { return *static_cast<Client*>(client); }
  static ZELErrorObject Read(void* client, std::uint32_t* delivered, void* buffer,
                             std::uint32_t wanted) {
    Of(client).wanted = wanted;
    *static_cast<char*>(buffer) = 'r';
    *delivered = 1;
    return Of(client).error;
  }
  static ZELErrorObject Write(void* client, const void* bytes, std::uint32_t count) {
    Of(client).written.append(static_cast<const char*>(bytes), count);
    return Of(client).error;
  }
  static ZELErrorObject Create(void* client, ZELInstance*) { return Of(client).error; }
  static ZELErrorObject Rewind(void* client) {
    ++Of(client).rewound;
    return nullptr;
  }
  static ZELErrorObject Mark(void*, std::uint32_t* position) {
    *position = 77;
    return nullptr;
  }
  static ZELErrorObject Seek(void* client, std::uint32_t position, std::uint32_t second) {
    Of(client).sought = position;
    Of(client).second = second;
    return nullptr;
  }
  static void Destroy(void* client) { ++Of(client).destroyed; }
};

template <typename Test>
Verdict WithClient(const Probe& host, Test test) {
  Client& client = Staying<Client>();
  ZELInstance made = nullptr;
  const ZELErrorObject error = host.streams.NewClientPositionableStream(
      &made, &client, &Client::Read, &Client::Write, &Client::Create, &Client::Rewind,
      &Client::Create, &Client::Mark, &Client::Seek, &Client::Destroy);
  HeldStream stream(host, error, made);
  if (!stream.IsMade()) return Undecided("this host makes no streams of clients");
  if (!stream.HasMethods()) return Failed("the stream lacks methods");
  return test(stream, client);
}

// A file with a name that nobody else has, which is gone at the end.
struct File {
  static std::string NewPath() {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    std::random_device random;
    return (folder /
            ("zelutils-check-" + std::to_string(random()) + std::to_string(random()) + ".tmp"))
        .string();
  }
  const std::string path = NewPath();
  ~File() { std::remove(path.c_str()); }
};

Verdict OfFile(const Probe& host) {
  const File file;
  const auto open = [&](const char* mode, ZELInstance* stream) {
    return host.streams.NewPositionableFileStream(stream, file.path.c_str(), mode);
  };
  ZELInstance made = nullptr;
  {
    const ZELErrorObject error = open("w+b", &made);
    const HeldStream stream(host, error, made);
    if (!stream.IsMade()) return Undecided("this host makes no streams over files");
    if (!stream.HasMethods()) return Failed("the stream lacks methods");
    if (!stream.Write("bytes\r\n\x1a\n") || !stream.Rewind() ||
        stream.Read(99) != "bytes\r\n\x1a\n")
      return Failed("bytes written to a file are not read back");
  }
  made = nullptr;
  const ZELErrorObject error = open("rb", &made);
  const HeldStream again(host, error, made);
  return Expect(again.HasMethods() && again.Read(99) == "bytes\r\n\x1a\n",
                "a file does not hold what was written to it");
}

// clang-format off
constexpr HostTest kTests[] = {
    {"stream-methods", "\"Serialize\" and \"Deserialize\" fail with \"invalid container\"", [](const Probe& host) {
       const HeldStream stream(host);
       if (!stream.IsMade()) return Undecided("this host makes no streams");
       return Expect(stream.HasMethods(), "a stream lacks one of its seven methods"); }},
    {"stream-new-is-empty", kWrongBytes, [](const Probe& host) {
       const HeldStream stream(host);
       if (!stream.IsMade() || !stream.HasMethods()) return Undecided("this host makes no streams");
       return Expect(stream.Mark() == 0 && stream.Read(10).empty(), "a new stream is not empty"); }},
    {"stream-reads-back", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Rewind() && stream.Read(10) == "0123456789", "what is written is not read back"); }); }},
    {"stream-end", "reading fails, or never ends", [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Read(5).empty() && stream.Read(5).empty(), "at the end something is delivered, or an error object"); }); }},
    {"stream-beyond-the-end", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Seek(7) && stream.Read(100) == "789" && stream.Read(1).empty(), "near the end more or less is delivered than there is"); }); }},
    {"stream-reads-in-parts", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Rewind() && stream.Read(3) == "012" && stream.Read(4) == "3456" && stream.Read(9) == "789", "parts do not follow one another"); }); }},
    {"stream-reads-nothing", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Rewind() && stream.Read(0).empty() && stream.Read(1) == "0", "reading no bytes delivers some or moves"); }); }},
    {"stream-mark", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Mark() == 10 && stream.Rewind() && stream.Mark() == 0 && stream.Read(4).size() == 4 && stream.Mark() == 4, "\"Mark\" does not give the position"); }); }},
    {"stream-seek", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Seek(4) && stream.Mark() == 4 && stream.Read(2) == "45" && stream.Seek(0) && stream.Read(1) == "0", "\"Seek\" goes elsewhere"); }); }},
    {"stream-seek-to-mark", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) {
         stream.Seek(6);
         const std::uint32_t mark = stream.Mark();
         stream.Read(3);
         return Expect(stream.Seek(mark) && stream.Read(1) == "6", "\"Seek\" does not go back to a mark"); }); }},
    {"stream-overwrites", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Seek(3) && stream.Write("abc") && stream.Rewind() && stream.Read(20) == "012abc6789", "bytes in the middle are not replaced"); }); }},
    {"stream-appends", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) { return Expect(stream.Write("ab") && stream.Rewind() && stream.Read(20) == "0123456789ab", "a second write does not follow the first"); }); }},
    {"stream-all-bytes", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) {
         std::string bytes;
         for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
         return Expect(stream.Rewind() && stream.Write(bytes) && stream.Rewind() && stream.Read(300) == bytes, "a byte is changed"); }); }},
    {"stream-large", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [](const HeldStream& stream) {
         const std::string bytes = std::string(70000, 'x') + "end";
         return Expect(stream.Rewind() && stream.Write(bytes) && stream.Seek(69999) && stream.Read(10) == "xend", "70003 bytes are not kept"); }); }},
    {"stream-of-its-own", kWrongBytes, [](const Probe& host) {
       return WithDigits(host, [&host](const HeldStream& stream) {
         const HeldStream other(host);
         return Expect(other.HasMethods() && other.Write("abc") && stream.Rewind() && stream.Read(3) == "012", "two streams have the same bytes"); }); }},
    {"stream-independent-rewindable", kNoTempFiles, [](const Probe& host) {
       return OfIndependent(host, false, [](const HeldStream&, const HeldStream& independent) { return Expect(independent.Rewind() && independent.Read(20) == "0123456789", "an independently rewindable stream has other bytes"); }); }},
    {"stream-independent-positionable", kNoTempFiles, [](const Probe& host) {
       return OfIndependent(host, true, [](const HeldStream&, const HeldStream& independent) { return Expect(independent.Seek(5) && independent.Read(2) == "56", "an independently positionable stream has other bytes"); }); }},
    {"stream-independent-position", kWrongBytes, [](const Probe& host) {
       return OfIndependent(host, true, [](const HeldStream& stream, const HeldStream& independent) { return Expect(stream.Seek(2) && independent.Seek(8) && stream.Read(1) == "2" && independent.Read(1) == "8", "two streams over the same bytes share a position"); }); }},
    {"stream-file", kNoTempFiles, &OfFile},
    {"stream-file-missing", "a file that is not there is read as an empty one", [](const Probe& host) {
       ZELInstance made = nullptr;
       const bool failed = host.Failed(host.streams.NewPositionableFileStream(&made, "no such folder/no such file", "rb"));
       if (!failed && made != nullptr) host.containers.DeleteUnownedContainer(made);
       return Expect(failed, "a file that is not there gives no error object"); }},
    {"client-stream-reads", kNoTempFiles, [](const Probe& host) {
       return WithClient(host, [](const HeldStream& stream, const Client& client) { return Expect(stream.Read(9) == "r" && client.wanted == 9, "\"Read\" does not pass on what is wanted and delivered"); }); }},
    {"client-stream-writes", kNoTempFiles, [](const Probe& host) {
       return WithClient(host, [](const HeldStream& stream, const Client& client) { return Expect(stream.Write("abc") && client.written == "abc", "\"Write\" does not pass on the bytes"); }); }},
    {"client-stream-positions", kNoTempFiles, [](const Probe& host) {
       return WithClient(host, [](const HeldStream& stream, const Client& client) { return Expect(stream.Mark() == 77 && stream.Seek(5) && client.sought == 5 && client.second == 0 && stream.Rewind() && client.rewound == 1, "\"Mark\", \"Seek\" or \"Rewind\" is not passed on"); }); }},
    {"client-stream-fails", "failures of temporary-file streams are lost", [](const Probe& host) {
       return WithClient(host, [&host](const HeldStream& stream, Client& client) {
         const HeldError error(host, host.errors.NewError("of the client", "Client", 5, 0, 0));
         client.error = host.errors.AddRef(error.Get());
         const bool failed = !stream.Write("a");
         client.error = nullptr;
         return Expect(failed, "an error object of the client does not come through"); }); }},
    {"client-stream-ends", kLeaks, [](const Probe& host) {
       return WithClient(host, [](HeldStream& stream, const Client& client) {
         const bool lived = client.destroyed == 0;
         stream.Release();
         return Expect(lived && client.destroyed == 1, "the client is not destroyed with its stream, once"); }); }},
};
// clang-format on

}  // namespace

std::span<const HostTest> StreamTests() { return kTests; }

}  // namespace zelcheck
