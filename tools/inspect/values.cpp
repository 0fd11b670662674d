#include "tools/inspect/values.hh"

#include "tools/inspect/encode.hh"
#include "tools/inspect/output.hh"

#include <charconv>
#include <cmath>

namespace ztinspect {

const char *nameOf(Kind kind) {
  switch (kind) {
    case Kind::whole:
      return "int";
    case Kind::longWhole:
      return "long";
    case Kind::real:
      return "float";
    case Kind::character:
      return "char";
    case Kind::bytes:
      return "bytes";
    case Kind::string:
      return "string";
  }
  return "";
}

const char *nameOf(Form form) {
  return form == Form::text ? "text" : "binary";
}

std::string shownReal(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  char text[64];
  const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
  return {text, end.ptr};
}

// A text and nothing but zeros behind it.
static bool isText(std::string_view bytes, std::string_view *text) {
  *text = bytes.substr(0, bytes.find('\0'));
  return bytes.substr(text->size()).find_first_not_of('\0') == std::string_view::npos;
}

static std::string shownBytes(std::string_view bytes) {
  constexpr size_t mostShown = 32;
  std::string_view text;
  if (isText(bytes, &text) && (isPrintable(text) || text.size() > 4)) return "\"" + printable(text) + "\"";
  std::string hex = "0x" + toHex(bytes.substr(0, mostShown));
  if (bytes.size() > mostShown) hex += "... (" + std::to_string(bytes.size()) + " bytes)";
  return hex;
}

// As many bytes as a number of the kind has.
static bool holds(const Step &step, Kind as) {
  return as == Kind::whole ? step.size == sizeof(int32_t) : as == Kind::real && step.size == sizeof(double);
}

std::string shown(const Trace &trace, const Step &step, Kind as) {
  if (step.kind == Kind::bytes && !holds(step, as)) as = Kind::bytes;
  switch (as) {
    case Kind::whole:
      return std::to_string(trace.wholeOf(step));
    case Kind::longWhole:
      return std::to_string(trace.longOf(step));
    case Kind::real:
      return shownReal(trace.realOf(step));
    case Kind::string: {
      // The library reads a byte more than the text has.
      const std::string_view bytes = trace.valueOf(step);
      return "\"" + printable(bytes.substr(0, bytes.find('\0'))) + "\"";
    }
    case Kind::character:
    case Kind::bytes:
      break;
  }
  return shownBytes(trace.valueOf(step));
}

std::string shown(const Name &name, const Step &step) {
  return name.text.empty() ? std::string("(") + nameOf(step.kind) + ")" : printable(name.text);
}

// JSON --------------------------------------------------------------------------------------------

static void addValue(std::string *json, const Trace &trace, const Step &step, Kind as) {
  if (step.kind == Kind::whole || step.kind == Kind::longWhole) {
    *json += ",\"value\":" + shown(trace, step, step.kind);
    return;
  }
  const std::string_view bytes = trace.valueOf(step);
  const double real = step.kind == Kind::real ? trace.realOf(step) : 0;
  if (step.kind == Kind::real && std::isfinite(real)) {
    // Without a point, a reader takes it for an integer, which has no sign.
    *json += ",\"value\":" + (real == 0 && std::signbit(real) ? "-0.0" : shownReal(real));
    return;
  }
  std::string_view text;
  if (step.kind != Kind::real && as == step.kind && isText(bytes, &text) && isPrintable(text)) {
    *json += ",\"size\":" + std::to_string(bytes.size()) + ",\"value\":";
    appendJsonText(json, text);
    return;
  }
  *json += ",\"hex\":\"" + toHex(bytes) + "\"";
  const bool isNumber = step.kind == Kind::bytes && holds(step, as);
  if (isNumber && (as == Kind::whole || std::isfinite(trace.realOf(step)))) {
    *json += ",\"value\":" + shown(trace, step, as);
  }
}

static void addField(std::string *json, const Trace &trace, const Step &step, const Name *name) {
  *json += "{";
  if (name != nullptr && !name->text.empty()) {
    *json += "\"name\":";
    appendJsonText(json, printable(name->text));
    if (name->element >= 0) *json += ",\"element\":" + std::to_string(name->element);
    *json += ",";
  }
  *json += std::string("\"kind\":\"") + nameOf(step.kind) + "\",\"offset\":" + std::to_string(step.offset);
  addValue(json, trace, step, name == nullptr ? step.kind : name->kind);
  *json += "}";
}

std::string recordToJson(const Record &record, const Trace &trace, const std::string *raw, Form form) {
  std::string json = "{\"class\":";
  appendJsonText(&json, printable(record.identity.name));
  json += ",\"version\":" + std::to_string(record.identity.version) +
          ",\"offset\":" + std::to_string(record.offset);
  if (record.identity.distance > 0) json += ",\"distance\":" + std::to_string(record.identity.distance);
  if (record.state == State::unknown) json += ",\"unknown\":true";
  if (record.state == State::damaged) {
    json += ",\"damaged\":{\"offset\":" + std::to_string(record.damage) + ",\"reason\":";
    appendJsonText(&json, record.reason);
    json += "}";
  }
  json += ",\"fields\":[";
  const Trace binary = form == Form::text ? binaryValues(trace, form) : Trace();
  const Trace &values = form == Form::text ? binary : trace;
  for (size_t i = 0; i < values.steps.size(); ++i) {
    if (i > 0) json += ",";
    addField(&json, values, values.steps[i], i < record.names.size() ? &record.names[i] : nullptr);
  }
  json += "]";
  if (raw != nullptr)
    json += std::string(",\"raw\":{\"form\":\"") + nameOf(form) + "\",\"hex\":\"" + toHex(*raw) + "\"}";
  return json + "}";
}

}  // namespace ztinspect
