// The cases of a program, and one run of one of them for callgrind.
#include <cstdio>
#include <string_view>

#include "runner.h"

namespace zelbench {

namespace {

std::map<std::string, CaseFactory>& Cases() {
  static std::map<std::string, CaseFactory> cases;
  return cases;
}

// Google Benchmark calls a function several times until it knows how many iterations it needs. The
// case stays meanwhile: preparing it again would change the heap under the measurement.
std::unique_ptr<Case> preparedCase;
std::string preparedName;

int Run(const std::string& name) {
  if (!Cases().contains(name)) {
    std::fprintf(stderr, "no case is named %s\n", name.c_str());
    return 2;
  }
  Case& work = PrepareCase(name);
  work.Prepare();
  zelbench_measured(&work);
  work.Finish();
  const std::size_t items = work.items;
  DropPreparedCase();
  std::printf("%zu\n", items);
  return 0;
}

}  // namespace

void DropPreparedCase() { preparedCase.reset(); }

Case& PrepareCase(const std::string& name) {
  if (preparedCase == nullptr || preparedName != name) {
    DropPreparedCase();
    preparedCase = Cases().at(name)();
    preparedName = name;
    preparedCase->Prepare();
    preparedCase->Run();
    preparedCase->Finish();
  }
  return *preparedCase;
}

void RegisterCase(const std::string& name, CaseFactory factory) {
  Cases()[name] = std::move(factory);
}

std::optional<int> RunOnce(int argc, char** argv) {
  constexpr std::string_view kOnce = "--once=";
  if (argc != 2 || !std::string_view(argv[1]).starts_with(kOnce)) return std::nullopt;
  try {
    return Run(std::string(argv[1] + kOnce.size()));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}

}  // namespace zelbench

[[gnu::noinline]] void zelbench_measured(zelbench::Case* work) {
  work->Run();
  asm volatile("");  // keeps the call from becoming a jump that callgrind takes for the end
}
