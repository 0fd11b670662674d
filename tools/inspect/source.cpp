#include "tools/inspect/source.hh"

#include "tools/inspect/output.hh"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace ztinspect {

// The check sum ------------------------------------------------------------------------------------

void CheckSum::addWord(uint64_t word) {
  sum = (sum ^ word) * 0x9E3779B97F4A7C15U;
  sum ^= sum >> 32U;
}

void CheckSum::add(std::string_view bytes) {
  uint64_t word = 0;
  if (!rest.empty()) {
    const size_t count = std::min(sizeof word - rest.size(), bytes.size());
    rest += bytes.substr(0, count);
    bytes.remove_prefix(count);
    if (rest.size() < sizeof word) return;
    memcpy(&word, rest.data(), sizeof word);
    addWord(word);
    rest.clear();
  }
  for (; bytes.size() >= sizeof word; bytes.remove_prefix(sizeof word)) {
    memcpy(&word, bytes.data(), sizeof word);
    addWord(word);
  }
  rest = bytes;
}

uint64_t CheckSum::value() const {
  if (rest.empty()) return sum;
  CheckSum whole = *this;
  whole.add(std::string(sizeof(uint64_t) - rest.size(), '\0'));
  return whole.sum;
}

// Identities ---------------------------------------------------------------------------------------

// The distance stands at the end of the field, which ends with a zero.
constexpr char hintLabel[] = "above:";
constexpr size_t hintDigits = 10;
constexpr size_t hintPlace = nameField - 1 - hintDigits - (sizeof hintLabel - 1);

std::string fieldOf(std::string_view name, int32_t distance) {
  std::string field(name.substr(0, nameField - 1));
  field.resize(nameField, '\0');
  if (distance > 0) {
    char hint[32];
    const int size = snprintf(hint, sizeof hint, "%s%010d", hintLabel, distance);
    field.replace(hintPlace, static_cast<size_t>(size), hint);
  }
  return field;
}

std::string identityBytes(std::string_view field, int32_t version, Form form) {
  std::string bytes(field);
  if (form == Form::text) return bytes + "\n" + std::to_string(version) + "\n";
  return bytes.append(reinterpret_cast<const char *>(&version), sizeof version);
}

static std::string textOf(const Mark &mark) {
  char text[128];
  snprintf(text, sizeof text, "nodes %010" PRId64 " bytes %020" PRId64 " sum %016" PRIx64, mark.nodes,
           mark.bytes, mark.sum);
  return text;
}

std::string markBytes(const Mark &mark, Form form) {
  return identityBytes(fieldOf(markName, 0), 1, form) + textOf(mark) + (form == Form::text ? "\n" : "");
}

static int32_t distanceIn(std::string_view field) {
  const std::string_view hint = field.substr(hintPlace, nameField - 1 - hintPlace);
  if (hint.substr(0, sizeof hintLabel - 1) != hintLabel) return 0;
  const std::string digits(hint.substr(sizeof hintLabel - 1));
  if (digits.find_first_not_of("0123456789") != std::string::npos) return 0;
  const long long distance = strtoll(digits.c_str(), nullptr, 10);
  return distance > INT_MAX ? 0 : static_cast<int32_t>(distance);
}

// A name as compilers and programs make them, and behind it nothing but zeros and perhaps a distance.
static bool isNameField(std::string_view field) {
  const size_t length = field.find('\0');
  if (length == 0 || length == std::string_view::npos) return false;
  const std::string_view name = field.substr(0, length);
  const auto belongs = [](char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 || strchr("_:<>,.", c);
  };
  if (name != markName && !std::all_of(name.begin(), name.end(), belongs)) return false;
  if (name != markName && isdigit(static_cast<unsigned char>(name[0])) != 0) return false;
  const bool hasDistance = length < hintPlace && distanceIn(field) > 0;
  const std::string_view behind = field.substr(length, (hasDistance ? hintPlace : nameField) - length);
  return behind.find_first_not_of('\0') == std::string_view::npos && field.back() == '\0';
}

// Behind the line feed of the field: digits and a line feed.
static size_t lengthOfVersion(std::string_view text, int32_t *version) {
  size_t length = text.empty() || text[0] != '\n' ? 0 : 1;
  if (length == 0) return 0;
  long long value = 0;
  for (; length < text.size() && isdigit(static_cast<unsigned char>(text[length])); ++length) {
    value = std::min<long long>(value * 10 + (text[length] - '0'), INT64_MAX / 20);
  }
  if (length == 1 || value > INT_MAX || length >= text.size() || text[length] != '\n') return 0;
  *version = static_cast<int32_t>(value);
  return length + 1;
}

constexpr size_t largestIdentity = nameField + 16;

std::optional<Identity> Source::identityIn(std::string_view window, int64_t offset, Form form) const {
  Identity found;
  if (window.size() < nameField || !isNameField(window.substr(0, nameField))) return {};
  const std::string_view behind = window.substr(nameField);
  size_t size = sizeof found.version;
  if (form == Form::text) {
    size = lengthOfVersion(behind, &found.version);
    if (size == 0) return {};
  } else {
    if (behind.size() < size) return {};
    memcpy(&found.version, behind.data(), size);
    if (found.version < 0) return {};
  }
  found.field = window.substr(0, nameField);
  found.name = found.field.c_str();
  found.distance = distanceIn(found.field);
  found.end = offset + static_cast<int64_t>(nameField + size);
  return found;
}

