// Values from JSON.
#pragma once

#include <string>
#include <string_view>
#include <zelutils/client.hpp>

namespace zelpos {

// Reads one value, in the forms that JsonWriter writes or any other. Strings become strings of
// UTF-8 bytes; true, false and null, which POS values do not know, the strings of that name. Throws
// FileError with what is wrong and where.
zelutils::Value ReadJson(const zelutils::Client& client, const std::string& name,
                         std::string_view text);

}  // namespace zelpos
