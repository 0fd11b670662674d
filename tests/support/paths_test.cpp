// What the functions of ztcutils and ztdirman make of paths.
#include "support/ztcutils.h"
#include "support/ztdirman.h"
#include "tests/support/out_buffer.hh"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<const char *, const char *>>;

// What a function writes to its caller's buffer.
template <typename Function, typename... Arguments>
std::string handedOut(Function function, Arguments... arguments) {
  OutBuffer out;
  EXPECT_EQ(function(arguments..., out.text), out.text);
  EXPECT_TRUE(out.isIntact());
  return out.text;
}

// What a function makes of the path in its place.
std::string inPlace(char *(*function)(char *path), std::string path) {
  EXPECT_EQ(function(path.data()), path.data());
  return path.c_str();
}

TEST(Paths, AreNotFixedForDos) {
  EXPECT_EQ(inPlace(ztCu_fixDosPath, "a\\b:c"), "a\\b:c");
  EXPECT_EQ(ztCu_fixDosPath(nullptr), nullptr);
}

TEST(Paths, LoseTheirExtension) {
  const Pairs rows = {
      {"a.txt", "a"}, {"a.b.c", "a.b"}, {"a.", "a"}, {"name", "name"}, {".profile", ".profile"},
      {"..x", "."},   {"a.b/c", "a"},   {".", "."},  {"", ""}};
  for (const auto &[path, cut] : rows) EXPECT_EQ(inPlace(ztCu_cutFileExt, path), cut) << path;
  EXPECT_EQ(ztCu_cutFileExt(nullptr), nullptr);
}

TEST(Paths, LoseADoubledSeparatorBehindALeadingDot) {
  const Pairs rows = {{".//a", "./a"}, {".\\:a//b", "./a//b"}, {".::", "./"}, {".///a", ".//a"}};
  for (const auto &[path, fixed] : rows) EXPECT_EQ(inPlace(ztCu_fixRelativePath, path), fixed) << path;
  for (const char *path : {"./a", ".", "./", "..", "../a", "//a", "a//b", "", "..//a", ".a//"}) {
    EXPECT_EQ(inPlace(ztCu_fixRelativePath, path), path);
  }
  const std::string name(5000, 'a');
  EXPECT_EQ(inPlace(ztCu_fixRelativePath, ".//" + name), "./" + name);
  EXPECT_EQ(ztCu_fixRelativePath(nullptr), nullptr);
}

TEST(Paths, HaveALastComponent) {
  const Pairs rows = {{"dir/file.txt", "file.txt"},
                      {"a/b\\c:d", "d"},
                      {"a/b\\c", "c"},
                      {"a:b", "b"},
                      {"file.txt", "file.txt"},
                      {"dir/", ""},
                      {"/a", "/a"},
                      {"//a", "a"},
                      {"/", "/"},
                      {"", ""},
                      {nullptr, ""}};
  for (const auto &[path, name] : rows) {
    EXPECT_EQ(handedOut(ztCu_extractFileName, path), name) << path;
    EXPECT_EQ(handedOut(ztDm_getDirName, path), name) << path;
    EXPECT_STREQ(ztDm_getDirName(path, nullptr), name) << path;
  }
  EXPECT_EQ(ztCu_extractFileName("a", nullptr), nullptr);
}

TEST(Paths, HaveAParentAtTheLastSeparatorOrSlash) {
  const struct {
    const char *path;
    const char *separated;
    const char *slashed;
  } rows[] = {{"dir/file.txt", "dir", "dir"},
              {"a/b/c", "a/b", "a/b"},
              {"file.txt", "file.txt", "file.txt"},
              {"a/b\\c", "a/b", "a"},
              {"a/b\\c:d", "a/b\\c", "a"},
              {"a\\b:c", "a\\b", "a\\b:c"},
              {"c:a", "c", "c:a"},
              {"dir/", "dir", "dir"},
              {"/a", "/a", "/a"},
              {"//a", "/", "/"},
              {"", "", ""},
              {nullptr, "", ""}};
  for (const auto &[path, separated, slashed] : rows) {
    EXPECT_EQ(handedOut(ztCu_extractPath, path), separated) << path;
    EXPECT_EQ(handedOut(ztDm_extractPath, path), slashed) << path;
    EXPECT_STREQ(ztDm_extractPath(path, nullptr), slashed) << path;
  }
  EXPECT_EQ(ztCu_extractPath("a", nullptr), nullptr);
}

