#include "support/ztdirman.h"

#include "core/ztthread.hh"
#include "support/ztcutils.h"
#include "support/ztpath.hh"

#include <dirent.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ztcore;

// Names -------------------------------------------------------------------------------------------

int32_t ztDm_makeDir(const char *) {
  return 0;
}

const char *ztDm_getDirName(const char *path, char *out) {
  char *name = blockOfThread()->dirName;
  return handOut(ztCu_fixDosPath(copyPath(name, lastComponent(orEmpty(path)))), out);
}

const char *ztDm_extractPath(const char *path, char *out) {
  char *parent = blockOfThread()->parentPath;
  return handOut(copyParentPath(parent, orEmpty(path), "/"), out);
}

const char *ztDm_makePath(const char *directory, const char *name, char *out) {
  return makePath(blockOfThread()->joinedPath, directory, name, out);
}

// The current directory ---------------------------------------------------------------------------

const char *ztDm_getCurrentDir(char *out) {
  char *directory = blockOfThread()->currentDir;
  // After a failure the buffer may hold anything.
  if (getcwd(directory, pathSize) == nullptr) copyPath(directory, "/");
  return handOut(directory, out);
}

int32_t ztDm_changeDir(const char *path) {
  return path != nullptr && chdir(path) == 0;
}

// The walk ----------------------------------------------------------------------------------------

static bool hasExtension(const char *name, const char *extension) {
  const char *dot = findLast(name, ".");
  return dot != nullptr && (strcmp(dot + 1, extension) == 0 || strcmp(dot + 1, "*") == 0);
}

namespace {

// A directory that is being walked; `outer` leads to those above it.
struct Level {
  dev_t device;
  ino_t inode;
  const Level *outer;
};

struct Search {
  const char *extension;
  bool recursive;
  ztDmFileCallback callback;
  void *userData;
};

}  // namespace

static bool isAmong(const struct stat &directory, const Level *level) {
  while (level != nullptr && (level->device != directory.st_dev || level->inode != directory.st_ino)) {
    level = level->outer;
  }
  return level != nullptr;
}

static void walk(const char *directory, const Search &search, const Level *outer);

static void walkEntries(DIR *entries, const char *directory, const Search &search, const Level *level) {
  while (const dirent *entry = readdir(entries)) {
    const char *name = entry->d_name;
    char path[pathSize];
    // A cut path could name a directory above itself, and the walk would not end.
    if (!joinPath(path, directory, name)) continue;
    if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0) continue;
    // Tried with files too: a directory is what can be opened as one.
    if (search.recursive) walk(path, search, level);
    if (hasExtension(name, search.extension)) {
      search.callback(ztCu_fixRelativePath(ztCu_fixDosPath(path)), name, search.userData);
    }
  }
}

static void walk(const char *directory, const Search &search, const Level *outer) {
  DIR *entries = opendir(directory);
  if (entries == nullptr) return;
  struct stat found;
  // With two links to a directory above, the number of paths would double with each level.
  if (fstat(dirfd(entries), &found) == 0 && !isAmong(found, outer)) {
    const Level level = {found.st_dev, found.st_ino, outer};
    walkEntries(entries, directory, search, &level);
  }
  closedir(entries);
}

int32_t ztDm_enumFiles(const char *directory, const char *extension, int32_t recursive,
                       ztDmFileCallback callback, void *userData) {
  if (directory == nullptr || extension == nullptr || callback == nullptr) return 1;
  walk(directory, {extension, recursive != 0, callback, userData}, nullptr);
  return 1;
}
