// The host's C interface, and the search for the library that all users of the host share.
#include "zelhost/zelhost.h"

#include "support.h"

namespace {

namespace fs = std::filesystem;

ZELHOST_TABLE(Memory, ZEL_MEMORY_INTERFACE, ZEL_MEMORY_METHODS)
ZELHOST_TABLE(Dicts, POS_DICT_INTERFACE, POS_DICT_METHODS)

TEST(HostCTest, AProgramGetsWhatItAsksFor) {
  for (const std::uint32_t options :
       {0u, ZELHOST_GUARD_MEMORY, ZELHOST_GUARD_MEMORY | ZELHOST_ANY_THREAD}) {
    ZELHost* host = ZELHostNew(options);
    ASSERT_NE(host, nullptr) << ZELHostLastError();
    EXPECT_EQ(ZELHostLibraryVersion(host), 0u);
    ASSERT_EQ(ZELHostStart(host, zeltest::LibraryPath().c_str()), 1) << ZELHostLastError();
    EXPECT_EQ(ZELHostLibraryVersion(host), ZELUTILS_VERSION);

    Memory memory = {};
    Dicts dicts = {};
    ASSERT_EQ(MemoryFill(&memory, host), 1);
    ASSERT_EQ(DictsFill(&dicts, host), 1);
    EXPECT_EQ(reinterpret_cast<ZELProc>(dicts.Put),
              ZELHostLookup(host, "POSDictInterface", "Put", "POSDictPutProc"));
    EXPECT_EQ(reinterpret_cast<ZELProc>(dicts.Put),
              ZELHostLookupProc()("POSDictInterface", "Put", "POSDictPutProc"));

    EXPECT_EQ(ZELHostTakeReport(host), nullptr);
    for (int i = 0; i < 2; ++i) dicts.Remove(nullptr, 0);
    for (int i = 0; i < 2; ++i) EXPECT_STREQ(ZELHostTakeReport(host), "null string atom");
    EXPECT_EQ(ZELHostTakeReport(host), nullptr);

    void* block = memory.Alloc(24);
    ZELHostCounts counts = {};
    EXPECT_EQ(ZELHostCount(host, &counts), 1);
    EXPECT_GE(counts.bytes, 24u);
    EXPECT_EQ(counts.interfaces, 15u);
    EXPECT_NE(std::string(ZELHostLeaks(host)).find("still held: block of 24 bytes"),
              std::string::npos);
    EXPECT_EQ(ZELHostStop(host), 0) << "a block is held";
    EXPECT_EQ(std::string(ZELHostLastError()).find("not clean: block of 24 bytes"), 0u);
    memory.Free(block);
    EXPECT_EQ(ZELHostStop(host), 1) << ZELHostLastError();
    EXPECT_EQ(ZELHostCount(host, &counts), 1);
    EXPECT_EQ(counts.blocks + counts.bytes + counts.atoms + counts.instances + counts.interfaces,
              0u);
    EXPECT_STREQ(ZELHostLeaks(host), "");
    EXPECT_EQ(DictsFill(&dicts, host), 0);
    EXPECT_EQ(dicts.Put, nullptr);
    memory.Free(memory.Alloc(1));
    ZELHostDestroy(host);
  }
}

TEST(HostCTest, FailuresAreAnsweredWithTheirReason) {
  ZELHost* const gone = ZELHostNew(0);
  ZELHostDestroy(gone);
  ZELHostDestroy(gone);
  EXPECT_STREQ(ZELHostLastError(), "the host has been destroyed");
  ZELHostDestroy(nullptr);
  EXPECT_EQ(ZELHostNew(4), nullptr);
  EXPECT_STREQ(ZELHostLastError(), "there is no such option");

  ZELHostCounts counts = {};
  for (ZELHost* none : {gone, static_cast<ZELHost*>(nullptr)}) {
    const std::string reason =
        none == nullptr ? "there is no host: the handle is null" : "the host has been destroyed";
    const std::function<bool()> calls[] = {
        [&] { return ZELHostStart(none, nullptr) == 0; },
        [&] { return ZELHostStop(none) == 0; },
        [&] { return ZELHostLibraryVersion(none) == 0; },
        [&] { return ZELHostLookup(none, "ZEL", "ZELReportError", "ZELReportError") == nullptr; },
        [&] { return ZELHostTakeReport(none) == nullptr; },
        [&] { return ZELHostCount(none, &counts) == 0; },
        [&] { return ZELHostLeaks(none) == nullptr; },
    };
    for (const auto& fails : calls) {
      EXPECT_EQ(ZELHostNew(4), nullptr);  // another reason meanwhile
      EXPECT_TRUE(fails());
      EXPECT_EQ(ZELHostLastError(), reason);
    }
  }

  ZELHost* host = ZELHostNew(0);
  const std::pair<std::function<bool()>, const char*> rows[] = {
      {[] { return ZELHostNew(0) == nullptr; }, "there is a host in this process already"},
      {[&] { return ZELHostStart(host, "no/such/library") == 0; }, "no/such/library"},
      {[&] { return ZELHostLookup(host, "None", "M", "T") == nullptr; },
       "no procedure is registered under (\"None\", \"M\", \"T\")"},
      {[&] { return ZELHostLookup(host, nullptr, "M", "T") == nullptr; },
       "no procedure is registered under (\"\", \"M\", \"T\")"},
      {[&] { return ZELHostCount(host, nullptr) == 0; }, "there is no place for the counts"},
      {[&] {
         return ZELHostStart(host, zeltest::LibraryPath().c_str()) == 1 &&
                ZELHostStart(host, nullptr) == 0;
       },
       "the host has started a library already"},
  };
  for (const auto& [fails, reason] : rows) {
    EXPECT_TRUE(fails()) << reason;
    EXPECT_NE(std::string(ZELHostLastError()).find(reason), std::string::npos)
        << ZELHostLastError();
  }
  ZELHostDestroy(host);
}

// Installed in one way or another, a program finds the library in this order: beside itself, in the
// installation's folder for libraries, beside the shared host, by the variable, by the loader.
TEST(HostCTest, TheLibraryIsFoundWithoutBeingNamed) {
  const fs::path library = fs::path(ZEL_LIBRARY_PATH).filename();
  const char* const fromBin = ZEL_FROM_BIN_TO_LIB;
  const struct {
    const char* program;  // hello or hello_shared
    const char* folder;   // where the library lies, seen from the program; null: nowhere near
    const char* decoy;  // the same of a file that is no library, which would be found if looked at
    const char* variable;  // what ZELUTILS_LIBRARY names: "good", "bad"; null: not set
    bool found;
    bool posixOnly = false;
  } rows[] = {
      {ZEL_HELLO_PATH, ".", fromBin, "bad", true},
      {ZEL_HELLO_PATH, ".", nullptr, nullptr, true},
      {ZEL_HELLO_PATH, fromBin, nullptr, "bad", true},
      {ZEL_HELLO_PATH, "../lib", nullptr, "bad", true},
      {ZEL_HELLO_PATH, "../lib64", nullptr, "bad", true, true},
      {ZEL_HELLO_PATH, "../" ZEL_MULTIARCH, nullptr, "bad", true, true},
      {ZEL_HELLO_PATH, fromBin, ".", "good", false},
      {ZEL_HELLO_PATH, nullptr, nullptr, "good", true},
      {ZEL_HELLO_PATH, nullptr, nullptr, "bad", false},
      {ZEL_HELLO_SHARED_PATH, "../host", nullptr, "bad", true, true},
      {ZEL_HELLO_SHARED_PATH, nullptr, "../host", "good", false, true},
      {ZEL_HELLO_PATH, "../searched", nullptr, nullptr, true, true},
      {ZEL_HELLO_PATH, "../searched", nullptr, "bad", false, true},
  };
  for (const auto& row : rows) {
    if (row.posixOnly && zeltest::kIsWindows) continue;
    SCOPED_TRACE(testing::Message() << "row " << &row - rows);
    const zeltest::Folder folder;
    const fs::path bin = folder.path / "prefix" / "bin";
    const auto inside = [&](const char* name) { return (bin / name).lexically_normal(); };
    const char* const multiarch = "../" ZEL_MULTIARCH;
    for (const char* name :
         {".", fromBin, "../lib", "../lib64", multiarch, "../host", "../searched", "../far"}) {
      fs::create_directories(inside(name));
    }
    const fs::path program = bin / fs::path(row.program).filename();
    fs::copy_file(row.program, program);
    fs::copy_file(ZEL_HOST_LIBRARY_PATH,
                  inside("../host") / fs::path(ZEL_HOST_LIBRARY_PATH).filename());
    fs::copy_file(ZEL_LIBRARY_PATH, inside("../far") / library);
    if (row.folder != nullptr) fs::copy_file(ZEL_LIBRARY_PATH, inside(row.folder) / library);
    if (row.decoy != nullptr) std::ofstream(inside(row.decoy) / library) << "no library";

    const std::string named =
        row.variable == nullptr
            ? ""
            : (row.variable == std::string("good") ? inside("../far") / library : bin / "bad")
                  .string();
    zeltest::SetVariable("ZELUTILS_LIBRARY", named);
#if defined(_WIN32)
    const std::string command = "\"\"" + program.string() + "\" >NUL 2>NUL\"";
#else
    const std::string command = "LD_LIBRARY_PATH='" + inside("../host").string() + ":" +
                                inside("../searched").string() + "' " ZEL_EMULATOR "'" +
                                program.string() + "' >/dev/null 2>'" + (folder / "error") + "'";
#endif
    EXPECT_EQ(std::system(command.c_str()) == 0, row.found) << folder.Contents(folder / "error");
    zeltest::SetVariable("ZELUTILS_LIBRARY", "");
  }
}

}  // namespace
