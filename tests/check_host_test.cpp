// The checking layer before hosts with one mistake each: the tests of a host tell them apart, and
// those that matter in normal use are told of there.
#include <zelutils/client.hpp>

#include "check_fixture.h"

namespace {

using zelhost::Host;
using zeltest::CheckedHost;
using zeltest::g_findings;
using namespace zelutils;  // the tables of the interfaces

// The host's own procedures, which the wrong ones go on to.
const zeltest::CoreProcedures* g_real;
int g_count;  // of calls of a wrong procedure

#define PLANT(Name, method, Result, parameters, ...)                                        \
  [](Host& host) {                                                                          \
    zeltest::Replace<Name##Interface>(host, #method, +[] parameters -> Result __VA_ARGS__); \
  }
#define PLANT_STREAM(method, parameters, ...)                                                      \
  [](Host& host) {                                                                                 \
    zeltest::Replace<StreamInterface>(host, #method, +[] parameters -> ZELErrorObject __VA_ARGS__, \
                                      "ZELMemoryStream");                                          \
  }

std::uint32_t g_counter;
ZELDestroyProc g_destroy;
void DestroyTwice(void* object) {
  g_destroy(object);
  g_destroy(object);
}
ZELErrorObject NewContainer(ZELInstance* result, void* object, ZELStringAtom implementation,
                            ZELDestroyProc destroy, ZELStringAtom name) {
  return g_real->containers.NewFullContainer(result, object, implementation, destroy, name, 0, 0,
                                             0);
}
ZELErrorObject Fail() { return g_real->errors.NewError("wrong", "Host", 0, 0, 0); }

#define NEW_CONTAINER                                                                        \
  (ZELInstance * result, void* object, ZELStringAtom implementation, ZELDestroyProc destroy, \
   ZELStringAtom name, std::int32_t, std::int32_t, std::int32_t)

// Uses of the library in which a mistake matters.
void UseNothing(const zeltest::Procedures&) {}
void MakeNumber(const zeltest::Procedures& with) {
  const ZELInstance number = with.numbers.NewPOSNumber(1);
  with.containers.AddRef(number);
  with.containers.Release(number);
}
void MakeAndDelete(const zeltest::Procedures& with) {
  if (const ZELInstance number = with.numbers.NewPOSNumber(1))
    with.containers.DeleteUnownedContainer(number);
}
// Asks for a block of a size that is nobody else's.
constexpr std::size_t kOdd = 12345;
void TakeOddBlocks(const zeltest::Procedures& with) {
  void* const one = with.memory.Alloc(kOdd);
  void* const two = with.memory.Alloc(kOdd);
  with.memory.Free(one);
  with.memory.Free(two);
}
void UseBuffer(const zeltest::Procedures& with) {
  const ZELSharedBuff buffer = with.buffers.NewBuffer(8, 0, 0, 0, 0);
  for (int i = 0; i < 2; ++i) with.buffers.GetBuffer(buffer);
  with.buffers.GetSize(buffer);
  with.buffers.Release(buffer);
}
void GrowBlock(const zeltest::Procedures& with) {
  void* const block = with.memory.Alloc(8);
  std::memset(block, 'a', 8);
  with.memory.Free(with.memory.Realloc(block, 100));
}
void UseError(const zeltest::Procedures& with) {
  const ZELErrorObject error = with.errors.NewError("message", "Client", 1, 0, 0);
  with.errors.GetID(error);
  with.errors.Release(error);
}
void UseAtoms(const zeltest::Procedures& with) {
  const ZELStringAtom one = with.atoms.NewStringAtom("one"),
                      other = with.atoms.NewStringAtom("other");
  for (int i = 0; i < 2; ++i) with.atoms.GetCString(one);
  with.atoms.DeleteStringAtom(other);
  with.atoms.DeleteStringAtom(one);
}
Client NewClient() {
  return Client(Host::LookupProc(), [] { return std::vector<std::string>(); });
}
void ReadStream(const zeltest::Procedures&) {
  const Client client = NewClient();
  Streamer(client).Deserialize(client.NewMemoryStream());
}
void SeekAndMark(const zeltest::Procedures&) {
  const Client client = NewClient();
  Stream stream = client.NewMemoryStream();
  stream.Seek(0);
  stream.Mark();
}

struct WrongHost {
  const char* test;  // that fails, perhaps among others; null: none need to
  const char* rule;  // that is told of in use; null: it is not used
  void (*plant)(Host& host);
  void (*use)(const zeltest::Procedures& with) = nullptr;
};

// clang-format off
const WrongHost kWrongHosts[] = {
    {"procedures-of-containers", nullptr, [](Host& host) { host.Hide(ZEL_CONTAINER_INTERFACE, "DebugGetRefCountAddr"); }},
    {"procedures-of-buffers", nullptr, [](Host& host) { host.Hide(ZEL_SHARED_BUFF_INTERFACE); }},
    {"binder-accepts", "host-registration-refused", PLANT(Binder, ZELRegisterProcAddress, std::int32_t, (const char*, const char*, const char*, ZELProc), { return 0; }), &UseNothing},
    {"binder-withdraws", nullptr, PLANT(Binder, ZELUnregisterInterface, std::int32_t, (const char*), { return ++g_count; })},
    {"binder-counter-not-zero", "host-counter-zero", PLANT(Binder, ZELGetUnregisterCountAddr, std::uint32_t*, (), { g_counter = 0; return &g_counter; }), &UseNothing},
    {"binder-counter-counts", "host-counter-stays", PLANT(Binder, ZELGetUnregisterCountAddr, std::uint32_t*, (), { g_counter = 5; return &g_counter; }), &UseNothing},
    {"binder-counter-address", nullptr, PLANT(Binder, ZELGetUnregisterCountAddr, std::uint32_t*, (), { static std::uint32_t counters[2] = {1, 1}; return &counters[++g_count % 2]; })},
    {"memory-is-aligned", nullptr, PLANT(Memory, Alloc, void*, (std::size_t size), { const std::size_t off = size == 392 ? 4 : 0; return static_cast<char*>(g_real->memory.Alloc(size + off)) + off; })},
    {"memory-keeps-apart", nullptr, PLANT(Memory, Alloc, void*, (std::size_t size), { static void* last; return size == 31 ? last : last = g_real->memory.Alloc(size + 8); })},
    {"memory-refuses", nullptr, PLANT(Memory, Alloc, void*, (std::size_t size), { return g_real->memory.Alloc(size & 0xffffff); })},
    {"memory-grows", "host-memory-lost", PLANT(Memory, Realloc, void*, (void* block, std::size_t size), { g_real->memory.Free(block); void* const made = g_real->memory.Alloc(size & 0xffffff); std::memset(made, 0, size & 0xffffff); return made; }), &GrowBlock},
    {"memory-refuses-to-grow", nullptr, PLANT(Memory, Realloc, void*, (void* block, std::size_t size), { if (size > 1U << 30) *static_cast<char*>(block) = 0; return g_real->memory.Realloc(block, size); })},
    {"atom-empty", nullptr, PLANT(Atom, NewStringAtom, ZELStringAtom, (const char* text), { return *text == '\0' ? 0 : g_real->atoms.NewStringAtom(text); })},
    {"atom-long", nullptr, PLANT(Atom, NewStringAtom, ZELStringAtom, (const char* text), { return g_real->atoms.NewStringAtom(std::string(text).substr(0, 255).c_str()); })},
    {"atom-same-text-same-atom", nullptr, PLANT(Atom, NewStringAtom, ZELStringAtom, (const char* text), { return g_real->atoms.NewStringAtom((text + (std::string_view(text).starts_with("ZELUtilsCheck same") ? std::to_string(++g_count) : "")).c_str()); })},
    {"atom-same-text-same-address", nullptr, PLANT(Atom, GetCString, const char*, (ZELStringAtom atom), { static std::string texts[64]; return (texts[++g_count % 64] = g_real->atoms.GetCString(atom)).c_str(); })},
    {"atom-compares-all", nullptr, PLANT(Atom, NewStringAtom, ZELStringAtom, (const char* text), { return g_real->atoms.NewStringAtom(std::string(text, *text == 'K' ? 0 : std::strlen(text)).append(*text == 'K' ? 300 : 0, 'k').c_str()); })},
    {"atom-counts", nullptr, PLANT(Atom, AddRef, void, (ZELStringAtom), {})},
    {"error-message", nullptr, PLANT(Error, NewError, ZELErrorObject, (const char* message, const char* component, std::int32_t id, std::int32_t, std::int32_t), { return g_real->errors.NewError((std::string("Host: ") + message).c_str(), component, id, 0, 0); })},
    {"error-component", nullptr, PLANT(Error, NewError, ZELErrorObject, (const char* message, const char*, std::int32_t id, std::int32_t, std::int32_t), { return g_real->errors.NewError(message, "Host", id, 0, 0); })},
    {"error-id", nullptr, PLANT(Error, GetID, std::int32_t, (ZELErrorObject error), { return static_cast<std::int16_t>(g_real->errors.GetID(error)); })},
    {"error-is-made", "host-error-null", PLANT(Error, NewError, ZELErrorObject, (const char*, const char*, std::int32_t, std::int32_t, std::int32_t), { return nullptr; }), &UseError},
    {"error-add-ref-gives-same", nullptr, PLANT(Error, AddRef, ZELErrorObject, (ZELErrorObject), { return nullptr; })},
    {"error-core-0", nullptr, PLANT(Error, GetCoreError, ZELErrorObject, (std::int32_t number), { return number == 0 ? nullptr : g_real->errors.GetCoreError(number); })},
    {"error-core-1-is-memory", nullptr, PLANT(Error, GetCoreError, ZELErrorObject, (std::int32_t), { return g_real->errors.GetCoreError(0); })},
    {"instance-born-unheld", "host-not-destroyed", PLANT(Container, NewFullContainer, ZELErrorObject, NEW_CONTAINER, { const ZELErrorObject error = NewContainer(result, object, implementation, destroy, name); g_real->containers.AddRef(*result); return error; }), &MakeNumber},
    {"instance-destroyed-once", "host-destroyed-twice", PLANT(Container, NewFullContainer, ZELErrorObject, NEW_CONTAINER, { g_destroy = destroy; return NewContainer(result, object, implementation, &DestroyTwice, name); }), &MakeNumber},
    {"instance-is-made", nullptr, PLANT(Container, NewFullContainer, ZELErrorObject, (ZELInstance*, void*, ZELStringAtom, ZELDestroyProc, ZELStringAtom, std::int32_t, std::int32_t, std::int32_t), { return Fail(); })},
    {"method-of-interface", nullptr, PLANT(Container, GetMethod, ZELErrorObject, (ZELProc* result, ZELInstance instance, ZELStringAtom method, ZELStringAtom type, std::int32_t optional), { const ZELErrorObject error = g_real->containers.GetMethod(result, instance, method, type, optional); if (error == nullptr && *result == nullptr) *result = Host::LookupProc()("ZELUtilsCheckProbe", g_real->atoms.GetCString(method), g_real->atoms.GetCString(type)); return error; })},
    {"instance-counts-many", nullptr, PLANT(Container, AddRef, std::int32_t, (ZELInstance instance), { return g_count++ > 200 || instance == nullptr ? 0 : 1; })},
    {"instance-add-ref-null", nullptr, PLANT(Container, AddRef, std::int32_t, (ZELInstance instance), { return instance == nullptr ? 1 : g_real->containers.AddRef(instance); })},
    {"instance-decrement-keeps", nullptr, PLANT(Container, DecrementWithoutDelete, void, (ZELInstance instance), { g_real->containers.Release(instance); })},
    {"instance-decrement-counts", nullptr, PLANT(Container, DecrementWithoutDelete, void, (ZELInstance), {})},
    {"instance-delete-destroys", "host-not-destroyed", PLANT(Container, DeleteUnownedContainer, void, (ZELInstance), {}), &MakeAndDelete},
    {"method-found", nullptr, PLANT(Container, GetMethod, ZELErrorObject, (ZELProc* result, ZELInstance, ZELStringAtom, ZELStringAtom, std::int32_t), { *result = nullptr; return nullptr; })},
    {"method-replaced", nullptr, PLANT(Container, GetMethod, ZELErrorObject, (ZELProc* result, ZELInstance instance, ZELStringAtom method, ZELStringAtom type, std::int32_t optional), { const ZELErrorObject error = g_real->containers.GetMethod(result, instance, method, type, optional); static ZELProc first; if (std::strcmp(g_real->atoms.GetCString(method), "Method") != 0 || *result == nullptr) return error; if (first == nullptr) first = *result; *result = first; return error; })},
    {"object-of-another", nullptr, PLANT(Container, NGetInstance, ZELErrorObject, (void** result, ZELInstance instance, ZELStringAtom), { *result = nullptr; return instance == nullptr ? Fail() : nullptr; })},
    {"object-of-null", nullptr, PLANT(Container, NGetInstance, ZELErrorObject, (void** result, ZELInstance instance, ZELStringAtom implementation), { return instance == nullptr ? nullptr : g_real->containers.NGetInstance(result, instance, implementation); })},
    {"buffer-size", "host-buffer-size", PLANT(SharedBuff, GetSize, std::uint32_t, (ZELSharedBuff buffer), { return (g_real->buffers.GetSize(buffer) + 15) & ~15U; }), &UseBuffer},
    {"buffer-counts", nullptr, PLANT(SharedBuff, AddRef, void, (ZELSharedBuff), {})},
    {"stream-end", nullptr, PLANT_STREAM(Read, (ZELInstance stream, std::uint32_t* delivered, void* buffer, std::uint32_t wanted), { const ZELErrorObject error = g_real->onStream.Read(stream, delivered, buffer, wanted); return *delivered == 0 && error == nullptr ? Fail() : error; })},
    {"stream-beyond-the-end", nullptr, PLANT_STREAM(Read, (ZELInstance stream, std::uint32_t* delivered, void* buffer, std::uint32_t wanted), { const ZELErrorObject error = g_real->onStream.Read(stream, delivered, buffer, wanted); if (*delivered > 0) *delivered = wanted; return error; })},
    {"stream-mark", "host-stream-position", PLANT_STREAM(Mark, (ZELInstance stream, std::uint32_t* position), { const ZELErrorObject error = g_real->onStream.Mark(stream, position); ++*position; return error; }), &SeekAndMark},
    {"stream-seek", nullptr, PLANT_STREAM(Seek, (ZELInstance stream, std::uint32_t, std::uint32_t), { return g_real->onStream.Rewind(stream); })},
    {"stream-overwrites", nullptr, PLANT_STREAM(Write, (ZELInstance stream, const void* bytes, std::uint32_t count), { std::uint32_t end = 0; char byte = 0; do { g_real->onStream.Read(stream, &end, &byte, 1); } while (end == 1); return g_real->onStream.Write(stream, bytes, count); })},
    {"client-stream-ends", nullptr, [](Host& host) { zeltest::Replace<StreamFactoryInterface>(host, "NewClientPositionableStream", +[](ZELInstance* result, void* client, ZELClientStreamReadProc read, ZELClientStreamWriteProc write, ZELClientStreamCreateProc rewindable, ZELClientStreamRewindProc rewind, ZELClientStreamCreateProc positionable, ZELClientStreamMarkProc mark, ZELClientStreamSeekProc seek, ZELClientStreamDestroyProc) -> ZELErrorObject { return g_real->streams.NewClientPositionableStream(result, client, read, write, rewindable, rewind, positionable, mark, seek, [](void*) {}); }); }},
    {nullptr, "host-procedure-missing", [](Host& host) { host.Hide(ZEL_MEMORY_INTERFACE, "GetBlockSize"); }, &UseNothing},
    {nullptr, "host-result-with-error", PLANT(Container, NewFullContainer, ZELErrorObject, NEW_CONTAINER, { g_real->errors.Release(NewContainer(result, object, implementation, [](void*) {}, name)); static_cast<void>(destroy); return Fail(); }), &MakeAndDelete},
    {nullptr, "host-nothing-delivered", PLANT(Container, NewFullContainer, ZELErrorObject, (ZELInstance*, void*, ZELStringAtom, ZELDestroyProc, ZELStringAtom, std::int32_t, std::int32_t, std::int32_t), { return nullptr; }), &MakeAndDelete},
    {nullptr, "host-record-wrong", PLANT(Container, NewFullContainer, ZELErrorObject, NEW_CONTAINER, { static_cast<void>(implementation); return NewContainer(result, object, name, destroy, name); }), &MakeAndDelete},
    {nullptr, "host-destroyed-early", PLANT(Container, AddRef, std::int32_t, (ZELInstance instance), { return g_count++ == 0 ? g_real->containers.AddRef(instance) : 1; }), [](const zeltest::Procedures& with) { const ZELInstance number = with.numbers.NewPOSNumber(1), array = with.arrays.NewPOSArray(); with.containers.AddRef(number); with.arrays.Append(array, number); with.containers.Release(number); with.arrays.Remove(array, 0); with.containers.DeleteUnownedContainer(array); }},
    {nullptr, "host-atom-text-changed", PLANT(Atom, GetCString, const char*, (ZELStringAtom atom), { static std::string texts[2]; const char* const text = g_real->atoms.GetCString(atom); return std::strcmp(text, "one") != 0 ? text : (texts[++g_count % 2] = text).c_str(); }), &UseAtoms},
    {nullptr, "host-atom-text-wrong", PLANT(Atom, GetCString, const char*, (ZELStringAtom atom), { const char* const text = g_real->atoms.GetCString(atom); return std::strcmp(text, "one") != 0 ? text : "two"; }), &UseAtoms},
    {nullptr, "host-atom-not-unique", PLANT(Atom, NewStringAtom, ZELStringAtom, (const char* text), { return g_real->atoms.NewStringAtom(std::strcmp(text, "other") == 0 ? "one" : text); }), &UseAtoms},
    {nullptr, "host-memory-overlaps", PLANT(Memory, Alloc, void*, (std::size_t size), { alignas(16) static char block[kOdd]; return size == kOdd ? block : g_real->memory.Alloc(size); }), &TakeOddBlocks},
    {nullptr, "host-memory-unaligned", PLANT(Memory, Alloc, void*, (std::size_t size), { static std::uint64_t blocks[2][kOdd / 8 + 2]; return size == kOdd ? reinterpret_cast<char*>(blocks[g_count++ % 2]) + 4 : g_real->memory.Alloc(size); }), &TakeOddBlocks},
    {nullptr, "host-error-wrong", PLANT(Error, GetID, std::int32_t, (ZELErrorObject error), { return g_real->errors.GetID(error) + 1; }), &UseError},
    {nullptr, "host-buffer-moved", PLANT(SharedBuff, GetBuffer, void*, (ZELSharedBuff), { static char bytes[2][8]; return bytes[++g_count % 2]; }), &UseBuffer},
    {nullptr, "host-stream-too-much", PLANT_STREAM(Read, (ZELInstance, std::uint32_t* delivered, void*, std::uint32_t wanted), { *delivered = wanted + 1; return nullptr; }), &ReadStream},
};
// clang-format on

// The ids of the tests that the layer printed as failed.
std::set<std::string> FailedTests(const std::string& log) {
  std::set<std::string> failed;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(" FAILED: ") != std::string::npos)
      failed.insert(line.substr(2, line.find(' ', 2) - 2));
  }
  return failed;
}

