/*
 * A client in plain C: includes every public header and goes through all that the library offers.
 * Built a second time, with ZEL_LINKED, against the shared library itself.
 */
#include <stdio.h>
#include <string.h>

#include "zelutils/zelutils.h"

typedef struct Triple {
  const char *interface_name;
  const char *method;
  const char *procedure_type;
} Triple;

/* One typed variable for each procedure: the typedef of that name exists and is a procedure's. */
#define DECLARE_SLOT(method, procedureType) procedureType method;
/* clang-format off */
typedef struct Slots {
  struct { POS_OBJECT_METHODS(DECLARE_SLOT) } object;
  struct { POS_OBJECT_STATICS_METHODS(DECLARE_SLOT) } statics;
  struct { POS_NUMBER_METHODS(DECLARE_SLOT) } number;
  struct { POS_STRING_METHODS(DECLARE_SLOT) } string;
  struct { POS_UNICODE_STRING_METHODS(DECLARE_SLOT) } unicode_string;
  struct { POS_BIN_DATA_METHODS(DECLARE_SLOT) } bin_data;
  struct { POS_RAW_POINTER_METHODS(DECLARE_SLOT) } raw_pointer;
  struct { POS_ARRAY_METHODS(DECLARE_SLOT) } array;
  struct { POS_DICT_METHODS(DECLARE_SLOT) } dict;
  struct { POS_DICT_ITERATOR_METHODS(DECLARE_SLOT) } iterator;
  struct { POS_STREAMER_METHODS(DECLARE_SLOT) } streamer;
  struct { POS_STRUCT_VALIDATOR_METHODS(DECLARE_SLOT) } struct_validator;
  struct { POS_VALIDATOR_METHODS(DECLARE_SLOT) } validator;
  struct { ZEL_UTILS_DIR_METHODS(DECLARE_SLOT) } directory;
  struct { ZEL_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS(DECLARE_SLOT) } temp_file;
} Slots;

#define TRIPLE(interface_name, method, procedureType) {interface_name, #method, #procedureType},
#define OBJECT(m, t) TRIPLE(POS_OBJECT_INTERFACE, m, t)
#define STATICS(m, t) TRIPLE(POS_OBJECT_STATICS, m, t)
#define NUMBER(m, t) TRIPLE(POS_NUMBER_INTERFACE, m, t)
#define STRING(m, t) TRIPLE(POS_STRING_INTERFACE, m, t)
#define UNICODE_STRING(m, t) TRIPLE(POS_UNICODE_STRING_INTERFACE, m, t)
#define BIN_DATA(m, t) TRIPLE(POS_BIN_DATA_INTERFACE, m, t)
#define RAW_POINTER(m, t) TRIPLE(POS_RAW_POINTER_INTERFACE, m, t)
#define ARRAY(m, t) TRIPLE(POS_ARRAY_INTERFACE, m, t)
#define DICT(m, t) TRIPLE(POS_DICT_INTERFACE, m, t)
#define ITERATOR(m, t) TRIPLE(POS_DICT_ITERATOR_INTERFACE, m, t)
#define STREAMER(m, t) TRIPLE(POS_STREAMER_INTERFACE, m, t)
#define STRUCT_VALIDATOR(m, t) TRIPLE(POS_STRUCT_VALIDATOR_INTERFACE, m, t)
#define VALIDATOR(m, t) TRIPLE(POS_VALIDATOR_INTERFACE, m, t)
#define DIRECTORY(m, t) TRIPLE(ZEL_UTILS_DIR_INTERFACE, m, t)
#define TEMP_FILE(m, t) TRIPLE(ZEL_UTILS_TEMP_FILE_STREAM_FACTORY, m, t)

static const Triple offered[] = {
    POS_OBJECT_METHODS(OBJECT)
    POS_OBJECT_STATICS_METHODS(STATICS)
    POS_NUMBER_METHODS(NUMBER)
    POS_STRING_METHODS(STRING)
    POS_UNICODE_STRING_METHODS(UNICODE_STRING)
    POS_BIN_DATA_METHODS(BIN_DATA)
    POS_RAW_POINTER_METHODS(RAW_POINTER)
    POS_ARRAY_METHODS(ARRAY)
    POS_DICT_METHODS(DICT)
    POS_DICT_ITERATOR_METHODS(ITERATOR)
    POS_STREAMER_METHODS(STREAMER)
    POS_STRUCT_VALIDATOR_METHODS(STRUCT_VALIDATOR)
    POS_VALIDATOR_METHODS(VALIDATOR)
    ZEL_UTILS_DIR_METHODS(DIRECTORY)
    ZEL_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS(TEMP_FILE)};
/* clang-format on */

static int failures = 0;

static void expect(int condition, const char *what) {
  if (!condition) {
    fprintf(stderr, "failed: %s\n", what);
    ++failures;
  }
}

#ifdef ZEL_LINKED
static ZELProc find_nothing(const char *interface_name, const char *method,
                            const char *procedure_type) {
  (void)interface_name;
  (void)method;
  (void)procedure_type;
  return NULL;
}
#endif

int main(void) {
  const size_t count = sizeof offered / sizeof offered[0];
  size_t i;
  size_t j;

  expect(count == 59, "59 procedures in fifteen interfaces");
  expect(sizeof(Slots) == count * sizeof(ZELProc), "one slot for each procedure");
  for (i = 0; i < count; ++i) {
    for (j = 0; j < i; ++j) {
      /* A procedure type belongs to one procedure; that alone makes the triples distinct. */
      expect(strcmp(offered[i].procedure_type, offered[j].procedure_type) != 0,
             offered[i].procedure_type);
    }
  }

#ifdef ZEL_LINKED
  expect(ZELUtilsGetVersion() == ZELUTILS_VERSION, "version");
  expect(ZELUtilsInitialize(find_nothing) == 0, "a host that offers nothing is refused");
  ZELUtilsTerminate();
#endif

  if (failures == 0) {
    printf("%u procedures\n", (unsigned)count);
  }
  return failures == 0 ? 0 : 1;
}