std::optional<Identity> Source::identityAt(int64_t offset) const {
  return identityIn(bytes(offset, largestIdentity), offset, itsForm);
}

int64_t Source::nextIdentity(int64_t offset) const {
  constexpr size_t windowSize = 65536;
  for (int64_t at = offset; at < length;) {
    const std::string window = bytes(at, windowSize);
    const bool isLast = at + static_cast<int64_t>(window.size()) >= length;
    const size_t starts = isLast ? window.size() : window.size() - largestIdentity;
    for (size_t i = 0; i < starts; ++i) {
      const auto place = at + static_cast<int64_t>(i);
      if (window[i] == '\0') continue;
      const std::optional<Identity> found = identityIn(std::string_view(window).substr(i), place, itsForm);
      // Where a byte before a name looks like a part of it, the version seems to be shifted.
      const bool isShifted = found && (found->version & 0xFF) == 0;
      if (found && !isShifted) return place;
    }
    at += static_cast<int64_t>(starts);
  }
  return length;
}

// Attributes ---------------------------------------------------------------------------------------

// A name field that ends with a zero, and the type, twice. Where a class identity begins, there are zeros instead.
int32_t Source::attributeTypeAt(int64_t offset) const {
  constexpr size_t attributeName = 32;
  const std::string found = bytes(offset, attributeName + 2 * sizeof(int32_t));
  if (found.size() <= attributeName || found[attributeName - 1] != '\0') return 0;
  const std::string_view behind = std::string_view(found).substr(attributeName);
  for (const int32_t type : {1, 2}) {
    const std::string once = itsForm == Form::text
                                 ? "\n" + std::to_string(type)
                                 : std::string(reinterpret_cast<const char *>(&type), sizeof type);
    if (behind.substr(0, 2 * once.size()) == once + once) return type;
  }
  return 0;
}

// Marks --------------------------------------------------------------------------------------------

std::optional<Mark> Source::markAt(int64_t offset, int64_t *end) const {
  const size_t size = markText + (itsForm == Form::text ? 1 : 0);
  const std::string found = bytes(offset, size);
  Mark mark;
  *end = offset + static_cast<int64_t>(found.size());
  // NOLINTNEXTLINE(cert-err34-c): what is out of range is not printed as it was
  if (sscanf(found.c_str(), "nodes %10" SCNd64 " bytes %20" SCNd64 " sum %16" SCNx64, &mark.nodes,
             &mark.bytes, &mark.sum) != 3) {
    return {};
  }
  if (found != textOf(mark) + (itsForm == Form::text ? "\n" : "") || mark.nodes <= 0) return {};
  return mark;
}

uint64_t Source::sumBefore(int64_t offset) const {
  CheckSum sum;
  constexpr int64_t part = int64_t{1} << 16U;
  for (int64_t at = 0; at < offset; at += part) {
    sum.add(bytes(at, static_cast<size_t>(std::min(part, offset - at))));
  }
  return sum.value();
}

// The file -----------------------------------------------------------------------------------------

Source::Source(std::string name) : path(std::move(name)) {
  // Does not wait for a writer if the path is a pipe.
  descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) failWithErrno(path);
  try {
    struct stat found = {};
    if (fstat(descriptor, &found) != 0) failWithErrno(path);
    if (!S_ISREG(found.st_mode)) throw Problem(path + " is no regular file");
    length = found.st_size;
    findForm();
  } catch (...) {
    close(descriptor);
    throw;
  }
}

Source::~Source() {
  close(descriptor);
}

void Source::findForm() {
  if (length == 0) throw Problem(path + " is empty");
  const std::string start = bytes(0, largestIdentity);
  if (identityIn(start, 0, Form::text)) {
    itsForm = Form::text;
  } else if (!identityIn(start, 0, Form::binary)) {
    const bool isCut = start.size() < largestIdentity;
    throw Problem(path + ": damaged at offset 0: there is no class identity" +
                  (isCut ? ", and the file ends at " + std::to_string(length) : ""));
  }
}

std::string Source::bytes(int64_t offset, size_t count) const {
  constexpr size_t least = 65536;
  const int64_t last = bufferStart + static_cast<int64_t>(buffer.size());
  if (offset < bufferStart || offset + static_cast<int64_t>(count) > last) {
    buffer.resize(std::max(count, least));
    bufferStart = offset;
    size_t done = 0;
    while (done < buffer.size()) {
      const ssize_t got =
          pread(descriptor, buffer.data() + done, buffer.size() - done, offset + static_cast<int64_t>(done));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) failWithErrno(path);
      if (got == 0) break;
      done += static_cast<size_t>(got);
    }
    buffer.resize(done);
  }
  const auto start = static_cast<size_t>(offset - bufferStart);
  return start >= buffer.size() ? std::string() : buffer.substr(start, count);
}

}  // namespace ztinspect
