// The reference host by its C procedures, as a library that it does not know would call them:
// beside the tests of a host, all of which it passes (check_host_test.cpp), what it promises more.

#include "host_fixture.h"

namespace {

using zelhost::Host;
using zelhost::HostError;
using zelhost::Service;

class HostTest : public zeltest::HostFixture {
 protected:
  void TearDown() override {
    EXPECT_EQ(zelhost::ToString(host.Live()), "nothing");
    EXPECT_EQ(host.Leaks().size(), misuses);
  }

  ZELInstance NewMemoryStream() {
    ZELInstance stream = nullptr;
    EXPECT_EQ(Text(streams.NewPositionableMemoryStream(&stream)), "");
    return stream;
  }
  ZELInstance Open(const char* mode) {
    ZELInstance stream = nullptr;
    openError = Text(streams.NewPositionableFileStream(&stream, path.c_str(), mode));
    return stream;
  }
  std::string ReadAll(ZELInstance stream, std::uint32_t step = 3) {
    std::string all;
    char buffer[64];
    for (std::uint32_t delivered = 1; delivered != 0;) {
      EXPECT_EQ(Text(onStream.Read(stream, &delivered, buffer, step)), "");
      all.append(buffer, delivered);
    }
    return all;
  }
  std::string Write(ZELInstance stream, const std::string& bytes) {
    return Text(onStream.Write(stream, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
  }
  std::uint32_t Position(ZELInstance stream) {
    std::uint32_t position = 0;
    EXPECT_EQ(Text(onStream.Mark(stream, &position)), "");
    return position;
  }

  std::size_t misuses = 0;  // that the test commits
  std::string openError;
  zeltest::Folder folder;
  const std::string path = folder / "file";
};

ZELTEST_WITH_AND_WITHOUT_SLABS(HostTest);

void Nothing() {}

TEST_P(HostTest, TheBinderHidesProceduresAndRecordsItsCalls) {
  const auto lookup = Host::LookupProc();
  const std::uint32_t& count = *binder.ZELGetUnregisterCountAddr();
  host.RecordBindings(true);
  EXPECT_NE(binder.ZELRegisterProcAddress("A", "M", "T", Nothing), 0);
  EXPECT_EQ(host.Live().interfaces, 1u);
  std::uint32_t expectedCount = 0;
  for (const char* method : {"M", static_cast<const char*>(nullptr)}) {
    host.Hide("A", method);
    EXPECT_EQ(count, ++expectedCount) << "0xFFFFFFFF is followed by 1";
    EXPECT_EQ(lookup("A", "M", "T"), nullptr);
    host.Show("A", method);
    EXPECT_EQ(lookup("A", "M", "T"), Nothing);
  }
  for (const int left : {1, 0}) EXPECT_EQ(binder.ZELUnregisterInterface("A"), left);
  EXPECT_EQ(count, 3u);
  std::string log;
  for (const auto& event : host.TakeBindings()) {
    log += "LRU"[static_cast<int>(event.kind)] + event.interfaceName;
    log += event.succeeded ? " " : "! ";
  }
  EXPECT_EQ(log, "RA LA! LA LA! LA UA UA! ");
}

TEST_P(HostTest, MemoryKeepsItsContent) {
  constexpr std::size_t kSizes[] = {0, 1, 8, 9, 24, 25, 504, 520, 521, 4096, 1 << 13};
  constexpr std::size_t kEach = 40;
  for (const std::size_t size : kSizes) {
    for (const std::size_t newSize : kSizes) {
      SCOPED_TRACE(std::to_string(size) + " to " + std::to_string(newSize));
      unsigned char* blocks[kEach];
      for (std::size_t i = 0; i < kEach; ++i) {
        blocks[i] = static_cast<unsigned char*>(memory.Alloc(size));
        std::memset(blocks[i], static_cast<int>(i), size);
      }
      for (std::size_t i = 0; i < kEach; i += 2) {
        blocks[i] = static_cast<unsigned char*>(memory.Realloc(blocks[i], newSize));
      }
      EXPECT_EQ(host.Live().blocks, kEach);
      EXPECT_EQ(host.Live().bytes, kEach / 2 * (size + newSize));
      for (std::size_t i = 0; i < kEach; ++i) {
        const std::size_t now = i % 2 == 0 ? newSize : size;
        EXPECT_GE(memory.GetBlockSize(blocks[i]), now);
        const std::string_view stays(reinterpret_cast<char*>(blocks[i]), std::min(size, now));
        EXPECT_EQ(stays.find_first_not_of(static_cast<char>(i)), stays.npos);
        memory.Free(blocks[i]);
      }
    }
  }
  EXPECT_EQ(host.Calls(Service::kFree), kEach * std::size(kSizes) * std::size(kSizes));
  void* const block = memory.Alloc(10);
  for (const std::size_t tooLarge : {SIZE_MAX, SIZE_MAX - 7, SIZE_MAX / 2 + 1}) {
    EXPECT_EQ(memory.Alloc(tooLarge), nullptr);
    EXPECT_EQ(memory.Realloc(block, tooLarge), nullptr);
  }
  memory.Free(block);
}

TEST_P(HostTest, AtomsAreUniqueTexts) {
  // The host counts its own references to each of two neighbours.
  const ZELErrorObject ofTheHost[] = {errors.NewError("gone", "host", 1, 0, 0),
                                      errors.NewError("held", "host", 1, 0, 0)};
  const ZELStringAtom gone = errors.GetErrorMessage(ofTheHost[0]);
  errors.Release(ofTheHost[0]);
  EXPECT_EQ(atoms.GetCString(gone), nullptr);
  EXPECT_EQ(Text(ofTheHost[1]), "host: held");
  std::map<std::string, ZELStringAtom> known;
  for (std::size_t i = 0; i < 5000; ++i) {  // through several growths of the table
    const std::size_t longest = i % 8 == 0 ? 300 : 20;
    const std::string text = i == 0 ? "" : std::string(i % longest, 'x') + std::to_string(i);
    known[text] = atoms.NewStringAtom(text.c_str());
  }
  // In each round one of two goes, which leaves gaps of every kind in the index, and comes again;
  // its number must be that of none that stayed.
  for (std::size_t round = 0; round < 2; ++round) {
    for (auto& [text, atom] : known) {
      if (text.size() % 2 == round) atoms.DeleteStringAtom(std::exchange(atom, 0));
    }
    for (auto& [text, atom] : known) {
      if (atom == 0) atom = atoms.NewStringAtom(text.c_str());
    }
    host.ResetCalls();
  }
  for (const auto& [text, atom] : known) {
    EXPECT_EQ(atoms.NewStringAtom(text.c_str()), atom);
    EXPECT_EQ(atoms.GetCString(atom), text);
    atoms.AddRef(atom);
  }
  EXPECT_EQ(host.Live().atoms, known.size());
  EXPECT_EQ(host.Live().atomReferences, 3 * known.size());
  for (const auto& [text, atom] : known) {
    for (int i = 0; i < 3; ++i) atoms.DeleteStringAtom(atom);
  }
  EXPECT_EQ(host.Calls(Service::kNewStringAtom), known.size());
  EXPECT_EQ(host.Calls(Service::kGetCString), known.size());
  EXPECT_EQ(host.Calls(Service::kAddRefStringAtom), known.size());
  EXPECT_EQ(host.Calls(Service::kDeleteStringAtom), 3 * known.size());
  const ZELStringAtom name = atoms.NewStringAtom("ZELFileStream");
  for (int i = 0; i < 2; ++i) atoms.DeleteStringAtom(name);
  EXPECT_STREQ(atoms.GetCString(name), "ZELFileStream") << "its own reference stays";
  misuses = 2;
}

TEST_P(HostTest, ErrorsAreCountedAndThoseOfTheCoreHaveTheirTexts) {
  ZELErrorObject error = errors.AddRef(errors.NewError("went wrong", "Part", -7, 0, 0));
  EXPECT_EQ(host.Live().errorReferences, 2u);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(Text(error), "Part: went wrong");
  EXPECT_EQ(Text(errors.GetCoreError(0)), "DUX: unknown error");
  EXPECT_EQ(Text(errors.GetCoreError(1)), "DUX: out of memory");
  for (const std::int32_t none : {-1, 5, 1000}) EXPECT_EQ(errors.GetCoreError(none), nullptr);
}

TEST_P(HostTest, InstancesAreCountedAndTheDyingNotHeld) {
  struct Object {
    const zeltest::CoreProcedures& procs;
    ZELInstance self = nullptr;
    int destroyed = 0;
  } object = {*this};
  object.self = NewInstance(&object, [](void* pointer) {
    auto* dying = static_cast<Object*>(pointer);
    EXPECT_EQ(dying->procs.containers.AddRef(dying->self), 0) << "no reference to the dying";
    dying->procs.containers.Release(dying->self);
    ++dying->destroyed;
  });
  containers.Release(object.self);
  containers.DecrementWithoutDelete(object.self);
  misuses = 2;
  for (std::uint32_t count : {1u, 2u}) {
    containers.AddRef(object.self);
    EXPECT_EQ(host.RefCount(object.self), count);
  }
  containers.DecrementWithoutDelete(object.self);
  EXPECT_EQ(host.Live().instanceReferences, 1u);
  containers.Release(object.self);
  EXPECT_EQ(object.destroyed, 1);
}

TEST_P(HostTest, MemoryAndFileStreamsBehaveAlike) {
  for (const bool file : {false, true}) {
    SCOPED_TRACE(file);
    ZELInstance stream = file ? Open("w+b") : NewMemoryStream();
    EXPECT_EQ(Write(stream, std::string("0123\r\n\0z89", 10)), "");
    EXPECT_EQ(Text(onStream.Seek(stream, 2, 0)), "");
    EXPECT_EQ(Write(stream, "ab"), "");
    EXPECT_EQ(ReadAll(stream), std::string("\r\n\0z89", 6)) << "read right after a write";
    EXPECT_EQ(Write(stream, "!"), "") << "written right after a read";
    EXPECT_NE(Text(onStream.Seek(stream, 0, 1)), "");

    ZELInstance reader = nullptr;
    EXPECT_EQ(Text(onStream.CreateIndependentlyPositionableStream(stream, &reader)), "");
    EXPECT_EQ(ReadAll(reader, 64), std::string("01ab\r\n\0z89!", 11));
    EXPECT_EQ(Write(stream, "+"), "");
    EXPECT_EQ(ReadAll(reader), "+") << "the end is not remembered";
    EXPECT_EQ(Position(stream), 12u);
    End(stream);
    EXPECT_EQ(Text(onStream.Seek(reader, 11, 0)), "");
    EXPECT_EQ(ReadAll(reader), "+") << "the reader outlives the stream it came from";
    End(reader);
  }
}

TEST_P(HostTest, OpenModesAllowWhatTheySay) {
  const char* const refused = nullptr;
  const struct {
    const char* mode;
    bool opensMissing, opensExisting, reads;
    const char* afterWrite;  // of "X" to a file of "abc", reopened
  } rows[] = {
      {"rb", false, true, true, refused},   {"r", false, true, true, refused},
      {"r+b", false, true, true, "Xbc"},    {"rb+", false, true, true, "Xbc"},
      {"w", true, true, false, "X"},        {"wb", true, true, false, "X"},
      {"w+b", true, true, true, "X"},       {"ab", true, true, false, "abcX"},
      {"a+", true, true, true, "abcX"},     {"wbx", true, false, false, refused},
      {"", false, false, false, refused},   {"b", false, false, false, refused},
      {"rw", false, false, false, refused}, {"rbb", false, false, false, refused},
      {"rx", false, false, false, refused}, {"w,ccs=UTF-8", false, false, false, refused},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mode);
    std::remove(path.c_str());
    ZELInstance stream = Open(row.mode);
    EXPECT_EQ(stream != nullptr, row.opensMissing);
    EXPECT_EQ(openError.empty(), row.opensMissing);
    if (stream != nullptr) End(stream);

    std::ofstream(path, std::ios::binary) << "abc";
    stream = Open(row.mode);
    EXPECT_EQ(stream != nullptr, row.opensExisting) << openError;
    if (stream == nullptr) continue;
    EXPECT_EQ(Write(stream, "X").empty(), row.afterWrite != nullptr);
    if (row.afterWrite != nullptr) {
      ZELInstance reader = Open("rb");
      EXPECT_EQ(ReadAll(reader), row.afterWrite) << "on disk before the stream is closed";
      End(reader);
    }
    std::uint32_t delivered = 0;
    char byte = 0;
    EXPECT_EQ(Text(onStream.Read(stream, &delivered, &byte, 1)).empty(), row.reads);
    End(stream);
  }
}

TEST_P(HostTest, WhatCannotBeStoredIsAnError) {
  ZELInstance file = Open("w+b");
  EXPECT_EQ(Text(onStream.Seek(file, 0xFFFFFFFEu, 0)), "");
  EXPECT_EQ(Write(file, "12"), "ZELHost: ZELFileStream::Write: the file would become too long");
  EXPECT_EQ(Position(file), 0xFFFFFFFEu);
  End(file);

  const ZELInstance stream = NewMemoryStream();
  EXPECT_NE(Text(onStream.Seek(stream, 1, 0)), "");
  EXPECT_EQ(Position(stream), 0u);
  End(stream);

  ZELInstance plain = NewInstance(nullptr, nullptr);
  EXPECT_EQ(Write(plain, "1"), "ZELHost: Write: not a stream");
  End(plain);

  ZELInstance full = nullptr;
  const std::string error = Text(streams.NewPositionableFileStream(&full, "/dev/full", "wb"));
  if (full == nullptr) GTEST_SKIP() << "no full device here: " << error;
  EXPECT_EQ(Write(full, "1"), "ZELHost: ZELFileStream::Write: No space left on device");
  End(full);
}

#if !defined(_WIN32)
TEST_P(HostTest, AProgramThatIsStartedInheritsNoFile) {
  for (const char* mode : {"w", "r+", "a", "rb"}) {
    ZELInstance stream = Open(mode);
    EXPECT_EQ(openError, "");
    EXPECT_NE(std::system(("ls -l /proc/self/fd | grep -q '" + path + "'").c_str()), 0) << mode;
    End(stream);
  }
}
#endif

struct Client {
  std::string log;
  std::uint32_t delivers = 0;