TEST(CheckTest, TheReferenceHostPassesEveryTestOfAHost) {
  for (const bool guarded : {false, true}) {
    CheckedHost checked({.guardMemory = guarded});
    checked.Start("host");
    EXPECT_NE(checked.Log().find(" passed, 0 failed, 0 not decidable\n"), std::string::npos)
        << checked.Log();
  }
}

TEST(CheckTest, WrongHostsAreToldApartAndToldOfInUse) {
  std::map<std::set<std::string>, const char*> seen;
  for (const WrongHost& wrong : kWrongHosts) {
    for (const bool isTested : {true, false}) {
      const char* const name = isTested ? wrong.test : wrong.rule;
      if (name == nullptr) continue;
      SCOPED_TRACE(testing::Message() << "row " << &wrong - kWrongHosts << ": " << name);
      g_count = 0;
      CheckedHost checked;
      const zeltest::CoreProcedures real(checked.host);
      g_real = &real;
      wrong.plant(checked.host);
      try {
        checked.Start(isTested ? "host" : "core,rules=host-*");
        if (!isTested) wrong.use(zeltest::Procedures(checked.host));
        checked.host.Stop();
      } catch (const std::runtime_error&) {  // what the layer says is what counts
      }
      if (isTested) {
        const std::set<std::string> failed = FailedTests(checked.Log());
        EXPECT_TRUE(failed.contains(name)) << checked.Log();
        const auto [place, isNew] = seen.emplace(failed, name);
        EXPECT_TRUE(isNew) << "the same tests fail as for " << place->second;
      } else {
        EXPECT_FALSE(g_findings.rules.empty());
        for (const std::string& rule : g_findings.rules) EXPECT_EQ(rule, name) << checked.Log();
      }
    }
  }
}

