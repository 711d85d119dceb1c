// Hosts and neighbours that do what few of them will: start and stop out of turn, call after the
// stop, offer instances that are POS objects by their methods alone, or have nothing where
// something should be.
#include <deque>

#include "frame/core/core_interfaces.h"
#include "frame/core/error.h"
#include "frame/object/lifecycle.h"
#include "support.h"

#if defined(__linux__)
#include <unistd.h>
#endif

namespace {

using Reports = std::vector<std::string>;

const zeltest::CoreProcedures* g_own;  // the host's

class StrangeHostTest : public ::testing::Test {
 protected:
  StrangeHostTest() { g_own = &own; }
  void Start() { host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate}); }
  void TearDown() override {
    host.Stop();
    EXPECT_EQ(ToString(host.Live()), "nothing");
  }

  zelhost::Host host;
  const zeltest::CoreProcedures own{host};
};

TEST_F(StrangeHostTest, StartAndStopOutOfTurnDoNothing) {
  const ZELLookupProc lookup = zelhost::Host::LookupProc();
  ZELUtilsTerminate();
  EXPECT_EQ(ZELUtilsInitialize(nullptr), 0);
  EXPECT_EQ(ZELUtilsInitialize(lookup), 0) << "the failed start has not been ended";
  EXPECT_EQ(host.TotalCalls(), 0u);
  ZELUtilsTerminate();
  EXPECT_EQ(ZELUtilsInitialize(lookup), 1);
  const std::uint64_t calls = host.TotalCalls();
  EXPECT_EQ(ZELUtilsInitialize(lookup), 0);
  EXPECT_EQ(ZELUtilsGetVersion(), 0x00010101u);
  EXPECT_EQ(host.TotalCalls(), calls);
  ZELUtilsTerminate();
  EXPECT_TRUE(host.Live().AllZero());
  const std::uint64_t callsAfter = host.TotalCalls();
  ZELUtilsTerminate();
  EXPECT_EQ(host.TotalCalls(), callsAfter);
}

TEST_F(StrangeHostTest, ProceduresCalledAfterTheStopFail) {
  Start();
  host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  zeltest::Library zel(host);
  const ZELInstance dict = zel.Parse("<a <b [1]>>");
  const ZELInstance iterator = zel.Keep(zel.iterators.NewPOSDictIterator(dict));
  const ZELStringAtom key = zel.Atom("a");
  host.Stop();
  const zelhost::Counts live = host.Live();

  EXPECT_EQ(zel.numbers.NewPOSNumber(1), nullptr);
  EXPECT_EQ(zel.statics.CreateFromText("[1]", nullptr), nullptr);
  EXPECT_EQ(zel.objects.Clone(dict), nullptr);
  EXPECT_FALSE(zel.objects.IsEqual(dict, dict));
  EXPECT_EQ(zel.dicts.Get(dict, key), nullptr);
  zel.dicts.Put(dict, key, dict);
  zel.dicts.Remove(dict, key);
  EXPECT_TRUE(zel.iterators.IsDone(iterator));
  EXPECT_EQ(zel.streamers.NewPOSStreamer(), nullptr);
  EXPECT_EQ(zel.streamers.Serialize(dict, dict, dict, nullptr), 0);
  EXPECT_EQ(host.TakeReports().size(), 10u) << "one for each";
  EXPECT_EQ(ToString(host.Live()), ToString(live));

  Start();
  EXPECT_STREQ(zel.iterators.CurKey(iterator), "a");
  EXPECT_TRUE(zel.objects.IsEqual(dict, zel.Keep(zel.objects.Clone(dict))));
}