  static ZELErrorObject Read(void* client, std::uint32_t* delivered, void*, std::uint32_t wanted) {
    auto* self = static_cast<Client*>(client);
    self->log += "r" + std::to_string(wanted) + " ";
    *delivered = self->delivers;
    return nullptr;
  }
  static ZELErrorObject CreateNone(void*, ZELInstance*) { return nullptr; }
  static void Destroy(void* client) { static_cast<Client*>(client)->log += "end "; }
};

TEST_P(HostTest, ClientStreamsCallBack) {
  Client client;
  ZELInstance stream = nullptr;
  const auto make = [&] {
    return Text(streams.NewClientPositionableStream(&stream, &client, Client::Read, nullptr,
                                                    Client::CreateNone, nullptr, nullptr, nullptr,
                                                    nullptr, Client::Destroy));
  };
  host.FailAt(Service::kNewClientStream, 1);
  EXPECT_NE(make(), "");
  EXPECT_EQ(client.log, "") << "an object that was not taken is not destroyed";
  EXPECT_EQ(make(), "");
  char buffer[8];
  std::uint32_t delivered = 5;
  const auto read = [&] { return Text(onStream.Read(stream, &delivered, buffer, 8)); };
  EXPECT_EQ(read(), "");
  EXPECT_EQ(delivered, 0u);
  host.FailAt(Service::kShortRead, 1);
  EXPECT_EQ(read(), "");
  client.delivers = 9;
  EXPECT_NE(read(), "") << "more than was wanted";
  EXPECT_EQ(delivered, 0u);
  EXPECT_NE(Write(stream, "1"), "") << "no callback";
  ZELInstance created = nullptr;
  EXPECT_NE(Text(onStream.CreateIndependentlyRewindableStream(stream, &created)), "")
      << "success without a stream";
  containers.AddRef(stream);
  containers.Release(stream);
  EXPECT_EQ(client.log, "r8 r4 r8 end ");
}

TEST_P(HostTest, EachServiceFailsAtTheCallThatWasAskedFor) {
  const ZELInstance stream = NewMemoryStream();
  EXPECT_EQ(Write(stream, "1234"), "");
  const ZELStringAtom name = atoms.NewStringAtom("ZELMemoryStream");
  std::uint32_t number = 0;
  char bytes[4];
  void* object = nullptr;
  ZELProc found = nullptr;

  // The result of a call is given back at once; each answers whether it failed as it should.
  ZELInstance made = nullptr;
  const auto failed = [&](ZELErrorObject error) {
    const std::string text = Text(error);
    EXPECT_TRUE(text.empty() || text.starts_with("ZELHost: injected failure of ")) << text;
    if (text.empty() && made != nullptr) End(made);
    made = nullptr;
    return !text.empty();
  };
  const auto isNull = [](auto result, auto giveBack) {
    if (result) giveBack(result);
    return !result;
  };
  // clang-format off
  const std::map<Service, std::function<bool()>> calls = {
      {Service::kLookup, [&] { return Host::LookupProc()("ZEL", "ZELReportError", "ZELReportError") == nullptr; }},
      {Service::kRegisterProcAddress, [&] { return binder.ZELRegisterProcAddress("A", "M", "T", Nothing) == 0; }},
      {Service::kAlloc, [&] { return isNull(memory.Alloc(8), memory.Free); }},
      {Service::kRealloc, [&] {
         void* block = memory.Alloc(8);
         void* moved = memory.Realloc(block, 900);
         memory.Free(moved != nullptr ? moved : block);
         return moved == nullptr;
       }},
      {Service::kNewStringAtom, [&] { return isNull(atoms.NewStringAtom("text"), atoms.DeleteStringAtom); }},
      {Service::kNewError, [&] { return isNull(errors.NewError("a", "b", 1, 0, 0), errors.Release); }},
      {Service::kGetCoreError, [&] { return isNull(errors.GetCoreError(0), errors.Release); }},
      {Service::kNewFullContainer, [&] { return failed(containers.NewFullContainer(&made, nullptr, name, nullptr, name, 0, 0, 0)); }},
      {Service::kAddRef, [&] { return isNull(containers.AddRef(stream), [&](int) { containers.DecrementWithoutDelete(stream); }); }},
      {Service::kGetMethod, [&] { return failed(containers.GetMethod(&found, stream, name, name, 0)); }},
      {Service::kNGetInstance, [&] { return failed(containers.NGetInstance(&object, stream, name)); }},
      {Service::kNewBuffer, [&] { return isNull(buffers.NewBuffer(16, 0, 0, 0, 0), buffers.Release); }},
      {Service::kNewMemoryStream, [&] { return failed(streams.NewPositionableMemoryStream(&made)); }},
      {Service::kNewFileStream, [&] { return failed(streams.NewPositionableFileStream(&made, path.c_str(), "wb")); }},
      {Service::kNewClientStream, [&] {
         return failed(streams.NewClientPositionableStream(&made, nullptr, Client::Read, nullptr, nullptr,
                                                           nullptr, nullptr, nullptr, nullptr, nullptr));
       }},
      {Service::kRead, [&] { return failed(onStream.Read(stream, &number, bytes, 1)); }},
      {Service::kWrite, [&] { return failed(onStream.Write(stream, "5", 1)); }},
      {Service::kCreateRewindable, [&] { return failed(onStream.CreateIndependentlyRewindableStream(stream, &made)); }},
      {Service::kRewind, [&] { return failed(onStream.Rewind(stream)); }},
      {Service::kCreatePositionable, [&] { return failed(onStream.CreateIndependentlyPositionableStream(stream, &made)); }},
      {Service::kMark, [&] { return failed(onStream.Mark(stream, &number)); }},
      {Service::kSeek, [&] { return failed(onStream.Seek(stream, 0, 0)); }},
      {Service::kShortRead, [&] {
         EXPECT_EQ(Text(onStream.Seek(stream, 0, 0)), "");
         EXPECT_EQ(Text(onStream.Read(stream, &number, bytes, 4)), "");
         return number == 2;
       }},
  };
  // clang-format on
  EXPECT_EQ(calls.size(), zelhost::FallibleServices().size());
  const std::string before = zelhost::ToString(host.Live());
  for (const Service service : zelhost::FallibleServices()) {
    SCOPED_TRACE(zelhost::ServiceName(service));
    const auto fourCalls = [&] {
      std::string outcome;
      for (int i = 0; i < 4; ++i) outcome += calls.at(service)() ? 'F' : '.';
      return outcome;
    };
    host.ResetCalls();
    host.FailAt(service, 2);
    EXPECT_EQ(fourCalls(), ".F..");
    EXPECT_EQ(host.Calls(service), 4u);
    host.FailAt(service, 3, true);
    host.ResetCalls();
    EXPECT_EQ(fourCalls(), "..FF");
    host.StopFailing(service);
    EXPECT_EQ(fourCalls(), "....");
    host.Withdraw("A");
    EXPECT_EQ(zelhost::ToString(host.Live()), before);
  }
  EXPECT_EQ(host.FaultsInjected(), 3 * calls.size());
  EXPECT_THROW(host.FailAt(Service::kFree, 1), HostError);
  EXPECT_THROW(host.FailAt(Service::kAlloc, 0), HostError);
  atoms.DeleteStringAtom(name);
  End(stream);
}

// A library that leaks one of everything, and refuses to start when told so.
struct FakeLibrary {
  static inline Host* host = nullptr;
  static inline int terminated = 0;
  static inline std::int32_t answer = 1;

