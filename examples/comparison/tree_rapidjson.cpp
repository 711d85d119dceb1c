// Builds a tree, looks into it, prints it.
#include <rapidjson/document.h>
#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/writer.h>

#include <iostream>

int main() {
  rapidjson::Document book(rapidjson::kObjectType);
  auto& memory = book.GetAllocator();
  rapidjson::Value pages(rapidjson::kArrayType);
  for (const int width : {595, 842}) {
    pages.PushBack(rapidjson::Value(rapidjson::kObjectType).AddMember("width", width, memory),
                   memory);
  }
  rapidjson::Value cover(rapidjson::kObjectType);
  cover.AddMember("width", 612, memory).AddMember("colour", "blue", memory);
  book.AddMember("title", "A book", memory).AddMember("pages", pages, memory);
  book.AddMember("cover", cover, memory);
  rapidjson::OStreamWrapper stream(std::cout);
  rapidjson::Writer<rapidjson::OStreamWrapper> writer(stream);
  std::cout << book["pages"][1]["width"].GetInt() << '\n';
  book.Accept(writer);
}