// A second link may fail after any of its lookups. Objects of the first one answer all the same,
// fail with an error where they fail, and can be given back.
TEST_F(StrangeHostTest, ALinkThatFailsTakesNothingFromTheOneBefore) {
  host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  const std::pair<const char*, const char*> rows[] = {
      {ZEL_BINDER_INTERFACE, "ZELReportError"},
      {ZEL_BINDER_INTERFACE, "ZELIsMultiThreaded"},
      {ZEL_CONTAINER_INTERFACE, "Release"},
      {ZEL_CONTAINER_INTERFACE, "NewFullContainer"},
      {ZEL_ERROR_INTERFACE, "NewError"},
      {ZEL_ERROR_INTERFACE, "Release"},
      {ZEL_STRING_INTERFACE, "DeleteStringAtom"},
      {ZEL_STRING_INTERFACE, "NewStringAtom"},
      {ZEL_MEMORY_INTERFACE, "Free"},
      {ZEL_MEMORY_INTERFACE, "Alloc"},
  };
  for (const auto& [interfaceName, method] : rows) {
    SCOPED_TRACE(std::string(interfaceName) + "." + method);
    Start();
    {
      zeltest::Library zel(host);
      const ZELInstance dict = zel.Parse("<a <b [1]>>");
      zel.NewBinData("t", "x");
      ZELInstance stream = nullptr;
      ZELInstance reader = nullptr;
      ASSERT_EQ(zel.tempFiles.NewTempFileStream(&stream, "p", "e", "w+b"), nullptr);
      zel.Keep(stream);
      ASSERT_EQ(zel.onStream.CreateIndependentlyPositionableStream(stream, &reader), nullptr)
          << "and the stream cannot be written to any more";
      zel.Keep(reader);
      host.Stop();

      host.Hide(interfaceName, method);
      EXPECT_THROW(Start(), zelhost::HostError);
      const ZELErrorObject error = zel.onStream.Write(stream, "x", 1);
      EXPECT_NE(error, nullptr);
      zel.errors.Release(error);
      EXPECT_EQ(zel.numbers.Get(dict), 0.0);
      EXPECT_EQ(host.TakeReports().size(), 1u);
    }
    EXPECT_EQ(ToString(host.Live()), "nothing");
    host.Show(interfaceName, method);
  }
  Start();
}

// A binder may be another one although its lookup procedure or its counter's value is the same.
std::uint64_t g_lookups = 0;
std::uint32_t g_otherCount = 0;
bool g_countsElsewhere = false;
template <int kNumber>  // one procedure for each
ZELProc CountingLookup(const char* interfaceName, const char* method, const char* procType) {
  ++g_lookups;
  if (g_countsElsewhere && std::string(method) == "ZELGetUnregisterCountAddr") {
    return reinterpret_cast<ZELProc>(+[] { return &g_otherCount; });
  }
  return zelhost::Host::LookupProc()(interfaceName, method, procType);
}
TEST_F(StrangeHostTest, TheTablesOfAnotherBinderAreImportedThoughItsCounterReadsTheSame) {
  std::uint32_t* const counter =
      zeltest::Import<zelutils::BinderInterface>(host).ZELGetUnregisterCountAddr();
  const std::uint32_t first = *counter;
  constexpr std::uint64_t kBinderProcs = 5;
  constexpr std::uint64_t kCoreProcs = 16 + 8 + 4 + 4;
  const std::tuple<ZELLookupProc, bool, bool> rows[] = {{&CountingLookup<1>, false, true},
                                                        {&CountingLookup<1>, false, false},
                                                        {&CountingLookup<2>, false, true},
                                                        {&CountingLookup<2>, true, true}};
  for (const auto& [lookup, countsElsewhere, isAnother] : rows) {
    g_lookups = 0;
    g_countsElsewhere = countsElsewhere;
    *counter = g_otherCount = first;
    EXPECT_EQ(ZELUtilsInitialize(lookup), 1);
    EXPECT_EQ(g_lookups, kBinderProcs + (isAnother ? kCoreProcs : 0));
    ZELUtilsTerminate();
  }
}

Reports g_givenBack;

