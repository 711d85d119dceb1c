/*
 * The POS structure validator: checks POS objects against a schema, which is itself a POS
 * dictionary from type names to type definitions.
 */
#pragma once

#include "zelutils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A client's own check of a schema type, called once the schema's checks of that type have found
 * nothing. Gets the value and the type name (both borrowed), a shared buffer of 1024 bytes that
 * starts with a NUL, and the data given at registration. Returns non-zero to accept the value, 0 to
 * reject it; the NUL-terminated text in the buffer is then the message.
 */
typedef int32_t (*POSStructValidatorCallbackProc)(ZELInstance value, ZELStringAtom typeName,
                                                  ZELSharedBuff errorBuffer, void *clientData);

/* Takes one message about a value that does not conform; valid during the call only. */
typedef void (*POSValidatorMessageProc)(const char *message);

#define POS_STRUCT_VALIDATOR_INTERFACE "POSStructValidatorInterface"

/*
 * Returns a new validator over `schema` without reference, or null after a report. The validator
 * holds a reference to the schema, which must not change while it is in use.
 */
typedef ZELInstance (*POSStructValidatorNewStructValidatorProc)(ZELInstance schema);
/*
 * Attaches a check to a type name of the schema, in place of any earlier one; a null procedure
 * takes it away. Built-in types never consult it. `clientData` is passed on unread.
 */
typedef void (*POSStructValidatorRegisterCallbackProc)(ZELInstance validator,
                                                       ZELStringAtom typeName,
                                                       POSStructValidatorCallbackProc procedure,
                                                       void *clientData);
/*
 * Checks a schema itself. Returns 1 when it is valid; else 0, after calling `report` (may be null)
 * once for each message, or after a report to the binder when the check could not be made.
 */
typedef int32_t (*POSStructValidatorValidateSchemaProc)(ZELInstance schema,
                                                        POSValidatorMessageProc report);

#define POS_STRUCT_VALIDATOR_METHODS(X)                              \
  X(NewPOSStructValidator, POSStructValidatorNewStructValidatorProc) \
  X(RegisterCallbackProc, POSStructValidatorRegisterCallbackProc)    \
  X(ValidateSchema, POSStructValidatorValidateSchemaProc)

#define POS_VALIDATOR_INTERFACE "POSValidatorInterface"

/*
 * Checks `value` against the type named `typeName`. Returns 1 when it conforms; else 0, after
 * calling `report` (may be null) once for each message, or after a report to the binder when the
 * check could not be made (`report` is not called then).
 */
typedef int32_t (*POSValidatorValidateProc)(ZELInstance validator, ZELInstance value,
                                            ZELStringAtom typeName, POSValidatorMessageProc report);

#define POS_VALIDATOR_METHODS(X) X(Validate, POSValidatorValidateProc)

/* In the order of registration: X(Name, interface name, methods). */
#define POS_VALIDATOR_INTERFACES(X)                            \
  X(Validator, POS_VALIDATOR_INTERFACE, POS_VALIDATOR_METHODS) \
  X(StructValidator, POS_STRUCT_VALIDATOR_INTERFACE, POS_STRUCT_VALIDATOR_METHODS)

#ifdef __cplusplus
}
#endif
