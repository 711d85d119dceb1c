// Members of composites, cloned and compared.
//
// It is the member's own procedures that do this. If these are the library's, as they mostly
// are, the object is reached directly, with the results and reports that the procedure would give.
#pragma once

#include "frame/core/container_reference.h"
#include "pos/base_object.h"

namespace NPOSObjectImpl {

// Depths of the running clone and of the running comparison, counted by NestingLevel: a level may
// go through a member's own procedure.
extern constinit std::uint32_t g_cloneDepth;
extern constinit std::uint32_t g_equalDepth;

// Raises "CPOSObject::Clone failed" where the member's procedure fails, which has then reported
// why.
ZEL_T_NMT::ContainerReference CloneMember(ZELInstance member);

// Compares two members by the first one's procedure; a failure is reported there and means unequal.
bool MembersAreEqual(ZELInstance left, ZELInstance right);

}  // namespace NPOSObjectImpl
