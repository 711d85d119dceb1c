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

class StrangeHostTest : public ::testing::Test {
 protected:
  void Start() { host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate}); }
  template <typename Procedure>
  void Replace(const char* interfaceName, const char* method, const char* procType,
               Procedure procedure) {
    host.Register(interfaceName, method, procType, reinterpret_cast<ZELProc>(procedure));
  }
  void TearDown() override {
    host.Stop();
    EXPECT_EQ(ToString(host.Live()), "nothing");
  }

  zelhost::Host host;
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
  const zeltest::Procedures procs(host);
  const ZELInstance dict = procs.statics.CreateFromText("<a <b [1]>>", nullptr);
  procs.containers.AddRef(dict);
  const ZELInstance iterator = procs.iterators.NewPOSDictIterator(dict);
  procs.containers.AddRef(iterator);
  const ZELStringAtom key = procs.atoms.NewStringAtom("a");
  host.Stop();
  const zelhost::Counts live = host.Live();

  EXPECT_EQ(procs.numbers.NewPOSNumber(1), nullptr);
  EXPECT_EQ(procs.statics.CreateFromText("[1]", nullptr), nullptr);
  EXPECT_EQ(procs.objects.Clone(dict), nullptr);
  EXPECT_FALSE(procs.objects.IsEqual(dict, dict));
  EXPECT_EQ(procs.dicts.Get(dict, key), nullptr);
  procs.dicts.Put(dict, key, dict);
  procs.dicts.Remove(dict, key);
  EXPECT_TRUE(procs.iterators.IsDone(iterator));
  EXPECT_EQ(procs.streamers.NewPOSStreamer(), nullptr);
  EXPECT_EQ(procs.streamers.Serialize(dict, dict, dict, nullptr), 0);
  EXPECT_EQ(host.TakeReports().size(), 10u) << "one for each";
  EXPECT_EQ(ToString(host.Live()), ToString(live));

  Start();
  EXPECT_STREQ(procs.iterators.CurKey(iterator), "a");
  const ZELInstance clone = procs.objects.Clone(dict);
  procs.containers.AddRef(clone);
  EXPECT_TRUE(procs.objects.IsEqual(dict, clone));
  for (const ZELInstance instance : {clone, iterator, dict}) procs.containers.Release(instance);
  procs.atoms.DeleteStringAtom(key);
}

// A second link may fail after any of its lookups. What the first one made answers all the same,
// fails with an error where it fails, and can be given back.
TEST_F(StrangeHostTest, ALinkThatFailsTakesNothingFromTheOneBefore) {
  host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  struct {
    const char* interfaceName;
    const char* method;
  } const rows[] = {
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
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.interfaceName) + "." + row.method);
    Start();
    {
      const zeltest::Procedures procs(host);
      const ZELInstance dict = procs.statics.CreateFromText("<a <b [1]>>", nullptr);
      const ZELInstance data = procs.binData.NewPOSBinData("t", "x", 1);
      ZELInstance stream = nullptr;
      ZELInstance reader = nullptr;
      ASSERT_EQ(procs.tempFiles.NewTempFileStream(&stream, "p", "e", "w+b"), nullptr);
      for (const ZELInstance held : {dict, data, stream}) procs.containers.AddRef(held);
      const auto create = host.Find<ZELPositionableStreamCreateIndependentlyPositionableStreamProc>(
          "ZELMemoryStream", "CreateIndependentlyPositionableStream",
          "ZELPositionableStreamCreateIndependentlyPositionableStreamProc");
      ASSERT_EQ(create(stream, &reader), nullptr) << "and the stream cannot be written to any more";
      procs.containers.AddRef(reader);
      host.Stop();

      host.Hide(row.interfaceName, row.method);
      EXPECT_THROW(Start(), zelhost::HostError);
      const auto write = host.Find<ZELSimpleStreamWriteProc>("ZELMemoryStream", "Write",
                                                             "ZELSimpleStreamWriteProc");
      const ZELErrorObject error = write(stream, "x", 1);
      EXPECT_NE(error, nullptr);
      procs.errors.Release(error);
      EXPECT_EQ(procs.numbers.Get(dict), 0.0);
      EXPECT_EQ(host.TakeReports().size(), 1u);
      for (const ZELInstance held : {dict, data, stream, reader}) procs.containers.Release(held);
    }
    EXPECT_EQ(ToString(host.Live()), "nothing");
    host.Show(row.interfaceName, row.method);
  }
  Start();
}

