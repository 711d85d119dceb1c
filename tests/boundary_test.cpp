// Start and stop: what is looked up, registered and withdrawn, in which order, and what happens
// when something is missing.
#include <algorithm>
#include <cstdlib>

#include "support.h"

#if defined(__linux__)
#include <unistd.h>
#endif

namespace {

using zelhost::BindingEvent;
using zelhost::Host;
using zelhost::Service;

struct Triple {
  const char* interfaceName;
  const char* method;
  const char* procType;
};

// What the library registers, in this order.
constexpr Triple kRegistrations[] = {
    {"POSObjectInterface", "Clone", "POSObjectCloneProc"},
    {"POSObjectInterface", "IsEqual", "POSObjectIsEqualProc"},
    {"POSObjectInterface", "GetType", "POSObjectGetTypeProc"},
    {"POSObjectStatics", "DebugDump", "POSObjectDebugDumpProc"},
    {"POSObjectStatics", "DebugDumpWithHeader", "POSObjectDebugDumpWithHeaderProc"},
    {"POSObjectStatics", "DebugDumpRewind", "POSObjectDebugDumpRewindProc"},
    {"POSObjectStatics", "CreateFromText", "POSObjectCreateFromTextProc"},
    {"POSNumberInterface", "NewPOSNumber", "POSNumberNewPOSNumberProc"},
    {"POSNumberInterface", "IsPOSNumber", "POSNumberIsPOSNumberProc"},
    {"POSNumberInterface", "Get", "POSNumberGetProc"},
    {"POSStringInterface", "NewPOSString", "POSStringNewPOSStringProc"},
    {"POSStringInterface", "IsPOSString", "POSStringIsPOSStringProc"},
    {"POSStringInterface", "Get", "POSStringGetProc"},
    {"POSUnicodeStringInterface", "NewPOSUnicodeString", "POSUnicodeStringNewPOSUnicodeStringProc"},
    {"POSUnicodeStringInterface", "IsPOSUnicodeString", "POSUnicodeStringIsPOSUnicodeStringProc"},
    {"POSUnicodeStringInterface", "Get", "POSUnicodeStringGetProc"},
    {"POSBinDataInterface", "NewPOSBinData", "POSBinDataNewPOSBinDataProc"},
    {"POSBinDataInterface", "IsPOSBinData", "POSBinDataIsPOSBinDataProc"},
    {"POSBinDataInterface", "GetTypeName", "POSBinDataGetTypeNameProc"},
    {"POSBinDataInterface", "GetBinData", "POSBinDataGetBinDataProc"},
    {"POSBinDataInterface", "GetSize", "POSBinDataGetSizeProc"},
    {"POSRawPointerInterface", "NewPOSRawPointer", "POSRawPointerNewPOSRawPointerProc"},
    {"POSRawPointerInterface", "IsPOSRawPointer", "POSRawPointerIsPOSRawPointerProc"},
    {"POSRawPointerInterface", "GetRawPointer", "POSRawPointerGetRawPointerProc"},
    {"POSRawPointerInterface", "GetReleaseProc", "POSRawPointerGetReleaseProcProc"},
    {"POSArrayInterface", "NewPOSArray", "POSArrayNewPOSArrayProc"},
    {"POSArrayInterface", "IsPOSArray", "POSArrayIsPOSArrayProc"},
    {"POSArrayInterface", "GetAt", "POSArrayGetAtProc"},
    {"POSArrayInterface", "Count", "POSArrayCountProc"},
    {"POSArrayInterface", "SetAt", "POSArraySetAtProc"},
    {"POSArrayInterface", "Append", "POSArrayAppendProc"},
    {"POSArrayInterface", "Remove", "POSArrayRemoveProc"},
    {"POSDictInterface", "NewPOSDict", "POSDictNewPOSDictProc"},
    {"POSDictInterface", "IsPOSDict", "POSDictIsPOSDictProc"},
    {"POSDictInterface", "Get", "POSDictGetProc"},
    {"POSDictInterface", "DeepGet", "POSDictDeepGetProc"},
    {"POSDictInterface", "Put", "POSDictPutProc"},
    {"POSDictInterface", "Remove", "POSDictRemoveProc"},
    {"POSDictIteratorInterface", "NewPOSDictIterator", "POSDictIteratorNewPOSDictIteratorProc"},
    {"POSDictIteratorInterface", "Begin", "POSDictIteratorBeginProc"},
    {"POSDictIteratorInterface", "Next", "POSDictIteratorNextProc"},
    {"POSDictIteratorInterface", "IsDone", "POSDictIteratorIsDoneProc"},
    {"POSDictIteratorInterface", "CurKey", "POSDictIteratorCurKeyProc"},
    {"POSStreamerInterface", "NewPOSStreamer", "POSStreamerNewPOSStreamerProc"},
    {"POSStreamerInterface", "Serialize", "POSStreamerSerializeProc"},
    {"POSStreamerInterface", "Deserialize", "POSStreamerDeserializeProc"},
    {"POSValidatorInterface", "Validate", "POSValidatorValidateProc"},
    {"POSStructValidatorInterface", "NewPOSStructValidator",
     "POSStructValidatorNewStructValidatorProc"},
    {"POSStructValidatorInterface", "RegisterCallbackProc",
     "POSStructValidatorRegisterCallbackProc"},
    {"POSStructValidatorInterface", "ValidateSchema", "POSStructValidatorValidateSchemaProc"},
    {"ZELUtilsDirInterface", "GetTempDir", "ZELUtilsDirGetTempDir"},
    {"ZELUtilsDirInterface", "GetCurrent", "ZELUtilsDirGetCurrent"},
    {"ZELUtilsDirInterface", "NewZELUtilsDir", "ZELUtilsDirNewZELUtilsDir"},
    {"ZELUtilsDirInterface", "FileExists", "ZELUtilsDirFileExists"},
    {"ZELUtilsDirInterface", "Delete", "ZELUtilsDirDelete"},
    {"ZELUtilsDirInterface", "Rename", "ZELUtilsDirRename"},
    {"ZELUtilsDirInterface", "GetFilePathSpec", "ZELUtilsDirGetFilePathSpec"},
    {"ZELUtilsDirInterface", "CreateUniqueFilename", "ZELUtilsDirCreateUniqueFilename"},
    {"ZELUtilsTempFileStreamFactory", "NewTempFileStream",
     "_ZELUtilsNewTempFileStreamProc_NewTempFileStream"},
};

// The interfaces in the order of their withdrawal.
const std::vector<std::string> kWithdrawals = {
    ZEL_UTILS_DIR_INTERFACE,
    ZEL_UTILS_TEMP_FILE_STREAM_FACTORY,
    POS_STRUCT_VALIDATOR_INTERFACE,
    POS_VALIDATOR_INTERFACE,
    POS_STREAMER_INTERFACE,
    POS_OBJECT_INTERFACE,
    POS_OBJECT_STATICS,
    POS_NUMBER_INTERFACE,
    POS_STRING_INTERFACE,
    POS_UNICODE_STRING_INTERFACE,
    POS_BIN_DATA_INTERFACE,
    POS_RAW_POINTER_INTERFACE,
    POS_ARRAY_INTERFACE,
    POS_DICT_INTERFACE,
    POS_DICT_ITERATOR_INTERFACE,
};

std::vector<std::string> Names(const std::vector<BindingEvent>& events, BindingEvent::Kind kind,
                               bool wholeTriple) {
  std::vector<std::string> names;
  for (const BindingEvent& event : events) {
    if (event.kind != kind) continue;
    std::string name = event.interfaceName;
    if (wholeTriple) name += "." + event.methodName + "." + event.procTypeName;
    if (names.empty() || names.back() != name) names.push_back(name);
  }
  return names;
}

// The triples of a method list, first to last.
#define TRIPLE(method, procType) prefix + "." #method "." #procType,
#define TRIPLES(interfaceName, METHODS)               \
  [] {                                                \
    const std::string prefix = interfaceName;         \
    return std::vector<std::string>{METHODS(TRIPLE)}; \
  }()

TEST(BoundaryTest, LinksInOrderAndRegistersInOrder) {
  Host host;
  host.RecordBindings(true);
  host.Start(zeltest::LibraryPath());
  const std::vector<BindingEvent> events = host.TakeBindings();

  std::vector<std::string> lookups = TRIPLES("ZEL", ZEL_BINDER_METHODS);
  for (std::vector<std::string> table : {TRIPLES(ZEL_CONTAINER_INTERFACE, ZEL_CONTAINER_METHODS),
                                         TRIPLES(ZEL_ERROR_INTERFACE, ZEL_ERROR_METHODS),
                                         TRIPLES(ZEL_STRING_INTERFACE, ZEL_STRING_METHODS),
                                         TRIPLES(ZEL_MEMORY_INTERFACE, ZEL_MEMORY_METHODS)}) {
    lookups.insert(lookups.end(), table.rbegin(), table.rend());  // from the last entry down
  }
  EXPECT_EQ(Names(events, BindingEvent::Kind::kLookup, true), lookups);

  std::vector<std::string> registrations;
  for (const Triple& row : kRegistrations) {
    registrations.push_back(std::string(row.interfaceName) + "." + row.method + "." + row.procType);
  }
  EXPECT_EQ(Names(events, BindingEvent::Kind::kRegister, true), registrations);
  EXPECT_EQ(host.LibraryVersion(), 0x00010101u);

  host.Stop();
  EXPECT_EQ(Names(host.TakeBindings(), BindingEvent::Kind::kUnregister, false), kWithdrawals);
  EXPECT_TRUE(host.Live().AllZero());
}

using StartedTest = zeltest::LibraryTest;

TEST_F(StartedTest, ATableIsImportedAgainOnItsNextUseAfterAWithdrawal) {
  host.RecordBindings(true);
  Keep(binData.NewPOSBinData("t", "x", 1));
  host.TakeBindings();
  Keep(binData.NewPOSBinData("t", "x", 1));
  NewNumber(1);
  EXPECT_TRUE(host.TakeBindings().empty());
  host.ChangeUnregisterCount();
  NewNumber(1);  // uses the tables bound at link only
  EXPECT_TRUE(host.TakeBindings().empty());
  Keep(binData.NewPOSBinData("t", "x", 1));
  EXPECT_EQ(Names(host.TakeBindings(), BindingEvent::Kind::kLookup, false),
            std::vector<std::string>{ZEL_SHARED_BUFF_INTERFACE});

  // A method that is gone by then is an error without words; the next use tries again.
  host.Hide(ZEL_SHARED_BUFF_INTERFACE, "GetSize");
  EXPECT_EQ(binData.NewPOSBinData("t", "x", 1), nullptr);
  EXPECT_EQ(binData.NewPOSBinData("t", "x", 1), nullptr);
  ExpectReports({"", ""});
  host.Show(ZEL_SHARED_BUFF_INTERFACE, "GetSize");
  Keep(binData.NewPOSBinData("t", "x", 1));
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
    const zeltest::Procedures procs(host);
    const ZELInstance string = procs.strings.NewPOSString("s");
    if (procs.numbers.Get(string) != 0.0 || host.TakeReports().size() != 1) faults |= 1;
    procs.containers.DeleteUnownedContainer(string);

    ZELInstance directory = nullptr;
    if (procs.directories.GetTempDir(&directory) != nullptr) faults |= 2;
    const ZELStringAtom name = procs.atoms.NewStringAtom("no such file of any host");
    const ZELErrorObject error = procs.directories.Delete(directory, name);
    if (error == nullptr) faults |= 4;
    procs.errors.Release(error);
    procs.atoms.DeleteStringAtom(name);
    procs.containers.DeleteUnownedContainer(directory);
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