TEST(Paths, AreJoined) {
  const struct {
    const char *directory;
    const char *name;
    const char *joined;
  } rows[] = {{"dir", "name", "dir/name"},   {"", "name", "name"},      {"dir", "", "dir/"},
              {"dir/", "name", "dir//name"}, {nullptr, "name", "name"}, {"dir", nullptr, "dir/"},
              {nullptr, nullptr, ""}};
  for (const auto &[directory, name, joined] : rows) {
    for (const auto makePath : {ztCu_makePath, ztDm_makePath}) {
      const char *own = makePath("a", "b", nullptr);
      EXPECT_EQ(handedOut(makePath, directory, name), joined);
      EXPECT_STREQ(own, joined) << "in the buffer of the function's own, too";
    }
  }
}

TEST(Paths, AreMadeOfEarlierOnesAndInPlace) {
  for (const auto makePath : {ztCu_makePath, ztDm_makePath}) {
    EXPECT_STREQ(makePath(makePath("a", "b", nullptr), "c", nullptr), "a/b/c");
    EXPECT_STREQ(makePath("x", makePath("a", "b", nullptr), nullptr), "x/a/b");
    char path[512] = "a";
    EXPECT_STREQ(makePath(path, path, path), "a/a");
  }
  EXPECT_STREQ(ztDm_extractPath(ztDm_extractPath("a/b/c", nullptr), nullptr), "a");
  EXPECT_STREQ(ztDm_getDirName(ztDm_getDirName("a/b", nullptr), nullptr), "b");
  char path[512] = "dir/sub/file";
  EXPECT_STREQ(ztCu_extractPath(path, path), "dir/sub");
  EXPECT_STREQ(ztCu_extractFileName(path, path), "sub");
  strcpy(path, "a/b");
  EXPECT_STREQ(ztDm_getDirName(path, path), "b");
}

TEST(Paths, AreCutToTheCallersBuffer) {
  const std::string directory(600, 'd'), name(600, 'n'), path = directory + "/" + name;
  const std::string begins(511, 'd'), ends(511, 'n');
  EXPECT_EQ(handedOut(ztCu_extractPath, path.c_str()), begins);
  EXPECT_EQ(handedOut(ztCu_extractFileName, path.c_str()), ends);
  EXPECT_EQ(handedOut(ztDm_extractPath, path.c_str()), begins);
  EXPECT_EQ(handedOut(ztDm_getDirName, path.c_str()), ends);
  for (const auto makePath : {ztCu_makePath, ztDm_makePath}) {
    EXPECT_EQ(handedOut(makePath, directory.c_str(), "x"), begins);
    EXPECT_EQ(makePath("d", name.c_str(), nullptr), "d/" + std::string(509, 'n'));
  }
  char out[] = ".....";
  ztCu_extractFileName("a/b", out);
  EXPECT_EQ(std::string(out, 5), std::string("b\0...", 5)) << "no more is written than the result";
}

// What every function that has a buffer of its own gives for a text.
std::vector<const char *> resultsFor(const std::string &text) {
  const std::string path = text + "/" + text;
  return {ztCu_fmtMsg("%s", text.c_str()),
          ztCu_sToUpper(text.c_str()),
          ztCu_makePath("cu", text.c_str(), nullptr),
          ztDm_makePath("dm", text.c_str(), nullptr),
          ztDm_getDirName(path.c_str(), nullptr),
          ztDm_extractPath((path + "/c").c_str(), nullptr),
          ztDm_getCurrentDir(nullptr)};
}

TEST(Paths, AndTextsHaveABufferForEachFunctionAndThread) {
  using Texts = std::vector<std::string>;
  char here[512];
  ztDm_getCurrentDir(here);
  const auto ours = resultsFor("ours");
  std::thread([&here] {
    const auto theirs = resultsFor("theirs");
    EXPECT_EQ(Texts(theirs.begin(), theirs.end()),
              (Texts{"theirs", "THEIRS", "cu/theirs", "dm/theirs", "theirs", "theirs/theirs", here}));
    const_cast<char *>(theirs.back())[0] = '?';
  }).join();
  EXPECT_EQ(Texts(ours.begin(), ours.end()),
            (Texts{"ours", "OURS", "cu/ours", "dm/ours", "ours", "ours/ours", here}));
}

}  // namespace
