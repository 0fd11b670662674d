#include "support/ztdirman.h"

#include "support/ztcutils.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// An empty temporary folder, which is the current one during the test.
class Folder : public testing::Test {
 protected:
  Folder() : before(fs::current_path()) {
    std::string name = (fs::temp_directory_path() / "ztdirmanXXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    folder = fs::canonical(name);
    fs::current_path(folder);
  }

  ~Folder() override {
    fs::current_path(before);
    fs::remove_all(folder);
  }

  static void touch(const fs::path &path) {
    std::ofstream stream(path);
    EXPECT_TRUE(stream) << path;
  }

  fs::path before, folder;
};

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

Names sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

// The paths found, in alphabetical order.
Names pathsFound(const std::string &directory, const char *extension, bool recursive = false) {
  return sorted(walk(directory, extension, recursive).paths);
}

// A relative path of existing folders, of exactly this length.
std::string folderOfLength(size_t length) {
  std::string path;
  while (length - path.size() > 200) path += std::string(99, 'd') + "/";
  path += std::string(length - path.size(), 'e');
  fs::create_directories(path);
  return path;
}

}  // namespace

// Names -------------------------------------------------------------------------------------------

TEST(DirectoryNames, GivesTheLastComponent) {
  EXPECT_STREQ(ztDm_getDirName("a/b", nullptr), "b");
  EXPECT_STREQ(ztDm_getDirName("a/b\\c", nullptr), "c");
  EXPECT_STREQ(ztDm_getDirName("c:a", nullptr), "a");
  EXPECT_STREQ(ztDm_getDirName("name", nullptr), "name");
  EXPECT_STREQ(ztDm_getDirName("a/", nullptr), "");
  EXPECT_STREQ(ztDm_getDirName("/a", nullptr), "/a");
  EXPECT_STREQ(ztDm_getDirName("", nullptr), "");
  EXPECT_STREQ(ztDm_getDirName(nullptr, nullptr), "");
}

TEST(DirectoryNames, ExtractsThePathAtSlashesOnly) {
  EXPECT_STREQ(ztDm_extractPath("a/b/c", nullptr), "a/b");
  EXPECT_STREQ(ztDm_extractPath("a/b\\c:d", nullptr), "a");
  EXPECT_STREQ(ztDm_extractPath("a\\b:c", nullptr), "a\\b:c");
  EXPECT_STREQ(ztDm_extractPath("a/", nullptr), "a");
  EXPECT_STREQ(ztDm_extractPath("/a", nullptr), "/a");
  EXPECT_STREQ(ztDm_extractPath("//a", nullptr), "/");
  EXPECT_STREQ(ztDm_extractPath("", nullptr), "");
  EXPECT_STREQ(ztDm_extractPath(nullptr, nullptr), "");
}

TEST(DirectoryNames, MakesAPath) {
  EXPECT_STREQ(ztDm_makePath("dir", "name", nullptr), "dir/name");
  EXPECT_STREQ(ztDm_makePath("", "name", nullptr), "name");
  EXPECT_STREQ(ztDm_makePath(nullptr, nullptr, nullptr), "");
}

TEST(DirectoryNames, HandsResultsOutInTheCallersBuffer) {
  char out[512];
  EXPECT_EQ(ztDm_getDirName("a/b", out), out);
  EXPECT_STREQ(out, "b");
  EXPECT_EQ(ztDm_extractPath("a/b", out), out);
  EXPECT_STREQ(out, "a");
  EXPECT_EQ(ztDm_makePath("a", "b", out), out);
  EXPECT_STREQ(out, "a/b");
}

TEST(DirectoryNames, EachFunctionHasABufferOfItsOwn) {
  const char *name = ztDm_getDirName("a/1", nullptr);
  const char *parent = ztDm_extractPath("2/a", nullptr);
  const char *made = ztDm_makePath("3", "a", nullptr);
  const char *current = ztDm_getCurrentDir(nullptr);
  const char *common = ztCu_makePath("4", "a", nullptr);
  EXPECT_STREQ(name, "1");
  EXPECT_STREQ(parent, "2");
  EXPECT_STREQ(made, "3/a");
  EXPECT_STREQ(common, "4/a");
  EXPECT_EQ(current, fs::current_path().string());
}

