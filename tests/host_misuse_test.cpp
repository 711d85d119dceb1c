// Misuse of the reference host: what is gone, null, held, or called from elsewhere is refused and
// noted by name, with memory from slabs as with a malloc for each block.
#include <thread>

#include "host_fixture.h"

namespace {

using zelhost::Host;

class HostMisuseTest : public zeltest::HostFixture {
 protected:
  // One of each thing that clients hold.
  struct Things {
    ZELInstance instance;
    ZELErrorObject error;
    ZELSharedBuff buffer;
    ZELStringAtom atom;
  };
  Things Make(const std::string& text) {
    return {NewInstance(&host, [](void*) {}), errors.NewError("message", "Part", 2, 0, 0),
            buffers.NewBuffer(24, 0, 0, 0, 0), atoms.NewStringAtom(text.c_str())};
  }
  void Release(const Things& things) {
    errors.Release(things.error);
    buffers.Release(things.buffer);
    atoms.DeleteStringAtom(things.atom);
  }
  // Calls a procedure, which fails as far as it has an answer, changes nothing and is noted.
  template <typename Result, typename... Parameters, typename... Arguments>
  void Refused(const std::string& note, Result (*procedure)(Parameters...),
               Arguments... arguments) {
    const std::string live = ToString(host.Live());
    if constexpr (std::is_void_v<Result>) {
      procedure(arguments...);
    } else if constexpr (std::is_same_v<Result, ZELErrorObject>) {
      const ZELErrorObject error = procedure(arguments...);
      EXPECT_NE(error, nullptr) << note;
      errors.Release(error);
    } else {
      EXPECT_EQ(procedure(arguments...), Result()) << note;
    }
    expected.emplace_back(note);
    EXPECT_EQ(Misuses(), expected);
    EXPECT_EQ(ToString(host.Live()), live) << note;
  }

