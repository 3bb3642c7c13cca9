/// C library functions that the test bends.
#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "code.h"
#include "sandbox.h"

namespace {

using testing::ElementsAre;

using Libc = sandbox_test;

std::string release() {
  utsname found{};
  return ::uname(&found) == 0 ? found.release : "failed";
}

std::string new_temp_file() {
  char name[] = "/tmp/mdstat.XXXXXX";
  const int file = ::mkstemp(name);
  if (file < 0) return "";
  ::close(file);
  return name;
}

TEST_F(Libc, ReportsTheKernelReleaseOfTheTest) {
  EXPECT_EQ(release(), "6.1.0-test");
  machine.kernel_release("2.6.18");
  EXPECT_EQ(release(), "2.6.18");
}

TEST_F(Libc, ReportsTheDiskSpaceOfTheTest) {
  machine.statfs("/mnt/data", {.block_size = 1024, .blocks = 1000, .available = 10, .reserved = 5});
  struct statfs found {};
  EXPECT_EQ(::statfs("/mnt/data", &found), 0);
  EXPECT_EQ(found.f_bsize, 1024);
  EXPECT_EQ(found.f_blocks, 1000U);
  EXPECT_EQ(found.f_bavail, 10U);
  EXPECT_EQ(found.f_bfree, 15U);
  struct statfs64 large {};
  EXPECT_EQ(::statfs64("/mnt/data", &large), 0);
  EXPECT_EQ(large.f_blocks, 1000U);
  EXPECT_EQ(::statfs("/mnt/other", &found), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(Libc, TurnsTempNamesBackIntoTemplates) {
  machine.tool("cat").prints("x");
  const auto name = new_temp_file();
  ASSERT_NE(name, "/tmp/mdstat.XXXXXX");
  sandbox::run("cat " + name + " > " + name);
  EXPECT_THAT(machine.commands(), ElementsAre("cat /tmp/mdstat.XXXXXX > /tmp/mdstat.XXXXXX"));
  EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("cat", "/tmp/mdstat.XXXXXX")));
  EXPECT_THAT(machine.temp_files(), ElementsAre("mdstat.XXXXXX"));
}

TEST_F(Libc, LeavesOtherNamesAlone) {
  machine.file("/tmp/mdstat.abcdef", "");
  EXPECT_THAT(machine.temp_files(), ElementsAre("mdstat.abcdef"));
}

TEST_F(Libc, FailsAsLongAsTheTestWants) {
  machine.fail("mkstemp", EMFILE);
  for (int i = 0; i < 2; ++i) {
    errno = 0;
    EXPECT_EQ(new_temp_file(), "");
    EXPECT_EQ(errno, EMFILE);
  }
}

TEST_F(Libc, FailsInOneCallOnly) {
  machine.fail("mkstemp", EMFILE, 2);
  EXPECT_NE(new_temp_file(), "");
  EXPECT_EQ(new_temp_file(), "");
  EXPECT_NE(new_temp_file(), "");
}

struct bent_function {
  const char* name;
  bool (*fails)();
};

void PrintTo(const bent_function& function, std::ostream* out) { *out << function.name; }

bool fchown_fails() {
  FILE* file = std::fopen("/tmp/there", "r");
  const bool failed = ::fchown(::fileno(file), ::getuid(), ::getgid()) != 0;
  std::fclose(file);
  return failed;
}

bool fopen_fails() {
  FILE* file = std::fopen("/tmp/there", "r");
  if (file != nullptr) std::fclose(file);
  return file == nullptr;
}

bool fstat_fails() {
  struct stat found {};
  return ::fstat(STDERR_FILENO, &found) != 0;
}

bool fsync_fails() {
  FILE* file = std::fopen("/tmp/there", "r");
  const bool failed = ::fsync(::fileno(file)) != 0;
  std::fclose(file);
  return failed;
}

bool opendir_fails() {
  DIR* directory = ::opendir("/tmp");
  if (directory != nullptr) ::closedir(directory);
  return directory == nullptr;
}

bool stat_fails() {
  struct stat found {};
  return ::stat("/tmp", &found) != 0;
}

bool statfs_fails() {
  struct statfs found {};
  return ::statfs("/tmp", &found) != 0;
}

bool gettimeofday_fails() {
  timeval now{};
  return ::gettimeofday(&now, nullptr) != 0;
}

class AnyBentFunction : public sandbox_test, public testing::WithParamInterface<bent_function> {};

TEST_P(AnyBentFunction, FailsWhenTold) {
  machine.file("/tmp/there", "");
  EXPECT_FALSE(GetParam().fails());
  machine.fail(GetParam().name, EIO);
  errno = 0;
  EXPECT_TRUE(GetParam().fails());
  EXPECT_EQ(errno, EIO);
}

INSTANTIATE_TEST_SUITE_P(
    , AnyBentFunction,
    testing::Values(bent_function{"fchown", fchown_fails}, bent_function{"fopen", fopen_fails},
                    bent_function{"fstat", fstat_fails}, bent_function{"fsync", fsync_fails},
                    bent_function{"gettimeofday", gettimeofday_fails},
                    bent_function{"mkstemp", [] { return new_temp_file().empty(); }},
                    bent_function{"opendir", opendir_fails},
                    bent_function{"rename",
                                  [] { return std::rename("/tmp/there", "/tmp/there") != 0; }},
                    bent_function{"stat", stat_fails}, bent_function{"statfs", statfs_fails},
                    bent_function{"time", [] { return std::time(nullptr) == -1; }},
                    bent_function{"uname", [] { return release() == "failed"; }}),
    [](const auto& function) { return function.param.name; });

// A shared library's calls find the first definition among the program and its libraries.
TEST_F(Libc, IsBentForSharedLibrariesToo) {
  Dl_info program{};
  ASSERT_NE(::dladdr(reinterpret_cast<void*>(&new_temp_file), &program), 0);
  for (const char* symbol :
       {"fchown", "fopen", "fopen64", "fstat", "fstat64", "fsync", "gettimeofday", "mkostemp",
        "mkostemp64", "mkstemp", "mkstemp64", "opendir", "rename", "stat", "stat64", "statfs",
        "statfs64", "time", "uname"}) {
    Dl_info found{};
    EXPECT_NE(::dladdr(::dlsym(RTLD_DEFAULT, symbol), &found), 0) << symbol;
    EXPECT_EQ(found.dli_fbase, program.dli_fbase) << symbol;
  }
}

TEST_F(Libc, OtherFunctionsCannotBeMadeToFail) {
  EXPECT_THROW(machine.fail("printf", EIO), std::invalid_argument);
}

TEST(LibcOfTheNextMachine, WorksAgain) {
  {
    sandbox::machine first;
    first.fail("mkstemp", EMFILE);
    first.kernel_release("2.6.18");
  }
  const sandbox::machine second;
  EXPECT_NE(new_temp_file(), "");
  EXPECT_EQ(release(), "6.1.0-test");
}

}  // namespace
