#include "support/ztdirman.h"

#include "tests/helpers/temp_folder.hh"

#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

struct Report {
  Names paths, names;
};

int32_t note(const char *path, const char *name, void *userData) {
  auto *report = static_cast<Report *>(userData);
  report->paths.push_back(path);
  report->names.push_back(name);
  return 0;
}

Report walk(const std::string &directory, const char *extension, bool recursive) {
  Report report;
  EXPECT_EQ(ztDm_enumFiles(directory.c_str(), extension, recursive, note, &report), 1);
  return report;
}

// The paths found, in alphabetical order.
Names found(const char *extension, const std::string &directory = ".", bool recursive = false) {
  Names paths = walk(directory, extension, recursive).paths;
  std::sort(paths.begin(), paths.end());
  return paths;
}

Names foundBelow(const std::string &directory = ".") {
  return found("txt", directory, true);
}

// An empty temporary folder, which is the current one during the test.
class Folder : public testing::Test {
 protected:
  Folder() {
    fs::current_path(folder);
  }
  ~Folder() override {
    fs::current_path(before);
  }

  // Makes empty files.
  static void touch(const Names &files) {
    for (const std::string &file : files) EXPECT_TRUE(std::ofstream(file)) << file;
  }

  // A relative path of existing folders, of exactly this length.
  static std::string folderOfLength(size_t length) {
    std::string path;
    while (length - path.size() > 200) path += std::string(99, 'd') + "/";
    path += std::string(length - path.size(), 'e');
    fs::create_directories(path);
    return path;
  }

  const fs::path before = fs::current_path();
  const TempFolder temporary;
  const std::string folder = fs::canonical(temporary.path());
};

// Directories -------------------------------------------------------------------------------------

TEST_F(Folder, IsNotMade) {
  EXPECT_EQ(ztDm_makeDir("made"), 0);
  EXPECT_FALSE(fs::exists("made"));
  EXPECT_EQ(ztDm_makeDir(nullptr), 0);
}

TEST_F(Folder, IsToldAndChanged) {
  char out[512];
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), folder);
  EXPECT_EQ(ztDm_getCurrentDir(out), out);
  EXPECT_EQ(out, folder);
  touch({"file"});
  for (const char *path : {"missing", "file", "", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(ztDm_changeDir(path), 0);
  }
  EXPECT_EQ(fs::current_path(), folder);
  fs::create_directory("sub");
  EXPECT_EQ(ztDm_changeDir("sub"), 1);
  EXPECT_EQ(fs::current_path(), folder + "/sub");
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), folder + "/sub");
}

TEST_F(Folder, IsTheRootWhereItWasRemovedOrItsPathIsLong) {
  fs::create_directory("sub");
  fs::current_path("sub");
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), folder + "/sub");
  fs::remove(folder + "/sub");
  EXPECT_STREQ(ztDm_getCurrentDir(nullptr), "/");
  fs::current_path(folder);
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), folder);
  fs::current_path(folderOfLength(600));
  char out[512];
  EXPECT_STREQ(ztDm_getCurrentDir(out), "/");
}

// The walk ----------------------------------------------------------------------------------------

TEST_F(Folder, ReportsTheFilesWithTheExtension) {
  touch({"a.txt", "a.TXT", "a.txt.bak", "b.c.txt", "txt", ".txt", "a.", "a.tx", "a.txtx"});
  EXPECT_EQ(found("txt"), (Names{"./a.txt", "./b.c.txt"}));
  EXPECT_EQ(found("TXT"), Names{"./a.TXT"});
  EXPECT_EQ(found("c.txt"), Names{});
  EXPECT_EQ(found(""), Names{"./a."});
}

TEST_F(Folder, ReportsPathNameAndUserData) {
  touch({"a.txt"});
  const Report report = walk(folder, "txt", false);
  EXPECT_EQ(report.paths, Names{folder + "/a.txt"});
  EXPECT_EQ(report.names, Names{"a.txt"});
}

TEST_F(Folder, AStarIsAWildcardInTheEntryAndNotInThePattern) {
  touch({"a.txt", "b.*", "c.**"});
  EXPECT_EQ(found("txt"), (Names{"./a.txt", "./b.*"}));
  EXPECT_EQ(found("*"), Names{"./b.*"});
}

