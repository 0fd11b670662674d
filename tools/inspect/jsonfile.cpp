#include "tools/inspect/jsonfile.hh"

#include <limits.h>
#include <sys/stat.h>

#include <fstream>
#include <nlohmann/json.hpp>

namespace ztinspect {

using Json = nlohmann::json;

bool isJsonFile(const std::string &path) {
  // Opening a pipe would wait for its writer.
  struct stat found = {};
  if (stat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) return false;
  std::ifstream stream(path);
  char first = '\0';
  stream >> first;
  return first == '[';
}

namespace {

// Puts the records of the array together one at a time, so that none but the current one is in memory.
class Builder {
 public:
  explicit Builder(Writer *target) : writer(target) {}

  void add(const Json &record);
  void finish() const {
    if (hasMark) writer->finishWithMark();
  }

 private:
  void addField(const Json &field);
  void addStep(Kind kind, const std::string &value);

  Writer *writer;
  Trace trace;
  bool hasMark = false;
};

}  // namespace

static std::string fromHex(const std::string &hex) {
  std::string bytes;
  const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
  if (hex.size() % 2 != 0 || !std::all_of(hex.begin(), hex.end(), isDigit))
    throw Problem("these are no hex digits: " + hex);
  const auto digit = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10); };
  for (size_t i = 0; i < hex.size(); i += 2)
    bytes += static_cast<char>(digit(hex[i]) << 4U | digit(hex[i + 1]));
  return bytes;
}

static Kind kindOf(const std::string &name) {
  static const std::pair<const char *, Kind> kinds[] = {{"int", Kind::whole},   {"long", Kind::longWhole},
                                                        {"float", Kind::real},  {"char", Kind::character},
                                                        {"bytes", Kind::bytes}, {"string", Kind::string}};
  for (const auto &[known, kind] : kinds) {
    if (name == known) return kind;
  }
  throw Problem("there is no kind " + name);
}

template <typename Value>
static std::string bytesOf(Value value) {
  return {reinterpret_cast<const char *>(&value), sizeof value};
}

static int64_t wholeIn(const Json &value, int64_t least, int64_t most) {
  if (!value.is_number_integer()) throw Problem("this is no integer: " + value.dump());
  const auto whole = value.get<int64_t>();
  if (whole < least || whole > most) throw Problem("this is out of range: " + value.dump());
  return whole;
}

void Builder::addStep(Kind kind, const std::string &value) {
  const auto size = static_cast<int32_t>(std::min<size_t>(value.size(), INT_MAX));
  trace.steps.push_back({kind, size, 0, trace.values.size(), value.size(), nullptr});
  trace.values += value;
}

void Builder::addField(const Json &field) {
  const Kind kind = kindOf(field.at("kind").get<std::string>());
  std::string value;
  if (field.contains("hex")) {
    value = fromHex(field.at("hex").get<std::string>());
  } else if (kind == Kind::whole) {
    value = bytesOf(static_cast<int32_t>(wholeIn(field.at("value"), INT_MIN, INT_MAX)));
  } else if (kind == Kind::longWhole) {
    value = bytesOf(wholeIn(field.at("value"), INT64_MIN, INT64_MAX));
  } else if (kind == Kind::real) {
    value = bytesOf(field.at("value").get<double>());
  } else {
    value = field.at("value").get<std::string>();
    value.resize(static_cast<size_t>(wholeIn(field.at("size"), static_cast<int64_t>(value.size()), INT_MAX)),
                 '\0');
  }
  const size_t fixed = kind == Kind::whole ? 4 : kind == Kind::character ? 1 : 8;
  if (kind != Kind::bytes && kind != Kind::string && value.size() != fixed) {
    throw Problem("a value has the wrong size: " + field.dump());
  }
  addStep(kind, value);
}

void Builder::add(const Json &record) {
  if (hasMark) throw Problem("there are records behind the mark of the end");
  const auto name = record.at("class").get<std::string>();
  const auto version = static_cast<int32_t>(wholeIn(record.at("version"), 0, INT_MAX));
  if (name == markName) {
    hasMark = true;
    return;
  }
  if (name.empty() || name.size() >= nameField) throw Problem("this is no name of a class: " + name);
  if (record.contains("damaged")) throw Problem("a record of class " + name + " is damaged");
  const Json raw = record.value("raw", Json());
  if (!raw.is_null() &&
      raw.at("form").get<std::string>() == (writer->form() == Form::text ? "text" : "binary")) {
    return writer->add(fromHex(raw.at("hex").get<std::string>()));
  }
  if (record.contains("unknown")) throw Problem("class " + name + " is not known, so it has no other form");
  trace.begin();
  for (const Json &field : record.at("fields")) addField(field);
  const auto distance = static_cast<int32_t>(wholeIn(record.value("distance", Json(0)), 0, INT_MAX));
  writer->add(recordBytes(fieldOf(name, distance), version, trace, Form::binary, writer->form()));
}

void writeFromJson(const std::string &path, Writer *writer) {
  Builder builder(writer);
  using Event = Json::parse_event_t;
  const auto filter = [&](int depth, Event event, Json &value) {
    if (depth != 1) return true;
    if (event == Event::value || event == Event::array_start)
      throw Problem("there is something else than records");
    if (event != Event::object_end) return true;
    builder.add(value);
    return false;
  };
  std::ifstream stream(path, std::ios::binary);
  try {
    if (!Json::parse(stream, filter).is_array()) throw Problem("it is no array");
  } catch (const Json::exception &error) {
    throw Problem(path + ": " + error.what());
  } catch (const Problem &problem) {
    throw Problem(path + ": " + problem.what());
  }
  builder.finish();
}

}  // namespace ztinspect
