// The procedures of the host and of the library, typed, by interface and method.
#pragma once

#include <string_view>

#include "zelhost/host.h"
#include "zelutils/table.hpp"

namespace zeltest {

// The procedures of an interface, all of which must be there.
template <typename Interface>
zelutils::Table<Interface> Import(const zelhost::Host& host,
                                  const char* interfaceName = Interface::kName) {
  zelutils::Table<Interface> table;
  table.Import([&](const char*, const char* method, const char* procType) {
    return host.Find<ZELProc>(interfaceName, method, procType);
  });
  return table;
}

// Puts a procedure in the place of the one that the interface has.
template <typename Interface, typename Procedure>
void Replace(zelhost::Host& host, std::string_view method, Procedure procedure,
             const char* interfaceName = Interface::kName) {
  for (const zelutils::Method& row : Interface::kMethods) {
    if (row.name != method) continue;
    host.Register(interfaceName, row.name, row.procType, reinterpret_cast<ZELProc>(procedure));
  }
}

template <typename Interface>
struct Imported : zelutils::Table<Interface> {
  explicit Imported(const zelhost::Host* host, const char* interfaceName = Interface::kName)
      : zelutils::Table<Interface>(Import<Interface>(*host, interfaceName)) {}
};

struct CoreProcedures {
  explicit CoreProcedures(const zelhost::Host& host) : importedFrom(&host) {}

  const zelhost::Host* importedFrom;
  Imported<zelutils::MemoryInterface> memory{importedFrom};
  Imported<zelutils::ContainerInterface> containers{importedFrom};
  Imported<zelutils::AtomInterface> atoms{importedFrom};
  Imported<zelutils::ErrorInterface> errors{importedFrom};
  Imported<zelutils::SharedBuffInterface> buffers{importedFrom};
  Imported<zelutils::StreamFactoryInterface> streams{importedFrom};
  // Of a memory stream, or any other.
  Imported<zelutils::StreamInterface> onStream{importedFrom, "ZELMemoryStream"};
};

struct Procedures : CoreProcedures {
  using CoreProcedures::CoreProcedures;

  Imported<zelutils::ObjectInterface> objects{importedFrom};
  Imported<zelutils::ObjectStaticsInterface> statics{importedFrom};
  Imported<zelutils::NumberInterface> numbers{importedFrom};
  Imported<zelutils::StringInterface> strings{importedFrom};
  Imported<zelutils::UnicodeStringInterface> unicodeStrings{importedFrom};
  Imported<zelutils::BinDataInterface> binData{importedFrom};
  Imported<zelutils::RawPointerInterface> rawPointers{importedFrom};
  Imported<zelutils::ArrayInterface> arrays{importedFrom};
  Imported<zelutils::DictInterface> dicts{importedFrom};
  Imported<zelutils::DictIteratorInterface> iterators{importedFrom};
  Imported<zelutils::StreamerInterface> streamers{importedFrom};
  Imported<zelutils::ValidatorInterface> validators{importedFrom};
  Imported<zelutils::StructValidatorInterface> structValidators{importedFrom};
  Imported<zelutils::UtilsDirInterface> directories{importedFrom};
  Imported<zelutils::TempFileStreamFactoryInterface> tempFiles{importedFrom};
};

}  // namespace zeltest
