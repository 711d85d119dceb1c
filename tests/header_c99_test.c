/*
 * A client in plain C: includes every public header and declares a variable for each procedure.
 * Built a second time, with ZEL_LINKED, against the shared library itself.
 */
#include <stdio.h>

#include "zelutils/zelutils.h"

/* The typedefs of these names exist and are procedures'. */
#define DECLARE_SLOT(method, procedureType) procedureType method;
#define DECLARE_TABLE(Name, interfaceName, METHODS) \
  struct {                                          \
    METHODS(DECLARE_SLOT)                           \
  } Name;
typedef struct Slots {
  ZEL_LIBRARY_INTERFACES(DECLARE_TABLE)
} Slots;

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
