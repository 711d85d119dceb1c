// A typed C++20 client of ZELUtils over the public C headers: values, arrays, dictionaries, streams
// and what works on them, through the procedures that the library has registered with a binder. A
// program without a host of its own begins with zelutils/session.hpp; one that has a host makes a
// Client:
//
//   zelutils::Client client(host);    // or (lookup procedure, source of reports)
//   zelutils::Dict page = client.NewDict({{"width", 595}, {"title", u"Caf\u00e9"}});
//   page["tags"] = {"draft", 2};
//   double width = page["width"].As<double>();
//   for (const auto& [key, value] : page) std::cout << key << " = " << value << '\n';
//   client.StoreFile("page.zel", page);
//
// Ownership. Every object here holds one reference to its instance, takes another when copied and
// gives it back when destroyed. Arrays and dictionaries are shared by their copies; Clone makes
// separate ones. Elements and iterators hold the array or dictionary that they are of. Iterators
// give copies: to change a member, assign to array[index] or dict[key]. A client must
// not outlive its host. An object that outlives its client can only be destroyed or assigned
// to: any other use throws, and its reference is not given back. Views of texts, units and bytes
// are borrowed from a value that has a name; of a temporary one the text itself is given.
//
// Errors. Whatever a procedure reports, returns as an error object or cannot do is thrown as an
// Error (client_error.hpp), which tells where in a value, what was wanted and what was found. A
// procedure that reports gives its caller only a neutral result, so that the client asks its source
// of reports after every such result: what was reported earlier and taken by nobody, it takes for
// its own. Exceptions of a program's own ToPos, FromPos and checks of a validation come through;
// procedures that are given to the library by their addresses must not throw.
//
// Texts given are bytes without a NUL inside. All of it is used one call at a time, in
// the thread that the host belongs to.
#pragma once

#include "zelutils/client_base.hpp"
#include "zelutils/client_convert.hpp"
#include "zelutils/client_files.hpp"
#include "zelutils/client_streams.hpp"
#include "zelutils/client_text.hpp"
#include "zelutils/client_validator.hpp"
