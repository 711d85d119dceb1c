/* Reads a struct from a text, changes it, and writes it as a value. */
#include <jansson.h>
#include <stdio.h>

enum { kMostPages = 10 };
struct Page {
  double width, height;
};
struct Book {
  char title[100];
  struct Page pages[kMostPages];
  size_t count;
};

static int read_book(json_t *value, struct Book *book) {
  const char *title;
  json_t *pages;
  json_t *page;
  if (json_unpack(value, "{s:s, s:o}", "title", &title, "pages", &pages) != 0) return -1;
  snprintf(book->title, sizeof book->title, "%s", title);
  json_array_foreach(pages, book->count, page) {
    struct Page *to = &book->pages[book->count];
    if (book->count == kMostPages) return -1;
    if (json_unpack(page, "{s:F, s:F}", "width", &to->width, "height", &to->height) != 0) return -1;
  }
  return 0;
}

static json_t *write_book(const struct Book *book) {
  json_t *pages = json_array();
  for (size_t i = 0; i < book->count; ++i) {
    json_array_append_new(pages, json_pack("{s:f, s:f}", "width", book->pages[i].width, "height",
                                           book->pages[i].height));
  }
  return json_pack("{s:s, s:o}", "title", book->title, "pages", pages);
}

int main(void) {
  const char *text = "{\"title\": \"A book\", \"pages\": [{\"width\": 595, \"height\": 842}]}";
  struct Book book;
  json_t *value = json_loads(text, 0, NULL);
  if (read_book(value, &book) != 0 || book.count == kMostPages) return 1;
  json_decref(value);
  book.pages[book.count++] = (struct Page){612, 792};
  value = write_book(&book);
  json_dumpf(value, stdout, 0);
  json_decref(value);
  return 0;
}