// ---- Traces, tables, faults, words ----

std::size_t CountLines(const std::string& log, const std::string& with) {
  std::size_t count = 0;
  for (std::size_t at = log.find(with); at != std::string::npos; at = log.find(with, at + 1))
    ++count;
  return count;
}

TEST(CheckTest, ATraceShowsEachCallOnceWithItsDepthAndResult) {
  CheckedHost checked;
  checked.Start("trace,stats");
  const zeltest::Procedures with(checked.host);
  checked.host.ResetCalls();
  const ZELInstance array = with.statics.CreateFromText("[1 (two)]", nullptr);
  const std::uint64_t made = checked.host.Calls(zelhost::Service::kNewFullContainer);
  with.containers.AddRef(array);
  EXPECT_EQ(with.arrays.Count(array), 2U);
  with.containers.Release(array);
  checked.host.Stop();
  const std::string log = checked.Log();
  EXPECT_EQ(
      CountLines(
          log,
          "\nclient>library POSObjectStatics.CreateFromText(\"[1 (two)]\", null) = instance 0x"),
      1U)
      << log;
  EXPECT_EQ(CountLines(log, "\nclient>library POSArrayInterface.Count(instance 0x"), 1U);
  EXPECT_EQ(CountLines(log, ") = 2  ["), 1U);
  EXPECT_EQ(CountLines(log, "\nlibrary>host     ZELContainerInterface.NewFullContainer("), made);
  EXPECT_EQ(CountLines(log, "callback.Destroy("), made);
  EXPECT_EQ(CountLines(log, "\n  client>library POSArrayInterface.Count "), 1U) << "the table";
  EXPECT_EQ(CountLines(log, "live at the end: nothing"), 1U);
}

