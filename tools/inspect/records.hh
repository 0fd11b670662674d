// The records of a stored file, one after the other.
#ifndef ZT_INSPECT_RECORDS_HH
#define ZT_INSPECT_RECORDS_HH

#include "core/ztclass.h"
#include "core/ztreader.h"
#include "tools/inspect/names.hh"
#include "tools/inspect/source.hh"

#include <string>
#include <unordered_map>
#include <vector>

namespace ztinspect {

enum class State { whole, unknown, damaged };

// One record. Its values are in the trace of the reader until the next one.
struct Record {
  State state = State::whole;
  int64_t offset = 0;  // of the identity
  int64_t end = 0;
  Identity identity;
  std::string reason;  // why it is unknown or damaged
  int64_t damage = 0;  // where
  bool isNode = false;
  bool isLink = false;
  int32_t uid = 0;  // of a node
  int32_t parentUid = 0;
  size_t parentStep = SIZE_MAX;  // that read parentUid
  std::string name;
  std::vector<Name> names;  // of its values, where they were asked for
};

enum class End { mark, noMark, damaged };

class Records {
 public:
  explicit Records(const Source &file);
  ~Records();
  Records(const Records &) = delete;
  Records &operator=(const Records &) = delete;

  // Reads the record behind the last one. False at the end, behind the mark, and behind a damaged record.
  bool next(Record *record, bool withNames);
  // Goes on at the offset of a record.
  void goTo(int64_t offset);

  // How the file ended, after next() returned false.
  End end() const {
    return itsEnd;
  }
  // Why, and where.
  const std::string &reason() const {
    return itsReason;
  }
  int64_t place() const {
    return at;
  }
  const Trace &values() const {
    return trace;
  }
  // The records that were read since the start, as a mark counts them.
  int64_t count() const {
    return counted;
  }

 private:
  struct Known {
    ztCtor ctor = nullptr;  // NULL for an unknown class
    ztClass *klass = nullptr;
    bool isNode = false;
    bool isLink = false;
    bool isTag = false;
  };

  const Known &knownClass(const std::string &name);
  bool finish(End end, std::string reason, int64_t where);
  bool finishAtMark(const Identity &identity);
  std::string whyNoIdentity() const;
  void skip(Record *record, const std::string &reason);
  void readKnown(const Known &known, Record *record, bool withNames);
  bool readAttributes(void *tag);
  void judge(bool done, const ztClass *klass, Record *record);

  const Source &source;
  Trace trace;
  ztFile *file;
  Namer namer;
  std::unordered_map<std::string, Known> classes;
  int64_t at = 0;
  int64_t counted = 0;
  End itsEnd = End::noMark;
  std::string itsReason;
  bool isOver = false;
};

// What is wrong with the end of a file that was read; empty for nothing.
std::string whatEnded(const Records &records, bool withoutEnd);
// Says on standard error what is wrong with a file that was read to its end, and gives the status for it.
int judgeEnd(const Source &source, const Records &records, bool withoutEnd);

// Counts the records of unknown classes, and says so once for each class.
class Skipped {
 public:
  void add(const Record &record);
  // A line for each reason.
  std::vector<std::string> lines() const;
  void sayAll(const std::string &file) const;
  bool isEmpty() const {
    return reasons.empty();
  }

 private:
  struct Count {
    std::string reason;
    int64_t records;
    int64_t first;
  };
  std::vector<Count> reasons;
};

}  // namespace ztinspect

#endif
