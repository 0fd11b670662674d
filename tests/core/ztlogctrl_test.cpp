#include "core/ztlogctrl.h"

#include "support/ztcutils.h"
#include "tests/helpers/captured_log.hh"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <thread>

namespace {

TEST(Log, WritesToStandardOutputAndToTheFile) {
  CapturedLog log;
  ztLc_log("%s is %d years old\n", "Ada", 36);
  ztLc_log("no line end");
  EXPECT_EQ(log.output(), "Ada is 36 years old\nno line end");
  EXPECT_EQ(log.file(), "Ada is 36 years old\nno line end");
}

TEST(Log, FileIsCompleteAfterEveryText) {
  const TempFolder folder;
  const std::string path = folder.path("a.log");
  testing::internal::CaptureStdout();
  ztLc_closeLogFile();
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  ztLc_log("one");
  EXPECT_EQ(contentsOf(path), "one");
  ztLc_log(" two");
  EXPECT_EQ(contentsOf(path), "one two");
  ztLc_closeLogFile();
  testing::internal::GetCapturedStdout();
}

TEST(Log, KeepsTheOpenFile) {
  const TempFolder folder;
  CapturedLog log;
  EXPECT_EQ(ztLc_openLogFile(folder.path("other.log").c_str()), 1);
  EXPECT_EQ(ztLc_openLogFile(nullptr), 1);
  ztLc_log("text");
  EXPECT_EQ(log.file(), "text");
  EXPECT_FALSE(std::filesystem::exists(folder.path("other.log")));
}

TEST(Log, EmptiesTheFileItOpens) {
  const TempFolder folder;
  const std::string path = folder.path("a.log");
  writeContents(path, "old contents");
  ztLc_closeLogFile();
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  EXPECT_EQ(contentsOf(path), "");
  ztLc_closeLogFile();
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
  CapturedLog log;
  ztLc_log("%s", std::string(511, 'a').c_str());
  ztLc_log("%s", std::string(512, 'b').c_str());
  ztLc_log("%s%s", std::string(400, 'c').c_str(), std::string(100000, 'd').c_str());
  const std::string expected =
      std::string(511, 'a') + std::string(511, 'b') + std::string(400, 'c') + std::string(111, 'd');
  EXPECT_EQ(log.output(), expected);
  EXPECT_EQ(log.file(), expected);
}

TEST(Log, CutsWithinAConversionHarmlessly) {
  CapturedLog log;
  ztLc_log("%s", (std::string(510, 'a') + "%d").c_str());
  EXPECT_EQ(log.output(), std::string(510, 'a'));
  EXPECT_EQ(log.file(), std::string(510, 'a') + "%");
}

TEST(Log, KeepsTheBeginningOfATextThatCannotBeFormatted) {
  const wchar_t noCharacter[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
  CapturedLog log;
  ztLc_log("not of this locale: %ls\n", noCharacter);
  ztLc_log("as ever\n");
  EXPECT_EQ(log.output(), "not of this locale: as ever\n");
  EXPECT_EQ(log.file(), "not of this locale: as ever\n");
}

TEST(Log, FileIsNotHandedToProgramsThatTheHostStarts) {
  const TempFolder folder;
  const std::string path = folder.path("a.log");
  ztLc_closeLogFile();
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  int found = 0;
  for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // that of the walk itself is, by the end
    if (std::filesystem::read_symlink(entry.path(), gone) != std::filesystem::canonical(path)) continue;
    ++found;
    const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
    EXPECT_NE(flags & FD_CLOEXEC, 0);
  }
  EXPECT_EQ(found, 1);
  ztLc_closeLogFile();
}

TEST(Log, OpensNoPipeAndDoesNotWaitForOne) {
  const TempFolder folder;
  const std::string path = folder.path("pipe.log");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ztLc_closeLogFile();
  alarm(60);  // waiting ends the test program
  EXPECT_EQ(ztLc_openLogFile(path.c_str()), 0);
  pollfd reader = {open(path.c_str(), O_RDONLY | O_NONBLOCK), POLLIN, 0};
  EXPECT_EQ(ztLc_openLogFile(path.c_str()), 0);
  alarm(0);
  EXPECT_EQ(poll(&reader, 1, 0), 0);  // nobody came and went
  close(reader.fd);
}

TEST(Log, OpensNoDeviceNeitherDirectlyNorThroughALink) {
  const TempFolder folder;
  const std::string link = folder.path("link.log");
  ASSERT_EQ(symlink("/dev/null", link.c_str()), 0);
  ztLc_closeLogFile();
  EXPECT_EQ(ztLc_openLogFile("/dev/null"), 0);
  EXPECT_EQ(ztLc_openLogFile(link.c_str()), 0);
}

TEST(Log, OpensAFileThroughALink) {
  const TempFolder folder;
  const std::string path = folder.path("a.log");
  const std::string link = folder.path("link.log");
  ASSERT_EQ(symlink("a.log", link.c_str()), 0);
  testing::internal::CaptureStdout();
  ztLc_closeLogFile();
  EXPECT_EQ(ztLc_openLogFile(link.c_str()), 1);
  ztLc_log("text");
  ztLc_closeLogFile();
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(contentsOf(path), "text");
}

TEST(Log, FileTakesThePlaceOfNoStandardStream) {
  const TempFolder folder;
  ztLc_closeLogFile();
  const int input = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  EXPECT_EQ(ztLc_openLogFile(folder.path("a.log").c_str()), 1);
  EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
  ztLc_closeLogFile();
  if (input >= 0) {
    dup2(input, STDIN_FILENO);
    close(input);
  }
}

TEST(Log, LeavesNoHoleInAFileThatAnotherEmptied) {
  const TempFolder folder;
  const std::string path = folder.path("a.log");
  testing::internal::CaptureStdout();
  ztLc_closeLogFile();
  ASSERT_EQ(ztLc_openLogFile(path.c_str()), 1);
  ztLc_log("a text that goes\n");
  ASSERT_EQ(truncate(path.c_str(), 0), 0);
  std::ofstream(path, std::ios::app) << "another's\n";
  ztLc_log("ours\n");
  ztLc_closeLogFile();
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(contentsOf(path), "another's\nours\n");
}

// How many of the file's lines consist of one letter throughout; -1 when one does not.
int wholeLines(const std::string &path) {
  std::istringstream lines(contentsOf(path));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    if (line.size() != 400 || line != std::string(400, line[0])) return -1;
  }
  return count;
}