TEST_F(StrangeHostTest, TheLinkGivesBackInOrder) {
  zeltest::Replace<zelutils::AtomInterface>(
      host, "DeleteStringAtom", +[](ZELStringAtom atom) {
        g_givenBack.emplace_back(g_own->atoms.GetCString(atom));
        g_own->atoms.DeleteStringAtom(atom);
      });
  zeltest::Replace<zelutils::ErrorInterface>(
      host, "Release", +[](ZELErrorObject error) {
        if (error != nullptr) {
          g_givenBack.emplace_back(g_own->atoms.GetCString(g_own->errors.GetErrorMessage(error)));
        }
        g_own->errors.Release(error);
      });
  Start();
  std::string ofValues;
  std::string ofStreams;
  {
    zeltest::Library zel(host);
    const ZELInstance streamer = zel.Keep(zel.streamers.NewPOSStreamer());
    const ZELInstance value = zel.NewNumber(1);
    const ZELInstance stream = zel.NewStream("");
    ofValues = ZEL_T_NMT::PrimaryInstance(value).signature;
    ofStreams = ZEL_T_NMT::PrimaryInstance(stream).signature;
    EXPECT_EQ(zel.streamers.Serialize(streamer, stream, value, nullptr), 1);
  }
  g_givenBack.clear();
  host.Stop();
  // The registry's names backwards; the tables of methods, those of the owner that was made last
  // first; the two errors of the core.
  EXPECT_EQ(g_givenBack, (Reports{"ZELUtilsDirInterface", "ZELUtilsDir", "POSValidatorInterface",
                                  "POSValidatorImpl", "POSStreamerInterface", "POSStreamerImpl",
                                  "POSDictIteratorInterface", "POSDictIteratorImpl",
                                  "POSObjectInterface", "POSObjectImpl", ofValues, ofStreams,
                                  ofStreams, ofStreams, "unknown error", "out of memory"}));
}

#if defined(__linux__)
// The host may be gone when the library is unloaded: what still ends then calls nothing.
TEST_F(StrangeHostTest, AfterTheDetachNothingCallsTheHost) {
  const auto endAfterDetach = [this] {
    Start();
    zeltest::Library zel(host);
    zel.Parse("<a <b [1]>>");
    zel.NewBinData("t", "x");
    ZEL_T_NMT::ZELProcessDetach();
    const std::uint64_t calls = host.TotalCalls();
    zel.GiveBack();
    const ZEL_T_NMT::CZELError error = *ZEL_T_NMT::g_unknownError;
    *ZEL_T_NMT::g_unknownError = ZEL_T_NMT::CZELError();
    _exit(host.TotalCalls() == calls + 2 ? 0 : 1);
  };
  EXPECT_EXIT(endAfterDetach(), ::testing::ExitedWithCode(0), "");
}
#endif

TEST_F(StrangeHostTest, AnInstanceWithThePOSMethodsAloneIsNoPOSObject) {
  for (const bool hostFindsNothing : {false, true}) {
    if (hostFindsNothing) {
      zeltest::Replace<zelutils::ContainerInterface>(
          host, "NGetInstance", +[](void** object, ZELInstance, ZELStringAtom) {
            *object = nullptr;
            return ZELErrorObject();
          });
    }
    Start();
    {
      zeltest::Library zel(host);
      ZELInstance stranger = nullptr;
      ASSERT_EQ(zel.containers.NewFullContainer(&stranger, &host, zel.Atom("Foreign"), nullptr,
                                                zel.Atom(POS_OBJECT_INTERFACE), 0, 0, 0),
                nullptr);
      const ZELInstance array = zel.Parse("[]");
      const ZELInstance streamer = zel.Keep(zel.streamers.NewPOSStreamer());
      zel.arrays.Append(array, stranger);
      EXPECT_EQ(host.TakeReports(), Reports());

      EXPECT_EQ(zel.objects.GetType(stranger), 0);
      if (hostFindsNothing) {
        EXPECT_EQ(host.TakeReports(), Reports{"invalid container"});
      }
      EXPECT_FALSE(zel.objects.IsEqual(array, array));
      EXPECT_EQ(zel.objects.Clone(array), nullptr);
      EXPECT_EQ(host.TakeReports().back(), "CPOSObject::Clone failed");
      EXPECT_EQ(zel.streamers.Serialize(streamer, zel.NewStream(""), array, nullptr), 0);
      EXPECT_EQ(host.TakeReports().back(), "Cannot determine writing params");
    }
    host.Stop();
  }
}

TEST_F(StrangeHostTest, ABufferWithoutBytesIsNoBuffer) {
  zeltest::Replace<zelutils::SharedBuffInterface>(
      host, "GetBuffer", +[](ZELSharedBuff) -> void* { return nullptr; });
  Start();
  zeltest::Library zel(host);
  EXPECT_EQ(zel.binData.NewPOSBinData("t", "x", 1), nullptr);
  EXPECT_EQ(host.TakeReports(), Reports{"bad allocation"});
  EXPECT_EQ(zel.binData.GetSize(zel.NewBinData("t", "")), 0u);
  EXPECT_EQ(host.TakeReports(), Reports());
}

