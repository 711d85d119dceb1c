// Lessons of the layer from single calls, by the row that they are of: functions for `before` and
// `after` in its table.
#pragma once

#include "call.h"

namespace zelcheck::watch {

// Binder.
void Registered(Call& call);
void Reported(Call& call);
void Withdraws(Call& call);
void Withdrawn(Call& call);
void CounterAddress(Call& call);
// Memory.
void BlockMade(Call& call);
void BlockMoves(Call& call);
void BlockMoved(Call& call);
void BlockEnds(Call& call);
// Atoms.
void AtomMade(Call& call);
void AtomReferenced(Call& call);
void AtomEnds(Call& call);
void AtomText(Call& call);
// Errors.
void ErrorMade(Call& call);
void ErrorReferenced(Call& call);
void ErrorEnds(Call& call);
void ErrorAtom(Call& call);
void ErrorId(Call& call);
// Containers.
void InstanceMade(Call& call);
void InstanceReferenced(Call& call);
void ReferenceEnds(Call& call);
void ReferenceEnded(Call& call);
void InstanceDeleted(Call& call);
void InstanceGone(Call& call);
void MethodFound(Call& call);
void ObjectFound(Call& call);
void Offset(Call& call);
// Shared buffers.
void BufferMade(Call& call);
void BufferReferenced(Call& call);
void BufferEnds(Call& call);
void BufferAddress(Call& call);
void BufferSize(Call& call);
// Streams.
void StreamMade(Call& call);
void StreamRead(Call& call);
void StreamMarked(Call& call);
void StreamSought(Call& call);
// Callbacks.
void ObjectDestroyed(Call& call);
// Of the library.
void Changes(Call& call);
void MemberPut(Call& call);
void MemberAppended(Call& call);
void MemberSet(Call& call);
void SchemaTaken(Call& call);

}  // namespace zelcheck::watch
