// Saved trees and stored strings that are cut, mixed and damaged are read back.
//
// An input says what two trees are, and how pieces of the files that they are saved as make up a third one.
// Only what is as it was saved is opened; it then has the shape that it had. Strings go the same way.
#include "fuzz/blocks.hh"
#include "fuzz/objects.hh"
#include "tests/helpers/storage.hh"
#include "tests/helpers/temp_folder.hh"
#include "zentova.h"

#include <string>
#include <vector>

namespace {

constexpr size_t longestMixture = 1U << 20;

// Trees are saved beside their target, so that a file in memory is of no use.
const char *const savedPath = "saved.zt";
const char *const mixedPath = "mixed.zt";

// Trees -------------------------------------------------------------------------------------------

// Identifiers are few, so that several nodes bear one.
void *newNode(Input &input) {
  void *node = input.flag() ? ztTag_ctor(nullptr, 1) : ztRoot_ctor(nullptr, 1);
  ztRoot_of(node)->setUid(node, static_cast<int32_t>(input.below(8)) - 1);
  // The text form does not bring back white space ahead of a name.
  ztRoot_of(node)->setName(node, ("n" + input.text(90)).c_str());
  return node;
}

void *newTree(Input &input) {
  std::vector<void *> nodes = {newNode(input)};
  for (uint32_t i = input.below(24); i > 0; --i) {
    void *node = newNode(input);
    ztRoot_of(node)->setParent(node, nodes[input.below(static_cast<uint32_t>(nodes.size()))]);
    nodes.push_back(node);
  }
  return nodes[0];
}

// A line for each node, which tells its place, what it is and what it bears.
void describe(const void *node, const std::string &indentation, std::string *text) {
  const ztRootMethods *methods = ztRoot_of(node);
  *text += indentation + ztOOP_classNameOf(node) + " " + std::to_string(methods->getUid(node)) + " " +
           methods->getName(node) + "\n";
  for (int32_t i = 0; i < methods->getChildCount(node); ++i) {
    describe(methods->getChildAt(node, i), indentation + " ", text);
  }
}

struct SavedTree {
  std::string file;
  std::string shape;
};

SavedTree saveTree(Input &input, bool asText) {
  void *root = newTree(input);
  ZT_REQUIRE(ztRoot_saveTree(root, savedPath, asText) > 0);
  SavedTree saved = {contentsOf(savedPath), ""};
  describe(root, "", &saved.shape);
  unRef(root);
  return saved;
}

// Releases the trees, and tells what they were.
std::string releaseTrees(void *roots) {
  std::string shape;
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  for (int32_t i = 0; i < methods->getSize(roots); ++i) {
    void *root = methods->getAt(roots, i);
    describe(root, "", &shape);
    unRef(root);
  }
  unRef(roots);
  return shape;
}

void open(const std::string &bytes, const SavedTree &one, const SavedTree &other) {
  void *roots = ztPtrArray_ctor(nullptr, 1);
  ztTreeReport report;
  const int32_t opened = ztRoot_openTree(mixedPath, roots, &report);
  const bool isOne = bytes == one.file;
  ZT_REQUIRE((opened != 0) == (isOne || bytes == other.file));
  const std::string shape = releaseTrees(roots);
  ZT_REQUIRE(shape == (!opened ? "" : isOne ? one.shape : other.shape));
}

// Without a look at the mark, what stands ahead of it is loaded as far as it goes.
void load(bool asText, int32_t count) {
  const Owned<ztFile, ztFileMethods> file(asText ? ztTextFile_ctor : ztFile_ctor);
  ZT_REQUIRE(file->open(file, mixedPath, "rb") != 0);
  void *roots = ztPtrArray_ctor(nullptr, 1);
  ztTreeReport report;
  const int32_t loaded = ztRoot_loadTree(file, count, roots, &report);
  ZT_REQUIRE(loaded != 0 || ztPtrArray_of(roots)->getSize(roots) == 0);
  releaseTrees(roots);
}

// Mixing ------------------------------------------------------------------------------------------

void appendPiece(Input &input, const std::string &source, std::string *mixture) {
  const uint32_t size = static_cast<uint32_t>(source.size());
  const uint32_t from = input.number<uint16_t>() % (size + 1);
  *mixture += source.substr(from, input.number<uint16_t>());
}

void damage(Input &input, std::string *mixture) {
  if (mixture->empty()) return;
  const size_t at = input.number<uint32_t>() % mixture->size();
  if (input.flag()) {
    mixture->resize(at);
  } else {
    (*mixture)[at] = static_cast<char>(input.byte());
  }
}

std::string mix(Input &input, const std::string &one, const std::string &other) {
  std::string mixture = input.flag() ? one : "";
  for (uint32_t i = input.below(8); i > 0 && mixture.size() < longestMixture; --i) {
    const uint32_t change = input.below(4);
    if (change < 2) appendPiece(input, change == 0 ? one : other, &mixture);
    if (change == 2) mixture += input.bytes(256);
    if (change == 3) damage(input, &mixture);
  }
  return mixture;
}

// Strings -----------------------------------------------------------------------------------------

// NULL where the string has no text.
const char *textOf(const void *string) {
  return ztString_of(string)->get(string);
}

bool isSame(const char *one, const char *other) {
  return one == nullptr || other == nullptr ? one == other : strcmp(one, other) == 0;
}

void storeAndLoadStrings(Input &input, bool asText) {
  const Storage file(asText ? ztTextFile_ctor : ztFile_ctor);
  std::vector<void *> strings(input.below(6));
  for (void *&string : strings) {
    string = ztString_ctor(nullptr, 1);
    const std::string text = input.text(300);
    if (input.flag()) ztString_of(string)->set(string, input.flag() ? text.c_str() : nullptr);
    ZT_REQUIRE(ztString_store(string, file) != 0);
  }
  const std::string stored = file.bytes();
  void *loaded = ztString_ctor(nullptr, 1);
  for (void *string : strings) {
    ZT_REQUIRE(ztString_load(loaded, file) != 0);
    ZT_REQUIRE(isSame(textOf(loaded), textOf(string)));
    unRef(string);
  }
  file.hold(mix(input, stored, stored));
  for (int i = 0; i < 16 && ztString_load(loaded, file); ++i) ztString_of(loaded)->length(loaded);
  unRef(loaded);
}

void saveMixAndOpenTrees(Input &input, bool asText) {
  const SavedTree one = saveTree(input, asText);
  const SavedTree other = saveTree(input, input.flag());
  const std::string bytes = mix(input, one.file, other.file);
  writeContents(mixedPath, bytes);
  open(bytes, one, other);
  load(asText, input.flag() ? -1 : input.count());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  // What is made once and for all.
  unRef(ztTag_ctor(nullptr, 1));
  unRef(ztString_ctor(nullptr, 1));
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Input input(data, size);
  const NoBlocksLeft nothingLeft;
  const bool asText = input.flag();
  if (input.below(4) == 0) {
    storeAndLoadStrings(input, asText);
  } else {
    saveMixAndOpenTrees(input, asText);
  }
  return 0;
}
