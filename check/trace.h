// Traces of calls, as text or as trace events.
#pragma once

#include "observe.h"

namespace zelcheck {

void OpenTrace();
void CloseTrace();
void TraceBegin(Call& call);
void TraceEnd(const Call& call, std::uint64_t duration);

}  // namespace zelcheck
