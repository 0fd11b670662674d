// Replaces files as a whole: a reader always gets the old contents or the new ones.
#ifndef ZT_IO_ZTREPLACE_HH
#define ZT_IO_ZTREPLACE_HH

#include <limits.h>
#include <sys/stat.h>

namespace ztcore {

// The new contents of a file. They are in a file beside it, which replaces it or is deleted with this object.
class FileReplacement {
 public:
  FileReplacement() = default;
  ~FileReplacement();
  FileReplacement(const FileReplacement &) = delete;
  FileReplacement &operator=(const FileReplacement &) = delete;

  // Creates the file for the contents. Follows a symbolic link, also to a missing file. False on failure, and
  // for a target that is no regular file or may not be written.
  bool begin(const char *path);
  // For writing and reading; this object closes it.
  int descriptor() const {
    return file;
  }
  // Renames the file to the target, with the target's owner and mode, and waits for the disk. False on failure;
  // then the target is replaced only if the folder cannot be flushed to the disk.
  bool commit();

 private:
  bool followPath(const char *path);
  bool findTarget(const char *path);
  bool makeFile();
  bool keepOwnerAndMode() const;

  char target[PATH_MAX];
  char temporary[PATH_MAX];
  struct stat replaced;
  bool replaces = false;  // the target exists
  int folder = -1;        // the folder of both files; -1 when it may not be read
  int file = -1;
  bool isMade = false;  // the temporary file exists
};

}  // namespace ztcore

#endif
