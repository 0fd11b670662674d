// Files that are replaced as a whole: who opens one at any time reads the old contents or the new ones.
#ifndef ZT_IO_ZTREPLACE_HH
#define ZT_IO_ZTREPLACE_HH

#include <limits.h>
#include <sys/stat.h>

namespace ztcore {

// The new contents of a file. They are written to a file beside it, which takes its place in the end, or goes
// with this object.
class FileReplacement {
 public:
  FileReplacement() = default;
  ~FileReplacement();
  FileReplacement(const FileReplacement &) = delete;
  FileReplacement &operator=(const FileReplacement &) = delete;

  // Makes the file for the contents. A symbolic link stands for the file that it leads to, which need not be
  // there. False on failure, and for what is there but is no regular file or may not be written.
  bool begin(const char *path);
  // To be written and read, and not closed; it is this object's.
  int descriptor() const {
    return file;
  }
  // Puts the contents in place, with owner and mode of what was there, and waits until the disk has them.
  // False on failure; only when the folder itself cannot be brought to the disk is the file replaced then.
  bool commit();

 private:
  bool followPath(const char *path);
  bool findTarget(const char *path);
  bool makeFile();
  bool keepOwnerAndMode() const;

  char target[PATH_MAX];
  char temporary[PATH_MAX];
  struct stat replaced;
  bool replaces = false;  // there is a file that is to be replaced
  int folder = -1;        // the one that holds both files; -1 when it may not be read
  int file = -1;
  bool isMade = false;  // there is a file under the temporary name
};

}  // namespace ztcore

#endif