TEST_F(Folder, FixesTheReportedPath) {
  touch({"a.txt"});
  EXPECT_EQ(found("txt", "./"), Names{"./a.txt"});
  EXPECT_EQ(found("txt", folder + "/"), Names{folder + "//a.txt"});
}

TEST_F(Folder, WalksTheFoldersBelowOnlyWhenAsked) {
  fs::create_directories("s/t");
  touch({"a.txt", "s/b.txt", "s/t/c.txt", "s/t/d.bin"});
  EXPECT_EQ(found("txt"), Names{"./a.txt"});
  EXPECT_EQ(foundBelow(), (Names{"./a.txt", "./s/b.txt", "./s/t/c.txt"}));
}

TEST_F(Folder, ReportsAFolderLikeAFileAndAfterWhatIsInIt) {
  fs::create_directories("s.txt/t.txt");
  touch({"s.txt/t.txt/a.txt"});
  EXPECT_EQ(walk(".", "txt", true).paths, (Names{"./s.txt/t.txt/a.txt", "./s.txt/t.txt", "./s.txt"}));
  EXPECT_EQ(walk(".", "txt", false).paths, Names{"./s.txt"});
}

TEST_F(Folder, ReportsInTheOrderOfTheSystem) {
  for (int i = 0; i < 40; ++i) touch({std::to_string(i * 7919 % 101) + ".txt"});
  Names expected;
  DIR *entries = opendir(".");
  ASSERT_NE(entries, nullptr);
  while (const dirent *entry = readdir(entries)) expected.push_back(entry->d_name);
  closedir(entries);
  std::erase_if(expected, [](const std::string &name) { return name == "." || name == ".."; });
  EXPECT_EQ(walk(".", "txt", true).names, expected);
}

TEST_F(Folder, HasNoFilesWhereItIsMissingOrAnArgumentIsNull) {
  touch({"a.txt"});
  for (const char *path : {"missing", "a.txt", ""}) EXPECT_EQ(foundBelow(path), Names{}) << path;
  Report report;
  EXPECT_EQ(ztDm_enumFiles(nullptr, "txt", 1, note, &report), 1);
  EXPECT_EQ(ztDm_enumFiles(".", nullptr, 1, note, &report), 1);
  EXPECT_EQ(ztDm_enumFiles(".", "txt", 1, nullptr, &report), 1);
  EXPECT_EQ(report.paths, Names{});
}

TEST_F(Folder, IgnoresTheResultOfTheCallback) {
  touch({"a.txt", "b.txt"});
  int calls = 0;
  const auto count = [](const char *, const char *, void *userData) -> int32_t {
    ++*static_cast<int *>(userData);
    return -1;
  };
  ztDm_enumFiles(".", "txt", 0, count, &calls);
  EXPECT_EQ(calls, 2);
}

TEST_F(Folder, LeavesOutEntriesWhosePathDoesNotFit) {
  const std::string directory = folderOfLength(500);
  const std::string fits = directory + "/" + std::string(6, 'f') + ".txt";
  touch({fits, directory + "/" + std::string(7, 'l') + ".txt"});
  fs::create_directory(directory + "/folders_name");
  EXPECT_EQ(fits.size(), 511u);
  EXPECT_EQ(foundBelow(directory), Names{fits});
}

TEST_F(Folder, HasNoEntriesWhenItsPathFillsTheBuffer) {
  for (const size_t length : {511U, 700U}) {
    const std::string directory = folderOfLength(length);
    touch({directory + "/a.txt"});
    EXPECT_EQ(foundBelow(directory), Names{}) << length;
  }
}

TEST_F(Folder, IsWalkedDownAsFarAsPathsReach) {
  for (int depth = 0; depth < 300; ++depth) {
    touch({"x.txt"});
    ASSERT_EQ(mkdir("d", 0700), 0);
    ASSERT_EQ(chdir("d"), 0);
  }
  fs::current_path(folder);
  const Names paths = foundBelow();
  // "./", a number of "d/" and "x.txt" in 511 bytes.
  EXPECT_EQ(paths.size(), 253u);
  for (const std::string &path : paths) EXPECT_LE(path.size(), 511u);
}

