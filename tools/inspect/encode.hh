// Records written again: in another form, or from JSON.
#ifndef ZT_INSPECT_ENCODE_HH
#define ZT_INSPECT_ENCODE_HH

#include "tools/inspect/output.hh"
#include "tools/inspect/source.hh"

#include <string>

namespace ztinspect {

// The bytes of a value that was read from a file of one form, in a file of another.
void appendValue(std::string *bytes, const Trace &trace, const Step &step, Form from, Form to);

// The same values as a binary file has them; texts differ.
Trace binaryValues(const Trace &trace, Form from);

// The bytes of a record: its identity and its values.
std::string recordBytes(std::string_view nameField, int32_t version, const Trace &trace, Form from, Form to);

// Writes records, and the mark behind them.
class Writer {
 public:
  Writer(Output *target, Form form) : output(target), itsForm(form) {}

  void add(std::string_view record);
  void finishWithMark();
  Form form() const {
    return itsForm;
  }

 private:
  Output *output;
  Form itsForm;
  Mark mark;
  CheckSum sum;
};

}  // namespace ztinspect

#endif
