/*
 * A minimal host: what ZELUtils asks of a host, and a client that reads a value out of a text.
 *
 *   minimal_host LIBRARY
 *
 * It has no streams (its factory refuses to make any) and trusts the handles that it is given.
 * docs/porting.md tells what each procedure must do; host/ is a complete host.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zelutils/zelutils.h"

#if defined(_WIN32)
#include <windows.h>
#define dlopen(path, mode) ((void *)LoadLibraryA(path))
#define dlsym(library, name) ((void *)(uintptr_t)GetProcAddress((HMODULE)(library), name))
#else
#include <dlfcn.h>
#endif

static long held; /* blocks, atoms, errors, instances, buffers and registered procedures */

static void *Take(size_t size) {
  void *block = malloc(size + (size == 0));
  held += block != NULL;
  return block;
}
static void Give(void *block) {
  free(block);
  --held;
}
static void NeverCalled(void) { abort(); } /* is looked up, so it must be there */

/* ---- The binder ---- */

static struct {
  char key[160]; /* interface, method and procedure type; empty: the entry is free */
  ZELProc procedure;
} entries[256];
enum { kEntries = sizeof entries / sizeof entries[0] };
static uint32_t unregisterCount = 1;

static int Find(const char *interfaceName, const char *method, const char *procType, char *key) {
  int entry = kEntries;
  snprintf(key, sizeof entries[0].key, "%s/%s/%s", interfaceName, method, procType);
  while (entry-- > 0 && strcmp(entries[entry].key, key) != 0) continue;
  return entry;
}
static ZELProc Lookup(const char *interfaceName, const char *method, const char *procType) {
  char key[sizeof entries[0].key];
  const int entry = Find(interfaceName, method, procType, key);
  return entry < 0 ? NULL : entries[entry].procedure;
}
static int32_t BinderZELRegisterProcAddress(const char *interfaceName, const char *method,
                                            const char *procType, ZELProc procedure) {
  char key[sizeof entries[0].key];
  int entry = Find(interfaceName, method, procType, key);
  if (entry < 0) {
    for (entry = 0; entries[entry].key[0] != '\0'; ++entry) {
      if (entry == kEntries - 1) return 0;
    }
    ++held;
  }
  strcpy(entries[entry].key, key);
  entries[entry].procedure = procedure;
  return 1;
}
static int32_t BinderZELUnregisterInterface(const char *interfaceName) {
  const size_t length = strlen(interfaceName);
  for (int i = 0; i < kEntries; ++i) {
    if (strncmp(entries[i].key, interfaceName, length) != 0 || entries[i].key[length] != '/') {
      continue;
    }
    entries[i].key[0] = '\0';
    --held;
  }
  if (++unregisterCount == 0) unregisterCount = 1;
  return 1;
}
static int32_t BinderZELReportError(const char *text) { return printf("reported: %s\n", text); }
static uint32_t *BinderZELGetUnregisterCountAddr(void) { return &unregisterCount; }
#define BinderZELIsMultiThreaded (ZELIsMultiThreaded) NeverCalled

/* ---- Memory ---- */

static void *MemoryAlloc(size_t size) { return Take(size); }
static void *MemoryRealloc(void *block, size_t size) { return realloc(block, size + (size == 0)); }
static void MemoryFree(void *block) { Give(block); }
#define MemoryGetBlockSize (ZELMemGetBlockSizeProc) NeverCalled

/* ---- String atoms ---- */

static struct {
  char *text;          /* stays where it is; null: the place is free */
  uint32_t references; /* an atom is the number of its place, counted from 1 */
} atoms[1024];
enum { kAtoms = sizeof atoms / sizeof atoms[0] };

static ZELStringAtom StringNewStringAtom(const char *text) {
  uint32_t place = kAtoms;
  for (uint32_t i = 0; i < kAtoms; ++i) {
    if (atoms[i].text == NULL) {
      place = i;
    } else if (strcmp(atoms[i].text, text) == 0) {
      ++atoms[i].references;
      return i + 1;
    }
  }
  if (place == kAtoms || (atoms[place].text = Take(strlen(text) + 1)) == NULL) return 0;
  strcpy(atoms[place].text, text);
  atoms[place].references = 1;
  return place + 1;
}
static void StringAddRef(ZELStringAtom atom) { ++atoms[atom - 1].references; }
static const char *StringGetCString(ZELStringAtom atom) { return atoms[atom - 1].text; }
static void StringDeleteStringAtom(ZELStringAtom atom) {
  if (atom == 0 || --atoms[atom - 1].references != 0) return;
  Give(atoms[atom - 1].text);
  atoms[atom - 1].text = NULL;
}

/* ---- Errors ---- */

struct ZELErrorRecord {
  uint32_t references;
  ZELStringAtom message, component;
  int32_t id;
};
static ZELErrorObject coreErrors[2]; /* each with a reference of the host's own */

