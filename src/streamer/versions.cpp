// The versions of the stream's text by their names.
#include <iterator>

#include "streamer/streamer_base.h"
#include "streamer/version10.h"

namespace NPOSStreamerImpl {
namespace {

struct Version {
  std::string_view name;
  std::unique_ptr<StreamerBase> (*make)();
};

template <typename Streamer>
constexpr Version kRow = {Streamer::kFormat.name,
                          [] { return std::unique_ptr<StreamerBase>(new Streamer); }};

// A name is looked up from the first to the last.
constexpr Version kVersions[] = {
    kRow<NTypeAImpl::Version10>,
};

// The last version is the default: a new one is appended, and named as the default in the same
// change.
static_assert(kVersions[std::size(kVersions) - 1].name == POS_STREAMER_DEFAULT_VERSION);

}  // namespace

std::unique_ptr<StreamerBase> StreamerBase::LookupStreamer(std::string_view name) {
  for (const Version& version : kVersions) {
    if (version.name == name) return version.make();
  }
  ZEL_T_NMT::RaisePOSException("StreamerBase::LookupStreamer unrecognized version");
}

}  // namespace NPOSStreamerImpl
