// Values are reached directly while nobody has put procedures over the library's own, and through
// the binder otherwise: both ways give the same.

#include "checksum.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;

std::uint64_t g_forwarded = 0;
std::map<std::string, std::uint64_t> g_calls;  // of each type of procedure

// A procedure of somebody else's that calls the library's.
template <typename Proc, int kKey>
struct Forward;
template <typename Result, typename... Arguments, int kKey>
struct Forward<Result (*)(Arguments...), kKey> {
  static inline Result (*original)(Arguments...) = nullptr;
  static inline std::uint64_t* calls = nullptr;
  static Result Call(Arguments... arguments) {
    ++g_forwarded;
    ++*calls;
    return original(arguments...);
  }
};

template <typename Proc, int kKey>
void PutOver(zelhost::Host& host, const char* interfaceName, const char* method,
             const char* procType) {
  using Forwarding = Forward<Proc, kKey>;
  Forwarding::original = host.Find<Proc>(interfaceName, method, procType);
  Forwarding::calls = &g_calls[procType];
  host.Register(interfaceName, method, procType, reinterpret_cast<ZELProc>(&Forwarding::Call));
}

#define FORWARD(method, procType) PutOver<::procType, __COUNTER__>(host, name, #method, #procType);
#define FORWARD_INTERFACE(Name, interfaceName, METHODS) \
  {                                                     \
    const char* const name = interfaceName;             \
    METHODS(FORWARD)                                    \
  }

std::vector<fs::path> Corpus() {
  const fs::path examples = ZEL_EXAMPLES_DIR;
  std::vector<fs::path> files;
  for (const fs::path& folder : {examples, fs::path(ZEL_CORPUS_DIR)}) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

class ForwardingTest : public zeltest::LibraryTest {
 protected:
  ForwardingTest() { g_forwarded = 0; }

  // Addresses and numbers of blocks come behind it: the rest is the same on every platform.
  static constexpr const char* kOnePlatform = "of this platform";

  // The view of a host of a file used as a text, as a stream and as a schema.
  std::vector<std::string> Seen(const fs::path& file) {
    const std::string bytes = zeltest::Folder::Contents(file);
    seen_.clear();
    const char* stopped = nullptr;
    Use(statics.CreateFromText(bytes.c_str(), &stopped));
    seen_.push_back(stopped == nullptr ? "read" : std::to_string(stopped - bytes.c_str()));
    const ZELInstance streamer = Keep(streamers.NewPOSStreamer());
    Use(streamers.Deserialize(streamer, NewStream(bytes)));
    seen_.emplace_back(kOnePlatform);
    const ZELInstance array = Keep(arrays.NewPOSArray());  // of what no text has a form for
    arrays.Append(array, NewBinData("raw", std::string(45, '\xAB')));
    arrays.Append(array, rawPointers.NewPOSRawPointer(this, nullptr));
    Use(array);
    GiveBack();
    Note("end");
    seen_.push_back(ToString(host.Live()));
    return seen_;
  }

 private:
  void Note(const char* step) {
    seen_.push_back(step);
    for (const std::string& report : host.TakeReports()) seen_.push_back("report " + report);
    for (const std::string& message : std::exchange(zeltest::g_messages, {})) {
      seen_.push_back("message " + message);
    }
  }
  void Use(ZELInstance value) {
    Note("made");
    if (value == nullptr) return;
    Keep(value);
    const ZELInstance streamer = Keep(streamers.NewPOSStreamer());
    const ZELInstance stream = NewStream("");
    seen_.push_back(std::to_string(streamers.Serialize(streamer, stream, value, nullptr)));
    seen_.push_back(Contents(stream));
    if (const ZELInstance clone = objects.Clone(value)) {
      seen_.push_back(std::to_string(objects.IsEqual(Keep(clone), value)));
    }
    seen_.push_back(std::to_string(structValidators.ValidateSchema(value, &zeltest::Collect)));
    Note("as a schema");
    if (!dicts.IsPOSDict(value)) return;
    UseAsSchema(Keep(structValidators.NewPOSStructValidator(value)), value);
  }
  // Every definition is checked against every type.
  void UseAsSchema(ZELInstance validator, ZELInstance schema) {
    const ZELInstance iterator = Keep(iterators.NewPOSDictIterator(schema));
    for (int i = 0; i < 16 && !iterators.IsDone(iterator); iterators.Next(iterator), ++i) {
      const ZELStringAtom type = Atom(iterators.CurKey(iterator));
      for (const ZELInstance value : {schema, dicts.Get(schema, type)}) {
        const std::int32_t conforms =
            validators.Validate(validator, value, type, &zeltest::Collect);
        seen_.push_back(std::to_string(conforms));
      }
      Note("validated");
    }
  }

  std::vector<std::string> seen_;
};

TEST_F(ForwardingTest, ProceduresOfSomebodyElseOverTheLibrarysGiveTheSame) {
  const std::vector<fs::path> files = Corpus();
  ASSERT_GT(files.size(), 50u);
  // The tables of methods that the first use leaves behind are there before anything is compared.
  for (const fs::path& file : files) Seen(file);
  std::vector<std::vector<std::string>> direct;
  direct.reserve(files.size());
  for (const fs::path& file : files) direct.push_back(Seen(file));
  EXPECT_EQ(g_forwarded, 0u);
  std::string results;
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (!files[i].generic_string().starts_with(ZEL_CORPUS_DIR)) continue;
    for (const std::string& step : direct[i]) {
      if (step == kOnePlatform) break;
      results += step + '\n';
    }
  }
  zeltest::ExpectChecksum("corpus", results);

  POS_INTERFACES(FORWARD_INTERFACE)
  host.ChangeUnregisterCount();
  for (std::size_t i = 0; i < files.size(); ++i) {
    EXPECT_EQ(Seen(files[i]), direct[i]) << files[i];
  }
  EXPECT_GT(g_forwarded, 10000u);
}

