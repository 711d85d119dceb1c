// What cannot be brought about through the boundary: a directory with every name taken, a file
// system without exclusive renaming, threads that contend for the same names.
#include "fileutils/utils_dir.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "fileutils/file_system.h"
#include "frame/error.h"
#include "zelhost/host.h"

#if defined(__linux__)
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#endif

namespace {

namespace fs = std::filesystem;

struct Folder {
  Folder() { fs::create_directory(path); }
  ~Folder() { fs::remove_all(path); }
  std::string operator/(const char* name) const { return (path / name).string(); }
  fs::path path =
      fs::temp_directory_path() / ("zelutils-inside-" + std::to_string(NFileSystem::ProcessId()));
};

TEST(UtilsDirTest, AllNamesTakenIsAnErrorAfterTheLastCounter) {
  using NFileUtilsImpl::ZELUtilsDirImpl;
  struct TakenDirectory : ZELUtilsDirImpl {
    using ZELUtilsDirImpl::ZELUtilsDirImpl;
    bool createNewFile(const Text& name) const override {
      ++tried;
      last = name.Text();
      return tried == freeAt;
    }
    mutable uint32_t tried = 0;
    mutable std::string last;
    uint32_t freeAt = 0;
  };
  zelhost::Host host;
  host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
  const zelhost::Counts before = host.Live();
  {
    TakenDirectory directory{ZELUtilsDirImpl::Text("")};
    const ZELUtilsDirImpl::Text prefix("p");
    const ZELUtilsDirImpl::Text extension("e");
    try {
      directory.CreateUniqueFilename(prefix, extension);
      FAIL() << "all names were taken";
    } catch (const ZEL_T_NMT::CZELError& error) {
      EXPECT_STREQ(error.what(),
                   "ZELUtilsDirImpl::CreateUniqueFilename: Cannot find a unique file spec");
      EXPECT_STREQ(error.GetComponent().Text(), "ZELUtilsDir");
    }
    EXPECT_EQ(directory.tried, 65536u);
    EXPECT_EQ(directory.last.substr(directory.last.size() - 7), "pFFFF.e");
    directory.freeAt = 2 * 65536;
    EXPECT_EQ(directory.CreateUniqueFilename(prefix, extension).Text(), directory.last);
  }
  EXPECT_EQ(ToString(host.Live()), ToString(before));
}

#if defined(__linux__)
// From here on the process's kernel does not know exclusive renaming.
bool ForbidExclusiveRename() {
  sock_filter code[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {sizeof code / sizeof code[0], code};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(FileSystemTest, RenamingIsExclusiveWithoutHelpOfTheKernel) {
  const Folder folder;
  if (fork() == 0) {
    if (!ForbidExclusiveRename()) _exit(2);
    std::ofstream(folder / "file") << "text";
    std::ofstream(folder / "taken");
    fs::create_directory(folder / "directory");
    fs::create_directory(folder / "full");
    std::ofstream(folder / "full/file");
    const auto rename = [&](const char* from, const char* to) {
      return NFileSystem::Rename((folder / from).c_str(), (folder / to).c_str());
    };
    EXPECT_EQ(rename("file", "taken"), EEXIST);
    EXPECT_EQ(rename("file", "file"), EEXIST);
    EXPECT_EQ(rename("file", "directory"), EEXIST);
    EXPECT_EQ(rename("none", "new"), ENOENT);
    EXPECT_EQ(rename("full", "directory"), EEXIST);
    EXPECT_EQ(rename("full", "full/inner"), EINVAL);
    EXPECT_FALSE(NFileSystem::Exists((folder / "full/inner").c_str()));
    EXPECT_EQ(rename("file", "new"), 0);
    EXPECT_EQ(rename("full", "new full"), 0);
    EXPECT_EQ(fs::file_size(folder / "new"), 4u);
    EXPECT_TRUE(NFileSystem::Exists((folder / "new full/file").c_str()));
    EXPECT_FALSE(NFileSystem::Exists((folder / "file").c_str()));
    _exit(HasFailure() ? 1 : 0);
  }
  int status = -1;
  wait(&status);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 2) GTEST_SKIP() << "no system call filters here";
  EXPECT_EQ(status, 0);
}

TEST(FileSystemTest, EachNameIsWonByOneThreadOfOneProcess) {
  constexpr int kProcesses = 8;
  constexpr size_t kNames = 8000;
  using Wins = std::array<std::atomic<uint32_t>, kNames>;
  const Folder folder;
  void* shared =
      mmap(nullptr, sizeof(Wins), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(shared, MAP_FAILED);
  Wins& wins = *static_cast<Wins*>(shared);
  for (int process = 0; process < kProcesses; ++process) {
    if (fork() != 0) continue;
    std::atomic<uint32_t> ids[2] = {};
    const auto run = [&](size_t start, std::atomic<uint32_t>& id) {
      id = NFileSystem::ThreadId();
      for (size_t i = 0; i < kNames; ++i) {
        const size_t name = (start + i) % kNames;
        const int error =
            NFileSystem::CreateNewFile((folder / std::to_string(name).c_str()).c_str());
        if (error == 0) ++wins[name];
        if (error != 0 && error != EEXIST) wins[name] += 1000;
      }
    };
    const size_t start = static_cast<size_t>(process / 2) * (kNames / 4);
    std::thread first(run, start, std::ref(ids[0]));
    std::thread second(run, start, std::ref(ids[1]));
    first.join();
    second.join();
    _exit(ids[0] != ids[1] ? 0 : 1);
  }
  for (int process = 0; process < kProcesses; ++process) {
    int status = -1;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  for (size_t name = 0; name < kNames; ++name) ASSERT_EQ(wins[name], 1u) << name;
  munmap(shared, sizeof(Wins));
}
#endif

}  // namespace