// A binder may be another one although its lookup procedure or its counter's value is the same.
std::uint64_t g_lookups = 0;
std::uint32_t g_otherCount = 0;
bool g_countsElsewhere = false;
ZELProc CountingLookup(const char* interfaceName, const char* method, const char* procType) {
  ++g_lookups;
  if (g_countsElsewhere && std::string(method) == "ZELGetUnregisterCountAddr") {
    return reinterpret_cast<ZELProc>(+[] { return &g_otherCount; });
  }
  return zelhost::Host::LookupProc()(interfaceName, method, procType);
}
ZELProc OtherLookup(const char* interfaceName, const char* method, const char* procType) {
  return CountingLookup(interfaceName, method, procType);
}

TEST_F(StrangeHostTest, TheTablesOfAnotherBinderAreImportedThoughItsCounterReadsTheSame) {
  auto* const counter = host.Find<ZELGetUnregisterCountAddr>(
      ZEL_BINDER_INTERFACE, "ZELGetUnregisterCountAddr", "ZELGetUnregisterCountAddr")();
  const std::uint32_t first = *counter;
  constexpr std::uint64_t kBinderProcs = 5;
  constexpr std::uint64_t kCoreProcs = 16 + 8 + 4 + 4;
  struct {
    ZELLookupProc lookup;
    bool countsElsewhere;
    bool isAnother;
  } const rows[] = {{&CountingLookup, false, true},
                    {&CountingLookup, false, false},
                    {&OtherLookup, false, true},
                    {&OtherLookup, true, true}};
  for (const auto& row : rows) {
    g_lookups = 0;
    g_countsElsewhere = row.countsElsewhere;
    *counter = g_otherCount = first;
    EXPECT_EQ(ZELUtilsInitialize(row.lookup), 1);
    EXPECT_EQ(g_lookups, kBinderProcs + (row.isAnother ? kCoreProcs : 0));
    ZELUtilsTerminate();
  }
}

std::vector<std::string> g_givenBack;
ZELDeleteStringAtomProc g_deleteStringAtom = nullptr;
ZELErrorReleaseProc g_releaseError = nullptr;
ZELErrorGetMessageProc g_getErrorMessage = nullptr;
ZELGetCStringProc g_getCString = nullptr;

TEST_F(StrangeHostTest, TheLinkGivesBackInOrder) {
  g_deleteStringAtom = host.Find<ZELDeleteStringAtomProc>(ZEL_STRING_INTERFACE, "DeleteStringAtom",
                                                          "ZELDeleteStringAtomProc");
  g_getCString =
      host.Find<ZELGetCStringProc>(ZEL_STRING_INTERFACE, "GetCString", "ZELGetCStringProc");
  g_getErrorMessage = host.Find<ZELErrorGetMessageProc>(ZEL_ERROR_INTERFACE, "GetErrorMessage",
                                                        "ZELErrorGetMessageProc");
  g_releaseError =
      host.Find<ZELErrorReleaseProc>(ZEL_ERROR_INTERFACE, "Release", "ZELErrorReleaseProc");
  Replace(
      ZEL_STRING_INTERFACE, "DeleteStringAtom", "ZELDeleteStringAtomProc", +[](ZELStringAtom atom) {
        g_givenBack.emplace_back(g_getCString(atom));
        g_deleteStringAtom(atom);
      });
  Replace(
      ZEL_ERROR_INTERFACE, "Release", "ZELErrorReleaseProc", +[](ZELErrorObject error) {
        if (error != nullptr) g_givenBack.emplace_back(g_getCString(g_getErrorMessage(error)));
        g_releaseError(error);
      });
  Start();
  std::string ofValues;
  std::string ofStreams;
  {
    const zeltest::Procedures procs(host);
    const auto signature = [&](ZELInstance instance) {
      return ZEL_T_NMT::PrimaryInstance(instance).signature;
    };
    const ZELInstance streamer = procs.streamers.NewPOSStreamer();
    const ZELInstance value = procs.numbers.NewPOSNumber(1);
    ZELInstance stream = nullptr;
    procs.streams.NewPositionableMemoryStream(&stream);
    ofValues = signature(value);
    ofStreams = signature(stream);
    for (const ZELInstance held : {streamer, value, stream}) procs.containers.AddRef(held);
    EXPECT_EQ(procs.streamers.Serialize(streamer, stream, value, nullptr), 1);
    for (const ZELInstance held : {streamer, value, stream}) procs.containers.Release(held);
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
    const zeltest::Procedures procs(host);
    const ZELInstance dict = procs.statics.CreateFromText("<a <b [1]>>", nullptr);
    const ZELInstance data = procs.binData.NewPOSBinData("t", "x", 1);
    for (const ZELInstance held : {dict, data}) procs.containers.AddRef(held);
    ZEL_T_NMT::ZELProcessDetach();
    const std::uint64_t calls = host.TotalCalls();
    for (const ZELInstance held : {dict, data}) procs.containers.Release(held);
    const ZEL_T_NMT::CZELError error = *ZEL_T_NMT::g_unknownError;
    *ZEL_T_NMT::g_unknownError = ZEL_T_NMT::CZELError();
    _exit(host.TotalCalls() == calls + 2 ? 0 : 1);
  };
  EXPECT_EXIT(endAfterDetach(), ::testing::ExitedWithCode(0), "");
}
#endif

