// Values are reached directly while nobody has put procedures over the library's own, and through
// the binder otherwise: both ways give the same.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support.h"

namespace {

namespace fs = std::filesystem;

std::uint64_t g_forwarded = 0;

// A procedure of somebody else's that calls the library's.
template <typename Proc, int kKey>
struct Forward;
template <typename Result, typename... Arguments, int kKey>
struct Forward<Result (*)(Arguments...), kKey> {
  static inline Result (*original)(Arguments...) = nullptr;
  static Result Call(Arguments... arguments) {
    ++g_forwarded;
    return original(arguments...);
  }
};

template <typename Proc, int kKey>
void PutOver(zelhost::Host& host, const char* interfaceName, const char* method,
             const char* procType) {
  using Forwarding = Forward<Proc, kKey>;
  Forwarding::original = host.Find<Proc>(interfaceName, method, procType);
  host.Register(interfaceName, method, procType, reinterpret_cast<ZELProc>(&Forwarding::Call));
}

#define FORWARD(method, procType) PutOver<::procType, __COUNTER__>(host, name, #method, #procType);
#define FORWARD_INTERFACE(Name, interfaceName, METHODS) \
  {                                                     \
    const char* const name = interfaceName;             \
    METHODS(FORWARD)                                    \
  }

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<fs::path> Corpus() {
  const fs::path examples = ZEL_EXAMPLES_DIR;
  std::vector<fs::path> files;
  for (const fs::path& folder :
       {examples, examples.parent_path() / "fuzz" / "corpus", fs::path(ZEL_TEST_DATA_DIR)}) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

class ForwardingTest : public zeltest::LibraryTest {
 protected:
  // What a host sees of a file used as a text, as a stream and as a schema.
  std::vector<std::string> Seen(const std::string& bytes) {
    seen_.clear();
    const char* stopped = nullptr;
    if (const ZELInstance value = Made(statics.CreateFromText(bytes.c_str(), &stopped))) {
      Use(value);
      containers.Release(value);
    }
    seen_.push_back(stopped == nullptr ? "read" : std::to_string(stopped - bytes.c_str()));
    const ZELInstance streamer = Made(streamers.NewPOSStreamer());
    const ZELInstance stream = NewStream(bytes);
    if (const ZELInstance value = Made(streamers.Deserialize(streamer, stream))) {
      Use(value);
      containers.Release(value);
    }
    for (const ZELInstance held : {stream, streamer}) containers.Release(held);
    Note("end");
    seen_.push_back(ToString(host.Live()));
    return seen_;
  }

 private:
  ZELInstance Made(ZELInstance made) {
    if (made != nullptr) containers.AddRef(made);
    Note("made");
    return made;
  }
  ZELInstance NewStream(const std::string& bytes) {
    ZELInstance stream = nullptr;
    EXPECT_EQ(streams.NewPositionableMemoryStream(&stream), nullptr);
    containers.AddRef(stream);
    onStream.Write(stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    onStream.Rewind(stream);
    return stream;
  }
  void Note(const char* step) {
    seen_.push_back(step);
    for (const std::string& report : host.TakeReports()) seen_.push_back("report " + report);
    for (const std::string& message : std::exchange(zeltest::g_messages, {})) {
      seen_.push_back("message " + message);
    }
  }
  void Use(ZELInstance value) {
    const ZELInstance streamer = Made(streamers.NewPOSStreamer());
    const ZELInstance stream = NewStream("");
    seen_.push_back(std::to_string(streamers.Serialize(streamer, stream, value, nullptr)));
    onStream.Rewind(stream);
    std::string written(1 << 20, ' ');
    std::uint32_t count = 0;
    onStream.Read(stream, &count, written.data(), static_cast<std::uint32_t>(written.size()));
    seen_.push_back(written.substr(0, count));
    if (const ZELInstance clone = Made(objects.Clone(value))) {
      seen_.push_back(std::to_string(objects.IsEqual(clone, value)));
      containers.Release(clone);
    }
    seen_.push_back(std::to_string(structValidators.ValidateSchema(value, &zeltest::Collect)));
    Note("as a schema");
    if (const ZELInstance validator = Made(structValidators.NewPOSStructValidator(value))) {
      if (dicts.IsPOSDict(value)) UseAsSchema(validator, value);
      containers.Release(validator);
    }
    for (const ZELInstance held : {stream, streamer}) containers.Release(held);
  }
  // Every definition is checked against every type.
  void UseAsSchema(ZELInstance validator, ZELInstance schema) {
    const ZELInstance iterator = Made(iterators.NewPOSDictIterator(schema));
    std::vector<std::string> types;
    for (; !iterators.IsDone(iterator); iterators.Next(iterator)) {
      types.emplace_back(iterators.CurKey(iterator));
    }
    containers.Release(iterator);
    for (std::size_t i = 0; i < types.size() && i < 16; ++i) {
      const ZELStringAtom type = atoms.NewStringAtom(types[i].c_str());
      seen_.push_back(
          std::to_string(validators.Validate(validator, schema, type, &zeltest::Collect)));
      seen_.push_back(std::to_string(
          validators.Validate(validator, dicts.Get(schema, type), type, &zeltest::Collect)));
      atoms.DeleteStringAtom(type);
      Note("validated");
    }
  }

  std::vector<std::string> seen_;
};

TEST_F(ForwardingTest, ProceduresOfSomebodyElseOverTheLibrarysGiveTheSame) {
  const std::vector<fs::path> files = Corpus();
  ASSERT_GT(files.size(), 50u);
  // The tables of methods that the first use leaves behind are there before anything is compared.
  for (const fs::path& file : files) Seen(ReadFile(file));
  std::vector<std::vector<std::string>> direct;
  direct.reserve(files.size());
  for (const fs::path& file : files) direct.push_back(Seen(ReadFile(file)));
  EXPECT_EQ(g_forwarded, 0u);

  POS_INTERFACES(FORWARD_INTERFACE)
  host.ChangeUnregisterCount();
  for (std::size_t i = 0; i < files.size(); ++i) {
    EXPECT_EQ(Seen(ReadFile(files[i])), direct[i]) << files[i];
  }
  EXPECT_GT(g_forwarded, 10000u);
}

}  // namespace
