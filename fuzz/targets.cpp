#include "targets.h"

namespace zelfuzz {

std::uint64_t (*g_dictionaryWork)() = nullptr;

const Target& FindTarget(const std::string& name) {
  for (const Target& target : kTargets) {
    if (name == target.name) return target;
  }
  throw std::out_of_range("no target " + name);
}

void Run(const Target& target, Session& session, Bytes input) {
  const zelhost::Counts before = session.host.Live();
  target.run(session, input);
  const zelhost::Counts after = session.host.Live();
  if (after != before) {
    // Anything that the library keeps until it stops, it keeps once.
    target.run(session, input);
    Expect(session.host.Live() == after,
           "held: " + ToString(session.host.Live()) + "; before: " + ToString(after));
  }
  session.host.TakeReports();
}

}  // namespace zelfuzz
