#include "io/ztreplace.hh"

#include "core/zttext.hh"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/random.h>
#include <unistd.h>

using namespace ztcore;

static size_t folderLengthOf(const char *path) {
  const char *slash = strrchr(path, '/');
  return slash == nullptr ? 0 : static_cast<size_t>(slash - path) + 1;
}

// Replaces the name of a link by its target, relative to the folder of the link, as the system does.
static bool putLink(char (&path)[PATH_MAX], const char *link, size_t length) {
  const size_t kept = link[0] == '/' ? 0 : folderLengthOf(path);
  if (kept + length >= sizeof path) return false;
  memcpy(path + kept, link, length);
  path[kept + length] = '\0';
  return true;
}

// The system's own resolution fails for a missing file, and does not return its path.
static bool followLinks(char (&path)[PATH_MAX]) {
  constexpr int most = 40;
  char link[PATH_MAX];
  for (int i = 0; i < most; ++i) {
    const ssize_t length = readlink(path, link, sizeof link);
    if (length < 0) return errno == EINVAL || errno == ENOENT;
    if (length == 0 || !putLink(path, link, static_cast<size_t>(length))) return false;
  }
  return false;
}

// The text of a link may differ from its target: links of /proc lead to files that may have no name.
static bool isSame(const char *path, const struct stat &known) {
  struct stat found;
  return lstat(path, &found) == 0 && found.st_dev == known.st_dev && found.st_ino == known.st_ino;
}

// Finds the name behind all links, and the file there.
bool FileReplacement::followPath(const char *path) {
  if (!copyText(target, path)) return false;
  replaces = stat(target, &replaced) == 0;
  if (!replaces && errno != ENOENT) return false;
  if (!followLinks(target)) return false;
  const size_t length = strlen(target);
  return length != 0 && target[length - 1] != '/';
}

bool FileReplacement::findTarget(const char *path) {
  // Another process may replace the file between two checks.
  constexpr int mostLooks = 40;
  for (int i = 0; i < mostLooks; ++i) {
    if (!followPath(path)) return false;
    if (!replaces) return true;
    if (!S_ISREG(replaced.st_mode)) return false;
    if (isSame(target, replaced)) return faccessat(AT_FDCWD, target, W_OK, AT_EACCESS) == 0;
  }
  return false;
}

bool FileReplacement::makeFile() {
  uint64_t random[2];
  if (getentropy(random, sizeof random) != 0) return false;
  const size_t folderLength = folderLengthOf(target);
  const int length = snprintf(temporary, sizeof temporary, "%.*s.zt-%016lx%016lx",
                              static_cast<int>(folderLength), target, random[0], random[1]);
  if (length >= static_cast<int>(sizeof temporary)) return false;
  // A first file gets the process's mask; the contents of a replaced file stay private until its mode is set.
  const mode_t mode = replaces ? 0600 : 0666;
  file = open(temporary, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  isMade = file >= 0;
  return isMade;
}

bool FileReplacement::begin(const char *path) {
  if (!findTarget(path)) return false;
  char name[PATH_MAX];
  snprintf(name, sizeof name, "%.*s.", static_cast<int>(folderLengthOf(target)), target);
  // Opened now, while a failure changes nothing. A folder may be writable but not readable.
  folder = open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  return (folder >= 0 || errno == EACCES) && makeFile();
}

// If this process may not set the owner, it owns the file, which then must not be set-user-ID or set-group-ID.
bool FileReplacement::keepOwnerAndMode() const {
  if (!replaces) return true;
  mode_t mode = replaced.st_mode & 07777;
  if (fchown(file, replaced.st_uid, replaced.st_gid) != 0) {
    mode &= 0777;
    if (fchown(file, static_cast<uid_t>(-1), replaced.st_gid) != 0) mode &= ~mode_t{070};
  }
  return fchmod(file, mode) == 0;
}

// Some file systems do not support fsync().
static bool bringToDisk(int descriptor) {
  int result = 0;
  do {
    result = fsync(descriptor);
  } while (result != 0 && errno == EINTR);
  return result == 0 || errno == EINVAL || errno == ENOTSUP;
}

bool FileReplacement::commit() {
  if (!keepOwnerAndMode() || !bringToDisk(file) || rename(temporary, target) != 0) return false;
  isMade = false;
  return folder < 0 || bringToDisk(folder);
}

FileReplacement::~FileReplacement() {
  if (isMade) unlink(temporary);
  if (file >= 0) close(file);
  if (folder >= 0) close(folder);
}
