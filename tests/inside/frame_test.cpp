// Parts of the frame that cannot be seen from the boundary: error objects, guards, atoms, getters
// that no procedure uses, wrappers, streams of the library's own.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "frame/client/pos_wrappers.h"
#include "frame/core/core_interfaces.h"
#include "frame/core/error.h"
#include "frame/link/lazy_terminate.h"
#include "frame/object/client_stream.h"
#include "frame/object/guard.h"
#include "frame/object/registry.h"
#include "procedures.h"

namespace {

using namespace ZEL_T_NMT;  // NOLINT(google-build-using-namespace): what is tested
using zelhost::Service;

class FrameTest : public ::testing::Test {
 protected:
  FrameTest() { host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate}); }
  void TearDown() override {
    EXPECT_EQ(host.Reports(), std::vector<std::string>());
    host.Stop();
    EXPECT_EQ(ToString(host.Live()), "nothing");
  }
  zelhost::Host host;
};

// The text by which an exception that `raise` raises is reported.
template <typename Raise>
std::string Raised(Raise raise) {
  try {
    raise();
  } catch (const std::exception& error) {
    return ExceptionText(error);
  }
  return "nothing raised";
}

TEST_F(FrameTest, ErrorObjects) {
  const CZELError empty;
  EXPECT_STREQ(empty.what(), "Invalid CZELError");
  EXPECT_STREQ(empty.GetComponent().Text(), "");
  const CZELError error("no such thing", "ZEL", 7);
  EXPECT_STREQ(CZELError(error).what(), "no such thing");
  EXPECT_STREQ(error.GetComponent().Text(), "ZEL");

  // Only component "DUX" with number 1 is the allocation failure.
  const std::tuple<const char*, std::int32_t, const char*> rows[] = {
      {"DUX", 1, "bad allocation"}, {"DUX", 2, "m"}, {"ZEL", 1, "m"}, {"", 1, "m"}};
  for (const auto& [component, id, text] : rows) {
    const ZELErrorObject made = Errors().NewError("m", component, id, 0, 0);
    EXPECT_EQ(Raised([made] { ZELRaiseError(made); }), text);
  }
  EXPECT_EQ(host.Live().errors, 3u) << "this test's own, and core errors 0 and 1";
}

struct Unheard {};

void RaiseKind(int kind) {
  if (kind == 1) throw DUXException("a text");
  if (kind == 2) RaiseAllocationFailure();
  if (kind == 3) ZELRaise("an error", "ZEL");
  if (kind == 4) throw Unheard();
  if (kind == 5) throw std::exception();
  if (kind == 6) throw CZELError();
  if (kind == 7) throw std::bad_alloc();
}

std::int32_t ReturnOrRaise(int kind) {
  RaiseKind(kind);
  return 42;
}

TEST_F(FrameTest, TheGuardsTurnExceptionsIntoReportsAndErrorObjects) {
  const char* const reports[] = {"",
                                 "a text",
                                 "bad allocation",
                                 "an error",
                                 "unknown ZEL error",
                                 "Unknown exception",
                                 "Invalid CZELError",
                                 "bad allocation"};
  for (int kind = 0; kind < 8; ++kind) {
    SCOPED_TRACE(kind);
    EXPECT_EQ(ProcedureGuard<&ReturnOrRaise>::Call(kind), kind == 0 ? 42 : 0);
    if (kind != 0) {
      EXPECT_EQ(host.TakeReports(), std::vector<std::string>{reports[kind]});
    }
    const ZELErrorObject error = MethodGuard<&RaiseKind>::Call(kind);
    EXPECT_EQ(error == nullptr, kind == 0 || kind == 6);
    if (error == nullptr) continue;
    const CZELError held = CZELError::Adopt(error);
    if (kind == 1 || kind == 3 || kind == 5) {
      EXPECT_STREQ(held.what(), reports[kind]);
      EXPECT_STREQ(held.GetComponent().Text(), kind == 3 ? "ZEL" : "DUX");
      EXPECT_EQ(Errors().GetID(error), 0);
    } else {
      EXPECT_EQ(error, (kind == 4 ? g_unknownError : g_outOfMemoryError)->Handle());
    }
  }
  // If the host has no error object to give, a failure is still no success.
  host.FailAt(Service::kGetCoreError, 1);
  host.FailAt(Service::kNewError, 1);
  for (const int kind : {1, 2}) {
    const ZELErrorObject error = MethodGuard<&RaiseKind>::Call(kind);
    EXPECT_EQ(error, g_unknownError->Handle());
    Errors().Release(error);
  }
}

TEST_F(FrameTest, Atoms) {
  const CZELStringAtom first("ab"), empty(""), none;
  EXPECT_EQ(CZELStringAtom::Join(first, empty).Text(), first.Text());
  EXPECT_STREQ(CZELStringAtom::Join(first, first).Text(), "abab");
  EXPECT_EQ(CZELStringAtom::Join(none, first).Atom(), first.Atom());
  EXPECT_STREQ(CZELStringAtom::Join(none, none).Text(), "");
  host.FailAt(Service::kAlloc, 1);
  EXPECT_EQ(Raised([&] { CZELStringAtom::Join(first, empty); }), "bad allocation");
  host.FailAt(Service::kNewStringAtom, 1);
  EXPECT_EQ(Raised([] { CZELStringAtom("x"); }), "bad allocation");
}

