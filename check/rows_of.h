// Makes the rows of an interface from its list. A procedure that has no line in roles.h does not
// compile.
#pragma once

#include <cstring>
#include <string_view>

#include "adapt.h"
#include "roles.h"
#include "thunk.h"

namespace zelcheck {

constexpr unsigned OnSides(Side one) { return 1U << static_cast<unsigned>(one); }
constexpr unsigned kOfHost = OnSides(Side::kLibraryToHost) | OnSides(Side::kClientToHost);
constexpr unsigned kOfLibrary = OnSides(Side::kClientToLibrary) | OnSides(Side::kLibraryToHost);
constexpr unsigned kOfCallback = OnSides(Side::kCallback);

template <typename Proc>
struct ParameterCount;
template <typename Result, typename... Parameters>
struct ParameterCount<Result (*)(Parameters...)> {
  static constexpr std::size_t value = sizeof...(Parameters);
};

inline ZELProc LeaveAsItIs(const Row&, Side, ZELProc procedure) { return procedure; }
inline ZELProc IsNoThunk(Side, ZELProc) { return nullptr; }

template <auto member, unsigned sides>
constexpr Row MakeRow(const char* interfaceName, const char* method, const char* procType) {
  constexpr bool kIsOfLibrary = (sides & OnSides(Side::kClientToLibrary)) != 0;
  if constexpr (std::is_same_v<ProcOf<member>, ZELProc>) {
    // It has no signature, since nobody calls it.
    return {interfaceName, method,  procType, "",           '-',
            kIsOfLibrary,  nullptr, nullptr,  &LeaveAsItIs, &IsNoThunk};
  } else {
    using Of = Roles<member>;
    static_assert(std::string_view(Of::kRoles).size() == ParameterCount<ProcOf<member>>::value,
                  "one role for each argument");
    return {interfaceName,
            method,
            procType,
            Of::kRoles,
            Of::kResult,
            kIsOfLibrary,
            Of::kBefore,
            Of::kAfter,
            &WrapOn<member, sides>,
            &UnwrapOn<member, sides>};
  }
}

#define ZEL_CHECK_ROW(method, procType) \
  MakeRow<&Table::method, kSides>(kDisplayName, #method, #procType),
// The rows of one interface: k<Name>Rows.
#define ZEL_CHECK_ROWS_OF(Name, TableType, displayName, sides, METHODS) \
  struct Name##RowList {                                                \
    using Table = TableType;                                            \
    static constexpr unsigned kSides = sides;                           \
    static constexpr const char* kDisplayName = displayName;            \
    static constexpr Row kRows[] = {METHODS(ZEL_CHECK_ROW)};            \
  };

}  // namespace zelcheck