// A procedure that somebody has put over the library's own, and that passes the wrong handle on.
template <typename Proc>
struct Mistaken;
template <typename Result, typename... Arguments>
struct Mistaken<Result (*)(ZELInstance, Arguments...)> {
  static inline Result (*original)(ZELInstance, Arguments...) = nullptr;
  static Result Call(ZELInstance, Arguments... arguments) {
    return original(nullptr, arguments...);
  }
};

TEST_F(StrangeHostTest, AReportOfAForeignProcedureEndsTheWriting) {
  const auto check = [&]<typename Interface, typename Proc>(Proc Interface::*slot,
                                                            const char* method, const char* value,
                                                            const char* name) {
    SCOPED_TRACE(name);
    Start();
    {
      zeltest::Library zel(host);
      const ZELInstance written = zel.Parse(value);
      const ZELInstance streamer = zel.Keep(zel.streamers.NewPOSStreamer());
      Mistaken<Proc>::original = zeltest::Import<Interface>(host).*slot;
      zeltest::Replace<Interface>(host, method, &Mistaken<Proc>::Call);
      host.ChangeUnregisterCount();
      EXPECT_EQ(zel.streamers.Serialize(streamer, zel.NewStream(""), written, nullptr), 0);
      EXPECT_EQ(host.TakeReports().back(), name + std::string(" failed"));
    }
    host.Stop();
  };
  using zelutils::ArrayInterface, zelutils::DictInterface, zelutils::DictIteratorInterface;
  check(&DictIteratorInterface::Begin, "Begin", "<k 1>", "CPOSDictIterator::Begin");
  check(&DictIteratorInterface::Next, "Next", "<k 1>", "CPOSDictIterator::Next");
  check(&DictIteratorInterface::IsDone, "IsDone", "<k 1>", "CPOSDictIterator::IsDone");
  check(&DictIteratorInterface::CurKey, "CurKey", "<k 1>", "CPOSDictIterator::CurKey");
  check(&DictInterface::Get, "Get", "<k 1>", "CPOSDict::Get");
  check(&ArrayInterface::Count, "Count", "[1]", "CPOSArray::Count");
  check(&ArrayInterface::GetAt, "GetAt", "[1]", "CPOSArray::GetAt subscript");
  check(&zelutils::NumberInterface::Get, "Get", "1", "CPOSNumber::Get");
  check(&zelutils::StringInterface::Get, "Get", "a", "CPOSString::Get");
  check(&zelutils::UnicodeStringInterface::Get, "Get", "`0041`", "CPOSUnicodeString::Get");
}

// A host that does not intern: each text that it gives has an address of its own, and one that
// begins with "own" gets a new atom each time.
struct LooseAtoms {
  static constexpr ZELStringAtom kFirst = 0x80000000u;
  static ZELStringAtom New(const char* text) {
    if (std::strncmp(text, "own", 3) != 0) return g_own->atoms.NewStringAtom(text);
    own.emplace_back(text);
    return kFirst + static_cast<ZELStringAtom>(own.size() - 1);
  }
  static void Delete(ZELStringAtom atom) {
    if (atom < kFirst) g_own->atoms.DeleteStringAtom(atom);
  }
  static void AddRef(ZELStringAtom atom) {
    if (atom < kFirst) g_own->atoms.AddRef(atom);
  }
  static const char* Copy(const char* text) { return copies.emplace_back(text).c_str(); }
  static const char* Text(ZELStringAtom atom) {
    return Copy(atom < kFirst ? g_own->atoms.GetCString(atom) : own[atom - kFirst].c_str());
  }
  static inline std::deque<std::string> own, copies;
};
ZELErrorObject PublishWithCopies(ZELInstance* result, void* object, ZELStringAtom implementation,
                                 ZELDestroyProc destroy, ZELStringAtom interfaceName,
                                 std::int32_t first, std::int32_t second, std::int32_t third) {
  const ZELErrorObject error = g_own->containers.NewFullContainer(
      result, object, implementation, destroy, interfaceName, first, second, third);
  if (error != nullptr) return error;
  auto& primary = *reinterpret_cast<ZELPrimaryInstance*>(
      reinterpret_cast<char*>(*result) + g_own->containers.GetOffsetToPrimaryInstance());
  primary.implementationName = LooseAtoms::Copy(primary.implementationName);
  primary.signature = LooseAtoms::Copy(primary.signature);
  return nullptr;
}

