// Misuse of the reference host: what is gone, null, held, or called from elsewhere is refused and
// noted by name, with memory from slabs as with a malloc for each block.
#include <thread>

#include "support.h"

namespace {

using zelhost::Host;

struct HostHolder {
  explicit HostHolder(bool guarded) : host({.guardMemory = guarded}) {}
  Host host;
};

class HostMisuseTest : public testing::TestWithParam<bool>,
                       protected HostHolder,
                       protected zeltest::CoreProcedures {
 protected:
  HostMisuseTest() : HostHolder(GetParam()), CoreProcedures(host) {}

  std::vector<std::string> Misuses() const {
    std::vector<std::string> misuses;
    for (const zelhost::Leak& leak : host.Leaks()) {
      if (leak.kind == zelhost::Leak::Kind::kMisuse) misuses.push_back(leak.what);
    }
    return misuses;
  }
  ZELInstance NewInstance() {
    static int object;
    ZELInstance instance = nullptr;
    const ZELStringAtom name = atoms.NewStringAtom("Kind");
    errors.Release(containers.NewFullContainer(
        &instance, &object, name, [](void*) {}, name, 0, 0, 0));
    atoms.DeleteStringAtom(name);
    return instance;
  }
  // Whether a call failed with an error object.
  bool Failed(ZELErrorObject error) {
    errors.Release(error);
    return error != nullptr;
  }
};

INSTANTIATE_TEST_SUITE_P(Memory, HostMisuseTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "guarded" : "slabs"; });

