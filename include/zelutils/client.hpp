// A typed C++20 client of ZELUtils over the public C headers: values, arrays, dictionaries, streams
// and what works on them, through the procedures that the library has registered with a binder.
//
//   zelutils::Client client(host.LookupProc(), [&] { return host.TakeReports(); });
//   zelutils::Dict page = client.NewDict({{"width", 595}, {"title", u"Caf\u00e9"}});
//   page.Put("tags", client.NewArray({"draft", 2}));
//   double width = page["width"].As<double>();
//   for (const auto& [key, value] : page) ...
//   zelutils::Streamer(client).Serialize(client.OpenFile("page.pos", "wb"), page);
//
// Ownership. Every object here holds one reference to its instance, takes another when copied and
// gives it back when destroyed. Arrays and dictionaries are shared by their copies; Clone makes
// separate ones. No object may outlive the client that it came from, and the client not its host.
// Views of texts, units and bytes are borrowed from the value that gave them.
//
// Errors. Whatever a procedure reports, returns as an error object or cannot do is thrown as an
// Error. A procedure that reports gives its caller only a neutral result, so that the client asks
// its report source after every such result: what was reported earlier and taken by nobody, it
// takes for its own. Without a report source, only those failures are noticed that the result
// shows.
//
// Texts given are bytes without a NUL inside. All of it is used one call at a time.
#pragma once

#include "zelutils/client_base.hpp"
#include "zelutils/client_streams.hpp"
#include "zelutils/client_values.hpp"
