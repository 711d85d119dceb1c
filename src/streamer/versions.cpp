// The versions of the stream's text by their names.
#include <algorithm>
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

#define ZEL_VERSION_NAME(name) name,
constexpr std::string_view kNames[] = {POS_STREAMER_VERSIONS(ZEL_VERSION_NAME)};
#undef ZEL_VERSION_NAME
static_assert(
    std::equal(std::begin(kVersions), std::end(kVersions), std::begin(kNames), std::end(kNames),
               [](const Version& row, std::string_view name) { return row.name == name; }),
    "a row for each name, in their order");
// A new version is named as the default in the change that appends it.
static_assert(std::rbegin(kVersions)->name == POS_STREAMER_DEFAULT_VERSION);

}  // namespace

std::unique_ptr<StreamerBase> StreamerBase::LookupStreamer(std::string_view name) {
  for (const Version& version : kVersions) {
    if (version.name == name) return version.make();
  }
  ZEL_T_NMT::RaisePOSException("StreamerBase::LookupStreamer unrecognized version");
}

}  // namespace NPOSStreamerImpl
