/* Parses a document, looks a value up in it and prints it. */
#include <stdio.h>

#include "zelhost/zelhost.h"

ZELHOST_TABLE(Atoms, ZEL_STRING_INTERFACE, ZEL_STRING_METHODS)
ZELHOST_TABLE(Containers, ZEL_CONTAINER_INTERFACE, ZEL_CONTAINER_METHODS)
ZELHOST_TABLE(Texts, POS_OBJECT_STATICS, POS_OBJECT_STATICS_METHODS)
ZELHOST_TABLE(Dicts, POS_DICT_INTERFACE, POS_DICT_METHODS)
ZELHOST_TABLE(Numbers, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS)

int main(void) {
  ZELHost *host = ZELHostNew(0);
  Atoms atoms;
  Containers containers;
  Texts texts;
  Dicts dicts;
  Numbers numbers;
  if (host == NULL || !ZELHostStart(host, NULL) || !AtomsFill(&atoms, host) ||
      !ContainersFill(&containers, host) || !TextsFill(&texts, host) || !DictsFill(&dicts, host) ||
      !NumbersFill(&numbers, host)) {
    return fprintf(stderr, "hello: %s\n", ZELHostLastError()), 2;
  }
  ZELInstance book = texts.CreateFromText("<title (A book) pages [<width 595>]>", NULL);
  if (containers.AddRef(book) == 0) return fprintf(stderr, "%s\n", ZELHostTakeReport(host)), 1;

  ZELStringAtom path = atoms.NewStringAtom("pages[0].width");
  ZELInstance width = dicts.DeepGet(book, path); /* borrowed from the book; null: not there */
  if (width != NULL) printf("pages[0].width = %g\n", numbers.Get(width));
  atoms.DeleteStringAtom(path);
  containers.Release(book);

  const int clean = ZELHostStop(host); /* nothing is held any more */
  ZELHostDestroy(host);
  return width != NULL && clean ? 0 : 1;
}
