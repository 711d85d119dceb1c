// The subsystems together: no other place knows all of them.
#include "fileutils/subsystem.h"
#include "frame/link/subsystem.h"
#include "pos/subsystem.h"
#include "streamer/subsystem.h"
#include "validator/subsystem.h"

namespace ZEL_T_NMT {

namespace {

constexpr const Subsystem* kAll[] = {
    &NPOSObjectImpl::kSubsystem,
    &NPOSStreamerImpl::kSubsystem,
    &NPOSValidatorImpl::kSubsystem,
    &NFileUtilsImpl::kSubsystem,
};

}  // namespace

constinit const std::span<const Subsystem* const> kSubsystems = kAll;

}  // namespace ZEL_T_NMT
