// The bytes of a stored file: its form, class identities, and the mark at the end of a saved tree.
#ifndef ZT_INSPECT_SOURCE_HH
#define ZT_INSPECT_SOURCE_HH

#include "tools/inspect/trace.hh"

#include <optional>
#include <string>
#include <vector>

namespace ztinspect {

constexpr size_t nameField = 100;
constexpr size_t markText = 64;
constexpr char markName[] = "(end of tree)";

// What stands before a record.
struct Identity {
  std::string field;  // the whole name field
  std::string name;
  int32_t version = 0;
  int32_t distance = 0;  // to the record of the parent, in records; 0 for none
  int64_t end = 0;       // the offset of the record
};

// The contents of the mark.
struct Mark {
  int64_t nodes = 0;
  int64_t bytes = 0;
  uint64_t sum = 0;
};

// The check sum of a mark over bytes that are given one after the other.
class CheckSum {
 public:
  void add(std::string_view bytes);
  uint64_t value() const;

 private:
  void addWord(uint64_t word);

  uint64_t sum = 0;
  std::string rest;  // fewer than eight
};

// The bytes of a class identity, and of a mark, in a form.
std::string identityBytes(std::string_view field, int32_t version, Form form);
std::string markBytes(const Mark &mark, Form form);
// The name field for a name and a distance.
std::string fieldOf(std::string_view name, int32_t distance);

// A regular file, read at any place.
class Source {
 public:
  // A Problem for what cannot be read, is empty, or does not begin as a stored file.
  explicit Source(std::string path);
  ~Source();
  Source(const Source &) = delete;
  Source &operator=(const Source &) = delete;

  const std::string &name() const {
    return path;
  }
  int64_t size() const {
    return length;
  }
  Form form() const {
    return itsForm;
  }
  // As many bytes as there are.
  std::string bytes(int64_t offset, size_t count) const;

  // The identity at a place; none where no class name stands there.
  std::optional<Identity> identityAt(int64_t offset) const;
  // The next place from an offset on at which an identity stands; the size of the file when there is none.
  int64_t nextIdentity(int64_t offset) const;
  // The mark whose contents begin at a place; none when they are damaged or cut. Sets the offset behind it.
  std::optional<Mark> markAt(int64_t offset, int64_t *end) const;
  // The type of the attribute of a tag that begins at a place, 1 or 2; 0 where none does.
  int32_t attributeTypeAt(int64_t offset) const;
  // Of the bytes before an offset.
  uint64_t sumBefore(int64_t offset) const;

 private:
  std::optional<Identity> identityIn(std::string_view window, int64_t offset, Form form) const;
  void findForm();

  std::string path;
  int64_t length = 0;
  Form itsForm = Form::binary;
  int descriptor;
  mutable std::string buffer;  // a part of the file
  mutable int64_t bufferStart = 0;
};

}  // namespace ztinspect

#endif