void logLines(char letter, int count) {
  const std::string line(400, letter);
  for (int i = 0; i < count; ++i) ztLc_log("%s\n", line.c_str());
}

TEST(Log, MixesNoTextsOfSeveralThreads) {
  CapturedLog log;
  std::thread other(logLines, 'b', 500);
  logLines('a', 500);
  other.join();
  const std::string printed = log.output();
  EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1000);
  const TempFolder folder;
  writeContents(folder.path("file"), log.file());
  writeContents(folder.path("printed"), printed);
  EXPECT_EQ(wholeLines(folder.path("file")), 1000);
  EXPECT_EQ(wholeLines(folder.path("printed")), 1000);
}

TEST(Log, PrintsTheSystemsMessageForItsConversion) {
  CapturedLog log;
  errno = ENOENT;
  ztLc_log("%s", "[%m|%30m]");
  EXPECT_EQ(log.output(), "[No such file or directory|     No such file or directory]");
  EXPECT_EQ(log.file(), "[%m|%30m]");
}

TEST(Log, TakesTheMessageFormattersResult) {
  CapturedLog log;
  ztLc_log("[%s]", ztCu_fmtMsg("<%d>", 5));
  EXPECT_EQ(log.output(), "[<5>]");
}

TEST(Log, TakesNullAndTheEmptyText) {
  CapturedLog log;
  void (*const unchecked)(const char *, ...) = ztLc_log;
  unchecked(nullptr);
  ztLc_log("%s", "");
  EXPECT_EQ(log.output(), "");
  EXPECT_EQ(log.file(), "");
}

}  // namespace