TEST_P(HostMisuseTest, IsRefusedAndNotedByName) {
  // One of each thing is ended, and others are made, which must not suffer from what is done then.
  void* const heldBlocks[] = {memory.Alloc(100), memory.Alloc(200000)};
  void* const block = memory.Alloc(24);
  void* const large = memory.Alloc(100000);
  const ZELStringAtom atom = atoms.NewStringAtom("text");
  const ZELErrorObject error = errors.NewError("message", "Part", 1, 0, 0);
  const ZELSharedBuff buffer = buffers.NewBuffer(24, 0, 0, 0, 0);
  const ZELInstance gone = NewInstance();
  ZELInstance stream = nullptr;
  errors.Release(streams.NewPositionableMemoryStream(&stream));
  memory.Free(block);
  memory.Free(large);
  atoms.DeleteStringAtom(atom);
  errors.Release(error);
  buffers.Release(buffer);
  containers.DeleteUnownedContainer(gone);
  containers.DeleteUnownedContainer(stream);

  const ZELStringAtom held = atoms.NewStringAtom("held");
  const ZELErrorObject heldError = errors.NewError("held", "Part", 2, 0, 0);
  const ZELSharedBuff heldBuffer = buffers.NewBuffer(24, 0, 0, 0, 0);
  const ZELInstance heldInstance = NewInstance();
  containers.AddRef(heldInstance);
  const std::string live = ToString(host.Live());

  std::uint32_t number = 0;
  char byte = 0;
  void* object = nullptr;
  ZELProc found = nullptr;
  ZELInstance made = nullptr;
  const auto lookup = Host::LookupProc();
  const auto add =
      host.Find<ZELRegisterProcAddress>("ZEL", "ZELRegisterProcAddress", "ZELRegisterProcAddress");
  const auto report = host.Find<ZELReportError>("ZEL", "ZELReportError", "ZELReportError");
  const auto withdraw =
      host.Find<ZELUnregisterInterface>("ZEL", "ZELUnregisterInterface", "ZELUnregisterInterface");
  const auto nothing = [] {};
  const struct {
    std::function<bool()> refused;  // whether the call answered as a failure does, where it answers
    const char* noted;
  } rows[] = {
      // clang-format off
      {[&] { memory.Free(block); return true; }, "Free of a block that is not live"},
      {[&] { memory.Free(large); return true; }, "Free of a block that is not live"},
      {[&] { memory.Free(&number); return true; }, "Free of a block that is not live"},
      {[&] { memory.Free(static_cast<char*>(heldBlocks[0]) + 16); return true; }, "Free of a block that is not live"},
      {[&] { memory.Free(static_cast<char*>(heldBlocks[1]) + 16); return true; }, "Free of a block that is not live"},
      {[&] { memory.Free(nullptr); return true; }, "Free of a block that is not live"},
      {[&] { return memory.Realloc(large, 8) == nullptr; }, "Realloc of a block that is not live"},
      {[&] { return memory.Realloc(nullptr, 8) == nullptr; }, "Realloc of a block that is not live"},
      {[&] { return memory.GetBlockSize(block) == 0; }, "GetBlockSize of a block that is not live"},
      {[&] { return memory.GetBlockSize(nullptr) == 0; }, "GetBlockSize of a block that is not live"},
      {[&] { return atoms.NewStringAtom(nullptr) == 0; }, "NewStringAtom of null"},
      {[&] { atoms.DeleteStringAtom(atom); return true; }, "DeleteStringAtom of an atom that nobody holds"},
      {[&] { atoms.DeleteStringAtom(0); return true; }, "DeleteStringAtom of the null atom"},
      {[&] { atoms.AddRef(atom); return true; }, "AddRef of an atom that nobody holds"},
      {[&] { return atoms.GetCString(atom) == nullptr; }, "GetCString of an atom that nobody holds"},
      {[&] { return atoms.GetCString(held + 1) == nullptr; }, "GetCString of an atom that nobody holds"},
      {[&] { return atoms.GetCString(0) == nullptr; }, "GetCString of the null atom"},
      {[&] { return Failed(errors.NewError(nullptr, "Part", 1, 0, 0)); }, "NewError of null"},
      {[&] { return Failed(errors.NewError("message", nullptr, 1, 0, 0)); }, "NewError of null"},
      {[&] { return Failed(errors.AddRef(error)); }, "AddRef of an error that no client holds"},
      {[&] { return Failed(errors.AddRef(nullptr)); }, "AddRef of null"},
      {[&] { errors.Release(error); return true; }, "Release of an error that no client holds"},
      {[&] { return errors.GetErrorMessage(error) == 0; }, "GetErrorMessage of an error that no client holds"},
      {[&] { return errors.GetComponent(nullptr) == 0; }, "GetComponent of null"},
      {[&] { return errors.GetID(error) == 0; }, "GetID of an error that no client holds"},
      {[&] { buffers.AddRef(buffer); return true; }, "AddRef of a shared buffer that is gone"},
      {[&] { buffers.Release(buffer); return true; }, "Release of a shared buffer that is gone"},
      {[&] { buffers.Release(nullptr); return true; }, "Release of null"},
      {[&] { return buffers.GetBuffer(buffer) == nullptr; }, "GetBuffer of a shared buffer that is gone"},
      {[&] { return buffers.GetSize(buffer) == 0; }, "GetSize of a shared buffer that is gone"},
      {[&] { return Failed(containers.NewFullContainer(nullptr, nullptr, held, nullptr, held, 0, 0, 0)); }, "NewFullContainer of no place for the result"},
      {[&] { return Failed(containers.NewFullContainer(&made, nullptr, atom, nullptr, held, 0, 0, 0)); }, "NewFullContainer of a name that is no atom"},
      {[&] { return containers.AddRef(gone) == 0; }, "AddRef of an instance of \"Kind\" that is gone"},
      {[&] { containers.Release(gone); return true; }, "Release of an instance of \"Kind\" that is gone"},
      {[&] { containers.DecrementWithoutDelete(gone); return true; }, "DecrementWithoutDelete of an instance of \"Kind\" that is gone"},
      {[&] { containers.DecrementWithoutDelete(nullptr); return true; }, "DecrementWithoutDelete of an instance that is null"},
      {[&] { containers.DeleteUnownedContainer(gone); return true; }, "DeleteUnownedContainer of an instance of \"Kind\" that is gone"},
      {[&] { containers.DeleteUnownedContainer(nullptr); return true; }, "DeleteUnownedContainer of an instance that is null"},
      {[&] { containers.DeleteUnownedContainer(heldInstance); return true; }, "DeleteUnownedContainer of an instance of \"Kind\" that is held"},
      {[&] { return Failed(containers.GetMethod(&found, gone, held, held, 0)); }, "GetMethod of an instance of \"Kind\" that is gone"},
      {[&] { return Failed(containers.GetMethod(&found, nullptr, held, held, 0)); }, "GetMethod of an instance that is null"},
      {[&] { return Failed(containers.GetMethod(&found, heldInstance, atom, held, 0)); }, "GetMethod of no result place, method or procedure type"},
      {[&] { return Failed(containers.NGetInstance(&object, gone, held)); }, "NGetInstance of an instance of \"Kind\" that is gone"},
      {[&] { return Failed(containers.NGetInstance(nullptr, heldInstance, held)); }, "NGetInstance of no result place or implementation"},
      {[&] { return Failed(streams.NewPositionableMemoryStream(nullptr)); }, "NewPositionableMemoryStream of no place for the result"},
      {[&] { return Failed(streams.NewPositionableFileStream(&made, nullptr, "rb")); }, "NewPositionableFileStream of null"},
      {[&] { return Failed(onStream.Read(stream, &number, &byte, 1)); }, "Read of an instance of \"ZELMemoryStream\" that is gone"},
      {[&] { return Failed(onStream.Seek(nullptr, 0, 0)); }, "Seek of an instance that is null"},
      {[&] { return lookup("ZEL", nullptr, "ZELReportError") == nullptr; }, "Lookup of null"},
      {[&] { return add("A", "M", "T", nullptr) == 0; }, "ZELRegisterProcAddress of null"},
      {[&] { report(nullptr); return host.TakeReports().size() == 1; }, "ZELReportError of null"},
      {[&] { return withdraw(nullptr) == 0; }, "ZELUnregisterInterface of null"},
      {[&] { containers.GetSignature(); return true; }, "a call of a procedure that this host does not support"},
      // clang-format on
  };
  std::vector<std::string> expected;
  for (const auto& row : rows) {
    EXPECT_TRUE(row.refused()) << row.noted;
    expected.emplace_back(row.noted);
    ASSERT_EQ(Misuses(), expected);
    ASSERT_EQ(ToString(host.Live()), live) << row.noted;
  }

  // A second host thread is refused everything, whatever it asks, and answered with a failure.
  std::thread([&] {
    EXPECT_EQ(memory.Alloc(8), nullptr);
    EXPECT_EQ(atoms.NewStringAtom("text"), 0u);
    EXPECT_NE(onStream.Seek(heldInstance, 0, 0), nullptr);
    EXPECT_NE(errors.AddRef(heldError), nullptr);
    EXPECT_EQ(errors.GetID(heldError), 0);
    EXPECT_EQ(buffers.GetSize(heldBuffer), 0u);
    EXPECT_EQ(containers.AddRef(heldInstance), 0);
    containers.Release(heldInstance);
    EXPECT_EQ(lookup("ZEL", "ZELReportError", "ZELReportError"), nullptr);
    add("A", "M", "T", nothing);
  }).join();
  for (const char* name :
       {"Alloc", "NewStringAtom", "Seek", "AddRef (error)", "GetID", "GetSize",
        "AddRef (container)", "Release (container)", "Lookup", "ZELRegisterProcAddress"}) {
    expected.push_back(name + std::string(" from a thread that the host does not belong to"));
  }
  EXPECT_EQ(Misuses(), expected);
  EXPECT_EQ(ToString(host.Live()), live);
  std::thread([&] {
    Host::MoveToThisThread();
    EXPECT_EQ(errors.GetID(heldError), 2);
  }).join();
  Host::MoveToThisThread();

  for (void* heldBlock : heldBlocks) memory.Free(heldBlock);
  EXPECT_STREQ(atoms.GetCString(held), "held");
  atoms.DeleteStringAtom(held);
  errors.Release(heldError);
  buffers.Release(heldBuffer);
  containers.Release(heldInstance);
  EXPECT_EQ(ToString(host.Live()), "nothing");
  EXPECT_EQ(Misuses(), expected);
}

