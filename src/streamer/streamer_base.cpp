#include "streamer/streamer_base.h"

#include <iterator>

#include "streamer/version10.h"

namespace NPOSStreamerImpl {
namespace {

using Factory = std::unique_ptr<StreamerBase> (*)();

template <typename Version>
std::unique_ptr<StreamerBase> Make() {
  return std::unique_ptr<StreamerBase>(new Version);
}

// A name is looked up from the first to the last; the last is the default.
constexpr Factory kVersions[] = {
    &Make<NTypeAImpl::Version10>,
};

}  // namespace

std::unique_ptr<StreamerBase> StreamerBase::LookupStreamer(std::string_view name) {
  for (const Factory make : kVersions) {
    std::unique_ptr<StreamerBase> streamer = make();
    if (name == streamer->VersionName()) return streamer;
  }
  ZEL_T_NMT::RaisePOSException("StreamerBase::LookupStreamer unrecognized version");
}

const char* StreamerBase::DefaultVersionName() {
  return kVersions[std::size(kVersions) - 1]()->VersionName();
}

}  // namespace NPOSStreamerImpl
