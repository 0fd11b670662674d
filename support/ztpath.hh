// What the path functions of the two utility modules share.
#ifndef ZT_SUPPORT_ZTPATH_HH
#define ZT_SUPPORT_ZTPATH_HH

#include <stdio.h>
#include <string.h>

namespace ztcore {

// Bytes of a path buffer, the functions' own and their callers' alike.
inline constexpr size_t pathSize = 512;

// What counts as a separator when a path is taken apart.
inline constexpr char pathSeparators[] = "/\\:";

// The last place in the text where one of the characters stands, the very first place left out; NULL
// when there is none.
inline const char *findLast(const char *text, const char *characters) {
  for (size_t i = strlen(text); i-- > 1;) {
    if (strchr(characters, text[i]) != nullptr) return text + i;
  }
  return nullptr;
}

// Copies a piece of text into a buffer of pathSize bytes, cut to fit; the piece may lie in the buffer.
inline char *copyPiece(char *buffer, const char *text, size_t length) {
  const size_t kept = length < pathSize ? length : pathSize - 1;
  memmove(buffer, text, kept);
  buffer[kept] = '\0';
  return buffer;
}

inline char *copyPath(char *buffer, const char *path) {
  return copyPiece(buffer, path, strlen(path));
}

// What stands behind the last separator; the whole path when there is none.
inline const char *lastComponent(const char *path) {
  const char *separator = findLast(path, pathSeparators);
  return separator == nullptr ? path : separator + 1;
}

// Copies what stands before the last of the separators; the whole path when there is none.
inline char *copyParentPath(char *buffer, const char *path, const char *separators) {
  const char *separator = findLast(path, separators);
  return separator == nullptr ? copyPath(buffer, path)
                              : copyPiece(buffer, path, static_cast<size_t>(separator - path));
}

// Joins a directory and a name, cut to fit; the name alone when the directory is empty. Returns false
// when something was cut.
inline bool joinPath(char (&path)[pathSize], const char *directory, const char *name) {
  const char *between = *directory == '\0' ? "" : "/";
  const int length = snprintf(path, sizeof path, "%s%s%s", directory, between, name);
  return static_cast<size_t>(length) < sizeof path;
}

// Hands out a result that stands in a function's own buffer.
inline const char *handOut(const char *result, char *out) {
  return out == nullptr ? result : copyPath(out, result);
}

inline const char *orEmpty(const char *text) {
  return text == nullptr ? "" : text;
}

// Joins into the buffer of the function that is asked, and hands out the result.
const char *makePath(char (&kept)[pathSize], const char *directory, const char *name, char *out);

}  // namespace ztcore

#endif
