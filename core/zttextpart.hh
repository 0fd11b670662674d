// Parts of texts: declarations in C, as the preprocessor leaves them or as a host writes them, and lists of words.
#ifndef ZT_CORE_ZTTEXTPART_HH
#define ZT_CORE_ZTTEXTPART_HH

#include <stddef.h>
#include <string.h>

namespace ztcore {

struct TextPart {
  const char *begin;
  size_t length;

  const char *end() const {
    return begin + length;
  }
  bool isEmpty() const {
    return length == 0;
  }
  bool is(const TextPart &other) const {
    return length == other.length && memcmp(begin, other.begin, length) == 0;
  }
};

inline TextPart between(const char *begin, const char *end) {
  return {begin, static_cast<size_t>(end - begin)};
}

inline TextPart wholeOf(const char *text) {
  return {text, strlen(text)};
}

// Without white space at its ends.
TextPart trimmed(const TextPart &part);
// The first of these characters outside all brackets of the part, those of templates included; its end when there is
// none. A semicolon is not looked for together with others.
const char *findOutside(const TextPart &part, const char *wanted);

// Runs visit(word) for each word of a list that is separated by commas.
template <typename Visit>
void forEachWord(const char *list, Visit visit) {
  for (;;) {
    const TextPart word = {list, strcspn(list, ",")};
    visit(word);
    if (*word.end() == '\0') return;
    list = word.end() + 1;
  }
}

}  // namespace ztcore

#endif
