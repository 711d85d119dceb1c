/*
 * A client in plain C: includes every public header and declares a variable for each procedure.
 * Built a second time, with ZEL_LINKED, against the shared library itself.
 */
#include <stdio.h>

#include "zelutils/zelutils.h"

/* The typedef of that name exists and is a procedure's. */
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
/* clang-format on */

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
  int failures = sizeof(Slots) == 59 * sizeof(ZELProc) ? 0 : 1;
#ifdef ZEL_LINKED
  failures += ZELUtilsGetVersion() == ZELUTILS_VERSION ? 0 : 1;
  failures += ZELUtilsInitialize(find_nothing) == 0 ? 0 : 1; /* a host that offers nothing */
  ZELUtilsTerminate();
#endif
  printf("%d failures\n", failures);
  return failures;
}
