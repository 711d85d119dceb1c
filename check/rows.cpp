#include "rows.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "rows_groups.h"
#include "rows_of.h"

namespace zelcheck {
namespace {

#define ZEL_ROW_OF_STREAM(name, type) \
  MakeRow<&ClientStreamTable::name, kOfCallback>("client stream", #name, #type),
#define ZEL_ROW_OF_CALLBACK(name, type) \
  MakeRow<&CallbackTable::name, kOfCallback>("callback", #name, #type),

bool IsSame(const char* one, const char* other) { return std::strcmp(one, other) == 0; }

const Row* FindIn(std::span<const Row> rows, const char* method, const char* procType) {
  for (const Row& row : rows) {
    if (IsSame(row.method, method) && IsSame(row.procType, procType)) return &row;
  }
  return nullptr;
}

}  // namespace

constexpr Row kClientStreamRows[8] = {ZEL_CHECK_CLIENT_STREAM(ZEL_ROW_OF_STREAM)};
constexpr Row kCallbackRows[4] = {ZEL_CHECK_CALLBACKS(ZEL_ROW_OF_CALLBACK)};

std::span<const RowGroup> RowGroups() {
  static const auto all = [] {
    static std::array<RowGroup, 64> groups{};
    const auto core = CoreRowGroups();
    const auto library = LibraryRowGroups();
    std::copy(library.begin(), library.end(), std::copy(core.begin(), core.end(), groups.begin()));
    return std::span<const RowGroup>(groups).first(core.size() + library.size());
  }();
  return all;
}

const Row* FindRow(const char* interfaceName, const char* method, const char* procType) {
  if (interfaceName == nullptr || method == nullptr || procType == nullptr) return nullptr;
  for (const RowGroup& group : RowGroups()) {
    if (group.name == nullptr || !IsSame(group.name, interfaceName)) continue;
    return FindIn(group.rows, method, procType);
  }
  return nullptr;
}

const Row* FindMethodRow(const char* method, const char* procType) {
  for (const RowGroup& group : RowGroups()) {
    if (group.name != nullptr && !group.isOfLibrary) continue;
    if (const Row* const row = FindIn(group.rows, method, procType)) return row;
  }
  return nullptr;
}

ZELProc WithoutThunk(const Row& row, ZELProc procedure) {
  for (int side = 0; side < kSideCount; ++side) {
    const ZELProc behind = row.unwrap(static_cast<Side>(side), procedure);
    if (behind != nullptr) return behind;
  }
  return procedure;
}

}  // namespace zelcheck
