// Hosts and neighbours that do what few of them will: start and stop out of turn, call after the
// stop, offer instances that are POS objects by their methods alone, or have nothing where
// something should be.
#include <gtest/gtest.h>

#include "support.h"
#include "zelutils/fileutils.h"
#include "zelutils/streamer.h"

namespace {

using Reports = std::vector<std::string>;

class StrangeHostTest : public ::testing::Test {
 protected:
  void Start() { host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate}); }
  template <class Procedure>
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
  const uint64_t calls = host.TotalCalls();
  EXPECT_EQ(ZELUtilsInitialize(lookup), 0);
  EXPECT_EQ(ZELUtilsGetVersion(), 0x00010101u);
  EXPECT_EQ(host.TotalCalls(), calls);
  ZELUtilsTerminate();
  EXPECT_TRUE(host.Live().AllZero());
  const uint64_t callsAfter = host.TotalCalls();
  ZELUtilsTerminate();
  EXPECT_EQ(host.TotalCalls(), callsAfter);
}

TEST_F(StrangeHostTest, ProceduresCalledAfterTheStopFail) {
  Start();
  host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  const auto containers = zeltest::Containers::From(host);
  const auto atoms = zeltest::Atoms::From(host);
  const auto statics = zeltest::Statics::From(host);
  const auto objects = zeltest::Objects::From(host);
  const auto numbers = zeltest::Numbers::From(host);
  const auto dicts = zeltest::Dicts::From(host);
  const auto iterators = zeltest::DictIterators::From(host);
  const auto newStreamer = host.Find<POSStreamerNewPOSStreamerProc>(
      POS_STREAMER_INTERFACE, "NewPOSStreamer", "POSStreamerNewPOSStreamerProc");
  const auto serialize = host.Find<POSStreamerSerializeProc>(POS_STREAMER_INTERFACE, "Serialize",
                                                             "POSStreamerSerializeProc");
  const ZELInstance dict = statics.CreateFromText("<a <b [1]>>", nullptr);
  containers.AddRef(dict);
  const ZELInstance iterator = iterators.NewPOSDictIterator(dict);
  containers.AddRef(iterator);
  const ZELStringAtom key = atoms.NewStringAtom("a");
  host.Stop();
  const zelhost::Counts live = host.Live();

  EXPECT_EQ(numbers.NewPOSNumber(1), nullptr);
  EXPECT_EQ(statics.CreateFromText("[1]", nullptr), nullptr);
  EXPECT_EQ(objects.Clone(dict), nullptr);
  EXPECT_FALSE(objects.IsEqual(dict, dict));
  EXPECT_EQ(dicts.Get(dict, key), nullptr);
  dicts.Put(dict, key, dict);
  dicts.Remove(dict, key);
  EXPECT_TRUE(iterators.IsDone(iterator));
  EXPECT_EQ(newStreamer(), nullptr);
  EXPECT_EQ(serialize(dict, dict, dict, nullptr), 0);
  EXPECT_EQ(host.TakeReports().size(), 10u) << "one for each";
  EXPECT_EQ(ToString(host.Live()), ToString(live));

  Start();
  EXPECT_STREQ(iterators.CurKey(iterator), "a");
  const ZELInstance clone = objects.Clone(dict);
  containers.AddRef(clone);
  EXPECT_TRUE(objects.IsEqual(dict, clone));
  for (const ZELInstance instance : {clone, iterator, dict}) containers.Release(instance);
  atoms.DeleteStringAtom(key);
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
    const auto containers = zeltest::Containers::From(host);
    const auto atoms = zeltest::Atoms::From(host);
    const auto objects = zeltest::Objects::From(host);
    const auto arrays = zeltest::Arrays::From(host);
    const ZELStringAtom foreign = atoms.NewStringAtom("Foreign");
    const ZELStringAtom posObject = atoms.NewStringAtom(POS_OBJECT_INTERFACE);
    ZELInstance stranger = nullptr;
    ASSERT_EQ(containers.NewFullContainer(&stranger, &host, foreign, nullptr, posObject, 0, 0, 0),
              nullptr);
    const ZELInstance array = arrays.NewPOSArray();
    containers.AddRef(array);
    arrays.Append(array, stranger);
    EXPECT_EQ(host.TakeReports(), Reports());

    EXPECT_EQ(objects.GetType(stranger), 0);
    if (hostFindsNothing) {
      EXPECT_EQ(host.TakeReports(), Reports{"invalid container"});
    }
    EXPECT_FALSE(objects.IsEqual(array, array));
    EXPECT_EQ(objects.Clone(array), nullptr);
    EXPECT_EQ(host.TakeReports().back(), "CPOSObject::Clone failed");
    const auto streamers = host.Find<POSStreamerNewPOSStreamerProc>(
        POS_STREAMER_INTERFACE, "NewPOSStreamer", "POSStreamerNewPOSStreamerProc");
    const ZELInstance streamer = streamers();
    containers.AddRef(streamer);
    ZELInstance stream = nullptr;
    zeltest::StreamFactory::From(host).NewPositionableMemoryStream(&stream);
    containers.AddRef(stream);
    EXPECT_EQ(host.Find<POSStreamerSerializeProc>(POS_STREAMER_INTERFACE, "Serialize",
                                                  "POSStreamerSerializeProc")(streamer, stream,
                                                                              array, nullptr),
              0);
    EXPECT_EQ(host.TakeReports().back(), "Cannot determine writing params");

    for (const ZELInstance instance : {array, streamer, stream}) containers.Release(instance);
    atoms.DeleteStringAtom(foreign);
    atoms.DeleteStringAtom(posObject);
    host.Stop();
  }
}

TEST_F(StrangeHostTest, ABufferWithoutBytesIsNoBuffer) {
  using NoBytes = void* (*)(ZELSharedBuff);
  const NoBytes noBytes = [](ZELSharedBuff) -> void* { return nullptr; };
  Replace(ZEL_SHARED_BUFF_INTERFACE, "GetBuffer", "ZELSharedBuffGetBufferProc", noBytes);
  Start();
  const auto binData = zeltest::BinDatas::From(host);
  EXPECT_EQ(binData.NewPOSBinData("t", "x", 1), nullptr);
  EXPECT_EQ(host.TakeReports(), Reports{"bad allocation"});
  const ZELInstance empty = binData.NewPOSBinData("t", nullptr, 0);
  EXPECT_EQ(binData.GetSize(empty), 0u);
  EXPECT_EQ(host.TakeReports(), Reports());
  zeltest::Containers::From(host).DeleteUnownedContainer(empty);
}

}  // namespace
