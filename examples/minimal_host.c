/*
 * A minimal host: everything that ZELUtils asks of its host, and a client that looks a value up.
 *
 *   minimal_host PATH-OF-THE-LIBRARY
 *
 * Two things are left out: its stream factory refuses to make streams, and it trusts the handles
 * that it is given. The duties of each procedure stand in docs/porting.md; host/ is a complete
 * host.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zelutils/zelutils.h"

#if defined(_WIN32)
#include <windows.h>
#define dlopen(path, mode) ((void *)LoadLibraryA(path))
#define dlsym(library, name) ((void *)(uintptr_t)GetProcAddress((HMODULE)(library), name))
#define dlclose(library) FreeLibrary((HMODULE)(library))
#else
#include <dlfcn.h>
#endif

static long held; /* memory blocks, texts, errors, instances, shared buffers: none may be left */

/* ---- Memory ---- */

static void *MemoryAlloc(size_t size) {
  void *block = malloc(size + (size == 0));
  held += block != NULL;
  return block;
}
static void *MemoryRealloc(void *block, size_t size) { return realloc(block, size + (size == 0)); }
static void MemoryFree(void *block) {
  free(block);
  --held;
}
static ZELMemGetBlockSizeProc MemoryGetBlockSize; /* never called */

/* ---- String atoms: an atom is the place of its text in the table, counted from 1 ---- */

static struct {
  char *text; /* stays where it is while there are references; null: the place is free */
  uint32_t references;
  ZELProc procedure; /* what the binder keeps under this text, if it is one of its keys */
} texts[1024];
enum { kTexts = sizeof texts / sizeof texts[0] };

static uint32_t PlaceOf(const char *text) {
  uint32_t place = 0;
  while (place < kTexts && (texts[place].text == NULL || strcmp(texts[place].text, text) != 0)) {
    ++place;
  }
  return place;
}
static ZELStringAtom StringNewStringAtom(const char *text) {
  uint32_t place = PlaceOf(text);
  if (place == kTexts) {
    for (place = 0; place < kTexts && texts[place].text != NULL;) ++place;
    if (place == kTexts || (texts[place].text = MemoryAlloc(strlen(text) + 1)) == NULL) return 0;
    strcpy(texts[place].text, text);
  }
  ++texts[place].references;
  return place + 1;
}
static void StringAddRef(ZELStringAtom atom) { ++texts[atom - 1].references; }
static const char *StringGetCString(ZELStringAtom atom) { return texts[atom - 1].text; }
static void StringDeleteStringAtom(ZELStringAtom atom) {
  if (atom == 0 || --texts[atom - 1].references != 0) return;
  MemoryFree(texts[atom - 1].text);
  texts[atom - 1].text = NULL;
}

/* ---- The binder: a triple of names is kept as one text ---- */

static uint32_t unregisterCount = 1; /* never 0 */

static const char *Key(const char *interfaceName, const char *method, const char *procType) {
  static char key[256];
  snprintf(key, sizeof key, "%s/%s/%s", interfaceName, method, procType);
  return key;
}
static ZELProc Lookup(const char *interfaceName, const char *method, const char *procType) {
  const uint32_t place = PlaceOf(Key(interfaceName, method, procType));
  return place == kTexts ? NULL : texts[place].procedure;
}
static int32_t BinderZELRegisterProcAddress(const char *interfaceName, const char *method,
                                            const char *procType, ZELProc procedure) {
  const ZELStringAtom key = StringNewStringAtom(Key(interfaceName, method, procType));
  if (key == 0) return 0;
  if (texts[key - 1].procedure != NULL) StringDeleteStringAtom(key);
  texts[key - 1].procedure = procedure;
  return 1;
}
static int32_t BinderZELUnregisterInterface(const char *interfaceName) {
  const size_t length = strlen(interfaceName);
  for (uint32_t i = 0; i < kTexts; ++i) {
    if (texts[i].procedure != NULL && strncmp(texts[i].text, interfaceName, length) == 0 &&
        texts[i].text[length] == '/') {
      texts[i].procedure = NULL;
      StringDeleteStringAtom(i + 1);
    }
  }
  if (++unregisterCount == 0) unregisterCount = 1;
  return 1;
}
static int32_t BinderZELReportError(const char *text) { return printf("reported: %s\n", text); }
static uint32_t *BinderZELGetUnregisterCountAddr(void) { return &unregisterCount; }
static ZELIsMultiThreaded BinderZELIsMultiThreaded; /* never called */

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
  MemoryFree(error);
}
static ZELErrorObject ErrorGetCoreError(int32_t number) { return ErrorAddRef(coreErrors[number]); }
static ZELErrorObject ErrorNewError(const char *message, const char *component, int32_t id,
                                    int32_t zero1, int32_t zero2) {
  ZELErrorObject error = MemoryAlloc(sizeof *error);
  (void)(zero1 + zero2);
  if (error == NULL) return ErrorGetCoreError(1); /* null would mean success */
  *error =
      (struct ZELErrorRecord){1, StringNewStringAtom(message), StringNewStringAtom(component), id};
  return error;
}
static ZELStringAtom ErrorGetErrorMessage(ZELErrorObject error) { return error->message; }
static ZELStringAtom ErrorGetComponent(ZELErrorObject error) { return error->component; }
static int32_t ErrorGetID(ZELErrorObject error) { return error->id; }
static ZELProc ErrorGetErrorInfo; /* never called */

