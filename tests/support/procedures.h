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

struct CoreProcedures {
  explicit CoreProcedures(const zelhost::Host& host)
      : memory(Import<zelutils::MemoryInterface>(host)),
        containers(Import<zelutils::ContainerInterface>(host)),
        atoms(Import<zelutils::AtomInterface>(host)),
        errors(Import<zelutils::ErrorInterface>(host)),
        buffers(Import<zelutils::SharedBuffInterface>(host)),
        streams(Import<zelutils::StreamFactoryInterface>(host)),
        onStream(Import<zelutils::StreamInterface>(host, "ZELMemoryStream")) {}

  zelutils::Table<zelutils::MemoryInterface> memory;
  zelutils::Table<zelutils::ContainerInterface> containers;
  zelutils::Table<zelutils::AtomInterface> atoms;
  zelutils::Table<zelutils::ErrorInterface> errors;
  zelutils::Table<zelutils::SharedBuffInterface> buffers;
  zelutils::Table<zelutils::StreamFactoryInterface> streams;
  zelutils::Table<zelutils::StreamInterface> onStream;  // of a memory stream, or any other
};

struct Procedures : CoreProcedures {
  explicit Procedures(const zelhost::Host& host)
      : CoreProcedures(host),
        objects(Import<zelutils::ObjectInterface>(host)),
        statics(Import<zelutils::ObjectStaticsInterface>(host)),
        numbers(Import<zelutils::NumberInterface>(host)),
        strings(Import<zelutils::StringInterface>(host)),
        unicodeStrings(Import<zelutils::UnicodeStringInterface>(host)),
        binData(Import<zelutils::BinDataInterface>(host)),
        rawPointers(Import<zelutils::RawPointerInterface>(host)),
        arrays(Import<zelutils::ArrayInterface>(host)),
        dicts(Import<zelutils::DictInterface>(host)),
        iterators(Import<zelutils::DictIteratorInterface>(host)),
        streamers(Import<zelutils::StreamerInterface>(host)),
        validators(Import<zelutils::ValidatorInterface>(host)),
        structValidators(Import<zelutils::StructValidatorInterface>(host)),
        directories(Import<zelutils::UtilsDirInterface>(host)),
        tempFiles(Import<zelutils::TempFileStreamFactoryInterface>(host)) {}

  zelutils::Table<zelutils::ObjectInterface> objects;
  zelutils::Table<zelutils::ObjectStaticsInterface> statics;
  zelutils::Table<zelutils::NumberInterface> numbers;
  zelutils::Table<zelutils::StringInterface> strings;
  zelutils::Table<zelutils::UnicodeStringInterface> unicodeStrings;
  zelutils::Table<zelutils::BinDataInterface> binData;
  zelutils::Table<zelutils::RawPointerInterface> rawPointers;
  zelutils::Table<zelutils::ArrayInterface> arrays;
  zelutils::Table<zelutils::DictInterface> dicts;
  zelutils::Table<zelutils::DictIteratorInterface> iterators;
  zelutils::Table<zelutils::StreamerInterface> streamers;
  zelutils::Table<zelutils::ValidatorInterface> validators;
  zelutils::Table<zelutils::StructValidatorInterface> structValidators;
  zelutils::Table<zelutils::UtilsDirInterface> directories;
  zelutils::Table<zelutils::TempFileStreamFactoryInterface> tempFiles;
};

}  // namespace zeltest