  static std::int32_t Initialize(ZELLookupProc) {
    const auto binder = zeltest::Import<zelutils::BinderInterface>(*host);
    const zeltest::CoreProcedures procs(*host);
    binder.ZELRegisterProcAddress("Left", "M", "T", Nothing);
    procs.memory.Alloc(24);
    procs.atoms.AddRef(procs.atoms.NewStringAtom("a\ntext"));
    procs.errors.NewError("message", "Component", 1, 0, 0);
    procs.buffers.NewBuffer(512, 0, 0, 0, 0);
    ZELInstance stream = nullptr;
    procs.streams.NewPositionableMemoryStream(&stream);
    procs.containers.Release(stream);
    binder.ZELReportError("reported");
    return answer;
  }
  static constexpr zelhost::LibraryEntryPoints kEntryPoints = {[] { return std::uint32_t{3}; },
                                                               Initialize, [] { ++terminated; }};
};

// Whatever the memory was used for before.
TEST(HostLifeTest, OnlyTheBeginningOfABlockIsABlock) {
  constexpr std::size_t kAround = std::size_t{16} << 10;
  std::vector<std::unique_ptr<char[]>> used;
  for (int i = 0; i < 32; ++i) {
    used.push_back(std::make_unique<char[]>(std::size_t{64} << 10));
    std::memset(used.back().get(), 0xFF, std::size_t{64} << 10);
  }
  used.clear();
  Host host;
  const auto memory = zeltest::CoreProcedures(host).memory;
  std::set<std::uintptr_t> blocks;
  for (std::size_t size = 16; size <= 512; size += 16) {
    blocks.insert(reinterpret_cast<std::uintptr_t>(memory.Alloc(size)));
  }
  for (const std::uintptr_t block : blocks) {
    const std::uintptr_t begin = block / kAround * kAround;
    for (std::uintptr_t at = begin; at <= begin + kAround; at += 16) {
      if (blocks.count(at) != 0) continue;
      ASSERT_EQ(memory.GetBlockSize(reinterpret_cast<void*>(at)), 0u) << at - begin;
    }
  }
  EXPECT_EQ(host.Live().blocks, blocks.size());
}

TEST(HostLifeTest, StopNamesEveryLeak) {
  for (const bool guarded : {false, true}) {
    Host host({.guardMemory = guarded});
    FakeLibrary::host = &host;
    FakeLibrary::answer = 1;
    std::vector<std::string> leaks;
    host.SetLeakSink([&](const std::vector<zelhost::Leak>& found) {
      for (const zelhost::Leak& leak : found) leaks.push_back(leak.what);
    });
    std::string sunk;
    host.SetReportSink([&](std::string_view report) { sunk = report; });
    host.Start(FakeLibrary::kEntryPoints);
    EXPECT_THROW(host.Start(FakeLibrary::kEntryPoints), HostError);
    EXPECT_EQ(host.LibraryVersion(), 3u);
    EXPECT_EQ(host.TakeReports(), std::vector<std::string>{"reported"});
    EXPECT_EQ(sunk, "reported");
    EXPECT_EQ(zelhost::ToString(host.Live()),
              "1 block (24 bytes), 1 atom (2 references), 1 error (1 reference), "
              "1 instance (0 references), 1 shared buffer (1 reference), 1 interface");
    host.Stop();
    const std::vector<std::string> expected = {
        "Release of an instance of \"ZELMemoryStream\" that is held by no client",
        "interface \"Left\" with 1 method",
        guarded ? "block of 24 bytes, allocation 1" : "block of 24 bytes",
        "atom \"a.text\", 2 references",
        "error \"message\" of \"Component\", 1 reference",
        "instance of \"ZELMemoryStream\" (signature \"ZELMemoryStream\"), 0 references",
        "shared buffer of 512 bytes, 1 reference"};
    EXPECT_EQ(leaks, expected);
  }
}

TEST(HostLifeTest, FailuresToStart) {
  const auto lookup = [] { return Host::LookupProc()("ZEL", "ZELReportError", "ZELReportError"); };
  {
    Host host;
    EXPECT_THROW(Host(), HostError) << "one host at a time";
    host.SetLeakSink(nullptr);
    FakeLibrary::host = &host;
    FakeLibrary::answer = 0;
    FakeLibrary::terminated = 0;
    EXPECT_THROW(host.Start(FakeLibrary::kEntryPoints), HostError);
    EXPECT_EQ(FakeLibrary::terminated, 1);
    EXPECT_FALSE(host.Started());
    EXPECT_THROW(host.Start("no/such/library"), HostError);
    EXPECT_THROW(host.Start(zelhost::LibraryEntryPoints()), HostError);
    EXPECT_THROW(host.Find<ZELProc>("None", "Alloc", "ZELMemAllocProc"), HostError);
  }
  EXPECT_EQ(lookup(), nullptr);
  Host next;
  EXPECT_NE(lookup(), nullptr);
}

}  // namespace