TEST_F(FrameTest, InterfacesThatNoProcedureUsesCanBeImported) {
  EXPECT_NE(Cache().NewCacheID, nullptr);
  ASSERT_NE(Filters(), nullptr);
  ASSERT_NE(Progress(), nullptr);
  for (const char* name : {ZEL_CACHE_INTERFACE, ZEL_FILTER_INTERFACE, ZEL_PROGRESS_INTERFACE}) {
    host.Hide(name, "AddRef");
  }
  EXPECT_EQ(Raised([] { Cache(); }), "") << "strict mode answers before the getter can";
  // Without it the getters answer for themselves.
  g_link.strict = false;
  EXPECT_EQ(Raised([] { Cache(); }), "Missing Interface");
  EXPECT_EQ(Filters(), nullptr);
  EXPECT_EQ(Progress(), nullptr);
  g_link.strict = true;
}

TEST_F(FrameTest, DowncastsKeepOrRefuseWithoutLosingAReference) {
  const CPOSObject number = CPOSNumber::New(1);
  const CPOSObject string = CPOSString::New("s");
  const auto refuses = [&]<class Wrapper>(const char* name, const CPOSObject& other, Wrapper) {
    for (const CPOSObject& refused : {other, CPOSObject()}) {
      EXPECT_EQ(Raised([&] { Wrapper(refused, false); }),
                "downcast from CPOSObject to " + std::string(name) + " failed");
      EXPECT_TRUE(Wrapper(refused, true).IsEmpty());
    }
  };
  refuses("CPOSArray", string, CPOSArray());
  refuses("CPOSBinData", string, CPOSBinData());
  refuses("CPOSDict", string, CPOSDict());
  refuses("CPOSNumber", string, CPOSNumber());
  refuses("CPOSRawPointer", string, CPOSRawPointer());
  refuses("CPOSUnicodeString", string, CPOSUnicodeString());
  refuses("CPOSString", number, CPOSString());
  EXPECT_STREQ(CPOSString(string, false).Get(), "s");
  EXPECT_EQ(host.RefCount(number.Handle()), 1u);
  EXPECT_EQ(host.RefCount(string.Handle()), 1u);
  EXPECT_EQ(Raised([] { CPOSObject(nullptr); }), "invalid container");

  const CPOSDict dict = CPOSDict::New();
  dict.Put("n", number);
  EXPECT_EQ(dict.Get("n").Handle(), number.Handle());
  EXPECT_TRUE(dict.Get("absent", true).IsEmpty());
  EXPECT_EQ(Raised([&] { dict.Get("absent"); }), "CPOSDict::Get failed");
  EXPECT_TRUE(dict.GetString("n", true).IsEmpty());
  EXPECT_EQ(Raised([&] { dict.GetString("n", false); }),
            "downcast from CPOSObject to CPOSString failed");
  const CPOSArray array = CPOSArray::New();
  EXPECT_EQ(Raised([&] { array.GetAt(0); }), "CPOSArray::GetAt subscript failed");
  EXPECT_EQ(Raised([&] { array.Append(CPOSObject()); }), "CPOSArray::Append failed");
  EXPECT_EQ(Raised([&] { dict.Put("n", CPOSObject()); }), "CPOSDict::Put failed");
  EXPECT_EQ(host.TakeReports(), std::vector<std::string>(2, "invalid container"));
}

TEST_F(FrameTest, AnElementThatCannotBeginFailsTheStart) {
  const zelhost::LibraryEntryPoints library = {&ZELUtilsGetVersion, &ZELUtilsInitialize,
                                               &ZELUtilsTerminate};
  host.Stop();
  struct Failing : LazyTerminate {
    bool Initialize() override { ZELRaise("no start", "ZEL"); }
  };
  {
    const Failing element;
    EXPECT_THROW(host.Start(library), zelhost::HostError);
  }
  host.Start(library);
}

TEST_F(FrameTest, ANodeThatDoesNotFitIn32BitsIsRefused) {
  for (const std::uint32_t count :
       {0xFFFFFFFFu, 0xFFFFFFFFu / static_cast<std::uint32_t>(sizeof(ZELProc))}) {
    EXPECT_EQ(Raised([&] { ZELVTabGeneric::Create(count); }), "Math overflow exception");
  }
}

TEST_F(FrameTest, ARefreshThatFailsLeavesTheMethodsThatHoldersHave) {
  const CPOSObject number = CPOSNumber::New(1);
  const zelutils::ObjectInterface* const methods = g_posObjects->Lookup(number.Handle());
  host.Hide(POS_OBJECT_INTERFACE, "IsEqual");
  EXPECT_EQ(g_posObjects->Lookup(number.Handle()), nullptr);
  EXPECT_NE(methods->IsEqual, nullptr);
  host.Show(POS_OBJECT_INTERFACE, "IsEqual");
}

int g_streamsDestroyed = 0;

