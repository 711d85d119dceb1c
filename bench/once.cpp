// The main program without Google Benchmark, for platforms that have no package of it: it runs
// cases for callgrind and times nothing.
#include "zel.h"

namespace zelbench {

void AddCase(const std::string& name, CaseFactory factory, int) {
  RegisterCase(name, std::move(factory));
}

void AddMeasurement(const std::string&, const std::function<Counters()>&) {}

void AddCallCases() {}

int Main(int argc, char** argv) { return RunOnce(argc, argv).value_or(2); }

}  // namespace zelbench