TEST_F(StrangeHostTest, ATextMayHaveMoreThanOneAddressAndAtom) {
  zeltest::Replace<zelutils::AtomInterface>(host, "NewStringAtom", &LooseAtoms::New);
  zeltest::Replace<zelutils::AtomInterface>(host, "DeleteStringAtom", &LooseAtoms::Delete);
  zeltest::Replace<zelutils::AtomInterface>(host, "AddRef", &LooseAtoms::AddRef);
  zeltest::Replace<zelutils::AtomInterface>(host, "GetCString", &LooseAtoms::Text);
  zeltest::Replace<zelutils::ContainerInterface>(host, "NewFullContainer", &PublishWithCopies);
  Start();
  {
    zeltest::Library zel(host);
    const ZELInstance schema = zel.Parse(
        "<T <category dict required <a int b bool c C>> C <category string oneof [x y]>>");
    const ZELInstance validator = zel.Keep(zel.structValidators.NewPOSStructValidator(schema));
    for (const char* type : {"T", "any"}) {
      const ZELInstance value = zel.Parse("<a 1 b true c y>");
      EXPECT_EQ(zel.validators.Validate(validator, value, zel.Atom(type), nullptr), 1);
    }
    EXPECT_EQ(zel.structValidators.ValidateSchema(schema, nullptr), 1);

    const char* const texts[] = {"(own a)",       "(own b)",           "<(own k) (own v)>",
                                 "<(own k) (w)>", "<(own l) (own v)>", "[(own a)]"};
    for (const char* left : texts) {
      for (const char* right : texts) {
        const bool isEqual = zel.objects.IsEqual(zel.Parse(left), zel.Parse(right));
        EXPECT_EQ(isEqual, left == right) << left << right;
      }
    }
    EXPECT_TRUE(zel.objects.IsEqual(zel.NewBinData("own t", "x"), zel.NewBinData("own t", "x")));
  }

  // Few keys, and so many that an index is needed; one comes twice.
  for (const int count : {3, 30}) {
    std::string text = "<own1 0";
    for (int i = 0; i < count; ++i) {
      text += " own" + std::to_string(i) + " [<w (v)> " + std::to_string(i) + "]";
    }
    const auto round = [&] {
      zeltest::Library zel(host);
      const ZELInstance first = zel.Parse(text + ">");
      const ZELInstance clone = zel.Keep(zel.objects.Clone(zel.Parse(text + ">")));
      EXPECT_TRUE(zel.objects.IsEqual(clone, first));
      const ZELInstance walk = zel.Keep(zel.iterators.NewPOSDictIterator(clone));
      int keys = 0;
      for (; !zel.iterators.IsDone(walk); zel.iterators.Next(walk), ++keys) {
        const std::string key = zel.iterators.CurKey(walk);
        const ZELInstance found = zel.dicts.Get(clone, zel.Atom(key));
        const double number = zel.numbers.Get(zel.arrays.GetAt(found, 1));
        EXPECT_EQ("own" + std::to_string(static_cast<int>(number)), key);
        const ZELInstance deep = zel.dicts.DeepGet(clone, zel.Atom(key + "[0].w"));
        EXPECT_STREQ(zel.strings.Get(deep), "v");
        EXPECT_EQ(zel.dicts.DeepGet(clone, zel.Atom(key + "x")), nullptr);
        zel.dicts.Put(clone, zel.Atom(key), found);
      }
      EXPECT_EQ(keys, count);
    };
    round();
    const zelhost::Counts live = host.Live();
    round();
    EXPECT_EQ(ToString(host.Live()), ToString(live)) << "method tables that grow";
  }
  EXPECT_EQ(host.TakeReports(), Reports());
  host.Stop();
  LooseAtoms::copies.clear();
}

}  // namespace
