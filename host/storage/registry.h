// The registry behind the binder: procedures by the triple of interface, method and procedure type.
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelutils/types.h"

namespace zelhost {

class Registry {
 public:
  struct Method {
    std::string name;
    std::string procType;
    ZELProc procedure;
    ZELProc offered;  // by the host or its program at first; null: by others
    bool byOthers;    // has been registered by others than the host
  };
  struct Interface {
    std::vector<Method> methods;  // some dozens at most, and found once per import

    // Whether anything of others is there; a procedure that they have put back in its place is not.
    bool IsOfOthers() const {
      return std::any_of(methods.begin(), methods.end(), [](const Method& method) {
        return method.byOthers && method.procedure != method.offered;
      });
    }
  };

  // Takes the place of the procedure that has the triple. False when an argument is null.
  bool Add(const char* interfaceName, const char* method, const char* procType, ZELProc procedure,
           bool byOthers);
  // Null when there is none, or when it is hidden.
  ZELProc Find(std::string_view interfaceName, std::string_view method,
               std::string_view procType) const;
  // Null as well when an argument is null.
  ZELProc FindByNames(const char* interfaceName, const char* method, const char* procType) const;
  // False when there is no such interface.
  bool Remove(const char* interfaceName);

  // With a null method: all of the interface.
  void Hide(const char* interfaceName, const char* method);
  void Show(const char* interfaceName, const char* method);

  template <typename Visit>
  void ForEachOfOthers(Visit visit) const {
    for (const auto& [name, registered] : interfaces_) {
      if (registered.IsOfOthers()) visit(name, registered);
    }
  }

 private:
  bool IsHidden(std::string_view interfaceName, std::string_view method) const;

  std::map<std::string, Interface, std::less<>> interfaces_;
  std::set<std::pair<std::string, std::string>> hidden_;  // an empty method name: all of them
};

}  // namespace zelhost