TEST_F(Folder, MayBeALink) {
  fs::create_directories("s");
  touch({"s/a.txt"});
  fs::create_directory_symlink("s", "link");
  fs::create_symlink("missing", "dangling.txt");
  EXPECT_EQ(foundBelow(), (Names{"./dangling.txt", "./link/a.txt", "./s/a.txt"}));
}

TEST_F(Folder, MayBeALinkToAnotherFileSystem) {
  struct stat here, there;
  ASSERT_EQ(stat(".", &here), 0);
  if (stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev) GTEST_SKIP() << "there is one only";
  std::string other = "/dev/shm/ztdirmanXXXXXX";
  if (mkdtemp(other.data()) == nullptr) GTEST_SKIP() << "the other one is read-only";
  touch({other + "/a.txt", "b.txt"});
  fs::create_directory_symlink(other, "link");
  fs::create_directory_symlink(folder, other + "/back");
  EXPECT_EQ(foundBelow(), (Names{"./b.txt", "./link/a.txt"}));
  fs::remove_all(other);
}

TEST_F(Folder, IsNotWalkedAgainBelowItself) {
  fs::create_directory("s.txt");
  touch({"s.txt/a.txt"});
  fs::create_directory_symlink("..", "s.txt/up.txt");
  fs::create_directory_symlink(".", "s.txt/self.txt");
  EXPECT_EQ(foundBelow(), (Names{"./s.txt", "./s.txt/a.txt", "./s.txt/self.txt", "./s.txt/up.txt"}));
}

TEST_F(Folder, IsWalkedOnceInLoopsOfLinksThatMultiply) {
  fs::create_directories("s/t/u");
  touch({"s/a.txt", "s/t/b.txt", "s/t/u/c.txt"});
  for (const std::string link : {"1", "2", "3", "4"}) {
    for (const char *directory : {"s/", "s/t/", "s/t/u/"}) {
      fs::create_directory_symlink(folder, directory + link);
    }
  }
  EXPECT_EQ(foundBelow(), (Names{"./s/a.txt", "./s/t/b.txt", "./s/t/u/c.txt"}));
}

TEST_F(Folder, IsWalkedForEachLinkBesideIt) {
  fs::create_directory("s");
  fs::create_directory("l");
  touch({"s/a.txt"});
  for (const char *link : {"l/one", "l/two"}) fs::create_directory_symlink("../s", link);
  EXPECT_EQ(foundBelow(), (Names{"./l/one/a.txt", "./l/two/a.txt", "./s/a.txt"}));
}

TEST_F(Folder, IsNotLeftOpen) {
  fs::create_directories("s/t");
  fs::create_directory_symlink("..", "s/t/up");
  const auto openFiles = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto openBefore = openFiles();
  walk(".", "txt", true);
  EXPECT_EQ(openFiles(), openBefore);
}

TEST_F(Folder, MayBeRemovedByTheCallbackWhileItIsWalked) {
  for (int i = 0; i < 20; ++i) {
    fs::create_directories("tree/" + std::to_string(i));
    touch({"tree/" + std::to_string(i) + "/a.txt"});
  }
  int calls = 0;
  const auto removeAll = [](const char *, const char *, void *userData) -> int32_t {
    fs::remove_all("tree");
    return ++*static_cast<int *>(userData);
  };
  EXPECT_EQ(ztDm_enumFiles("tree", "txt", 1, removeAll, &calls), 1);
  // With the first file gone so are the others, which stood in folders not opened yet.
  EXPECT_EQ(calls, 1);
}

TEST_F(Folder, MayBeWalkedByTheCallbackWhileAnotherIs) {
  fs::create_directories("s");
  touch({"a.txt", "b.txt", "s/c.bin"});
  Report inner;
  const auto walkInside = [](const char *, const char *, void *userData) {
    return ztDm_enumFiles("s", "bin", 0, note, userData);
  };
  EXPECT_EQ(ztDm_enumFiles(".", "txt", 1, walkInside, &inner), 1);
  EXPECT_EQ(inner.paths, (Names{"s/c.bin", "s/c.bin"}));
}

}  // namespace