static ZELErrorObject ErrorAddRef(ZELErrorObject error) {
  if (error != NULL) ++error->references;
  return error;
}
static void ErrorRelease(ZELErrorObject error) {
  if (error == NULL || --error->references != 0) return;
  StringDeleteStringAtom(error->message);
  StringDeleteStringAtom(error->component);
  Give(error);
}
static ZELErrorObject ErrorGetCoreError(int32_t number) {
  return number == 0 || number == 1 ? ErrorAddRef(coreErrors[number]) : NULL;
}
static ZELErrorObject ErrorNewError(const char *message, const char *component, int32_t id,
                                    int32_t zero1, int32_t zero2) {
  ZELErrorObject error = Take(sizeof *error);
  (void)(zero1 + zero2);
  if (error == NULL) return ErrorGetCoreError(1); /* null would mean success */
  error->references = 1;
  error->message = StringNewStringAtom(message);
  error->component = StringNewStringAtom(component);
  error->id = id;
  if (error->message != 0 && error->component != 0) return error;
  ErrorRelease(error);
  return ErrorGetCoreError(1);
}
static ZELStringAtom ErrorGetErrorMessage(ZELErrorObject error) { return error->message; }
static ZELStringAtom ErrorGetComponent(ZELErrorObject error) { return error->component; }
static int32_t ErrorGetID(ZELErrorObject error) { return error->id; }
#define ErrorGetErrorInfo NeverCalled

static ZELErrorObject Refuse(const char *why) { return ErrorNewError(why, "MinimalHost", 1, 0, 0); }

/* ---- Containers ---- */

struct ZELInstanceRecord {
  uint32_t references;
  bool ending;
  ZELStringAtom implementation, interfaceName;
  ZELDestroyProc destroy;
  ZELPrimaryInstance primary;
};

static ZELErrorObject ContainerNewFullContainer(ZELInstance *result, void *object,
                                                ZELStringAtom implementation,
                                                ZELDestroyProc destroy, ZELStringAtom interfaceName,
                                                int32_t zero1, int32_t zero2, int32_t zero3) {
  ZELInstance instance = Take(sizeof *instance);
  (void)(zero1 + zero2 + zero3);
  if (instance == NULL) return ErrorGetCoreError(1);
  StringAddRef(implementation);
  StringAddRef(interfaceName);
  instance->references = 0;
  instance->ending = false;
  instance->implementation = implementation;
  instance->interfaceName = interfaceName;
  instance->destroy = destroy;
  instance->primary.implementationName = StringGetCString(implementation);
  instance->primary.signature = StringGetCString(interfaceName);
  instance->primary.object = object;
  *result = instance;
  return NULL;
}
static int32_t ContainerAddRef(ZELInstance instance) {
  if (instance == NULL || instance->ending) return 0;
  ++instance->references;
  return 1;
}
static void ContainerDecrementWithoutDelete(ZELInstance instance) { --instance->references; }
static void ContainerDeleteUnownedContainer(ZELInstance instance) {
  if (instance->references != 0 || instance->ending) return;
  instance->ending = true;
  instance->destroy(instance->primary.object);
  StringDeleteStringAtom(instance->implementation);
  StringDeleteStringAtom(instance->interfaceName);
  Give(instance);
}
static void ContainerRelease(ZELInstance instance) {
  if (instance == NULL || instance->references == 0) return;
  if (--instance->references == 0) ContainerDeleteUnownedContainer(instance);
}
static ZELErrorObject ContainerGetMethod(ZELProc *result, ZELInstance instance,
                                         ZELStringAtom method, ZELStringAtom procType,
                                         int32_t optional) {
  (void)optional; /* a missing method is null, required or not: the caller knows what that means */
  *result = Lookup(StringGetCString(instance->interfaceName), StringGetCString(method),
                   StringGetCString(procType));
  return NULL;
}
static ZELErrorObject ContainerNGetInstance(void **result, ZELInstance instance,
                                            ZELStringAtom implementation) {
  if (instance == NULL || instance->implementation != implementation) {
    return Refuse("the instance has no such implementation");
  }
  *result = instance->primary.object;
  return NULL;
}
static int32_t ContainerGetOffsetToPrimaryInstance(void) {
  return (int32_t)offsetof(struct ZELInstanceRecord, primary);
}
#define ContainerNewContainer NeverCalled
#define ContainerCloneContainer NeverCalled
#define ContainerRegisterInterface NeverCalled
#define ContainerRegisterInstance NeverCalled
#define ContainerGetParentMethod NeverCalled
#define ContainerGetInstance NeverCalled
#define ContainerGetSignature NeverCalled
#define ContainerDebugGetRefCountAddr NeverCalled

/* ---- Shared buffers ---- */

struct ZELSharedBuffRecord {
  uint32_t references, size;
};

static ZELSharedBuff BufferNewBuffer(uint32_t size, int32_t zero1, int32_t zero2, int32_t zero3,
                                     int32_t zero4) {
  ZELSharedBuff buffer = NULL;
  (void)(zero1 + zero2 + zero3 + zero4);
  if (size <= SIZE_MAX - sizeof *buffer) buffer = Take(sizeof *buffer + size);
  if (buffer != NULL) buffer->references = 1, buffer->size = size;
  return buffer;
}
static void BufferAddRef(ZELSharedBuff buffer) { ++buffer->references; }
static void BufferRelease(ZELSharedBuff buffer) {
  if (--buffer->references == 0) Give(buffer);
}
static void *BufferGetBuffer(ZELSharedBuff buffer) { return buffer + 1; }
static uint32_t BufferGetSize(ZELSharedBuff buffer) { return buffer->size; }
#define BufferDeleteUnowned NeverCalled
