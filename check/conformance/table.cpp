// Runs the tests of a host, and prints what came of them.
#include <array>
#include <string_view>

#include "conformance/probe.h"
#include "findings.h"

namespace zelcheck {
namespace {

struct Tally {
  std::size_t passed = 0, failed = 0, undecided = 0;
};

void PrintRow(const Verdict& verdict, const char* consequence, Tally& tally) {
  using Kind = Verdict::Kind;
  constexpr std::array<const char*, 3> kWords = {"passed", "FAILED", "not decidable"};
  std::string line = std::string(kWords[static_cast<std::size_t>(verdict.kind)]);
  if (!verdict.reason.empty()) line += ": " + verdict.reason;
  if (verdict.kind == Kind::kFailed) line += "; " + std::string(consequence);
  Print(line + "\n");
  tally.passed += verdict.kind == Kind::kPassed ? 1U : 0U;
  tally.failed += verdict.kind == Kind::kFailed ? 1U : 0U;
  tally.undecided += verdict.kind == Kind::kUndecided ? 1U : 0U;
}

// The name goes out first: a host that does not survive a test shows which one it was.
void PrintName(const char* id) {
  constexpr std::size_t kWidth = 34;
  std::string name = "  " + std::string(id) + " ";
  while (name.size() < kWidth) name += '.';
  Print(name + " ");
}

// Imports a table; the verdict names what is missing.
template <typename Interface>
Verdict Import(const Probe& host, zelutils::Table<Interface>& table) {
  const zelutils::Method* const missing = table.Import(host.lookup);
  if (missing == nullptr) return Verdict();
  return Failed(std::string("there is no (\"") + Interface::kName + "\", \"" + missing->name +
                "\", \"" + missing->procType + "\")");
}

bool ImportAll(Probe& host, Tally& tally) {
  constexpr const char* kNoStart = "the library does not start";
  constexpr const char* kLater = "what needs it fails at its first use";
  const std::size_t before = tally.failed;
  const auto import = [&](const char* id, auto& table, const char* consequence) {
    PrintName(id);
    PrintRow(Import(host, table), consequence, tally);
  };
  import("procedures-of-binder", host.binder, kNoStart);
  import("procedures-of-memory", host.memory, kNoStart);
  import("procedures-of-atoms", host.atoms, kNoStart);
  import("procedures-of-errors", host.errors, kNoStart);
  import("procedures-of-containers", host.containers, kNoStart);
  import("procedures-of-buffers", host.buffers, kLater);
  import("procedures-of-streams", host.streams, kLater);
  return tally.failed == before;
}

}  // namespace

std::size_t TestHost(ZELLookupProc lookup) {
  Print("zelutils-check: tests of the host\n");
  if (lookup == nullptr) {
    Print("  there is no lookup procedure\n");
    return 1;
  }
  Probe host(lookup);
  Tally tally;
  if (ImportAll(host, tally)) {
    for (const auto tests : {BinderTests(), MemoryTests(), AtomTests(), ErrorTests(),
                             ContainerTests(), BufferTests(), StreamTests()}) {
      for (const HostTest& test : tests) {
        PrintName(test.id);
        PrintRow(test.run(host), test.consequence, tally);
      }
    }
  } else {
    Print("  the other tests need all procedures\n");
  }
  Print("  " + std::to_string(tally.passed) + " passed, " + std::to_string(tally.failed) +
        " failed, " + std::to_string(tally.undecided) + " not decidable\n");
  return tally.failed;
}

}  // namespace zelcheck
