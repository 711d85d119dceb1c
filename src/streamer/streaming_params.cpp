#include "streamer/streaming_params.h"

namespace NPOSStreamerImpl::NTypeAImpl {
namespace {

constexpr EscapePair kNoEscapes[] = {{'\\', '\\'}, {0, 0}};
constexpr EscapePair kSpaceEscapes[] = {{'\\', '\\'}, {' ', ' '}, {0, 0}};
constexpr EscapePair kStringEscapes[] = {{'\\', '\\'}, {'"', '"'},  {'\n', 'n'},
                                         {'\r', 'r'},  {'\t', 't'}, {0, 0}};
constexpr EscapePair kUnicodeStringEscapes[] = {{'\\', '\\'}, {'`', '`'}, {0, 0}};
constexpr EscapePair kBinDataEscapes[] = {{'\\', '\\'}, {'}', '}'}, {0, 0}};
constexpr EscapePair kArrayEscapes[] = {{'\\', '\\'}, {']', ']'}, {0, 0}};
constexpr EscapePair kDictEscapes[] = {{'\\', '\\'}, {'>', '>'}, {0, 0}};

}  // namespace

constexpr StreamingParams kTopLevelParams{0, 0, kNoEscapes, true};
constexpr StreamingParams kNumberParams{'#', ' ', kSpaceEscapes, true};
constexpr StreamingParams kStringParams{'"', '"', kStringEscapes, true};
constexpr StreamingParams kUnicodeStringParams{'`', '`', kUnicodeStringEscapes, true};
constexpr StreamingParams kBinDataParams{'{', '}', kBinDataEscapes, true};
constexpr StreamingParams kRawPointerParams{'$', ' ', kSpaceEscapes, true};
constexpr StreamingParams kArrayParams{'[', ']', kArrayEscapes, true};
constexpr StreamingParams kDictParams{'<', '>', kDictEscapes, true};

}  // namespace NPOSStreamerImpl::NTypeAImpl
