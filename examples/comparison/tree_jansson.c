/* Builds a tree, looks into it, prints it. */
#include <jansson.h>
#include <stdio.h>

int main(void) {
  json_t *book =
      json_pack("{s:s, s:[{s:i}, {s:i}]}", "title", "A book", "pages", "width", 595, "width", 842);
  json_object_set_new(book, "cover", json_pack("{s:i, s:s}", "width", 612, "colour", "blue"));
  json_t *page = json_array_get(json_object_get(book, "pages"), 1);
  printf("%d\n", (int)json_integer_value(json_object_get(page, "width")));
  json_dumpf(book, stdout, 0);
  json_decref(book);
  return 0;
}
