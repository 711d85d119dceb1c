// Messages of a check, with the part of the value that each is about.
#pragma once

#include <string>
#include <string_view>
#include <zelutils/client.hpp>
#include <zelutils/text_places.hpp>

namespace zelpos {

struct Finding {
  zelutils::PathSteps path;
  bool isAboutKey = false;  // of the member that the path leads to, and not about its value
  std::string message;      // without the beginnings that the path tells
};

// Takes the beginnings of a validation message ("pages (required, type != Pages): [0]: ...") as
// steps into the value that was checked. Beginnings that tell no place, those of unions and
// intersections, stay in the message.
Finding Understand(const zelutils::Value& root, std::string_view message);

}  // namespace zelpos