TEST(CheckTest, FaultsAreRepeatedByTheirSeedAndLoseNothing) {
  const auto reports = [](const std::string& words) {
    CheckedHost checked;
    checked.Start(words);
    const zeltest::Procedures with(checked.host);
    for (int i = 0; i < 50; ++i) {
      const ZELInstance value = with.statics.CreateFromText("<a [1 (two)] b `0003`>", nullptr);
      if (value == nullptr) continue;
      if (with.containers.AddRef(value) != 0) with.containers.Release(value);
    }
    const std::string told = std::to_string(checked.host.Reports().size());
    checked.host.Stop();
    EXPECT_EQ(ToString(checked.host.Live()), "nothing");
    EXPECT_EQ(g_findings.rules, std::vector<std::string>()) << checked.Log();
    return told + checked.Log();
  };
  const std::string first = reports("seed=7,fail=2%");
  EXPECT_EQ(first, reports("seed=7,fail=0.02"));
  EXPECT_NE(first, reports("seed=8,fail=2%"));
  EXPECT_NE(first.find("seed=7,fail=0.02\n"), std::string::npos) << first;
  EXPECT_EQ(reports("seed=7,fail=0").substr(0, 1), "0");
}

TEST(CheckTest, RulesAreAskedForAndLeftOutByPatterns) {
  // Words, findings, and how many of the words say nothing.
  const std::tuple<const char*, std::size_t, std::size_t> rows[] = {
      {"core", 2, 0},
      {"core,rules=text-*", 1, 0},
      {"core,rules=*null", 2, 0},
      {"core,rules=t*t*-**l", 1, 0},
      {"core,rules=*t*t*t*t*t*t*t*t*t*t*t*t*t", 0, 0},
      {"core,rules=x,rules=", 0, 0},
      {"core,without=*-null", 0, 0},
      {"core,without=atom-null", 1, 0},
      {"core,rules=text-null,rules=atom-*", 2, 0},
      {",core,,verbose,CORE,core=1, report", 2, 4},
      {"core,fail=2,fail=nan,fail=,fail=1%%,fail=-1,seed=x,seed=99999999999999999999", 2, 7},
      {"core,limit=0,limit=2147483648,limit=1e3", 2, 3}};
  for (const auto& [words, findings, unknown] : rows) {
    SCOPED_TRACE(words);
    CheckedHost checked;
    checked.Start(words);
    const zeltest::Procedures with(checked.host);
    for (int i = 0; i < 2; ++i) {  // the same place tells once
      with.strings.NewPOSString(nullptr);
      with.atoms.DeleteStringAtom(0);
    }
    EXPECT_EQ(g_findings.rules.size(), findings);
    EXPECT_EQ(CountLines(checked.Log(), "which says nothing"), unknown);
  }
}