TEST(DirectoryNames, EveryThreadHasItsOwnBuffers) {
  const char *name = ztDm_getDirName("our/name", nullptr);
  const char *parent = ztDm_extractPath("our/name", nullptr);
  const char *path = ztDm_makePath("our", "path", nullptr);
  const std::string here = ztDm_getCurrentDir(nullptr);
  const char *current = ztDm_getCurrentDir(nullptr);
  std::thread([] {
    EXPECT_STREQ(ztDm_getDirName("their/other", nullptr), "other");
    EXPECT_STREQ(ztDm_extractPath("their/other", nullptr), "their");
    EXPECT_STREQ(ztDm_makePath("their", "path", nullptr), "their/path");
    char *buffer = const_cast<char *>(ztDm_getCurrentDir(nullptr));
    buffer[0] = '?';
  }).join();
  EXPECT_STREQ(name, "name");
  EXPECT_STREQ(parent, "our");
  EXPECT_STREQ(path, "our/path");
  EXPECT_EQ(current, here);
}

TEST(DirectoryNames, TakeEarlierResultsAsArguments) {
  EXPECT_STREQ(ztDm_extractPath(ztDm_extractPath("a/b/c", nullptr), nullptr), "a");
  EXPECT_STREQ(ztDm_getDirName(ztDm_getDirName("a/b", nullptr), nullptr), "b");
  EXPECT_STREQ(ztDm_makePath(ztDm_makePath("a", "b", nullptr), "c", nullptr), "a/b/c");
  char path[512] = "a/b";
  EXPECT_STREQ(ztDm_getDirName(path, path), "b");
}

TEST(DirectoryNames, CutLongPaths) {
  const std::string directory(600, 'd'), name(600, 'n'), path = directory + "/" + name;
  struct {
    char out[512];
    char guard;
  } buffer = {{0}, '#'};
  EXPECT_EQ(ztDm_getDirName(path.c_str(), buffer.out), std::string(511, 'n'));
  EXPECT_EQ(ztDm_extractPath(path.c_str(), buffer.out), std::string(511, 'd'));
  EXPECT_EQ(ztDm_makePath(directory.c_str(), name.c_str(), buffer.out), std::string(511, 'd'));
  EXPECT_EQ(buffer.guard, '#');
}

// Directories -------------------------------------------------------------------------------------

TEST_F(Folder, MakeDirMakesNothing) {
  EXPECT_EQ(ztDm_makeDir("made"), 0);
  EXPECT_FALSE(fs::exists("made"));
  EXPECT_EQ(ztDm_makeDir(nullptr), 0);
}

TEST_F(Folder, TellsTheCurrentDirectory) {
  char out[512];
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), folder.string());
  EXPECT_EQ(ztDm_getCurrentDir(out), out);
  EXPECT_EQ(out, folder.string());
}

TEST_F(Folder, ChangesTheCurrentDirectory) {
  fs::create_directory("sub");
  EXPECT_EQ(ztDm_changeDir("sub"), 1);
  EXPECT_EQ(fs::current_path(), folder / "sub");
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), (folder / "sub").string());
}

TEST_F(Folder, AFailedChangeStaysWhereItWas) {
  touch("file");
  EXPECT_EQ(ztDm_changeDir("missing"), 0);
  EXPECT_EQ(ztDm_changeDir("file"), 0);
  EXPECT_EQ(ztDm_changeDir(""), 0);
  EXPECT_EQ(ztDm_changeDir(nullptr), 0);
  EXPECT_EQ(fs::current_path(), folder);
}

TEST_F(Folder, TellsTheRootForADirectoryThatWasRemoved) {
  fs::create_directory("sub");
  fs::current_path("sub");
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), (folder / "sub").string());
  fs::remove(folder / "sub");
  EXPECT_STREQ(ztDm_getCurrentDir(nullptr), "/");
  fs::current_path(folder);
  EXPECT_EQ(ztDm_getCurrentDir(nullptr), folder.string());
}

TEST_F(Folder, TellsTheRootForADirectoryWithALongPath) {
  fs::current_path(folderOfLength(600));
  char out[512];
  EXPECT_STREQ(ztDm_getCurrentDir(out), "/");
}

// The walk ----------------------------------------------------------------------------------------

TEST_F(Folder, ReportsTheFilesWithTheExtension) {
  for (const char *name : {"a.txt", "a.TXT", "a.txt.bak", "b.c.txt", "txt", ".txt", "a.", "a.tx", "a.txtx"}) {
    touch(name);
  }
  EXPECT_EQ(pathsFound(".", "txt"), (Names{"./a.txt", "./b.c.txt"}));
  EXPECT_EQ(pathsFound(".", "TXT"), Names{"./a.TXT"});
  EXPECT_EQ(pathsFound(".", "c.txt"), Names{});
  EXPECT_EQ(pathsFound(".", ""), Names{"./a."});
}

