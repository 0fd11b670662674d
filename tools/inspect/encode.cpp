#include "tools/inspect/encode.hh"

#include <stdio.h>

namespace ztinspect {

static void appendRaw(std::string *bytes, std::string_view value, Form form) {
  *bytes += value;
  if (form == Form::text) *bytes += '\n';
}

// The text form ends a text with its line feed, the binary form with a zero. A reader of the binary form asks for as
// many bytes as it says, also behind the zero.
static void appendString(std::string *bytes, std::string_view value, const Step &step, Form from, Form to) {
  if (from == to) {
    *bytes += value;
    return;
  }
  std::string_view text = value.substr(0, value.find('\0'));
  if (to == Form::text) {
    *bytes += text.empty() ? "null" : text;
    if (text.empty() || text.back() != '\n') *bytes += '\n';
    return;
  }
  if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  if (text == "null") text = "";
  *bytes += text;
  const auto wanted = static_cast<size_t>(step.wanted);
  bytes->append(wanted > text.size() ? wanted - text.size() : 1, '\0');
}

static std::string realText(double value) {
  char text[400];
  const int size = snprintf(text, sizeof text, "%f\n", value);
  return {text, static_cast<size_t>(size)};
}

void appendValue(std::string *bytes, const Trace &trace, const Step &step, Form from, Form to) {
  const std::string_view value = trace.valueOf(step);
  if (step.kind == Kind::string) return appendString(bytes, value, step, from, to);
  if (step.kind == Kind::bytes) return appendRaw(bytes, value, to);
  if (to == Form::binary || step.kind == Kind::character) return appendRaw(bytes, value, to);
  if (step.kind == Kind::whole) {
    *bytes += std::to_string(trace.wholeOf(step)) + "\n";
  } else if (step.kind == Kind::longWhole) {
    *bytes += std::to_string(trace.longOf(step)) + "\n";
  } else {
    *bytes += realText(trace.realOf(step));
  }
}

Trace binaryValues(const Trace &trace, Form from) {
  if (from == Form::binary) return trace;
  Trace result;
  for (const Step &step : trace.steps) {
    const size_t at = result.values.size();
    if (step.kind == Kind::string) {
      appendString(&result.values, trace.valueOf(step), step, from, Form::binary);
    } else {
      result.values += trace.valueOf(step);
    }
    result.steps.push_back(step);
    result.steps.back().at = at;
    result.steps.back().size = result.values.size() - at;
  }
  return result;
}

std::string recordBytes(std::string_view field, int32_t version, const Trace &trace, Form from, Form to) {
  std::string bytes = identityBytes(field, version, to);
  for (const Step &step : trace.steps) appendValue(&bytes, trace, step, from, to);
  return bytes;
}

void Writer::add(std::string_view record) {
  output->write(record);
  sum.add(record);
  ++mark.nodes;
  mark.bytes += static_cast<int64_t>(record.size());
}

void Writer::finishWithMark() {
  mark.sum = sum.value();
  output->write(markBytes(mark, itsForm));
}

}  // namespace ztinspect