TEST(CheckTest, WhatCannotBeWrittenGoesToStandardError) {
  for (const char* const words : {"out=/no/such/folder/log", "trace=/no/such/folder/trace.json"}) {
    CheckedHost checked;
    testing::internal::CaptureStderr();
    checked.Start(words);
    zeltest::Procedures(checked.host).strings.NewPOSString(nullptr);
    checked.host.Stop();
    const std::string printed = testing::internal::GetCapturedStderr() + checked.Log();
    EXPECT_EQ(CountLines(printed, "zelutils-check: text-null"), 1U) << printed;
    EXPECT_EQ(CountLines(printed, "trace.json cannot be written"), words[0] == 't' ? 1U : 0U);
  }
}

// With "core" the host's own procedures are covered from the start to the stop; without it nothing.
ZELProc ProcedureOfHost(const Host& host) {
  return host.Lookup(ZEL_STRING_INTERFACE, "NewStringAtom", "ZELNewStringAtomProc");
}

// Each start is one of its own: findings of the one before are told again. The layer goes when it
// is unloaded, unless an earlier test in this process has made it stay, by the word "core".
TEST(CheckTest, TheLayerIsStartedAgainAndUnloaded) {
  const bool stays = zeltest::IsLoaded(ZEL_CHECK_PATH);
  {
    CheckedHost checked;
    const ZELProc own = ProcedureOfHost(checked.host);
    for (std::size_t start = 1; start <= 3; ++start) {
      checked.Start("report");
      EXPECT_EQ(ProcedureOfHost(checked.host), own);
      zeltest::Procedures(checked.host).strings.NewPOSString(nullptr);
      checked.host.Stop();
      EXPECT_EQ(g_findings.rules.size(), start);
    }
  }
  EXPECT_EQ(zeltest::IsLoaded(ZEL_CHECK_PATH), stays);
}

