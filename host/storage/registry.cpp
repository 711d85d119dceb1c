#include "storage/registry.h"

namespace zelhost {

bool Registry::Add(const char* interfaceName, const char* method, const char* procType,
                   ZELProc procedure, bool byOthers) {
  if (interfaceName == nullptr || method == nullptr || procType == nullptr ||
      procedure == nullptr) {
    return false;
  }
  Interface& registered = interfaces_[interfaceName];
  for (Method& known : registered.methods) {
    if (known.name == method && known.procType == procType) {
      known.procedure = procedure;
      known.byOthers |= byOthers;
      return true;
    }
  }
  registered.methods.push_back(
      {method, procType, procedure, byOthers ? nullptr : procedure, byOthers});
  return true;
}

ZELProc Registry::Find(std::string_view interfaceName, std::string_view method,
                       std::string_view procType) const {
  const auto found = interfaces_.find(interfaceName);
  if (found == interfaces_.end() || IsHidden(interfaceName, method)) return nullptr;
  for (const Method& known : found->second.methods) {
    if (known.name == method && known.procType == procType) return known.procedure;
  }
  return nullptr;
}

ZELProc Registry::FindByNames(const char* interfaceName, const char* method,
                              const char* procType) const {
  if (interfaceName == nullptr || method == nullptr || procType == nullptr) return nullptr;
  return Find(interfaceName, method, procType);
}

bool Registry::Remove(const char* interfaceName) {
  return interfaceName != nullptr && interfaces_.erase(interfaceName) != 0;
}

void Registry::Hide(const char* interfaceName, const char* method) {
  hidden_.emplace(interfaceName, method == nullptr ? "" : method);
}

void Registry::Show(const char* interfaceName, const char* method) {
  std::erase_if(hidden_, [&](const auto& entry) {
    return entry.first == interfaceName && (method == nullptr || entry.second == method);
  });
}

bool Registry::IsHidden(std::string_view interfaceName, std::string_view method) const {
  return !hidden_.empty() && (hidden_.contains({std::string(interfaceName), ""}) ||
                              hidden_.contains({std::string(interfaceName), std::string(method)}));
}

}  // namespace zelhost
