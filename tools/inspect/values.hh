// Values and records as text for people, and as JSON.
#ifndef ZT_INSPECT_VALUES_HH
#define ZT_INSPECT_VALUES_HH

#include "tools/inspect/records.hh"

#include <string>

namespace ztinspect {

// A value on a line: a number, a text in quotes, or the first bytes as hexadecimal digits.
std::string shown(const Trace &trace, const Step &step, Kind as);
// The name of a value on a line, without the number of an element; its kind where it has no name.
std::string shown(const Name &name, const Step &step);
// A number as people write it; "inf" and "nan" too.
std::string shownReal(double value);
// A record as one object of JSON, on one line. `raw` are the bytes of the record, if they are to be in it.
std::string recordToJson(const Record &record, const Trace &trace, const std::string *raw, Form form);

// The names of the kinds in JSON.
const char *nameOf(Kind kind);
const char *nameOf(Form form);

}  // namespace ztinspect

#endif
