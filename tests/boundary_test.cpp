// Start and stop: what is looked up, registered and withdrawn, in which order, and what happens
// when something is missing.
#include <cstdlib>
#include <iterator>

#include "support.h"

#if defined(__linux__)
#include <unistd.h>
#endif

namespace {

using zelhost::BindingEvent;
using zelhost::Host;
using zelhost::Service;

// Registrations of the library, in this order: the methods of each interface, whose procedure types
// have the method's name between these two texts, or the name behind a colon.
constexpr struct {
  const char *interfaceName, *before, *behind, *methods;
} kRegistrations[] = {
    {"POSObjectInterface", "POSObject", "Proc", "Clone IsEqual GetType"},
    {"POSObjectStatics", "POSObject", "Proc",
     "DebugDump DebugDumpWithHeader DebugDumpRewind CreateFromText"},
    {"POSNumberInterface", "POSNumber", "Proc", "NewPOSNumber IsPOSNumber Get"},
    {"POSStringInterface", "POSString", "Proc", "NewPOSString IsPOSString Get"},
    {"POSUnicodeStringInterface", "POSUnicodeString", "Proc",
     "NewPOSUnicodeString IsPOSUnicodeString Get"},
    {"POSBinDataInterface", "POSBinData", "Proc",
     "NewPOSBinData IsPOSBinData GetTypeName GetBinData GetSize"},
    {"POSRawPointerInterface", "POSRawPointer", "Proc",
     "NewPOSRawPointer IsPOSRawPointer GetRawPointer GetReleaseProc"},
    {"POSArrayInterface", "POSArray", "Proc",
     "NewPOSArray IsPOSArray GetAt Count SetAt Append Remove"},
    {"POSDictInterface", "POSDict", "Proc", "NewPOSDict IsPOSDict Get DeepGet Put Remove"},
    {"POSDictIteratorInterface", "POSDictIterator", "Proc",
     "NewPOSDictIterator Begin Next IsDone CurKey"},
    {"POSStreamerInterface", "POSStreamer", "Proc", "NewPOSStreamer Serialize Deserialize"},
    {"POSValidatorInterface", "POSValidator", "Proc", "Validate"},
    {"POSStructValidatorInterface", "POSStructValidator", "Proc",
     "NewPOSStructValidator:POSStructValidatorNewStructValidatorProc"
     " RegisterCallbackProc:POSStructValidatorRegisterCallbackProc ValidateSchema"},
    {"ZELUtilsDirInterface", "ZELUtilsDir", "",
     "GetTempDir GetCurrent NewZELUtilsDir FileExists Delete Rename GetFilePathSpec"
     " CreateUniqueFilename"},
    {"ZELUtilsTempFileStreamFactory", "_ZELUtilsNewTempFileStreamProc_", "", "NewTempFileStream"},
};

// The interfaces in the order of their withdrawal.
const char* const kWithdrawals =
    "ZELUtilsDirInterface ZELUtilsTempFileStreamFactory POSStructValidatorInterface"
    " POSValidatorInterface POSStreamerInterface POSObjectInterface POSObjectStatics"
    " POSNumberInterface POSStringInterface POSUnicodeStringInterface POSBinDataInterface"
    " POSRawPointerInterface POSArrayInterface POSDictInterface POSDictIteratorInterface";

using Names = std::vector<std::string>;

Names Words(const char* text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

Names NamesOf(const std::vector<BindingEvent>& events, BindingEvent::Kind kind, bool wholeTriple) {
  Names names;
  for (const BindingEvent& event : events) {
    if (event.kind != kind) continue;
    std::string name = event.interfaceName;
    if (wholeTriple) name += "." + event.methodName + "." + event.procTypeName;
    if (names.empty() || names.back() != name) names.push_back(name);
  }
  return names;
}

TEST(BoundaryTest, LinksInOrderAndRegistersInOrder) {
  Host host;
  host.RecordBindings(true);
  host.Start(zeltest::LibraryPath());
  const std::vector<BindingEvent> events = host.TakeBindings();

  Names lookups;
  const auto add = [&lookups](const char* interfaceName, const zelutils::Method& method) {
    lookups.push_back(std::string(interfaceName) + "." + method.name + "." + method.procType);
  };
  for (const auto& method : zelutils::BinderInterface::kMethods) add("ZEL", method);
  const auto addFromTheLast = [&]<typename Interface>(Interface) {
    for (std::size_t i = std::size(Interface::kMethods); i-- > 0;) {
      add(Interface::kName, Interface::kMethods[i]);
    }
  };
  addFromTheLast(zelutils::ContainerInterface());
  addFromTheLast(zelutils::ErrorInterface());
  addFromTheLast(zelutils::AtomInterface());
  addFromTheLast(zelutils::MemoryInterface());
  EXPECT_EQ(NamesOf(events, BindingEvent::Kind::kLookup, true), lookups);

  Names registrations;
  for (const auto& row : kRegistrations) {
    for (const std::string& word : Words(row.methods)) {
      const std::size_t colon = word.find(':');
      const std::string method = word.substr(0, colon);
      registrations.push_back(
          std::string(row.interfaceName) + "." + method + "." +
          (colon == word.npos ? row.before + method + row.behind : word.substr(colon + 1)));
    }
  }
  EXPECT_EQ(NamesOf(events, BindingEvent::Kind::kRegister, true), registrations);
  EXPECT_EQ(host.LibraryVersion(), 0x00010101u);

  host.Stop();
  EXPECT_EQ(NamesOf(host.TakeBindings(), BindingEvent::Kind::kUnregister, false),
            Words(kWithdrawals));
  EXPECT_TRUE(host.Live().AllZero());
}

using StartedTest = zeltest::LibraryTest;

TEST_F(StartedTest, ATableIsImportedAgainOnItsNextUseAfterAWithdrawal) {
  host.RecordBindings(true);
  NewBinData("t", "x");
  host.TakeBindings();
  NewBinData("t", "x");
  NewNumber(1);
  EXPECT_TRUE(host.TakeBindings().empty());
  host.ChangeUnregisterCount();
  NewNumber(1);  // uses the tables bound at link only
  EXPECT_TRUE(host.TakeBindings().empty());
  NewBinData("t", "x");
  EXPECT_EQ(NamesOf(host.TakeBindings(), BindingEvent::Kind::kLookup, false),
            Names{ZEL_SHARED_BUFF_INTERFACE});

  // A method that is gone by then is an error without words; the next use tries again.
  host.Hide(ZEL_SHARED_BUFF_INTERFACE, "GetSize");
  EXPECT_EQ(binData.NewPOSBinData("t", "x", 1), nullptr);
  EXPECT_EQ(binData.NewPOSBinData("t", "x", 1), nullptr);
  ExpectReports({"", ""});
  host.Show(ZEL_SHARED_BUFF_INTERFACE, "GetSize");
  NewBinData("t", "x");
}

TEST_F(StartedTest, MethodsOfAKindOfInstanceAreImportedOnce) {
  const ZELInstance array = Keep(arrays.NewPOSArray());
  const ZELInstance number = NewNumber(1);
  arrays.Append(array, number);
  host.ResetCalls();
  arrays.Append(array, number);
  EXPECT_EQ(host.Calls(Service::kGetMethod), 0u);
  host.ChangeUnregisterCount();
  arrays.Append(array, number);
  arrays.Append(array, number);
  EXPECT_EQ(host.Calls(Service::kGetMethod), 3u);

  // A failed import stays failed until the binder changes again, and members keep their methods.
  host.Hide(POS_OBJECT_INTERFACE, "GetType");
  arrays.Append(array, number);
  const std::uint64_t asked = host.Calls(Service::kGetMethod);
  arrays.Append(array, number);
  EXPECT_EQ(host.Calls(Service::kGetMethod), asked);
  ExpectReports({"invalid container", "invalid container"});
  host.Show(POS_OBJECT_INTERFACE, "GetType");
  arrays.Append(array, number);
  ExpectReports({"invalid container"});
  host.ChangeUnregisterCount();
  arrays.Append(array, number);
  EXPECT_TRUE(objects.IsEqual(array, array));
  EXPECT_EQ(arrays.Count(array), 5u);
}

#if defined(__linux__)
// The work of a host while its process ends: in a handler that was registered before the library
// was loaded, so that it runs after everything of the library's own.
zelhost::Host* g_endingHost = nullptr;
void WorkAtExit() {
  zelhost::Host& host = *g_endingHost;
  int faults = 0;
  {
    zeltest::Library zel(host);
    const ZELInstance string = zel.NewString("s");
    if (zel.numbers.Get(string) != 0.0 || host.TakeReports().size() != 1) faults |= 1;
    ZELInstance directory = nullptr;
    if (zel.directories.GetTempDir(&directory) != nullptr) faults |= 2;
    const ZELErrorObject error =
        zel.directories.Delete(zel.Keep(directory), zel.Atom("no such file"));
    if (error == nullptr) faults |= 4;
    zel.errors.Release(error);
  }
  host.Stop();
  if (!host.Live().AllZero()) faults |= 8;
  _exit(faults);
}

TEST(ProcessEndDeathTest, TheLibraryWorksUntilItIsUnloaded) {
  EXPECT_EXIT(
      {
        std::atexit(&WorkAtExit);
        g_endingHost = new zelhost::Host();
        g_endingHost->Start(zeltest::LibraryPath());
        std::exit(16);
      },
      ::testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
