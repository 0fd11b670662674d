#include "tools/inspect/convert.hh"

#include "tools/inspect/encode.hh"
#include "tools/inspect/jsonfile.hh"
#include "tools/inspect/tree.hh"
#include "tools/inspect/values.hh"

namespace ztinspect {

// Records ------------------------------------------------------------------------------------------

static std::string bytesOf(const Source &source, const Record &record) {
  return source.bytes(record.offset, static_cast<size_t>(record.end - record.offset));
}

// The text form rounds to six digits.
static bool isRounded(const Trace &trace, const Step &step) {
  if (step.kind != Kind::real) return false;
  char text[400];
  snprintf(text, sizeof text, "%f", trace.realOf(step));
  const double again = strtod(text, nullptr);
  const double value = trace.realOf(step);
  return again != value && value == value;
}

namespace {

class Conversion {
 public:
  Conversion(const Source &from, Target to, Output *result)
      : source(from),
        target(to),
        output(result),
        writer(result, to == Target::text ? Form::text : Form::binary) {}

  void add(const Record &record, const Trace &trace) {
    if (record.state == State::damaged) return;
    if (target == Target::json) {
      addJson(record, trace);
    } else if (source.form() == writer.form()) {
      // Nothing changes, whatever the class.
      writer.add(bytesOf(source, record));
    } else if (record.state == State::unknown) {
      throw Problem(source.name() + ": " + record.reason +
                    ", so it has no other form (--load names its plugin)");
    } else {
      const Identity &identity = record.identity;
      writer.add(recordBytes(identity.field, identity.version, trace, source.form(), writer.form()));
      for (const Step &step : trace.steps) rounded += writer.form() == Form::text && isRounded(trace, step);
    }
  }

  void finish(bool withMark) {
    if (target == Target::json) {
      if (withMark) addLine("{\"class\":\"(end of tree)\",\"version\":1}");
      output->write(isFirst ? "[]\n" : "\n]\n");
    } else if (withMark) {
      writer.finishWithMark();
    }
  }

  int64_t roundedNumbers() const {
    return rounded;
  }

 private:
  void addLine(const std::string &line) {
    output->write(isFirst ? "[\n" : ",\n");
    output->write(line);
    isFirst = false;
  }
  // As it would come back from the JSON.
  std::string written(const Record &record, const Trace &trace) const {
    const Form form = source.form();
    const std::string field = fieldOf(record.identity.name, record.identity.distance);
    if (form == Form::binary) return recordBytes(field, record.identity.version, trace, form, form);
    return recordBytes(field, record.identity.version, binaryValues(trace, form), Form::binary, form);
  }
  // Where its values do not say all about the bytes of a record, the bytes stand beside them.
  void addJson(const Record &record, const Trace &trace) {
    const std::string bytes = bytesOf(source, record);
    const bool isSaid = record.state == State::whole && written(record, trace) == bytes;
    addLine(recordToJson(record, trace, isSaid ? nullptr : &bytes, source.form()));
  }

  const Source &source;
  Target target;
  Output *output;
  Writer writer;
  bool isFirst = true;
  int64_t rounded = 0;
};

}  // namespace

static int convertStored(const std::string &path, Target target, Output *output, bool withoutEnd) {
  const Source source(path);
  Records records(source);
  Conversion conversion(source, target, output);
  Progress progress(path, output->isStandard());
  Record record;
  while (records.next(&record, target == Target::json)) {
    conversion.add(record, records.values());
    progress.show(record.end, source.size());
  }
  const int status = judgeEnd(source, records, withoutEnd);
  if (status != 0) return status;
  conversion.finish(records.end() == End::mark);
  const int64_t rounded = conversion.roundedNumbers();
  if (rounded > 0) say(path + ": rounded to six digits: " + std::to_string(rounded) + " numbers");
  return 0;
}

static void convertJson(const std::string &path, Target target, Output *output) {
  if (target == Target::json) throw Problem(path + " is JSON already");
  Writer writer(output, target == Target::text ? Form::text : Form::binary);
  writeFromJson(path, &writer);
}

int convert(const std::string &path, Target target, const std::string &to, bool withoutEnd) {
  Output output(to);
  if (isJsonFile(path)) {
    convertJson(path, target, &output);
  } else {
    const int status = convertStored(path, target, &output, withoutEnd);
    if (status != 0) return status;
  }
  output.finish();
  return 0;
}

// Verification -------------------------------------------------------------------------------------

// Says so, and gives whether there are any.
static bool sayCount(const std::string &path, int64_t count, const std::string &what) {
  if (count > 0) say(path + ": " + std::to_string(count) + " " + what);
  return count > 0;
}

int verify(const std::string &path, bool withoutEnd) {
  const Source source(path);
  Records records(source);
  Skipped skipped;
  Tree tree;
  Progress progress(path, false);
  Record record;
  int64_t others = 0;
  while (records.next(&record, false)) {
    tree.add(record);
    if (record.state == State::unknown) skipped.add(record);
    if (record.state == State::whole && !record.isNode) ++others;
    progress.show(record.end, source.size());
  }
  tree.finish();
  skipped.sayAll(path);
  int status = judgeEnd(source, records, withoutEnd);
  if (!skipped.isEmpty()) status = 1;
  if (!withoutEnd && sayCount(path, others, "records are no nodes of a tree")) status = 1;
  if (sayCount(path, tree.orphans(), "nodes name a parent that is not there")) status = 1;
  if (sayCount(path, tree.loops(), "nodes would be above themselves")) status = 1;
  return status;
}

}  // namespace ztinspect