  std::vector<std::string> expected;
};

ZELTEST_WITH_AND_WITHOUT_SLABS(HostMisuseTest);

TEST_P(HostMisuseTest, IsRefusedAndNotedByName) {
  // One of each thing is ended, and others are made, which must not suffer from what is done then.
  void* const heldBlocks[] = {memory.Alloc(100), memory.Alloc(200000)};
  void* const block = memory.Alloc(24);
  void* const large = memory.Alloc(100000);
  ZELInstance stream = nullptr;
  errors.Release(streams.NewPositionableMemoryStream(&stream));
  const Things dead = Make("text");
  memory.Free(block);
  memory.Free(large);
  Release(dead);
  End(dead.instance);
  End(stream);

  const Things held = Make("held");
  containers.AddRef(held.instance);
  const std::string live = ToString(host.Live());

  std::uint32_t number = 0;
  char byte = 0;
  void* object = nullptr;
  ZELProc found = nullptr;
  ZELInstance made = nullptr;
  const auto inside = [](void* start) { return static_cast<char*>(start) + 16; };
  void* const noBlocks[] = {block,  large, &number, inside(heldBlocks[0]), inside(heldBlocks[1]),
                            nullptr};
  for (void* none : noBlocks) Refused("Free of a block that is not live", memory.Free, none);
  for (void* none : {large, static_cast<void*>(nullptr)}) {
    Refused("Realloc of a block that is not live", memory.Realloc, none, 8u);
    Refused("GetBlockSize of a block that is not live", memory.GetBlockSize, none);
  }
  const std::string noAtom = " of an atom that nobody holds";
  const std::string noError = " of an error that no client holds";
  const std::string noBuffer = " of a shared buffer that is gone";
  const std::string gone = " of an instance of \"Kind\" that is gone";
  const std::string null = " of an instance that is null";
  Refused("NewStringAtom of null", atoms.NewStringAtom, nullptr);
  Refused("DeleteStringAtom" + noAtom, atoms.DeleteStringAtom, dead.atom);
  Refused("DeleteStringAtom of the null atom", atoms.DeleteStringAtom, 0u);
  Refused("AddRef" + noAtom, atoms.AddRef, dead.atom);
  for (const ZELStringAtom none : {dead.atom, held.atom + 1}) {
    Refused("GetCString" + noAtom, atoms.GetCString, none);
  }
  Refused("GetCString of the null atom", atoms.GetCString, 0u);
  Refused("NewError of null", errors.NewError, nullptr, "Part", 1, 0, 0);
  Refused("NewError of null", errors.NewError, "message", nullptr, 1, 0, 0);
  Refused("AddRef" + noError, errors.AddRef, dead.error);
  Refused("AddRef of null", errors.AddRef, nullptr);
  Refused("Release" + noError, errors.Release, dead.error);
  Refused("GetErrorMessage" + noError, errors.GetErrorMessage, dead.error);
  Refused("GetComponent" + noError, errors.GetComponent, dead.error);
  Refused("GetComponent of null", errors.GetComponent, nullptr);
  Refused("GetID" + noError, errors.GetID, dead.error);
  Refused("AddRef" + noBuffer, buffers.AddRef, dead.buffer);
  Refused("Release" + noBuffer, buffers.Release, dead.buffer);
  Refused("Release of null", buffers.Release, nullptr);
  Refused("GetBuffer" + noBuffer, buffers.GetBuffer, dead.buffer);
  Refused("GetSize" + noBuffer, buffers.GetSize, dead.buffer);
  const auto publish = containers.NewFullContainer;
  Refused("NewFullContainer of no place for the result", publish, nullptr, nullptr, held.atom,
          nullptr, held.atom, 0, 0, 0);
  Refused("NewFullContainer of a name that is no atom", publish, &made, nullptr, dead.atom, nullptr,
          held.atom, 0, 0, 0);
  Refused("AddRef" + gone, containers.AddRef, dead.instance);
  Refused("Release" + gone, containers.Release, dead.instance);
  Refused("DecrementWithoutDelete" + gone, containers.DecrementWithoutDelete, dead.instance);
  Refused("DecrementWithoutDelete" + null, containers.DecrementWithoutDelete, nullptr);
  const auto end = containers.DeleteUnownedContainer;
  Refused("DeleteUnownedContainer" + gone, end, dead.instance);
  Refused("DeleteUnownedContainer" + null, end, nullptr);
  Refused("DeleteUnownedContainer of an instance of \"Kind\" that is held", end, held.instance);
  const auto getMethod = containers.GetMethod;
  Refused("GetMethod" + gone, getMethod, &found, dead.instance, held.atom, held.atom, 0);
  Refused("GetMethod" + null, getMethod, &found, nullptr, held.atom, held.atom, 0);
  Refused("GetMethod of no result place, method or procedure type", getMethod, &found,
          held.instance, dead.atom, held.atom, 0);
  const auto getInstance = containers.NGetInstance;
  Refused("NGetInstance" + gone, getInstance, &object, dead.instance, held.atom);
  Refused("NGetInstance of no result place or implementation", getInstance, nullptr, held.instance,
          held.atom);
  Refused("NewPositionableMemoryStream of no place for the result",
          streams.NewPositionableMemoryStream, nullptr);
  Refused("NewPositionableFileStream of null", streams.NewPositionableFileStream, &made, nullptr,
          "rb");
  Refused("Read of an instance of \"ZELMemoryStream\" that is gone", onStream.Read, stream, &number,
          &byte, 1u);
  Refused("Seek" + null, onStream.Seek, nullptr, 0u, 0u);
  const ZELLookupProc lookup = Host::LookupProc();
  const ZELRegisterProcAddress add = binder.ZELRegisterProcAddress;
  Refused("Lookup of null", lookup, "ZEL", nullptr, "ZELReportError");
  Refused("ZELRegisterProcAddress of null", add, "A", "M", "T", nullptr);
  binder.ZELReportError(nullptr);
  EXPECT_EQ(host.TakeReports().size(), 1u);
  expected.emplace_back("ZELReportError of null");
  Refused("ZELUnregisterInterface of null", binder.ZELUnregisterInterface, nullptr);
  Refused("a call of a procedure that this host does not support", containers.GetSignature);
  if (HasFailure()) return;

  // A second host thread is refused everything, whatever it asks, and answered with a failure.
  std::thread([&] {
    EXPECT_EQ(memory.Alloc(8), nullptr);
    EXPECT_EQ(atoms.NewStringAtom("text"), 0u);
    EXPECT_NE(onStream.Seek(held.instance, 0, 0), nullptr);
    EXPECT_NE(errors.AddRef(held.error), nullptr);
    EXPECT_EQ(errors.GetID(held.error), 0);
    EXPECT_EQ(buffers.GetSize(held.buffer), 0u);
    EXPECT_EQ(containers.AddRef(held.instance), 0);
    containers.Release(held.instance);
    EXPECT_EQ(lookup("ZEL", "ZELReportError", "ZELReportError"), nullptr);
    add("A", "M", "T", [] {});
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
    EXPECT_EQ(errors.GetID(held.error), 2);
  }).join();
  Host::MoveToThisThread();

  for (void* heldBlock : heldBlocks) memory.Free(heldBlock);
  EXPECT_STREQ(atoms.GetCString(held.atom), "held");
  Release(held);
  containers.Release(held.instance);
  EXPECT_EQ(ToString(host.Live()), "nothing");
  EXPECT_EQ(Misuses(), expected);
}

// Things that are gone stay recognised while many others come and go.
TEST_P(HostMisuseTest, WhatIsGoneIsNotUsedAgainSoon) {
  const Things first = Make("the first");
  End(first.instance);
  Release(first);
  for (int i = 0; i < 60; ++i) {
    const Things other = Make("other " + std::to_string(i));
    containers.Release(first.instance);
    Release(first);
    EXPECT_EQ(Misuses().size(), std::size_t(4 * (i + 1)));
    End(other.instance);
    Release(other);
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
