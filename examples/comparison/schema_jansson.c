/* Reads a file and prints everything that is wrong with it. json_unpack ends at the first finding:
   checks by hand. */
#include <jansson.h>
#include <stdio.h>

static void fault(const char *path, const char *key, const char *what) {
  printf("%s%s: %s\n", path, key, what);
}

static const json_t *member(const json_t *object, const char *key, json_type type,
                            const char *path) {
  const json_t *found = json_object_get(object, key);
  if (found == NULL) {
    fault(path, key, "missing");
  } else if (json_typeof(found) != type) {
    fault(path, key, "of another type");
    return NULL;
  }
  return found;
}

int main(void) {
  json_t *book = json_load_file("book.json", 0, NULL);
  const json_t *title = member(book, "title", JSON_STRING, "");
  if (title != NULL && json_string_length(title) == 0) fault("", "title", "out of range");
  const json_t *pages = member(book, "pages", JSON_ARRAY, "");
  size_t i;
  json_t *page;
  json_array_foreach(pages, i, page) {
    char path[32];
    snprintf(path, sizeof path, "pages[%u].", (unsigned)i);
    const json_t *width = member(page, "width", JSON_INTEGER, path);
    if (width != NULL && json_integer_value(width) < 10) fault(path, "width", "out of range");
  }
  json_decref(book);
  return 0;
}
