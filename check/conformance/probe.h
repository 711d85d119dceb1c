// Means of the tests of a host: its procedures as it registers them, and the answer of a
// test.
#pragma once

#include <span>
#include <string>

#include "zelutils/table.hpp"

namespace zelcheck {

// The answer of one test of a host.
struct Verdict {
  enum class Kind : std::uint8_t { kPassed, kFailed, kUndecided };
  Kind kind = Kind::kPassed;
  std::string reason;
};
inline Verdict Failed(std::string reason) { return {Verdict::Kind::kFailed, std::move(reason)}; }
inline Verdict Undecided(std::string reason) {
  return {Verdict::Kind::kUndecided, std::move(reason)};
}
// Passed when `holds` is true.
inline Verdict Expect(bool holds, const char* reason) { return holds ? Verdict() : Failed(reason); }

// The host under test. The tables are complete when the tests that use them run.
struct Probe {
  explicit Probe(ZELLookupProc lookupOfHost) : lookup(lookupOfHost) {}

  ZELLookupProc lookup;
  zelutils::Table<zelutils::BinderInterface> binder;
  zelutils::Table<zelutils::MemoryInterface> memory;
  zelutils::Table<zelutils::AtomInterface> atoms;
  zelutils::Table<zelutils::ErrorInterface> errors;
  zelutils::Table<zelutils::ContainerInterface> containers;
  zelutils::Table<zelutils::SharedBuffInterface> buffers;
  zelutils::Table<zelutils::StreamFactoryInterface> streams;

  // Gives an error object back; whether there was one.
  bool Failed(ZELErrorObject error) const {
    if (error == nullptr) return false;
    errors.Release(error);
    return true;
  }
};

// One rule of the contract with the host. A test runs when all procedures that it needs are there,
// and gives back all that it takes.
struct HostTest {
  const char* id;
  const char* consequence;  // what the library does in a host that fails it
  Verdict (*run)(const Probe& host);
};

// In the order in which they run.
std::span<const HostTest> BinderTests();
std::span<const HostTest> MemoryTests();
std::span<const HostTest> AtomTests();
std::span<const HostTest> ErrorTests();
std::span<const HostTest> ContainerTests();
std::span<const HostTest> BufferTests();
std::span<const HostTest> StreamTests();

// Runs all tests and prints a table of them. Returns how many have failed.
std::size_t TestHost(ZELLookupProc lookup);

}  // namespace zelcheck