// With dictionaries and their iterators of the library's own.
TEST_F(ForwardingTest, KeysAndSizesAreWrittenByStringsAndNumbersOfSomebodyElse) {
  FORWARD_INTERFACE(String, POS_STRING_INTERFACE, POS_STRING_METHODS)
  FORWARD_INTERFACE(Number, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS)
  host.ChangeUnregisterCount();
  const ZELInstance array = Parse("[<key (text)>]");
  arrays.Append(array, NewBinData("raw", "bytes"));
  const std::uint64_t& newStrings = g_calls.at("POSStringNewPOSStringProc");
  const std::uint64_t& newNumbers = g_calls.at("POSNumberNewPOSNumberProc");
  const std::uint64_t stringsBefore = newStrings;
  const std::uint64_t numbersBefore = newNumbers;
  EXPECT_EQ(1,
            streamers.Serialize(Keep(streamers.NewPOSStreamer()), NewStream(""), array, nullptr));
  EXPECT_EQ(newStrings - stringsBefore, 2u);  // the key and the name of the data's type
  EXPECT_EQ(newNumbers - numbersBefore, 1u);

  // A key is read before its value is.
  zeltest::Replace<zelutils::StringInterface>(
      host, "Get", +[](ZELInstance) -> const char* { return nullptr; });
  host.ChangeUnregisterCount();
  ExpectFailure("CPOSString::Get failed", statics.CreateFromText, "<key ]", nullptr);
}

// Also for a type of keys that no key fails, and where nothing is found.
TEST_F(ForwardingTest, TheValidatorCallsProceduresOfSomebodyElseAsOftenAsItsChecksNeed) {
  const ZELInstance validator =
      Keep(structValidators.NewPOSStructValidator(Parse("<T <category dict keytype string>"
                                                        " U <category union set [int real T]>>")));
  const ZELInstance value = Parse("<a 1 b 2>");
  FORWARD_INTERFACE(String, POS_STRING_INTERFACE, POS_STRING_METHODS)
  FORWARD_INTERFACE(Array, POS_ARRAY_INTERFACE, POS_ARRAY_METHODS)
  host.ChangeUnregisterCount();
  std::uint64_t& newStrings = g_calls.at("POSStringNewPOSStringProc");
  std::uint64_t& newArrays = g_calls.at("POSArrayNewPOSArrayProc");
  newStrings = newArrays = 0;
  EXPECT_EQ(1, validators.Validate(validator, value, Atom("T"), &zeltest::Collect));
  EXPECT_EQ(newStrings, 2u);
  EXPECT_EQ(newArrays, 1u);
  // Once for each type that is tried, whether its objection is put into words or not.
  FORWARD_INTERFACE(Number, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS)
  host.ChangeUnregisterCount();
  std::uint64_t& numberChecks = g_calls.at("POSNumberIsPOSNumberProc");
  for (const std::int32_t conforms : {1, 0}) {
    numberChecks = 0;
    EXPECT_EQ(conforms, validators.Validate(validator, conforms != 0 ? value : Parse("text"),
                                            Atom("U"), &zeltest::Collect));
    EXPECT_EQ(numberChecks, 2u);
  }
}

}  // namespace
