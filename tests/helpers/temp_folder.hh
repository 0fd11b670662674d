// A fresh folder that goes, with everything in it, at the end of its scope.
#ifndef ZT_TESTS_TEMP_FOLDER_HH
#define ZT_TESTS_TEMP_FOLDER_HH

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

class TempFolder {
 public:
  TempFolder() : folder(std::filesystem::temp_directory_path() / "zentova-test-XXXXXX") {
    if (mkdtemp(folder.data()) == nullptr) abort();
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  TempFolder(const TempFolder &) = delete;
  TempFolder &operator=(const TempFolder &) = delete;

  const std::string &path() const {
    return folder;
  }
  std::string path(const std::string &name) const {
    return folder + "/" + name;
  }

 private:
  std::string folder;
};

// Empty for a file that is not there.
inline std::string contentsOf(const std::string &path) {
  std::error_code ignored;
  const auto size = std::filesystem::file_size(path, ignored);
  if (ignored) return "";
  std::string bytes(size, '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(size));
  return bytes;
}

inline void writeContents(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

#endif