TEST_F(Folder, ReportsPathNameAndUserData) {
  touch("a.txt");
  const Report report = walk(folder.string(), "txt", false);
  EXPECT_EQ(report.paths, Names{folder.string() + "/a.txt"});
  EXPECT_EQ(report.names, Names{"a.txt"});
}

TEST_F(Folder, AStarIsAWildcardInTheEntryAndNotInThePattern) {
  for (const char *name : {"a.txt", "b.*", "c.**"}) touch(name);
  EXPECT_EQ(pathsFound(".", "txt"), (Names{"./a.txt", "./b.*"}));
  EXPECT_EQ(pathsFound(".", "*"), Names{"./b.*"});
}

TEST_F(Folder, FixesTheReportedPath) {
  touch("a.txt");
  EXPECT_EQ(pathsFound("./", "txt"), Names{"./a.txt"});
  EXPECT_EQ(pathsFound(folder.string() + "/", "txt"), Names{folder.string() + "//a.txt"});
}

TEST_F(Folder, WalksTheFoldersBelowOnlyWhenAsked) {
  fs::create_directories("s/t");
  for (const char *name : {"a.txt", "s/b.txt", "s/t/c.txt", "s/t/d.bin"}) touch(name);
  EXPECT_EQ(pathsFound(".", "txt"), Names{"./a.txt"});
  EXPECT_EQ(pathsFound(".", "txt", true), (Names{"./a.txt", "./s/b.txt", "./s/t/c.txt"}));
}

TEST_F(Folder, ReportsAFolderLikeAFileAndAfterWhatIsInIt) {
  fs::create_directories("s.txt/t.txt");
  touch("s.txt/t.txt/a.txt");
  EXPECT_EQ(walk(".", "txt", true).paths, (Names{"./s.txt/t.txt/a.txt", "./s.txt/t.txt", "./s.txt"}));
  EXPECT_EQ(walk(".", "txt", false).paths, Names{"./s.txt"});
}

TEST_F(Folder, ReportsInTheOrderOfTheSystem) {
  for (int i = 0; i < 40; ++i) touch(std::to_string(i * 7919 % 101) + ".txt");
  Names expected;
  DIR *entries = opendir(".");
  ASSERT_NE(entries, nullptr);
  while (const dirent *entry = readdir(entries)) expected.push_back(entry->d_name);
  closedir(entries);
  std::erase_if(expected, [](const std::string &name) { return name == "." || name == ".."; });
  EXPECT_EQ(walk(".", "txt", true).names, expected);
}

TEST_F(Folder, AMissingDirectoryHasNoFiles) {
  touch("a.txt");
  EXPECT_EQ(pathsFound("missing", "txt", true), Names{});
  EXPECT_EQ(pathsFound("a.txt", "txt", true), Names{});
  EXPECT_EQ(pathsFound("", "txt", true), Names{});
}

TEST_F(Folder, NullArgumentsReportNothing) {
  touch("a.txt");
  Report report;
  EXPECT_EQ(ztDm_enumFiles(nullptr, "txt", 1, note, &report), 1);
  EXPECT_EQ(ztDm_enumFiles(".", nullptr, 1, note, &report), 1);
  EXPECT_EQ(ztDm_enumFiles(".", "txt", 1, nullptr, &report), 1);
  EXPECT_EQ(report.paths, Names{});
}

TEST_F(Folder, IgnoresTheResultOfTheCallback) {
  touch("a.txt");
  touch("b.txt");
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
  const std::string fits(6, 'f'), tooLong(7, 'l');
  touch(directory + "/" + fits + ".txt");
  touch(directory + "/" + tooLong + ".txt");
  fs::create_directory(directory + "/folders_name");
  const Names found = pathsFound(directory, "txt", true);
  ASSERT_EQ(found, Names{directory + "/" + fits + ".txt"});
  EXPECT_EQ(found[0].size(), 511u);
}

TEST_F(Folder, ADirectoryPathThatFillsTheBufferHasNoEntries) {
  const std::string directory = folderOfLength(511);
  touch(directory + "/a.txt");
  EXPECT_EQ(pathsFound(directory, "txt", true), Names{});
  const std::string longer = folderOfLength(700);
  touch(longer + "/a.txt");
  EXPECT_EQ(pathsFound(longer, "txt", true), Names{});
}

