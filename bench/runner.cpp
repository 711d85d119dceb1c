#include "runner.h"

#include <benchmark/benchmark.h>
#include <time.h>

#include <cstdio>
#include <string_view>

namespace zelbench {

namespace {

struct Registered {
  std::string name;
  CaseFactory make;
};

std::map<std::string, CaseFactory>& Cases() {
  static std::map<std::string, CaseFactory> cases;
  return cases;
}

// Google Benchmark calls a function several times until it knows how many iterations it needs. The
// case stays meanwhile: preparing it again would change the heap under the measurement.
std::unique_ptr<Case> preparedCase;
std::string preparedName;

// Processor time: what other processes do in between does not count.
double Now() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

void Measure(benchmark::State& state, const std::string& name) {
  try {
    Case& work = PrepareCase(name);
    for (auto _ : state) {
      work.Prepare();
      const double start = Now();
      work.Run();
      state.SetIterationTime(Now() - start);
      work.Finish();
    }
    state.counters["items"] = static_cast<double>(work.items);
    if (work.digits != 0) state.counters["digits"] = static_cast<double>(work.digits);
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

int RunOnce(const std::string& name) {
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

void AddCase(const std::string& name, CaseFactory factory, int iterations) {
  Cases()[name] = std::move(factory);
  auto* registered = benchmark::RegisterBenchmark(
      name.c_str(), [name](benchmark::State& state) { Measure(state, name); });
  registered->UseManualTime();
  if (iterations > 0) registered->Iterations(iterations);
}

void AddMeasurement(const std::string& name, const std::function<Counters()>& measure) {
  benchmark::RegisterBenchmark(name.c_str(), [measure](benchmark::State& state) {
    try {
      DropPreparedCase();
      Counters counters;
      for (auto _ : state) counters = measure();
      for (const auto& [counter, value] : counters) state.counters[counter] = value;
    } catch (const std::exception& error) {
      state.SkipWithError(error.what());
    }
  })->Iterations(1);
}

int Main(int argc, char** argv) {
  constexpr std::string_view kOnce = "--once=";
  if (argc == 2 && std::string_view(argv[1]).starts_with(kOnce)) {
    try {
      return RunOnce(std::string(argv[1] + kOnce.size()));
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 1;
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  DropPreparedCase();
  return 0;
}

}  // namespace zelbench

[[gnu::noinline]] void zelbench_measured(zelbench::Case* work) {
  work->Run();
  asm volatile("");  // keeps the call from becoming a jump that callgrind takes for the end
}
