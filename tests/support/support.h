// Common parts of the tests through the boundary: a started library with its procedures, a check
// after each test that the host has everything back, a folder for files, and what most of them use
// of the standard library.
#pragma once

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <pthread.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
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

// Whether this process has loaded a library.
inline bool IsLoaded(const std::string& path) {
#if defined(_WIN32)
  return GetModuleHandleA(path.c_str()) != nullptr;
#else
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) dlclose(library);
  return library != nullptr;
#endif
}

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

// The procedures of a started library, and what has been made with them until it is given back.
class Library : public Procedures {
 public:
  explicit Library(zelhost::Host& started) : Procedures(started) {}
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { GiveBack(); }

  // Takes a reference that is given back in the end.
  ZELInstance Keep(ZELInstance instance) {
    EXPECT_NE(containers.AddRef(instance), 0);
    return kept_.emplace_back(instance);
  }
  ZELInstance Parse(const std::string& text) {
    return Keep(statics.CreateFromText(text.c_str(), nullptr));
  }
  ZELInstance NewNumber(double number) { return Keep(numbers.NewPOSNumber(number)); }
  ZELInstance NewString(const std::string& text) {
    return Keep(strings.NewPOSString(text.c_str()));
  }
  ZELInstance NewBinData(const char* type, const std::string& bytes) {
    return Keep(
        binData.NewPOSBinData(type, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
  }
  ZELStringAtom KeepAtom(ZELStringAtom atom) { return keptAtoms_.emplace_back(atom); }
  ZELStringAtom Atom(const std::string& text) {
    return KeepAtom(atoms.NewStringAtom(text.c_str()));
  }
  // A stream in memory that stands before these bytes.
  ZELInstance NewStream(const std::string& bytes) {
    ZELInstance stream = nullptr;
    EXPECT_EQ(streams.NewPositionableMemoryStream(&stream), nullptr);
    onStream.Write(stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    onStream.Rewind(stream);
    return Keep(stream);
  }
  // All that is in a stream, which stands behind it then.
  std::string Contents(ZELInstance stream) {
    std::string bytes(std::size_t{1} << 20, ' ');
    std::uint32_t count = 0;
    onStream.Rewind(stream);
    onStream.Read(stream, &count, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    return bytes.substr(0, count);
  }
  void GiveBack() {
    for (ZELInstance instance : std::exchange(kept_, {})) containers.Release(instance);
    for (ZELStringAtom atom : std::exchange(keptAtoms_, {})) atoms.DeleteStringAtom(atom);
  }

 private:
  std::vector<ZELInstance> kept_;
  std::vector<ZELStringAtom> keptAtoms_;
};

class LibraryTest : public ::testing::Test, protected HostHolder, protected Library {
 protected:
  LibraryTest() : Library(host) {}
  void TearDown() override {
    GiveBack();
    EXPECT_EQ(host.Reports(), std::vector<std::string>()) << "not expected";
    host.Stop();
    EXPECT_EQ(ToString(host.Live()), "nothing");
    EXPECT_TRUE(host.Leaks().empty());
  }

  // The reports since the last call, which must be just these.
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
};

}  // namespace zeltest
