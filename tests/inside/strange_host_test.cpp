// Hosts and neighbours that do what few of them will: start and stop out of turn, call after the
// stop, offer instances that are POS objects by their methods alone, or have nothing where
// something should be.
#include "support.h"

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

}  // namespace