TEST_F(Folder, WalksADeepTreeAsFarAsPathsReach) {
  for (int depth = 0; depth < 300; ++depth) {
    touch("x.txt");
    ASSERT_EQ(mkdir("d", 0700), 0);
    ASSERT_EQ(chdir("d"), 0);
  }
  fs::current_path(folder);
  const Names found = pathsFound(".", "txt", true);
  // "./", a number of "d/" and "x.txt" in 511 bytes.
  EXPECT_EQ(found.size(), 253u);
  for (const std::string &path : found) EXPECT_LE(path.size(), 511u);
}

TEST_F(Folder, FollowsLinksToOtherFolders) {
  fs::create_directories("s");
  touch("s/a.txt");
  fs::create_directory_symlink("s", "link");
  fs::create_symlink("missing", "dangling.txt");
  EXPECT_EQ(pathsFound(".", "txt", true), (Names{"./dangling.txt", "./link/a.txt", "./s/a.txt"}));
}

TEST_F(Folder, FollowsLinksToOtherFileSystems) {
  struct stat here, there;
  ASSERT_EQ(stat(".", &here), 0);
  if (stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev) GTEST_SKIP() << "there is one only";
  std::string other = "/dev/shm/ztdirmanXXXXXX";
  if (mkdtemp(other.data()) == nullptr) GTEST_SKIP() << "the other one is read-only";
  touch(fs::path(other) / "a.txt");
  fs::create_directory_symlink(other, "link");
  fs::create_directory_symlink(folder, fs::path(other) / "back");
  touch("b.txt");
  EXPECT_EQ(pathsFound(".", "txt", true), (Names{"./b.txt", "./link/a.txt"}));
  fs::remove_all(other);
}

TEST_F(Folder, WalksNoFolderAgainBelowItself) {
  fs::create_directory("s.txt");
  touch("s.txt/a.txt");
  fs::create_directory_symlink("..", "s.txt/up.txt");
  fs::create_directory_symlink(".", "s.txt/self.txt");
  EXPECT_EQ(pathsFound(".", "txt", true),
            (Names{"./s.txt", "./s.txt/a.txt", "./s.txt/self.txt", "./s.txt/up.txt"}));
}

TEST_F(Folder, LoopsOfLinksThatMultiplyAreWalkedOnce) {
  fs::create_directories("s/t/u");
  for (const char *name : {"s/a.txt", "s/t/b.txt", "s/t/u/c.txt"}) touch(name);
  for (const char *link : {"1", "2", "3", "4"}) {
    for (const char *directory : {"s/", "s/t/", "s/t/u/"}) {
      fs::create_directory_symlink(folder, directory + std::string(link));
    }
  }
  EXPECT_EQ(pathsFound(".", "txt", true), (Names{"./s/a.txt", "./s/t/b.txt", "./s/t/u/c.txt"}));
}

TEST_F(Folder, WalksAFolderForEachLinkBesideIt) {
  fs::create_directory("s");
  touch("s/a.txt");
  fs::create_directory("l");
  fs::create_directory_symlink("../s", "l/one");
  fs::create_directory_symlink("../s", "l/two");
  EXPECT_EQ(pathsFound(".", "txt", true), (Names{"./l/one/a.txt", "./l/two/a.txt", "./s/a.txt"}));
}

TEST_F(Folder, LeavesNoDirectoryOpen) {
  fs::create_directories("s/t");
  fs::create_directory_symlink("..", "s/t/up");
  const auto openFiles = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto openBefore = openFiles();
  walk(".", "txt", true);
  EXPECT_EQ(openFiles(), openBefore);
}

TEST_F(Folder, TheCallbackMayRemoveWhatIsWalked) {
  for (int i = 0; i < 20; ++i) {
    const std::string sub = "tree/" + std::to_string(i);
    fs::create_directories(sub);
    touch(sub + "/a.txt");
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

TEST_F(Folder, TheCallbackMayWalkOtherFolders) {
  fs::create_directories("s");
  for (const char *name : {"a.txt", "b.txt", "s/c.bin"}) touch(name);
  Report inner;
  const auto walkInside = [](const char *, const char *, void *userData) {
    return ztDm_enumFiles("s", "bin", 0, note, userData);
  };
  EXPECT_EQ(ztDm_enumFiles(".", "txt", 1, walkInside, &inner), 1);
  EXPECT_EQ(inner.paths, (Names{"s/c.bin", "s/c.bin"}));
}