/* ---- Containers ---- */

struct ZELInstanceRecord {
  uint32_t references;
  bool ending; /* its object is being destroyed: no reference is given any more */
  ZELStringAtom implementation, interfaceName;
  ZELDestroyProc destroy;
  ZELPrimaryInstance primary;
};

static ZELErrorObject ContainerNewFullContainer(ZELInstance *result, void *object,
                                                ZELStringAtom implementation,
                                                ZELDestroyProc destroy, ZELStringAtom interfaceName,
                                                int32_t zero1, int32_t zero2, int32_t zero3) {
  ZELInstance instance = MemoryAlloc(sizeof *instance);
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
  if (instance->references != 0) {
    puts("refused: DeleteUnownedContainer of an instance that somebody holds");
    return;
  }
  if (instance->ending) return;
  instance->ending = true;
  instance->destroy(instance->primary.object);
  StringDeleteStringAtom(instance->implementation);
  StringDeleteStringAtom(instance->interfaceName);
  MemoryFree(instance);
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
    return ErrorNewError("no such implementation", "MinimalHost", 0, 0, 0);
  }
  *result = instance->primary.object;
  return NULL;
}
static int32_t ContainerGetOffsetToPrimaryInstance(void) {
  return (int32_t)offsetof(struct ZELInstanceRecord, primary);
}
static ZELProc ContainerNewContainer, ContainerCloneContainer, ContainerRegisterInterface,
    ContainerRegisterInstance, ContainerGetParentMethod, ContainerGetInstance,
    ContainerGetSignature, ContainerDebugGetRefCountAddr; /* never called */

/* ---- Shared buffers ---- */

struct ZELSharedBuffRecord {
  uint32_t references, size; /* the bytes follow */
};

static ZELSharedBuff BufferNewBuffer(uint32_t size, int32_t zero1, int32_t zero2, int32_t zero3,
                                     int32_t zero4) {
  ZELSharedBuff buffer =
      size > UINT32_MAX - sizeof *buffer ? NULL : MemoryAlloc(sizeof *buffer + size);
  (void)(zero1 + zero2 + zero3 + zero4);
  if (buffer != NULL) *buffer = (struct ZELSharedBuffRecord){1, size};
  return buffer;
}
static void BufferAddRef(ZELSharedBuff buffer) { ++buffer->references; }
static void BufferRelease(ZELSharedBuff buffer) {
  if (--buffer->references == 0) MemoryFree(buffer);
}
static void *BufferGetBuffer(ZELSharedBuff buffer) { return buffer + 1; }
static uint32_t BufferGetSize(ZELSharedBuff buffer) { return buffer->size; }
static ZELSharedBuffDelUnownedProc BufferDeleteUnowned; /* never called */

/* ---- The stream factory ---- */

static ZELErrorObject FactoryNewPositionableMemoryStream(ZELInstance *result) {
  *result = NULL;
  return ErrorNewError("there are no streams", "MinimalHost", 0, 0, 0);
}
static ZELErrorObject FactoryNewPositionableFileStream(ZELInstance *result, const char *path,
                                                       const char *mode) {
  (void)path, (void)mode;
  return FactoryNewPositionableMemoryStream(result);
}
static ZELErrorObject FactoryNewClientPositionableStream(
    ZELInstance *result, void *client, ZELClientStreamReadProc read, ZELClientStreamWriteProc write,
    ZELClientStreamCreateProc rewindable, ZELClientStreamRewindProc rewind,
    ZELClientStreamCreateProc positionable, ZELClientStreamMarkProc mark,
    ZELClientStreamSeekProc seek, ZELClientStreamDestroyProc destroy) {
  (void)client, (void)read, (void)write, (void)rewindable, (void)rewind;
  (void)positionable, (void)mark, (void)seek, (void)destroy;
  return FactoryNewPositionableMemoryStream(result);
}
static ZELProc FactoryNewPositionableBufferStream, FactoryNewClientSimpleStream,
    FactoryNewClientRewindableStream; /* never called */

