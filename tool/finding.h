// Messages of a check, with the part of the value that each is about.
#pragma once

#include <string>
#include <string_view>
#include <vector>
#include <zelutils/client.hpp>
#include <zelutils/text_places.hpp>

namespace zelpos {

struct Finding {
  // An alternative of a union that was tried, and how many steps of the path lead to the union.
  struct Tried {
    std::size_t depth;
    std::string type;
  };

  zelutils::PathSteps path;
  bool isAboutKey = false;  // of the member that the path leads to, and not about its value
  std::string message;      // without the beginnings that the path tells
  std::vector<Tried> tried;
  std::string fault;  // the message's end, without any beginnings
};

// Takes the beginnings of a validation message ("pages (required, type != Pages): [0]: ...") as
// steps into the value that was checked. Beginnings that tell no place, those of unions and
// intersections, stay in the message.
Finding Understand(const zelutils::Value& root, std::string_view message);

// Leaves out what says little: of a union whose alternatives are told apart by a member with listed
// values, such as a kind or category, the findings of those that the member rules out.
// An objection that all alternatives share comes once.
std::vector<Finding> Essential(const std::vector<Finding>& findings);
// The same for the faults of a schema: a definition is judged by the category that it names.
std::vector<Finding> EssentialOfSchema(const zelutils::Value& schema,
                                       const std::vector<Finding>& findings);

}  // namespace zelpos
