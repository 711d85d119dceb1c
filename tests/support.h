// What the tests through the boundary share: a started library, its procedures by interface and
// method, and a check after each test that the host has everything back.
#pragma once

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "zelhost/host.h"

namespace zeltest {

// One struct of typed procedures for each interface, from the method lists of the public headers.
#define ZELTEST_FIELD(method, procType) procType method = nullptr;
#define ZELTEST_FIND(method, procType) \
  found.method = host.Find<procType>(Found::kName, #method, #procType);
#define ZELTEST_INTERFACE(Name, interfaceName, METHODS) \
  struct Name {                                         \
    static constexpr const char* kName = interfaceName; \
    METHODS(ZELTEST_FIELD)                              \
    static Name From(const zelhost::Host& host) {       \
      using Found = Name;                               \
      Name found;                                       \
      METHODS(ZELTEST_FIND)                             \
      return found;                                     \
    }                                                   \
  }

ZELTEST_INTERFACE(Containers, ZEL_CONTAINER_INTERFACE, ZEL_CONTAINER_METHODS);
ZELTEST_INTERFACE(Atoms, ZEL_STRING_INTERFACE, ZEL_STRING_METHODS);
ZELTEST_INTERFACE(StreamFactory, ZEL_STREAM_FACTORY_INTERFACE, ZEL_STREAM_FACTORY_METHODS);
ZELTEST_INTERFACE(Objects, POS_OBJECT_INTERFACE, POS_OBJECT_METHODS);
ZELTEST_INTERFACE(Statics, POS_OBJECT_STATICS, POS_OBJECT_STATICS_METHODS);
ZELTEST_INTERFACE(Numbers, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS);
ZELTEST_INTERFACE(Strings, POS_STRING_INTERFACE, POS_STRING_METHODS);
ZELTEST_INTERFACE(UnicodeStrings, POS_UNICODE_STRING_INTERFACE, POS_UNICODE_STRING_METHODS);
ZELTEST_INTERFACE(BinDatas, POS_BIN_DATA_INTERFACE, POS_BIN_DATA_METHODS);
ZELTEST_INTERFACE(RawPointers, POS_RAW_POINTER_INTERFACE, POS_RAW_POINTER_METHODS);
ZELTEST_INTERFACE(Arrays, POS_ARRAY_INTERFACE, POS_ARRAY_METHODS);
ZELTEST_INTERFACE(Dicts, POS_DICT_INTERFACE, POS_DICT_METHODS);
ZELTEST_INTERFACE(DictIterators, POS_DICT_ITERATOR_INTERFACE, POS_DICT_ITERATOR_METHODS);

// Runs a test's body on a thread with a stack of 1 MiB.
inline void RunOnSmallStack(const std::function<void()>& body) {
  constexpr size_t kStackSize = 1 << 20;
  void* argument = const_cast<void*>(static_cast<const void*>(&body));
#if defined(_WIN32)
  // No lambda: its calling convention would be the default one.
  struct Thread {
    static DWORD WINAPI Run(void* run) {
      (*static_cast<const std::function<void()>*>(run))();
      return 0;
    }
  };
  const HANDLE thread = CreateThread(nullptr, kStackSize, &Thread::Run, argument,
                                     STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
#else
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackSize);
  pthread_t thread;
  pthread_create(
      &thread, &attributes,
      [](void* run) -> void* {
        (*static_cast<const std::function<void()>*>(run))();
        return nullptr;
      },
      argument);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
#endif
}

struct StartedHost : zelhost::Host {
  StartedHost() { Start(ZEL_LIBRARY_PATH); }
};

class LibraryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    GiveBack();
    EXPECT_EQ(host.Reports(), std::vector<std::string>()) << "not expected";
    host.Stop();
    EXPECT_EQ(ToString(host.Live()), "nothing");
    EXPECT_TRUE(host.Leaks().empty());
  }

  // Takes a reference that the test gives back at its end.
  ZELInstance Keep(ZELInstance instance) {
    EXPECT_NE(containers.AddRef(instance), 0);
    kept.instances.push_back(instance);
    return instance;
  }

  ZELInstance Parse(const std::string& text) {
    return Keep(statics.CreateFromText(text.c_str(), nullptr));
  }

  ZELStringAtom Atom(const char* text) {
    kept.atoms.push_back(atoms.NewStringAtom(text));
    return kept.atoms.back();
  }

  // What was reported since the last call, which must be just this.
  void ExpectReports(const std::vector<std::string>& reports) {
    EXPECT_EQ(host.TakeReports(), reports);
  }

  StartedHost host;
  Containers containers = Containers::From(host);
  Atoms atoms = Atoms::From(host);
  StreamFactory streams = StreamFactory::From(host);
  Objects objects = Objects::From(host);
  Statics statics = Statics::From(host);
  Numbers numbers = Numbers::From(host);
  Strings strings = Strings::From(host);
  UnicodeStrings unicodeStrings = UnicodeStrings::From(host);
  BinDatas binData = BinDatas::From(host);
  RawPointers rawPointers = RawPointers::From(host);
  Arrays arrays = Arrays::From(host);
  Dicts dicts = Dicts::From(host);
  DictIterators iterators = DictIterators::From(host);

 private:
  // Given back before the host stops in TearDown.
  struct Kept {
    std::vector<ZELInstance> instances;
    std::vector<ZELStringAtom> atoms;
  } kept;

 protected:
  void GiveBack() {
    for (ZELInstance instance : std::exchange(kept.instances, {})) containers.Release(instance);
    for (ZELStringAtom atom : std::exchange(kept.atoms, {})) atoms.DeleteStringAtom(atom);
  }
};

}  // namespace zeltest
