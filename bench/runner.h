// The cases that are measured, and the main program around them. A program holds the cases of one
// library; the driver (run.py) starts it anew for each case and round.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace zelbench {

// A piece of work, prepared when it is made. Only Run is measured.
class Case {
 public:
  Case() = default;
  Case(const Case&) = delete;
  Case& operator=(const Case&) = delete;
  virtual ~Case() = default;

  // Makes what the next Run uses up.
  virtual void Prepare() {}
  virtual void Run() = 0;
  // Takes back what Run has made.
  virtual void Finish() {}

  // The figures are per item; `digits` are those that one run writes, 0 where nobody asks.
  std::size_t items = 1;
  std::size_t digits = 0;
};

using CaseFactory = std::function<std::unique_ptr<Case>()>;
using Counters = std::map<std::string, double>;

// Adds a case under a name such as "parse/catalog/zel". The factory throws when the case cannot be
// prepared, or when a first try of the work gives a wrong result. A case whose Prepare takes long
// beside its Run has a fixed number of iterations; 0: as many as fill the time.
void AddCase(const std::string& name, CaseFactory factory, int iterations = 0);

// Adds what is counted once and not timed, such as bytes.
void AddMeasurement(const std::string& name, const std::function<Counters()>& measure);

// Makes a case, if it is not the one made last, and runs it once.
Case& PrepareCase(const std::string& name);

// Ends the case that was measured last and with it its host, of which there is one in a process.
void DropPreparedCase();

// Keeps a case under its name, for RunOnce and PrepareCase.
void RegisterCase(const std::string& name, CaseFactory factory);

// Runs what "--once=NAME" asks for and returns the exit status; nothing without that argument.
std::optional<int> RunOnce(int argc, char** argv);

// Takes the arguments of Google Benchmark; with "--once=NAME" runs a case twice, the second time
// inside of the function zelbench_measured, for callgrind to count the instructions of.
int Main(int argc, char** argv);

inline void Require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

}  // namespace zelbench

// The second run of "--once".
extern "C" void zelbench_measured(zelbench::Case* work);
