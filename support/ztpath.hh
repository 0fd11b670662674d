#ifndef ZT_SUPPORT_ZTPATH_HH
#define ZT_SUPPORT_ZTPATH_HH

#include <stdio.h>
#include <string.h>

namespace ztcore {

// The size of all path buffers, the functions' own and their callers'.
inline constexpr size_t pathSize = 512;

// The separators when a path is split.
inline constexpr char pathSeparators[] = "/\\:";

// The last position of one of the characters, but not the first of the text; NULL when there is none.
inline const char *findLast(const char *text, const char *characters) {
  for (size_t i = strlen(text); i-- > 1;) {
    if (strchr(characters, text[i]) != nullptr) return text + i;
  }
  return nullptr;
}

// Copies a part of a text into a buffer of pathSize bytes, cut to fit; the part may be in the buffer.
inline char *copyPiece(char *buffer, const char *text, size_t length) {
  const size_t kept = length < pathSize ? length : pathSize - 1;
  memmove(buffer, text, kept);
  buffer[kept] = '\0';
  return buffer;
}

inline char *copyPath(char *buffer, const char *path) {
  return copyPiece(buffer, path, strlen(path));
}

// The part behind the last separator; the whole path when there is none.
inline const char *lastComponent(const char *path) {
  const char *separator = findLast(path, pathSeparators);
  return separator == nullptr ? path : separator + 1;
}

// Copies the part before the last separator; the whole path when there is none.
inline char *copyParentPath(char *buffer, const char *path, const char *separators) {
  const char *separator = findLast(path, separators);
  return separator == nullptr ? copyPath(buffer, path)
                              : copyPiece(buffer, path, static_cast<size_t>(separator - path));
}

// Joins a directory and a name, cut to fit; the name alone when the directory is empty. False when it was cut.
inline bool joinPath(char (&path)[pathSize], const char *directory, const char *name) {
  const char *between = *directory == '\0' ? "" : "/";
  const int length = snprintf(path, sizeof path, "%s%s%s", directory, between, name);
  return static_cast<size_t>(length) < sizeof path;
}

// Returns a function's own buffer, or copies it to the caller's.
inline const char *handOut(const char *result, char *out) {
  return out == nullptr ? result : copyPath(out, result);
}

inline const char *orEmpty(const char *text) {
  return text == nullptr ? "" : text;
}

// Joins into the calling function's own buffer, and returns as `handOut`.
const char *makePath(char (&kept)[pathSize], const char *directory, const char *name, char *out);

}  // namespace ztcore

#endif
