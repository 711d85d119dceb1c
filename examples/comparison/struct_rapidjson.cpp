// Reads a struct from a text, changes it, and writes it as a value.
#include <rapidjson/document.h>
#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/writer.h>

#include <iostream>
#include <string>
#include <vector>

struct Page {
  double width, height;
};
struct Book {
  std::string title;
  std::vector<Page> pages;
};

Book Read(const rapidjson::Value& value) {
  Book book{value["title"].GetString(), {}};
  for (const auto& page : value["pages"].GetArray()) {
    book.pages.push_back({page["width"].GetDouble(), page["height"].GetDouble()});
  }
  return book;
}

template <typename Writer>
void Write(Writer& writer, const Book& book) {
  writer.StartObject();
  writer.Key("title");
  writer.String(book.title.c_str());
  writer.Key("pages");
  writer.StartArray();
  for (const Page& page : book.pages) {
    writer.StartObject();
    writer.Key("width");
    writer.Double(page.width);
    writer.Key("height");
    writer.Double(page.height);
    writer.EndObject();
  }
  writer.EndArray();
  writer.EndObject();
}

int main() {
  rapidjson::Document parsed;
  parsed.Parse(R"({"title": "A book", "pages": [{"width": 595, "height": 842}]})");
  Book book = Read(parsed);
  book.pages.push_back({612, 792});
  rapidjson::OStreamWrapper stream(std::cout);
  rapidjson::Writer<rapidjson::OStreamWrapper> writer(stream);
  Write(writer, book);
}
