// Every procedure of the library with the first, the second, ... call of each service of the host
// failing, until it gets through. With any of these faults nothing crashes, nothing is lost,
// somebody is told, containers are as they were, and right afterwards the same thing succeeds.
//
// A scenario is a body of calls, each of which succeeds or ends the attempt: Call() throws Failure
// at the first report or error object. For each service of the host and each n, Sweep() lets the
// n-th call of that service fail (Arm), runs the scenario (Attempt), which gives back what it holds
// (owned), takes the fault away again (Disarm), and runs it once more without one (Settle): what
// lives then must be what lived before. It is over when n is beyond the calls that the scenario
// makes. SweepEveryWay() does this for the faults of Extent, after what Before says. Pause keeps a
// fault away from the calls that the test makes for itself.
#include <iostream>

#include "client_fixture.h"

namespace {

using zelhost::Service;
using zeltest::Collect, zeltest::g_messages;

constexpr const char* kText =
    "<list [1 (two) [`0003` <> x]] name (a \\(longer\\) text that takes part in filling a block)"
    " inner <k <k [<k (found)>]> l [1 2 3 4 5 6 7 8 9]> zero 0>";

// Extents of a failure: once; from then on; or once, with the host unable to make an error of it.
// An error that is none comes back from a procedure that returns errors like a success.
enum class Extent { kOnce, kForGood, kWithoutErrors };
// Events before each attempt: nothing, so that everything is imported already; a withdrawal, so
// that it is imported again; a stop and the start itself.
enum class Before { kNothing, kWithdrawal, kRestart };

// An attempt has been given up because of a failure that the caller was told of, or not.
struct Failure {
  bool told;
};

int g_released = 0;
void CountRelease(void*) { ++g_released; }
std::uint64_t g_faults = 0;

class FaultSweep : public zeltest::LibraryTest {
 protected:
  void SetUp() override {
    host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});  // a restart finds the fixture's
    dicts.Put(world, Atom("blob"), NewBinData("type", std::string("\0\1\2", 3)));
    arrays.SetAt(dicts.Get(world, Atom("list")), 4, Parse("afterahole"));
    pristine = Keep(objects.Clone(world));
    arrays.Append(dicts.Get(written, Atom("list")), NewBinData("t", std::string(200, '\xFF')));
    const ZELInstance stream = NewStream("");
    ASSERT_EQ(streamers.Serialize(streamer, stream, written, nullptr), 1);
    text = Contents(stream);
    ASSERT_GT(text.size(), 600u);
    owned.GiveBack();
  }
  // ---- What scenarios are made of ----

  // Calls a procedure. A report, which the neutral result goes with, or an error object ends the
  // attempt.
  template <typename Result, typename... Parameters, typename... Arguments>
  Result Call(Result (*procedure)(Parameters...), Arguments... arguments) {
    const std::size_t reports = host.Reports().size();
    if constexpr (std::is_void_v<Result>) {
      procedure(arguments...);
      if (host.Reports().size() > reports) throw Failure{true};
    } else {
      const Result result = procedure(arguments...);
      if constexpr (std::is_same_v<Result, ZELErrorObject>) {
        if (result == nullptr) return result;
        errors.Release(result);
        throw Failure{true};
      }
      if (host.Reports().size() > reports) {
        EXPECT_TRUE(result == Result() || AddressOf(procedure) == AddressOf(iterators.IsDone));
        throw Failure{true};
      }
      return result;
    }
  }

  // Calls a procedure that delivers through its first argument.
  template <typename Result, typename... Parameters, typename... Arguments>
  Result Deliver(ZELErrorObject (*procedure)(Result*, Parameters...), Arguments... arguments) {
    Result result{};
    try {
      Call(procedure, &result, arguments...);
    } catch (const Failure&) {
      EXPECT_EQ(result, Result());
      throw;
    }
    return result;
  }

  // Calls a procedure that has to fail.
  template <typename Procedure, typename... Arguments>
  void Refused(Procedure procedure, Arguments... arguments) {
    try {
      Call(procedure, arguments...);
    } catch (const Failure&) {
      host.TakeReports();
      return;
    }
    EXPECT_EQ(extent, Extent::kWithoutErrors) << "not refused";
  }

  // Calls a procedure that changes a container, which a failure leaves as it was.
  template <typename... Parameters, typename... Arguments>
  void Change(void (*procedure)(ZELInstance, Parameters...), ZELInstance container,
              Arguments... arguments) {
    const auto copy = [&] {
      const Pause pause(*this);
      return Own(objects.Clone(container));
    };
    const ZELInstance before = copy();
    try {
      Call(procedure, container, arguments...);
    } catch (const Failure&) {
      const Pause pause(*this);
      host.ChangeUnregisterCount();  // an import that failed stays failed until then
      EXPECT_TRUE(objects.IsEqual(container, before));
      throw;
    }
  }

  // Takes a reference, which is given back after the attempt.
  ZELInstance Own(ZELInstance instance) {
    if (instance == nullptr) throw Failure{extent == Extent::kWithoutErrors};
    const Pause pause(*this);
    return owned.Keep(instance);
  }

  // Keeps the armed fault away from the calls of the test itself, while it lives.
  class Pause {
   public:
    explicit Pause(FaultSweep& test) : test_(test), left_(test.Disarm()) {}
    ~Pause() {
      if (left_ > 0) test_.Arm(left_);
    }

   private:
    FaultSweep& test_;
    std::uint64_t left_;
  };

  ZELInstance NewStream(const std::string& bytes) {
    const Pause pause(*this);
    return owned.NewStream(bytes);
  }
  std::string Contents(ZELInstance stream) {
    const Pause pause(*this);
    return Library::Contents(stream);
  }

  // ---- The sweep ----

  void Arm(std::uint64_t n) {
    host.ResetCalls();
    failAt = n;
    host.FailAt(service, n, extent == Extent::kForGood);
    if (extent == Extent::kWithoutErrors) host.FailAt(Service::kNewError, 1, true);
  }
  // Returns what to arm again with, if at all.
  std::uint64_t Disarm() {
    host.StopFailing();
    const std::uint64_t calls = host.Calls(service);
    const std::uint64_t at = std::exchange(failAt, 0);
    if (calls < at) return at - calls;
    injected = injected || at > 0;
    return at > 0 && extent == Extent::kForGood ? 1 : 0;
  }

  // Whether the scenario got through; everything that it holds is given back.
  bool Attempt(bool starts) {
    bool succeeded = false;
    wasTold = false;
    try {
      if (starts) StartWithFault();
      Scenario();
      succeeded = true;
    } catch (const Failure& failure) {
      wasTold = failure.told;
    } catch (const std::runtime_error&) {  // the host's or the client's
      wasTold = true;
    }
    owned.GiveBack();
    // A temporary file that no stream could be opened for stays, empty.
    for (const auto& left : folder.Names()) {
      EXPECT_EQ(std::filesystem::file_size(folder.path / left), 0u);
      std::filesystem::remove(folder.path / left);
    }
    EXPECT_EQ(g_released, made);
    g_released = made = 0;
    return succeeded;
  }

  // A start of which anything fails fails; the host may do without core error 1 alone.
  void StartWithFault() {
    const std::uint64_t before = host.FaultsInjected();
    host.Start(zeltest::LibraryPath());
    const bool isDispensable = service == Service::kGetCoreError && failAt == 2;
    EXPECT_EQ(host.FaultsInjected() - before, isDispensable ? 1u : 0u);
  }

  // Damage would show here, and losses in the counts that it returns.
  std::string Settle(Before before) {
    if (!host.Started()) host.Start(zeltest::LibraryPath());
    if (before != Before::kNothing) host.ChangeUnregisterCount();
    EXPECT_TRUE(objects.IsEqual(world, pristine));
    EXPECT_TRUE(Attempt(false));
    EXPECT_EQ(host.TakeReports(), std::vector<std::string>());
    return Live();
  }
  std::string Live() {
    zelhost::Counts counts = host.Live();
    // A host may do without the second of the errors that are held from start to stop.
    if (service == Service::kGetCoreError) counts.errors = counts.errorReferences = 0;
    return ToString(counts);
  }

  virtual void Scenario() = 0;

  void Sweep(Before before) {
    if (before == Before::kRestart) host.Stop();
    const std::string settled = Settle(before);
    injected = true;
    for (std::uint64_t n = 1; injected && !HasFailure(); ++n) {
      SCOPED_TRACE(std::string(ServiceName(service)) + " " + std::to_string(n) + ", extent " +
                   std::to_string(static_cast<int>(extent)) + ", before " +
                   std::to_string(static_cast<int>(before)));
      if (before == Before::kRestart) host.Stop();
      if (before == Before::kWithdrawal) host.ChangeUnregisterCount();
      injected = false;
      Arm(n);
      const bool succeeded = Attempt(before == Before::kRestart);
      Disarm();
      EXPECT_TRUE(succeeded || injected);
      EXPECT_TRUE(succeeded || wasTold || !host.Reports().empty()) << "nobody was told";
      host.TakeReports();
      if (before != Before::kRestart) {
        EXPECT_EQ(Live(), settled);
      }
      EXPECT_EQ(Settle(before), settled);
      g_faults += injected ? 1 : 0;
    }
  }

  void SweepEveryWay() {
    ASSERT_TRUE(Attempt(false));
    for (const Service each : zelhost::FallibleServices()) {
      service = each;
      extent = Extent::kOnce;
      Sweep(Before::kRestart);
      if (takesLong) continue;
      Sweep(Before::kNothing);
      Sweep(Before::kWithdrawal);
      extent = Extent::kForGood;
      Sweep(Before::kRestart);
      extent = Extent::kWithoutErrors;
      Sweep(Before::kWithdrawal);
    }
  }

  static void TearDownTestSuite() {
    std::cout << "[  faults  ] " << g_faults << " injected" << std::endl;
  }

  template <typename Procedure>
  static ZELProc AddressOf(Procedure procedure) {
    return reinterpret_cast<ZELProc>(procedure);
  }

  ZELInstance world = Parse(kText);
  ZELInstance written = Parse(kText);  // without a hole
  ZELInstance parsed = Parse(kText);
  ZELInstance pristine = nullptr;
  ZELInstance one = Parse("1");
  ZELInstance streamer = Keep(streamers.NewPOSStreamer());
  ZELInstance schema = Parse(
      "<T <category dict required <name S> optional <list L n U>> S <category string maxlen 3>"
      " L <category array membertype I> I <category intersection set [int C]>"
      " C <category real max 9> U <category union set [S L]>>");
  ZELInstance badSchema = Parse("<T <category array membertype Nowhere>>");
  ZELInstance good = Parse("<name abc list [1 2] n [3]>");
  ZELInstance bad = Parse("<name abcd list [1 x 10] n 7 more 1>");
  ZELStringAtom key = Atom("name");
  ZELStringAtom newKey = Atom("new");
  ZELStringAtom path = Atom("inner.k.k[0].k");
  ZELStringAtom typeT = Atom("T");
  ZELStringAtom typeC = Atom("C");
  zeltest::TempFolder folder;
  ZELStringAtom folderText = Atom(folder.path.string());
  std::string text;

  Service service = Service::kAlloc;
  Extent extent = Extent::kOnce;
  std::uint64_t failAt = 0;  // 0: not armed
  bool takesLong = false;    // enough to be swept in one way
  bool injected = false;
  bool wasTold = false;
  int made = 0;         // raw pointers
  Library owned{host};  // by the attempt
};

