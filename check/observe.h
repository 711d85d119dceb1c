// Traces, tables and faults: done with every call besides looking for breaches.
#pragma once

#include "call.h"

namespace zelcheck {

// Whether the settings ask for any of it, and what they ask for made ready; at each start.
void BeginObserving();
// Writes what is collected; after each stop.
void EndObserving();

void ObserveBegin(Call& call);
void ObserveEnd(const Call& call);
// The lines of calls that still run; before an abort.
void FlushTrace();

// Whether a call of the host shall be made to fail, by the seed and the rate of the settings.
bool ShallFail(const Call& call);

}  // namespace zelcheck