// A stream of the library's own, which stands still while it fails.
class OwnStream : public ZELClientPositionableStream {
 public:
  explicit OwnStream(bool fails = false) : fails_(fails) {}
  ~OwnStream() override { ++g_streamsDestroyed; }
  std::uint32_t Read(void* buffer, std::uint32_t count) override {
    if (fails_) ZELRaise("no read", "ZEL");
    std::memset(buffer, 'x', count);
    return count;
  }
  void Write(const void*, std::uint32_t) override { ZELRaise("read only", "ZEL"); }
  void Seek(std::uint32_t position, std::uint32_t second) override {
    position_ = position + second;
  }
  std::uint32_t Mark() override {
    if (fails_) ZELRaise("no mark", "ZEL");
    return position_;
  }

  static ZELInstance Publish(bool fails = false) {
    return PublishPositionableStream(std::make_unique<OwnStream>(fails));
  }

 private:
  bool fails_;
  std::uint32_t position_ = 9;
};

// The callbacks that the library hands to the host for a stream of its own.
struct Callbacks {
  void* client;
  ZELClientStreamReadProc read;
  ZELClientStreamMarkProc mark;
  ZELClientStreamDestroyProc destroy;
};
Callbacks g_callbacks;
ZELErrorObject NoteCallbacks(ZELInstance* result, void* client, ZELClientStreamReadProc read,
                             ZELClientStreamWriteProc, ZELClientStreamCreateProc,
                             ZELClientStreamRewindProc, ZELClientStreamCreateProc,
                             ZELClientStreamMarkProc mark, ZELClientStreamSeekProc,
                             ZELClientStreamDestroyProc destroy) {
  g_callbacks = {client, read, mark, destroy};
  *result = nullptr;
  return nullptr;
}

TEST_F(FrameTest, ACountIsDeliveredInEveryCase) {
  zeltest::Replace<zelutils::StreamFactoryInterface>(host, "NewClientPositionableStream",
                                                     &NoteCallbacks);
  OwnStream::Publish(true);
  std::uint32_t count = 99;
  std::uint32_t position = 99;
  char byte = 0;
  const CZELError noRead = CZELError::Adopt(g_callbacks.read(g_callbacks.client, &count, &byte, 1));
  const CZELError noMark = CZELError::Adopt(g_callbacks.mark(g_callbacks.client, &position));
  EXPECT_STREQ(noRead.what(), "no read");
  EXPECT_STREQ(noMark.what(), "no mark");
  EXPECT_EQ(count + position, 0u);
  g_callbacks.destroy(g_callbacks.client);
}

TEST_F(FrameTest, StreamsOfTheLibraryAreDrivenThroughTheHost) {
  g_streamsDestroyed = 0;
  {
    CZELPositionableStream stream(OwnStream::Publish());
    char bytes[4] = {};
    EXPECT_EQ(stream.Read(bytes, 3), 3u);
    EXPECT_STREQ(bytes, "xxx");
    EXPECT_EQ(stream.Mark(), 9u);
    EXPECT_EQ(Raised([&] { stream.Write("y", 1); }), "read only");
    const zelutils::RewindableStreamInterface& rewindable =
        *g_rewindableStreams->Lookup(stream.Handle());
    EXPECT_EQ(rewindable.Rewind(stream.Handle()), nullptr);
    EXPECT_EQ(stream.Mark(), 0u) << "rewinding seeks to the start";
    ZELInstance other = nullptr;
    const ZELErrorObject none =
        rewindable.CreateIndependentlyRewindableStream(stream.Handle(), &other);
    EXPECT_EQ(none, g_unknownError->Handle()) << "a class without such streams";
    EXPECT_EQ(other, nullptr);
    Errors().Release(none);
    EXPECT_EQ(g_streamsDestroyed, 0);
  }
  EXPECT_EQ(g_streamsDestroyed, 1);

  host.FailAt(Service::kNewClientStream, 1);
  EXPECT_NE(Raised([] { OwnStream::Publish(); }), "nothing raised");
  EXPECT_EQ(g_streamsDestroyed, 2);
  host.Hide(ZEL_STREAM_FACTORY_INTERFACE);
  g_link.strict = false;
  EXPECT_EQ(OwnStream::Publish(), nullptr);
  g_link.strict = true;
  EXPECT_EQ(g_streamsDestroyed, 3);

  EXPECT_EQ(Raised([] { CZELPositionableStream stream(nullptr); }), "couldn't get signature");
  const CPOSObject number = CPOSNumber::New(1);
  EXPECT_EQ(Raised([&] { CZELPositionableStream stream(number.Handle()); }), "invalid container");
}

TEST_F(FrameTest, AStreamHeldAcrossLinksGetsItsMethodsAnew) {
  host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  {
    CZELPositionableStream stream(OwnStream::Publish());
    EXPECT_EQ(stream.Mark(), 9u);
    host.Stop();
    host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
    host.ResetCalls();
    EXPECT_EQ(stream.Mark(), 9u);
    EXPECT_EQ(host.Calls(Service::kGetMethod), 7u) << "the methods of all three families";
  }
}

}  // namespace
