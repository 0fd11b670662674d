#include "core/ztlogctrl.h"

#include "support/ztcutils.h"
#include "tests/helpers/captured_log.hh"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// No log is open when a test begins.
class LogFile : public testing::Test {
 protected:
  LogFile() {
    ztLc_closeLogFile();
    testing::internal::CaptureStdout();
  }
  ~LogFile() override {
    ztLc_closeLogFile();
    const std::string printed = testing::internal::GetCapturedStdout();
    if (HasFailure()) fputs(printed.c_str(), stdout);
  }

  const TempFolder folder;
  const std::string path = folder.path("a.log");
};

TEST(Log, WritesToStandardOutputAndToTheFile) {
  CapturedLog log;
  ztLc_log("%s is %d years old\n", "Ada", 36);
  ztLc_log("no line end");
  EXPECT_EQ(log.output(), "Ada is 36 years old\nno line end");
  EXPECT_EQ(log.file(), "Ada is 36 years old\nno line end");
}

TEST_F(LogFile, IsEmptiedWhenItIsOpenedAndCompleteAfterEveryText) {
  writeContents(path, "old contents");
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  EXPECT_EQ(contentsOf(path), "");
  ztLc_log("one");
  EXPECT_EQ(contentsOf(path), "one");
  ztLc_log(" two");
  EXPECT_EQ(contentsOf(path), "one two");
}

TEST_F(LogFile, StaysTheOpenOne) {
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  EXPECT_EQ(ztLc_openLogFile(folder.path("other.log").c_str()), 1);
  EXPECT_EQ(ztLc_openLogFile(nullptr), 1);
  ztLc_log("text");
  EXPECT_EQ(contentsOf(path), "text");
  EXPECT_FALSE(std::filesystem::exists(folder.path("other.log")));
}

TEST(Log, GoesOnWithoutAFile) {
  const TempFolder folder;
  ztLc_closeLogFile();
  EXPECT_EQ(ztLc_openLogFile(folder.path().c_str()), 0);
  EXPECT_EQ(ztLc_openLogFile(folder.path("missing/a.log").c_str()), 0);
  EXPECT_EQ(ztLc_openLogFile(nullptr), 0);
  testing::internal::CaptureStdout();
  ztLc_log("heard\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "heard\n");
  EXPECT_EQ(ztLc_openLogFile(folder.path("a.log").c_str()), 1);
  ztLc_closeLogFile();
  ztLc_closeLogFile();
}

TEST(Log, CutsATextAt511Bytes) {
  const std::string printed =
      std::string(511, 'a') + std::string(511, 'b') + std::string(400, 'c') + std::string(111, 'd');
  CapturedLog log;
  ztLc_log("%s", std::string(511, 'a').c_str());
  ztLc_log("%s", std::string(512, 'b').c_str());
  ztLc_log("%s%s", std::string(400, 'c').c_str(), std::string(100000, 'd').c_str());
  ztLc_log("%s", (std::string(510, 'e') + "%d").c_str());  // within a conversion
  EXPECT_EQ(log.output(), printed + std::string(510, 'e'));
  EXPECT_EQ(log.file(), printed + std::string(510, 'e') + "%");
}

TEST(Log, KeepsTheBeginningOfATextThatCannotBeFormatted) {
  const wchar_t noCharacter[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
  CapturedLog log;
  ztLc_log("not of this locale: %ls\n", noCharacter);
  ztLc_log("as ever\n");
  EXPECT_EQ(log.output(), "not of this locale: as ever\n");
  EXPECT_EQ(log.file(), "not of this locale: as ever\n");
}

TEST_F(LogFile, IsNotHandedToProgramsThatTheHostStarts) {
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  int found = 0;
  for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // that of the walk itself is, by the end
    if (std::filesystem::read_symlink(entry.path(), gone) != std::filesystem::canonical(path)) continue;
    ++found;
    EXPECT_NE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0);
  }
  EXPECT_EQ(found, 1);
}

TEST_F(LogFile, IsNoPipeAndDoesNotWaitForOne) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  alarm(60);  // waiting ends the test program
  EXPECT_EQ(ztLc_openLogFile(path.c_str()), 0);
  pollfd reader = {open(path.c_str(), O_RDONLY | O_NONBLOCK), POLLIN, 0};
  EXPECT_EQ(ztLc_openLogFile(path.c_str()), 0);
  alarm(0);
  EXPECT_EQ(poll(&reader, 1, 0), 0);  // nobody came and went
  close(reader.fd);
}

TEST_F(LogFile, IsNoDeviceNeitherDirectlyNorThroughALink) {
  ASSERT_EQ(symlink("/dev/null", path.c_str()), 0);
  EXPECT_EQ(ztLc_openLogFile("/dev/null"), 0);
  EXPECT_EQ(ztLc_openLogFile(path.c_str()), 0);
}

TEST_F(LogFile, IsNoFileThatCannotBeEmptied) {
  const int sealed = memfd_create("log", MFD_ALLOW_SEALING);
  ASSERT_EQ(write(sealed, "kept", 4), 4);
  ASSERT_EQ(fcntl(sealed, F_ADD_SEALS, F_SEAL_SHRINK), 0);
  const int next = dup(sealed);
  close(next);
  const std::string name = "/proc/self/fd/" + std::to_string(sealed);
  EXPECT_EQ(ztLc_openLogFile(name.c_str()), 0);
  EXPECT_EQ(dup(sealed), next) << "it is closed again";
  close(next);
  ztLc_log("heard");
  EXPECT_EQ(lseek(sealed, 0, SEEK_END), 4);
  close(sealed);
}

TEST_F(LogFile, MayBeReachedThroughALink) {
  const std::string link = folder.path("link.log");
  ASSERT_EQ(symlink("a.log", link.c_str()), 0);
  EXPECT_EQ(ztLc_openLogFile(link.c_str()), 1);
  ztLc_log("text");
  EXPECT_EQ(contentsOf(path), "text");
}

TEST_F(LogFile, TakesThePlaceOfNoStandardStream) {
  const int input = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  EXPECT_EQ(ztLc_openLogFile(path.c_str()), 1);
  EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
  if (input < 0) return;
  dup2(input, STDIN_FILENO);
  close(input);
}

TEST_F(LogFile, HasNoHoleWhenAnotherEmptiedIt) {
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  ztLc_log("a text that goes\n");
  ASSERT_EQ(truncate(path.c_str(), 0), 0);
  std::ofstream(path, std::ios::app) << "another's\n";
  ztLc_log("ours\n");
  EXPECT_EQ(contentsOf(path), "another's\nours\n");
}

TEST(Log, PrintsTheSystemsMessageForItsConversion) {
  CapturedLog log;
  errno = ENOENT;
  ztLc_log("%s", "[%m|%30m]");
  EXPECT_EQ(log.output(), "[No such file or directory|     No such file or directory]");
  EXPECT_EQ(log.file(), "[%m|%30m]");
}

TEST(Log, TakesTheMessageFormattersResultNullAndTheEmptyText) {
  CapturedLog log;
  ztLc_log("[%s]", ztCu_fmtMsg("<%d>", 5));
  void (*const unchecked)(const char *, ...) = ztLc_log;
  unchecked(nullptr);
  ztLc_log("%s", "");
  EXPECT_EQ(log.output(), "[<5>]");
  EXPECT_EQ(log.file(), "[<5>]");
}

}  // namespace