/* ---- Offering all of it, and using the library ---- */

/* Checks a procedure's type and registers it; what is never called must have an address as well. */
#define OFFER(interfaceName, procedure, method, procType)                              \
  {                                                                                    \
    const procType offered = procedure;                                                \
    BinderZELRegisterProcAddress(interfaceName, #method, #procType,                    \
                                 offered == NULL ? (ZELProc)abort : (ZELProc)offered); \
  }
#define BINDER(m, t) OFFER(ZEL_BINDER_INTERFACE, Binder##m, m, t)
#define MEMORY(m, t) OFFER(ZEL_MEMORY_INTERFACE, Memory##m, m, t)
#define STRING(m, t) OFFER(ZEL_STRING_INTERFACE, String##m, m, t)
#define ERRORS(m, t) OFFER(ZEL_ERROR_INTERFACE, Error##m, m, t)
#define CONTAINER(m, t) OFFER(ZEL_CONTAINER_INTERFACE, Container##m, m, t)
#define BUFFER(m, t) OFFER(ZEL_SHARED_BUFF_INTERFACE, Buffer##m, m, t)
#define FACTORY(m, t) OFFER(ZEL_STREAM_FACTORY_INTERFACE, Factory##m, m, t)
#define CACHE(m, t) OFFER(ZEL_CACHE_INTERFACE, NULL, m, t)
#define FILTER(m, t) OFFER(ZEL_FILTER_INTERFACE, NULL, m, t)
#define PROGRESS(m, t) OFFER(ZEL_PROGRESS_INTERFACE, NULL, m, t)

#define FIND(interfaceName, method, procType) ((procType)Lookup(interfaceName, #method, #procType))

static bool PrintNumber(const char *text, const char *path) {
  const char *stop = NULL;
  ZELInstance document =
      FIND(POS_OBJECT_STATICS, CreateFromText, POSObjectCreateFromTextProc)(text, &stop);
  if (ContainerAddRef(document) == 0) {
    printf("no document, parsing stopped at: %s\n", stop == NULL ? "(see the report)" : stop);
    return false;
  }
  const ZELStringAtom atom = StringNewStringAtom(path);
  ZELInstance number = FIND(POS_DICT_INTERFACE, DeepGet, POSDictDeepGetProc)(document, atom);
  StringDeleteStringAtom(atom);
  if (number != NULL) { /* it is borrowed, and lives as long as the document holds it */
    printf("%s = %g\n", path, FIND(POS_NUMBER_INTERFACE, Get, POSNumberGetProc)(number));
  }
  ContainerRelease(document);
  return number != NULL;
}

int main(int argc, char **argv) {
  void *library = argc == 2 ? dlopen(argv[1], RTLD_NOW) : NULL;
  if (library == NULL) return puts("minimal_host needs the path of the library"), 2;
  union {
    void *address;
    ZELUtilsInitializeProc initialize;
    ZELUtilsTerminateProc terminate;
  } start = {dlsym(library, "ZELUtilsInitialize")}, stop = {dlsym(library, "ZELUtilsTerminate")};

  ZEL_BINDER_METHODS(BINDER)
  ZEL_MEMORY_METHODS(MEMORY)
  ZEL_STRING_METHODS(STRING)
  ZEL_ERROR_METHODS(ERRORS)
  ZEL_CONTAINER_METHODS(CONTAINER)
  ZEL_SHARED_BUFF_METHODS(BUFFER)
  ZEL_STREAM_FACTORY_METHODS(FACTORY)
  ZEL_CACHE_METHODS(CACHE)
  ZEL_FILTER_METHODS(FILTER)
  ZEL_PROGRESS_METHODS(PROGRESS)
  coreErrors[0] = ErrorNewError("unknown error", "DUX", 0, 0, 0);
  coreErrors[1] = ErrorNewError("out of memory", "DUX", 1, 0, 0);

  const long own = held;
  bool done = start.initialize(Lookup) == 1;
  printf("held of the host: %ld\n", held - own);
  done = done && PrintNumber("<title (A book) pages [<width 595> <width 842>]>", "pages[1].width");
  stop.terminate();
  printf("held of the host: %ld\n", held - own);
  dlclose(library);
  return done && held == own ? 0 : 1;
}