// A test of what follows as the scenario's body.
#define SCENARIO(name)                                         \
  struct name##FaultSweep : FaultSweep {                       \
    void Scenario() override;                                  \
  };                                                           \
  TEST_F(name##FaultSweep, NothingIsLost) { SweepEveryWay(); } \
  void name##FaultSweep::Scenario()

SCENARIO(Scalars) {
  const ZELInstance number = Own(Call(numbers.NewPOSNumber, 2.5));
  EXPECT_TRUE(Call(numbers.IsPOSNumber, number));
  EXPECT_EQ(Call(numbers.Get, number), 2.5);
  const ZELInstance string = Own(Call(strings.NewPOSString, "text"));
  EXPECT_TRUE(Call(strings.IsPOSString, string));
  EXPECT_STREQ(Call(strings.Get, string), "text");
  const std::uint16_t units[] = {0x41, 0};
  const ZELInstance unicode = Own(Call(unicodeStrings.NewPOSUnicodeString, units));
  EXPECT_TRUE(Call(unicodeStrings.IsPOSUnicodeString, unicode));
  EXPECT_EQ(Call(unicodeStrings.Get, unicode)[0], 0x41);
  const ZELInstance data = Own(Call(binData.NewPOSBinData, "type", units, 2u));
  EXPECT_TRUE(Call(binData.IsPOSBinData, data));
  EXPECT_STREQ(Call(binData.GetTypeName, data), "type");
  EXPECT_EQ(*static_cast<const std::uint16_t*>(Call(binData.GetBinData, data)), 0x41);
  EXPECT_EQ(Call(binData.GetSize, data), 2u);
  const ZELInstance pointer = Call(rawPointers.NewPOSRawPointer, &made, &CountRelease);
  ++made;
  Own(pointer);
  EXPECT_TRUE(Call(rawPointers.IsPOSRawPointer, pointer));
  EXPECT_EQ(Call(rawPointers.GetRawPointer, pointer), &made);
  EXPECT_EQ(Call(rawPointers.GetReleaseProc, pointer), &CountRelease);
  for (const ZELInstance scalar : {number, string, unicode, data, pointer}) {
    EXPECT_EQ(Call(objects.Clone, scalar), scalar);
    EXPECT_TRUE(Call(objects.IsEqual, scalar, scalar));
  }
}

SCENARIO(Cloning) {
  const ZELInstance clone = Own(Call(objects.Clone, world));
  EXPECT_TRUE(Call(objects.IsEqual, world, clone));
  EXPECT_EQ(Call(objects.GetType, clone), POSTypeDict);
  Call(statics.DebugDump, clone);
  Call(statics.DebugDumpWithHeader, clone);
  Call(statics.DebugDumpRewind, clone);
}

SCENARIO(Parsing) {
  const char* errorPosition = kText;
  const ZELInstance object = statics.CreateFromText(kText, &errorPosition);
  EXPECT_EQ(errorPosition, nullptr);
  EXPECT_TRUE(Call(dicts.IsPOSDict, Own(object)));
  const Pause pause(*this);
  EXPECT_TRUE(objects.IsEqual(object, parsed));
}

SCENARIO(ChangingArrays) {
  const ZELInstance array = Own(Call(arrays.NewPOSArray));
  EXPECT_TRUE(Call(arrays.IsPOSArray, array));
  for (int i = 0; i < 5; ++i) Change(arrays.Append, array, one);
  Change(arrays.SetAt, array, 9u, world);
  Change(arrays.SetAt, array, 0u, world);
  Change(arrays.Remove, array, 1u);
  EXPECT_EQ(Call(arrays.Count, array), 9u);
  EXPECT_EQ(Call(arrays.GetAt, array, 8u), world);
}

SCENARIO(ChangingDicts) {
  const ZELInstance dict = Own(Call(dicts.NewPOSDict));
  EXPECT_TRUE(Call(dicts.IsPOSDict, dict));
  Change(dicts.Put, dict, key, one);
  Change(dicts.Put, dict, newKey, one);
  Change(dicts.Put, dict, key, world);
  Change(dicts.Remove, dict, newKey);
  EXPECT_EQ(Call(dicts.Get, dict, key), world);
  EXPECT_EQ(Call(dicts.Get, dict, newKey), nullptr);
}

// A failure on the way along a path is a path that leads nowhere: nobody is told.
SCENARIO(LookingUp) {
  const ZELInstance found = Call(dicts.DeepGet, world, path);
  if (found == nullptr && failAt != 0) throw Failure{true};
  EXPECT_STREQ(Call(strings.Get, Own(found)), "found");
}

SCENARIO(Iterating) {
  const ZELInstance iterator = Own(Call(iterators.NewPOSDictIterator, world));
  std::string keys;
  for (Call(iterators.Begin, iterator); !Call(iterators.IsDone, iterator);
       Call(iterators.Next, iterator)) {
    keys += Call(iterators.CurKey, iterator);
  }
  EXPECT_EQ(keys, "blobinnerlistnamezero");
}

SCENARIO(WrongHandles) {
  Refused(objects.GetType, nullptr);
  Refused(numbers.IsPOSNumber, streamer);
  Refused(strings.Get, world);
  Refused(arrays.Append, world, one);
  Refused(arrays.Append, one, streamer);
  Refused(dicts.Get, world, 0u);
  Refused(iterators.IsDone, world);
  Refused(streamers.Deserialize, streamer, world);
  const ZELInstance stream = NewStream("");
  Refused(streamers.Deserialize, one, stream);
  Refused(streamers.Serialize, world, stream, one, nullptr);
  Refused(streamers.Serialize, streamer, nullptr, one, nullptr);
  Refused(streamers.Serialize, streamer, stream, nullptr, nullptr);
  EXPECT_EQ(Contents(stream), "");
  Refused(structValidators.NewPOSStructValidator, streamer);
  Refused(validators.Validate, world, one, typeT, nullptr);
  bool exists = true;
  Refused(directories.FileExists, &exists, world, key);
  EXPECT_TRUE(exists);
  ZELInstance file = nullptr;
  Refused(tempFiles.NewTempFileStream, &file, "p", "e", "not a mode");
  EXPECT_EQ(file, nullptr);
}

SCENARIO(Writing) {
  const ZELInstance writer = Own(Call(streamers.NewPOSStreamer));
  const ZELInstance stream = NewStream("");
  EXPECT_EQ(Call(streamers.Serialize, writer, stream, written, nullptr), 1);
  EXPECT_EQ(Contents(stream), text);
}

SCENARIO(Reading) {
  const ZELInstance stream = NewStream(text + text);
  const ZELInstance object = Own(Call(streamers.Deserialize, streamer, stream));
  const Pause pause(*this);
  EXPECT_TRUE(objects.IsEqual(object, written));
  std::uint32_t position = 0;
  onStream.Mark(stream, &position);
  EXPECT_EQ(position, text.size());
}

SCENARIO(Validating) {
  const ZELInstance validator = Own(Call(structValidators.NewPOSStructValidator, schema));
  POSStructValidatorCallbackProc check = [](ZELInstance value, ZELStringAtom, ZELSharedBuff buffer,
                                            void* client) {
    auto& self = *static_cast<ValidatingFaultSweep*>(client);
    if (self.numbers.Get(value) != 2) return 1;
    std::strcpy(static_cast<char*>(self.buffers.GetBuffer(buffer)), "no two");
    return 0;
  };
  EXPECT_EQ(Call(validators.Validate, validator, good, typeT, &Collect), 1);
  Call(structValidators.RegisterCallbackProc, validator, typeC, check, this);
  Call(structValidators.RegisterCallbackProc, validator, typeC, check, this);
  EXPECT_EQ(Call(validators.Validate, validator, bad, typeT, nullptr), 0);
  g_messages.clear();
  EXPECT_EQ(Call(validators.Validate, validator, good, typeT, &Collect), 0);
  const std::string prefix = "list (optional, type != L): ";
  EXPECT_EQ(g_messages,
            (std::vector<std::string>{prefix + "[1]: Failed intersection type C: no two"}));
  g_messages.clear();
  EXPECT_EQ(Call(validators.Validate, validator, bad, typeT, &Collect), 0);
  EXPECT_EQ(g_messages.size(), 7u);
}

// A failure while a type name is looked up is a message of its own, or an empty one.
SCENARIO(CheckingSchemas) {
  takesLong = true;
  g_messages.clear();
  const std::int32_t valid = Call(structValidators.ValidateSchema, badSchema, &Collect);
  bool isFound = false;
  for (const std::string& message : g_messages) {
    isFound |= message.ends_with("Cannot locate definition of type Nowhere");
  }
  EXPECT_EQ(valid, 0);
  if (!isFound && failAt != 0 && !g_messages.empty()) throw Failure{true};
  EXPECT_TRUE(isFound);
}

SCENARIO(UsingDirectories) {
  Own(Deliver(directories.GetCurrent));
  Own(Deliver(directories.GetTempDir));
  const ZELInstance directory = Own(Deliver(directories.NewZELUtilsDir, folderText));
  const ZELStringAtom unique =
      owned.KeepAtom(Deliver(directories.CreateUniqueFilename, directory, key, newKey));
  EXPECT_TRUE(Deliver(directories.FileExists, directory, unique));
  const ZELStringAtom whole =
      owned.KeepAtom(Deliver(directories.GetFilePathSpec, directory, unique));
  EXPECT_EQ(atoms.GetCString(whole), folder / atoms.GetCString(unique));
  Call(directories.Rename, directory, unique, newKey);
  EXPECT_FALSE(Deliver(directories.FileExists, directory, unique));
  Refused(directories.Delete, directory, unique);
  Call(directories.Delete, directory, newKey);
  EXPECT_TRUE(folder.Names().empty());
}

SCENARIO(UsingTempFiles) {
  const ZELInstance stream = Own(Deliver(tempFiles.NewTempFileStream, "p", "e", "w+b"));
  const auto read = [&](ZELInstance from) {
    char buffer[8] = {};
    std::uint32_t delivered = 0;
    Call(onStream.Read, from, &delivered, buffer, 7u);
    EXPECT_EQ(std::string(buffer).size(), delivered);
    return std::string(buffer);
  };
  Call(onStream.Write, stream, "abcdef", 6u);
  Call(onStream.Seek, stream, 2u, 0u);
  EXPECT_TRUE(read(stream) == "cdef" || service == Service::kShortRead);
  ZELInstance reader = nullptr, other = nullptr;
  Call(onStream.CreateIndependentlyPositionableStream, stream, &reader);
  Own(reader);
  Call(onStream.CreateIndependentlyRewindableStream, stream, &other);
  Own(other);
  EXPECT_EQ(read(reader).substr(0, 1), "a");
  Call(onStream.Rewind, reader);
  EXPECT_EQ(read(reader).substr(0, 1), "a");
  std::uint32_t place = 0;
  Call(onStream.Mark, other, &place);
  EXPECT_EQ(place, 0u);
  Refused(onStream.Write, stream, "x", 1u);
}

SCENARIO(UsingTheClient) {
  const zelutils::Client client(zelhost::Host::LookupProc(), [&] { return host.TakeReports(); });
  zelutils::Dict dict = client.NewDict({{"list", client.NewArray({1, "two", u"3"})}});
  // A clone that can never be held cannot be ended either: it may be somebody else's instance.
  const bool neverHeld = service == Service::kAddRef && extent == Extent::kForGood;
  dict.Put("copy", neverHeld ? client.Parse("[1 two `0033`]") : dict["list"].Clone());
  zelutils::Stream stream = client.NewMemoryStream();
  zelutils::Streamer(client).Serialize(stream, dict);
  stream.Rewind();
  const auto read = zelutils::Streamer(client).Deserialize(stream).As<zelutils::Dict>();
  for (const auto& [name, value] : read) EXPECT_EQ(value, client.Parse("[1 two `0033`]")) << name;
  if (!dict.DeepGet("list[2]")) throw Failure{failAt != 0};
  EXPECT_THROW(client.OpenFile("no/such/file", "rb"), zelutils::Error);
}

}  // namespace
