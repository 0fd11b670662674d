#include "core/zttextpart.hh"

using namespace ztcore;

static bool isSpace(char character) {
  return character == ' ' || ('\t' <= character && character <= '\r');
}

TextPart ztcore::trimmed(const TextPart &part) {
  const char *begin = part.begin;
  const char *end = part.end();
  while (begin < end && isSpace(*begin)) ++begin;
  while (begin < end && isSpace(end[-1])) --end;
  return between(begin, end);
}

static bool isOneOf(char character, const char *wanted) {
  return character != '\0' && strchr(wanted, character) != nullptr;
}

const char *ztcore::findOutside(const TextPart &part, const char *wanted) {
  // Behind a declaration, nobody knows any more whether "<" was an operator or began the arguments of a template.
  const bool isWithinOne = *wanted != ';';
  const char *opening = isWithinOne ? "([{<" : "([{";
  const char *closing = isWithinOne ? ")]}>" : ")]}";
  int depth = 0;
  for (const char *at = part.begin; at < part.end(); ++at) {
    if (depth == 0 && isOneOf(*at, wanted)) return at;
    if (isOneOf(*at, opening)) ++depth;
    if (isOneOf(*at, closing)) --depth;
  }
  return part.end();
}
