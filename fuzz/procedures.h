// The procedures of the host and of the library, typed, by interface and method.
#pragma once

#include "zelhost/host.h"

namespace zeltest {

#define ZELTEST_STREAM_METHODS(X)  \
  ZEL_SIMPLE_STREAM_METHODS(X)     \
  ZEL_REWINDABLE_STREAM_METHODS(X) \
  ZEL_POSITIONABLE_STREAM_METHODS(X)

#define ZELTEST_CORE_INTERFACES(X)                                     \
  X(memory, ZEL_MEMORY_INTERFACE, ZEL_MEMORY_METHODS)                  \
  X(containers, ZEL_CONTAINER_INTERFACE, ZEL_CONTAINER_METHODS)        \
  X(atoms, ZEL_STRING_INTERFACE, ZEL_STRING_METHODS)                   \
  X(errors, ZEL_ERROR_INTERFACE, ZEL_ERROR_METHODS)                    \
  X(buffers, ZEL_SHARED_BUFF_INTERFACE, ZEL_SHARED_BUFF_METHODS)       \
  X(streams, ZEL_STREAM_FACTORY_INTERFACE, ZEL_STREAM_FACTORY_METHODS) \
  X(onStream, "ZELMemoryStream", ZELTEST_STREAM_METHODS) /* or any other */

// In the order of their registration.
#define ZELTEST_LIBRARY_INTERFACES(X)                                               \
  X(objects, POS_OBJECT_INTERFACE, POS_OBJECT_METHODS)                              \
  X(statics, POS_OBJECT_STATICS, POS_OBJECT_STATICS_METHODS)                        \
  X(numbers, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS)                              \
  X(strings, POS_STRING_INTERFACE, POS_STRING_METHODS)                              \
  X(unicodeStrings, POS_UNICODE_STRING_INTERFACE, POS_UNICODE_STRING_METHODS)       \
  X(binData, POS_BIN_DATA_INTERFACE, POS_BIN_DATA_METHODS)                          \
  X(rawPointers, POS_RAW_POINTER_INTERFACE, POS_RAW_POINTER_METHODS)                \
  X(arrays, POS_ARRAY_INTERFACE, POS_ARRAY_METHODS)                                 \
  X(dicts, POS_DICT_INTERFACE, POS_DICT_METHODS)                                    \
  X(iterators, POS_DICT_ITERATOR_INTERFACE, POS_DICT_ITERATOR_METHODS)              \
  X(streamers, POS_STREAMER_INTERFACE, POS_STREAMER_METHODS)                        \
  X(validators, POS_VALIDATOR_INTERFACE, POS_VALIDATOR_METHODS)                     \
  X(structValidators, POS_STRUCT_VALIDATOR_INTERFACE, POS_STRUCT_VALIDATOR_METHODS) \
  X(directories, ZEL_UTILS_DIR_INTERFACE, ZEL_UTILS_DIR_METHODS)                    \
  X(tempFiles, ZEL_UTILS_TEMP_FILE_STREAM_FACTORY, ZEL_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS)

#define ZELTEST_FIELD(method, procType) procType method = nullptr;
#define ZELTEST_TABLE(name, interfaceName, METHODS) \
  struct {                                          \
    METHODS(ZELTEST_FIELD)                          \
  } name;
#define ZELTEST_FIND(method, procType) table.method = host.Find<procType>(from, #method, #procType);
#define ZELTEST_IMPORT(name, interfaceName, METHODS) \
  {                                                  \
    auto& table = name;                              \
    const char* const from = interfaceName;          \
    METHODS(ZELTEST_FIND)                            \
  }

struct CoreProcedures {
  explicit CoreProcedures(const zelhost::Host& host) { ZELTEST_CORE_INTERFACES(ZELTEST_IMPORT); }
  ZELTEST_CORE_INTERFACES(ZELTEST_TABLE)
};

struct Procedures : CoreProcedures {
  explicit Procedures(const zelhost::Host& host) : CoreProcedures(host) {
    ZELTEST_LIBRARY_INTERFACES(ZELTEST_IMPORT);
  }
  ZELTEST_LIBRARY_INTERFACES(ZELTEST_TABLE)
};

}  // namespace zeltest