ZELErrorObject FindNothing(void** object, ZELInstance, ZELStringAtom) {
  *object = nullptr;
  return nullptr;
}

TEST_F(StrangeHostTest, AnInstanceWithThePOSMethodsAloneIsNoPOSObject) {
  for (const bool hostFindsNothing : {false, true}) {
    if (hostFindsNothing) {
      Replace(ZEL_CONTAINER_INTERFACE, "NGetInstance", "ZELNGetInstanceProc", &FindNothing);
    }
    Start();
    const zeltest::Procedures procs(host);
    const ZELStringAtom foreign = procs.atoms.NewStringAtom("Foreign");
    const ZELStringAtom posObject = procs.atoms.NewStringAtom(POS_OBJECT_INTERFACE);
    ZELInstance stranger = nullptr;
    ASSERT_EQ(
        procs.containers.NewFullContainer(&stranger, &host, foreign, nullptr, posObject, 0, 0, 0),
        nullptr);
    const ZELInstance array = procs.arrays.NewPOSArray();
    const ZELInstance streamer = procs.streamers.NewPOSStreamer();
    ZELInstance stream = nullptr;
    procs.streams.NewPositionableMemoryStream(&stream);
    for (const ZELInstance held : {array, streamer, stream}) procs.containers.AddRef(held);
    procs.arrays.Append(array, stranger);
    EXPECT_EQ(host.TakeReports(), Reports());

    EXPECT_EQ(procs.objects.GetType(stranger), 0);
    if (hostFindsNothing) {
      EXPECT_EQ(host.TakeReports(), Reports{"invalid container"});
    }
    EXPECT_FALSE(procs.objects.IsEqual(array, array));
    EXPECT_EQ(procs.objects.Clone(array), nullptr);
    EXPECT_EQ(host.TakeReports().back(), "CPOSObject::Clone failed");
    EXPECT_EQ(procs.streamers.Serialize(streamer, stream, array, nullptr), 0);
    EXPECT_EQ(host.TakeReports().back(), "Cannot determine writing params");

    for (const ZELInstance held : {array, streamer, stream}) procs.containers.Release(held);
    for (const ZELStringAtom atom : {foreign, posObject}) procs.atoms.DeleteStringAtom(atom);
    host.Stop();
  }
}

TEST_F(StrangeHostTest, ABufferWithoutBytesIsNoBuffer) {
  using NoBytes = void* (*)(ZELSharedBuff);
  const NoBytes noBytes = [](ZELSharedBuff) -> void* { return nullptr; };
  Replace(ZEL_SHARED_BUFF_INTERFACE, "GetBuffer", "ZELSharedBuffGetBufferProc", noBytes);
  Start();
  const zeltest::Procedures procs(host);
  EXPECT_EQ(procs.binData.NewPOSBinData("t", "x", 1), nullptr);
  EXPECT_EQ(host.TakeReports(), Reports{"bad allocation"});
  const ZELInstance empty = procs.binData.NewPOSBinData("t", nullptr, 0);
  EXPECT_EQ(procs.binData.GetSize(empty), 0u);
  EXPECT_EQ(host.TakeReports(), Reports());
  procs.containers.DeleteUnownedContainer(empty);
}

// A host that does not intern: each text that it gives has an address of its own.
std::deque<std::string> g_copies;
const char* Copy(const char* text) { return g_copies.emplace_back(text).c_str(); }
const char* CopyText(ZELStringAtom atom) { return Copy(g_getCString(atom)); }
ZELNewFullContainerV5Proc g_newFullContainer;
std::int32_t g_primaryOffset;
ZELErrorObject PublishWithCopies(ZELInstance* result, void* object, ZELStringAtom implementation,
                                 ZELDestroyProc destroy, ZELStringAtom interfaceName,
                                 std::int32_t first, std::int32_t second, std::int32_t third) {
  const ZELErrorObject error = g_newFullContainer(result, object, implementation, destroy,
                                                  interfaceName, first, second, third);
  if (error != nullptr) return error;
  auto& primary =
      *reinterpret_cast<ZELPrimaryInstance*>(reinterpret_cast<char*>(*result) + g_primaryOffset);
  primary.implementationName = Copy(primary.implementationName);
  primary.signature = Copy(primary.signature);
  return nullptr;
}

