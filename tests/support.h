// What the tests through the boundary share: a started library with its procedures, a check after
// each test that the host has everything back, a folder for files.
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

#include "folder.h"
#include "library_path.h"
#include "procedures.h"

namespace zeltest {

#if defined(_WIN32)
inline constexpr bool kIsWindows = true;
#else
inline constexpr bool kIsWindows = false;
#endif

inline std::string Repeat(std::size_t count, const std::string& text) {
  std::string repeated;
  while (count-- > 0) repeated += text;
  return repeated;
}

// The messages that a procedure has handed to Collect since they were cleared.
inline std::vector<std::string> g_messages;
inline void Collect(const char* message) { g_messages.emplace_back(message); }

// Runs a test's body on a thread with a stack of 1 MiB, to which a host moves for that time.
inline void RunOnSmallStack(const std::function<void()>& test) {
  const std::function<void()> body = [&test] {
    zelhost::Host::MoveToThisThread();
    test();
  };
  constexpr std::size_t kStackSize = 1 << 20;
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
  const auto run = [](void* function) -> void* {
    (*static_cast<const std::function<void()>*>(function))();
    return nullptr;
  };
  pthread_create(&thread, &attributes, run, argument);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
#endif
  zelhost::Host::MoveToThisThread();
}

struct StartedHost : zelhost::Host {
  StartedHost() { Start(zeltest::LibraryPath()); }
};

struct HostHolder {
  StartedHost host;
};

class LibraryTest : public ::testing::Test, protected HostHolder, protected Procedures {
 protected:
  LibraryTest() : Procedures(host) {}
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
    kept_.push_back(instance);
    return instance;
  }
  ZELInstance Parse(const std::string& text) {
    return Keep(statics.CreateFromText(text.c_str(), nullptr));
  }
  ZELInstance NewNumber(double number) { return Keep(numbers.NewPOSNumber(number)); }
  ZELInstance NewString(const std::string& text) {
    return Keep(strings.NewPOSString(text.c_str()));
  }
  ZELStringAtom Atom(const std::string& text) {
    keptAtoms_.push_back(atoms.NewStringAtom(text.c_str()));
    return keptAtoms_.back();
  }
  void GiveBack() {
    for (ZELInstance instance : std::exchange(kept_, {})) containers.Release(instance);
    for (ZELStringAtom atom : std::exchange(keptAtoms_, {})) atoms.DeleteStringAtom(atom);
  }

  // What was reported since the last call, which must be just this.
  void ExpectReports(const std::vector<std::string>& reports) {
    EXPECT_EQ(host.TakeReports(), reports);
  }
  // Calls a procedure that has to fail: it gives nothing and makes this report.
  template <typename Result, typename... Parameters, typename... Arguments>
  void ExpectFailure(const char* report, Result (*procedure)(Parameters...),
                     Arguments... arguments) {
    if constexpr (std::is_void_v<Result>) {
      procedure(arguments...);
    } else {
      EXPECT_EQ(procedure(arguments...), Result());
    }
    ExpectReports({report});
  }

 private:
  std::vector<ZELInstance> kept_;
  std::vector<ZELStringAtom> keptAtoms_;
};

}  // namespace zeltest
