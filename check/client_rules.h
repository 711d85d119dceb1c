// Demands on a client's call, and its traces in the ledger.
#pragma once

#include "call.h"

namespace zelcheck {

// Before a client's call: thread, phase and each argument.
void CheckClientCall(const Call& call);
// After any call: handles, atoms and errors that it has handed over.
void NoteResult(Call& call);
// A call while another one runs on another thread. Looks at nothing that the other may be changing.
void TellConcurrent(const Call& call);
void ForgetConcurrent();

// At the end of the library: what clients still hold.
void TellLeaks();

}  // namespace zelcheck