TEST_F(StrangeHostTest, ATextMayHaveMoreThanOneAddress) {
  g_getCString =
      host.Find<ZELGetCStringProc>(ZEL_STRING_INTERFACE, "GetCString", "ZELGetCStringProc");
  Replace(ZEL_STRING_INTERFACE, "GetCString", "ZELGetCStringProc", &CopyText);
  constexpr const char* kPublish = "ZELNewFullContainerV5Proc";
  g_newFullContainer =
      host.Find<ZELNewFullContainerV5Proc>(ZEL_CONTAINER_INTERFACE, "NewFullContainer", kPublish);
  Replace(ZEL_CONTAINER_INTERFACE, "NewFullContainer", kPublish, &PublishWithCopies);
  Start();
  const zeltest::Procedures procs(host);
  g_primaryOffset = procs.containers.GetOffsetToPrimaryInstance();
  std::vector<ZELInstance> kept;
  const auto keep = [&](ZELInstance instance) {
    procs.containers.AddRef(instance);
    return kept.emplace_back(instance);
  };
  const ZELInstance schema = keep(procs.statics.CreateFromText(
      "<T <category dict required <a int b bool c C>> C <category string oneof [x y]>>", nullptr));
  const ZELInstance value = keep(procs.statics.CreateFromText("<a 1 b true c y>", nullptr));
  const ZELInstance validator = keep(procs.structValidators.NewPOSStructValidator(schema));
  for (const char* name : {"T", "any"}) {
    const ZELStringAtom type = procs.atoms.NewStringAtom(name);
    EXPECT_EQ(procs.validators.Validate(validator, value, type, nullptr), 1);
    procs.atoms.DeleteStringAtom(type);
  }
  EXPECT_EQ(procs.structValidators.ValidateSchema(schema, nullptr), 1);

  // Few keys, and so many that an index is needed; one comes twice.
  for (const int count : {3, 30}) {
    std::string text = "<k1 0";
    for (int i = 0; i < count; ++i)
      text += " k" + std::to_string(i) + " [<w (v)> " + std::to_string(i) + "]";
    const auto round = [&] {
      ZELInstance both[2];
      for (ZELInstance& dict : both) {
        dict = procs.statics.CreateFromText((text + ">").c_str(), nullptr);
        procs.containers.AddRef(dict);
      }
      EXPECT_TRUE(procs.objects.IsEqual(both[0], both[1]));
      const ZELInstance clone = procs.objects.Clone(both[1]);
      procs.containers.AddRef(clone);
      EXPECT_TRUE(procs.objects.IsEqual(clone, both[0]));
      const ZELInstance walk = procs.iterators.NewPOSDictIterator(clone);
      procs.containers.AddRef(walk);
      int keys = 0;
      for (; !procs.iterators.IsDone(walk); procs.iterators.Next(walk), ++keys) {
        const std::string key = procs.iterators.CurKey(walk);
        const ZELStringAtom atoms[] = {procs.atoms.NewStringAtom(key.c_str()),
                                       procs.atoms.NewStringAtom((key + "[0].w").c_str())};
        const ZELInstance found = procs.dicts.Get(clone, atoms[0]);
        EXPECT_EQ(
            "k" + std::to_string(static_cast<int>(procs.numbers.Get(procs.arrays.GetAt(found, 1)))),
            key);
        EXPECT_STREQ(procs.strings.Get(procs.dicts.DeepGet(clone, atoms[1])), "v");
        procs.dicts.Put(clone, atoms[0], found);
        for (const ZELStringAtom atom : atoms) procs.atoms.DeleteStringAtom(atom);
      }
      EXPECT_EQ(keys, count);
      for (const ZELInstance held : {walk, clone, both[1], both[0]}) procs.containers.Release(held);
    };
    round();
    const zelhost::Counts live = host.Live();
    round();
    EXPECT_EQ(ToString(host.Live()), ToString(live)) << "method tables that grow";
  }

  for (const ZELInstance instance : kept) procs.containers.Release(instance);
  EXPECT_EQ(host.TakeReports(), Reports());
  host.Stop();
  g_copies.clear();
}

}  // namespace
