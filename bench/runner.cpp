// The main program over Google Benchmark.
#include "runner.h"

#include <benchmark/benchmark.h>
#include <time.h>

namespace zelbench {

namespace {

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

}  // namespace

void AddCase(const std::string& name, CaseFactory factory, int iterations) {
  RegisterCase(name, std::move(factory));
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
  if (const auto status = RunOnce(argc, argv)) return *status;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  DropPreparedCase();
  return 0;
}

}  // namespace zelbench