// The procedure that is told of findings must not call, and does no harm when it does.
TEST(CheckTest, TheProcedureThatIsToldMayCall) {
  static const zeltest::Procedures* with;
  CheckedHost checked;
  const ZELProc own = ProcedureOfHost(checked.host);
  checked.Start("core,trace");
  EXPECT_NE(ProcedureOfHost(checked.host), own);
  const zeltest::Procedures procedures(checked.host);
  with = &procedures;
  zeltest::g_whenTold = [] {
    if (g_findings.rules.size() == 1) with->strings.NewPOSString(nullptr);  // before the stop
    with->atoms.DeleteStringAtom(with->atoms.NewStringAtom("told"));
    with->containers.Release(nullptr);
  };
  procedures.strings.NewPOSString(nullptr);
  procedures.atoms.NewStringAtom("lost");
  checked.host.Stop();
  EXPECT_EQ(ProcedureOfHost(checked.host), own);
  zeltest::g_whenTold = nullptr;
  EXPECT_EQ(g_findings.rules, (std::vector<std::string>{"text-null", "atom-reference-lost"}));
}

// The layer takes the library that the variable names, or the one beside it, and never itself.
TEST(CheckTest, TheLayerFindsTheLibraryAndNotItself) {
  namespace fs = std::filesystem;
  if (zeltest::kIsWindows)
    GTEST_SKIP() << "the loader finds the library beside the program as well";
  const std::string itself = "layer";
  const std::pair<std::string, bool> rows[] = {
      {ZEL_LIBRARY_PATH, false}, {itself, true}, {"", true}, {"nothing", true}};
  for (const auto& [variable, isBeside] : rows) {
    SCOPED_TRACE(variable);
    const zeltest::Folder folder;
    const fs::path layer = folder.path / fs::path(ZEL_CHECK_PATH).filename();
    fs::copy_file(ZEL_CHECK_PATH, layer);
    if (isBeside) {
      fs::copy_file(ZEL_LIBRARY_PATH, folder.path / fs::path(ZEL_LIBRARY_PATH).filename());
    }
    zeltest::SetVariable("ZELUTILS_LIBRARY", variable == itself ? layer.string() : variable);
    EXPECT_NO_THROW(Host().Start(layer.string()));
    zeltest::SetVariable("ZELUTILS_LIBRARY", "");
  }
}

}  // namespace