// What is gone stays recognised while many others come and go.
TEST_P(HostMisuseTest, WhatIsGoneIsNotUsedAgainSoon) {
  const ZELInstance instance = NewInstance();
  const ZELErrorObject error = errors.NewError("message", "Part", 1, 0, 0);
  const ZELSharedBuff buffer = buffers.NewBuffer(24, 0, 0, 0, 0);
  const ZELStringAtom atom = atoms.NewStringAtom("the first");
  containers.DeleteUnownedContainer(instance);
  errors.Release(error);
  buffers.Release(buffer);
  atoms.DeleteStringAtom(atom);
  for (int i = 0; i < 60; ++i) {
    const ZELInstance other = NewInstance();
    const ZELErrorObject otherError = errors.NewError("other", "Part", 1, 0, 0);
    const ZELSharedBuff otherBuffer = buffers.NewBuffer(24, 0, 0, 0, 0);
    const ZELStringAtom otherAtom = atoms.NewStringAtom(("other " + std::to_string(i)).c_str());
    containers.Release(instance);
    errors.Release(error);
    buffers.Release(buffer);
    atoms.DeleteStringAtom(atom);
    EXPECT_EQ(Misuses().size(), std::size_t(4 * (i + 1)));
    containers.DeleteUnownedContainer(other);
    errors.Release(otherError);
    buffers.Release(otherBuffer);
    atoms.DeleteStringAtom(otherAtom);
  }
  EXPECT_EQ(ToString(host.Live()), "nothing");
}

// The library asks the host about an instance that is gone, and is told so.
TEST_P(HostMisuseTest, TheLibraryDoesNotReadWhatIsGone) {
  host.Start(zeltest::LibraryPath());
  const zeltest::Procedures zel(host);
  const ZELInstance number = zel.numbers.NewPOSNumber(1);
  containers.AddRef(number);
  containers.Release(number);
  if (host.Live().instances != 0) GTEST_FAIL();
  EXPECT_EQ(zel.numbers.Get(number), 0);
  EXPECT_FALSE(zel.objects.IsEqual(number, number));
  EXPECT_FALSE(host.TakeReports().empty());
  EXPECT_FALSE(Misuses().empty());
  host.SetLeakSink(nullptr);
  host.Stop();
}

}  // namespace
