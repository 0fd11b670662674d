#include "core/ztreader.h"

#include "io/zttxtfile.h"
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/counted.hh"
#include "tests/helpers/host_class.hh"
#include "tests/helpers/host_process.hh"
#include "tests/helpers/records.hh"
#include "tests/helpers/replaced.hh"

#include <functional>
#include <map>
#include <random>

// Gauge: what is stored was the level, became the level and the limit, and is now both and the unit.
#define Gauge_FIELDS \
  ztBaseClass_FIELDS \
  int32_t level;     \
  double limit;      \
  int32_t unit;
#define Gauge_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Gauge)
// The earlier definitions, which tests let write under today's name.
#define GaugeOne_FIELDS \
  ztBaseClass_FIELDS    \
  int32_t level;
#define GaugeOne_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(GaugeOne)
#define GaugeTwo_FIELDS GaugeOne_FIELDS double limit;
#define GaugeTwo_METHODS GaugeOne_METHODS
ZT_DECLARE_CLASS(GaugeTwo)
// A gauge with a flow.
#define Pump_FIELDS Gauge_FIELDS int32_t flow;
#define Pump_METHODS Gauge_METHODS
ZT_DECLARE_CLASS(Pump)
#define PumpOne_FIELDS GaugeOne_FIELDS int32_t flow;
#define PumpOne_METHODS GaugeOne_METHODS
ZT_DECLARE_CLASS(PumpOne)
// Holds another object, which it stores within its record.
#define Holder_FIELDS \
  ztBaseClass_FIELDS  \
  void *held;
#define Holder_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Holder)
// Never used.
#define Unused_FIELDS ztBaseClass_FIELDS
#define Unused_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Unused)

using CountedGauge = Counting<Gauge, ztBaseClass_table>;

static int32_t gaugeCreate(void *object) {
  auto *gauge = static_cast<Gauge *>(object);
  gauge->level = 0;
  gauge->limit = 100;
  gauge->unit = 1;
  return CountedGauge::create(gauge);
}

static int32_t gaugeRead(void *object, void *file) {
  auto *gauge = static_cast<Gauge *>(object);
  return ztFile_of(file)->readInt(file, &gauge->level) && ztFile_of(file)->readFloat(file, &gauge->limit) &&
         ztFile_of(file)->readInt(file, &gauge->unit);
}

static int32_t gaugeWrite(const void *object, void *file) {
  const auto *gauge = static_cast<const Gauge *>(object);
  return ztFile_of(file)->writeInt(file, gauge->level) && ztFile_of(file)->writeFloat(file, gauge->limit) &&
         ztFile_of(file)->writeInt(file, gauge->unit);
}

static void gaugeMethods(GaugeMethods *methods) {
  CountedGauge::overrideIn(methods);
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, read, gaugeRead);
  ZT_OVERRIDE_METHOD(methods, write, gaugeWrite);
}

static int32_t gaugeOneWrite(const void *object, void *file) {
  return ztFile_of(file)->writeInt(file, static_cast<const GaugeOne *>(object)->level);
}

static void gaugeOneMethods(GaugeOneMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, gaugeOneWrite);
}

static int32_t gaugeTwoWrite(const void *object, void *file) {
  return GaugeOne_table()->write(object, file) &&
         ztFile_of(file)->writeFloat(file, static_cast<const GaugeTwo *>(object)->limit);
}

static void gaugeTwoMethods(GaugeTwoMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, gaugeTwoWrite);
}

static int32_t pumpRead(void *object, void *file) {
  return Gauge_table()->read(object, file) &&
         ztFile_of(file)->readInt(file, &static_cast<Pump *>(object)->flow);
}

static void pumpMethods(PumpMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, read, pumpRead);
}

static int32_t pumpOneWrite(const void *object, void *file) {
  return GaugeOne_table()->write(object, file) &&
         ztFile_of(file)->writeInt(file, static_cast<const PumpOne *>(object)->flow);
}

static void pumpOneMethods(PumpOneMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, pumpOneWrite);
}

static int32_t holderCreate(void *object) {
  static_cast<Holder *>(object)->held = nullptr;
  return ztBaseClass_table()->create(object);
}

static void holderDestroy(void *object) {
  const Object held(static_cast<Holder *>(object)->held);
  ztBaseClass_table()->destroy(object);
}

static int32_t holderWrite(const void *object, void *file) {
  const void *held = static_cast<const Holder *>(object)->held;
  return ztBaseClass_functions()->classWrite(nullptr, held, file) &&
         ztBaseClass_of(held)->write(held, file) && ztFile_of(file)->writeInt(file, 99);
}

static int32_t holderRead(void *object, void *file) {
  auto *holder = static_cast<Holder *>(object);
  int32_t behind = 0;
  holder->held = ztOOP_readObject(file);
  return holder->held != nullptr && ztFile_of(file)->readInt(file, &behind) && behind == 99;
}

static void holderMethods(HolderMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, holderCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, holderDestroy);
  ZT_OVERRIDE_METHOD(methods, read, holderRead);
  ZT_OVERRIDE_METHOD(methods, write, holderWrite);
}

ZT_DEFINE_CLASS_FULL(Gauge, ztBaseClass, gaugeMethods, 3, ztClassFunctions, ztOOP_noFunctions)
ZT_DEFINE_CLASS(GaugeOne, ztBaseClass, gaugeOneMethods)
ZT_DEFINE_CLASS_FULL(GaugeTwo, GaugeOne, gaugeTwoMethods, 2, ztClassFunctions, ztOOP_noFunctions)
ZT_DEFINE_CLASS_FULL(Pump, Gauge, pumpMethods, 2, ztClassFunctions, ztOOP_noFunctions)
ZT_DEFINE_CLASS(PumpOne, GaugeOne, pumpOneMethods)
ZT_DEFINE_CLASS_FULL(Holder, ztBaseClass, holderMethods, 2, ztClassFunctions, ztOOP_noFunctions)
ZT_DEFINE_CLASS_FULL(Unused, ztBaseClass, noMethods, 2, ztClassFunctions, ztOOP_noFunctions)

namespace {

using OwnedGauge = Owned<Gauge, GaugeMethods>;

ztClass *const gaugeClass = GaugeClass_Instance();

int32_t readOne(void *object, void *file, uint32_t version) {
  EXPECT_EQ(version, 1U);
  auto *gauge = static_cast<Gauge *>(object);
  EXPECT_EQ(gauge->limit, 100) << "it was created";
  gauge->unit = 11;
  return ztFile_of(file)->readInt(file, &gauge->level);
}

int32_t readTwo(void *object, void *file, uint32_t version) {
  EXPECT_EQ(version, 2U);
  auto *gauge = static_cast<Gauge *>(object);
  gauge->unit = 22;
  return ztFile_of(file)->readInt(file, &gauge->level) && ztFile_of(file)->readFloat(file, &gauge->limit);
}

int32_t readPumpOne(void *object, void *file, uint32_t version) {
  EXPECT_EQ(version, 1U);
  const ztReader inherited = ztOOP_readerOf(gaugeClass, 1);
  return inherited != nullptr && inherited(object, file, 1) &&
         ztFile_of(file)->readInt(file, &static_cast<Pump *>(object)->flow);
}

int32_t readHolderOne(void *object, void *file, uint32_t) {
  auto *holder = static_cast<Holder *>(object);
  holder->held = ztOOP_readObject(file);
  return holder->held != nullptr;
}

// What a reader does whose version no test has a file of.
int32_t readNothing(void *, void *, uint32_t) {
  return 1;
}

int32_t readOneTwice(void *object, void *file, uint32_t version) {
  const int32_t isRead = readOne(object, file, version);
  return isRead ? readOne(object, file, version) : 0;
}

// Writes the identity and the record of an object, as that of another class.
void store(const void *object, void *file, const char *name, uint32_t version) {
  ztClass *klass = ztOOP_classOf(object);
  const Replaced asNamed(klass->name, name);
  const Replaced asVersion(klass->version, version);
  EXPECT_EQ(ztBaseClass_functions()->classWrite(nullptr, object, file), 1);
  EXPECT_GT(ztBaseClass_of(object)->write(object, file), 0);
}

void storeOne(void *file, int32_t level) {
  const Owned<GaugeOne> gauge(GaugeOne_ctor);
  gauge.fields().level = level;
  store(gauge, file, "Gauge", 1);
}

void storeTwo(void *file, int32_t level, double limit) {
  const Owned<GaugeTwo> gauge(GaugeTwo_ctor);
  gauge.fields().level = level;
  gauge.fields().limit = limit;
  store(gauge, file, "Gauge", 2);
}

void storeToday(void *file, int32_t level) {
  const OwnedGauge gauge(Gauge_ctor);
  gauge.fields().level = level;
  store(gauge, file, "Gauge", 3);
}

std::string error(const std::string &text) {
  return "ztOOP::ztOOP_readObject - Error, " + text + "\n";
}

std::string noReader(const std::string &name, int version, int earlier) {
  return error("class '" + name + "' of version " + std::to_string(version) + " has no reader for version " +
               std::to_string(earlier));
}

std::string unreadable(const std::string &name, int version) {
  return error("a record of class '" + name + "', version " + std::to_string(version) + ", cannot be read");
}

const std::string noIdentity = error("no class identity at this place of the file");

// Files of both forms.
class Readers : public testing::TestWithParam<ztCtor> {
 protected:
  Readers() {
    for (const ztCtor constructor :
         {Gauge_ctor, GaugeOne_ctor, GaugeTwo_ctor, PumpOne_ctor, Pump_ctor, Holder_ctor}) {
      use(constructor);
    }
  }
  ~Readers() override {
    for (const uint32_t version : {0U, 1U, 2U}) ztOOP_setReader(gaugeClass, version, nullptr);
    ztOOP_setReader(PumpClass_Instance(), 1, nullptr);
    ztOOP_setReader(HolderClass_Instance(), 1, nullptr);
    EXPECT_EQ(liveOf<Gauge>, 0);
  }

  static void setReaders() {
    EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, readOne), 1);
    EXPECT_EQ(ztOOP_setReader(gaugeClass, 2, readTwo), 1);
  }

  // "level limit unit", or what was logged in place of an object.
  std::string next() const {
    CapturedLog log;
    const OwnedGauge gauge(ztOOP_readObject(file));
    if (gauge == nullptr) return log.output();
    EXPECT_EQ(log.output(), "");
    EXPECT_EQ(gauge->getRefCount(gauge), 1);
    const Gauge &fields = gauge.fields();
    char text[80];
    snprintf(text, sizeof text, "%d %g %d", fields.level, fields.limit, fields.unit);
    return text;
  }

  // The same of a file with these bytes.
  std::string readFrom(const std::string &bytes) const {
    file.hold(bytes);
    return next();
  }

  const Storage file{GetParam()};
};

std::string nameOfForm(const testing::TestParamInfo<ztCtor> &test) {
  return test.param == ztFile_ctor ? "Binary" : "Text";
}

// Runs an operation, and gives what it logs.
std::string logOf(const std::function<void()> &operation) {
  CapturedLog log;
  operation();
  return log.output();
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Of, Readers, testing::Values(ztFile_ctor, ztTextFile_ctor), nameOfForm);

// Reading -----------------------------------------------------------------------------------------

TEST_P(Readers, MakeTodaysObjectsOfTheRecordsOfEveryVersion) {
  setReaders();
  storeToday(file, 3);
  storeOne(file, 10);
  storeTwo(file, 20, 0.5);
  storeOne(file, 11);
  storeToday(file, 4);
  file.rewind();
  EXPECT_EQ(next(), "3 100 1");
  EXPECT_EQ(next(), "10 100 11");
  EXPECT_EQ(next(), "20 0.5 22");
  EXPECT_EQ(next(), "11 100 11");
  EXPECT_EQ(next(), "4 100 1");
  EXPECT_EQ(next(), noIdentity);
}

TEST_P(Readers, AreNotAskedForTheVersionOfTheClassItself) {
  storeToday(file, 3);
  file.rewind();
  EXPECT_EQ(next(), "3 100 1");
}

TEST_P(Readers, AreOfOneVersionEach) {
  storeOne(file, 10);
  file.rewind();
  EXPECT_EQ(next(), noReader("Gauge", 3, 1));
  file.rewind();
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 2, readTwo), 1);
  EXPECT_EQ(next(), noReader("Gauge", 3, 1));
  file.rewind();
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, readOne), 1);
  EXPECT_EQ(next(), "10 100 11");
}

TEST_P(Readers, AreReplacedAndRemoved) {
  storeOne(file, 10);
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, readNothing), 1);
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, readOne), 1);
  EXPECT_EQ(ztOOP_readerOf(gaugeClass, 1), readOne);
  file.rewind();
  EXPECT_EQ(next(), "10 100 11");
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, nullptr), 1);
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, nullptr), 1) << "there is none any more";
  EXPECT_EQ(ztOOP_readerOf(gaugeClass, 1), nullptr);
  file.rewind();
  EXPECT_EQ(next(), noReader("Gauge", 3, 1));
}

TEST_P(Readers, AreNotAskedByClassRead) {
  setReaders();
  storeOne(file, 10);
  file.rewind();
  EXPECT_EQ(logOf([&] { EXPECT_EQ(ztBaseClass_functions()->classRead(nullptr, file), nullptr); }), "");
}

TEST_P(Readers, OfAClassAreNotThoseOfItsDescendants) {
  setReaders();
  const Owned<PumpOne> pump(PumpOne_ctor);
  pump.fields().level = 5;
  pump.fields().flow = 6;
  store(pump, file, "Pump", 1);
  file.rewind();
  EXPECT_EQ(next(), noReader("Pump", 2, 1));
  EXPECT_EQ(ztOOP_setReader(PumpClass_Instance(), 1, readPumpOne), 1);
  file.rewind();
  const Owned<Pump> read(ztOOP_readObject(file));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read.fields().level, 5);
  EXPECT_EQ(read.fields().unit, 11) << "the reader of the parent ran";
  EXPECT_EQ(read.fields().flow, 6);
}

TEST_P(Readers, ReadObjectsWithinObjects) {
  setReaders();
  const Owned<Holder> holder(Holder_ctor);
  const Owned<Holder> inner(Holder_ctor);
  GaugeOne gauge;
  GaugeOne_ctor(&gauge, 1);
  gauge.level = 7;
  // The earlier holder stored the object alone, today's holder a number behind it.
  const auto storeAll = [&] {
    ztBaseClass_functions()->classWrite(nullptr, holder, file);
    store(&gauge, file, "Gauge", 1);
    file->writeInt(file, 99);
    const Replaced asVersion(HolderClass_Instance()->version, 1);
    ztBaseClass_functions()->classWrite(nullptr, holder, file);
    store(&gauge, file, "Gauge", 1);
  };
  storeAll();
  EXPECT_EQ(ztOOP_setReader(HolderClass_Instance(), 1, readHolderOne), 1);
  file.rewind();
  for (const char *version : {"today's", "the earlier one"}) {
    const Owned<Holder> read(ztOOP_readObject(file));
    ASSERT_NE(read, nullptr) << version;
    ASSERT_NE(read.fields().held, nullptr) << version;
    EXPECT_EQ(static_cast<Gauge *>(read.fields().held)->level, 7) << version;
  }
  EXPECT_EQ(next(), noIdentity);

  ztOOP_setReader(gaugeClass, 1, nullptr);
  file.rewind();
  EXPECT_EQ(next(), noReader("Gauge", 3, 1) + unreadable("Holder", 2));
}

// Records that cannot be read ---------------------------------------------------------------------

TEST_P(Readers, MayFail) {
  storeOne(file, 10);
  const ztReader failing[] = {[](void *, void *, uint32_t) { return 0; },
                              [](void *, void *, uint32_t) { return -1; }};
  for (const ztReader reader : failing) {
    EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, reader), 1);
    file.rewind();
    EXPECT_EQ(next(), unreadable("Gauge", 1));
    EXPECT_EQ(liveOf<Gauge>, 0);
  }
}

TEST_P(Readers, ReadNothingOfARecordThatIsCutAnywhere) {
  setReaders();
  storeOne(file, 1234567);
  const std::string whole = file.bytes();
  for (size_t size = 0; size < whole.size(); ++size) {
    const std::string told = readFrom(whole.substr(0, size));
    // As text, a number is whole without its line end, and what is cut is another number.
    if (told.starts_with("1")) {
      EXPECT_EQ(GetParam(), ztTextFile_ctor) << size;
      continue;
    }
    EXPECT_TRUE(told == noIdentity || told == unreadable("Gauge", 1) || told == noReader("Gauge", 3, 0))
        << size << told;
  }
  EXPECT_EQ(readFrom(whole), "1234567 100 11");
}

TEST_P(Readers, TellTheClassAndTheVersionThatTheyDoNotKnow) {
  setReaders();
  storeOne(file, 10);
  std::string bytes = file.bytes();
  bytes.replace(0, 5, "Gouge");
  EXPECT_EQ(readFrom(bytes), notInstalled("Gouge"));
  file.hold("");
  const OwnedGauge gauge(Gauge_ctor);
  store(gauge, file, "Gauge", 4);
  file.rewind();
  EXPECT_EQ(next(), noReader("Gauge", 3, 4));
}

TEST_P(Readers, NeedAFile) {
  EXPECT_EQ(logOf([] { EXPECT_EQ(ztOOP_readObject(nullptr), nullptr); }),
            "ztOOP::ztOOP_readObject - Error, the file is NULL\n");
  const Object closed(GetParam());
  EXPECT_EQ(logOf([&] { EXPECT_EQ(ztOOP_readObject(closed), nullptr); }), noIdentity);
}

// A file does not tell where a record ends.
TEST(ReadersOfAClass, ThatReadTooLittleOrTooMuchLeaveTheNextObjectUnread) {
  for (const ztCtor constructor : {Gauge_ctor, GaugeOne_ctor}) use(constructor);
  const Storage file;
  storeOne(file, 10);
  storeToday(file, 3);
  for (const ztReader reader : {readNothing, readOneTwice}) {
    EXPECT_EQ(ztOOP_setReader(gaugeClass, 1, reader), 1);
    file.rewind();
    EXPECT_EQ(Object(ztOOP_readObject(file)) != nullptr, true);
    const std::string line = logOf([&] { EXPECT_EQ(ztOOP_readObject(file), nullptr); });
    EXPECT_NE(line.find("not installed\n"), std::string::npos) << line;
  }
  ztOOP_setReader(gaugeClass, 1, nullptr);
}

// Naming readers ----------------------------------------------------------------------------------

namespace {

std::string refused(ztClass *klass, uint32_t version) {
  return logOf([=] {
    for (const ztReader reader : {ztReader{readNothing}, ztReader{nullptr}}) {
      EXPECT_EQ(ztOOP_setReader(klass, version, reader), 0);
    }
    EXPECT_EQ(ztOOP_readerOf(klass, version), nullptr);
  });
}

std::string twice(const std::string &line) {
  return line + line;
}

}  // namespace

TEST(ReadersOfAClass, AreForEarlierVersionsOnly) {
  use(Gauge_ctor);
  for (const uint32_t version : {3U, 4U, UINT32_MAX}) {
    EXPECT_EQ(refused(gaugeClass, version),
              twice("ztOOP::ztOOP_setReader - Error, version " + std::to_string(version) +
                    " of class 'Gauge' is not earlier than its own, 3\n"));
  }
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 0, readNothing), 1);
  EXPECT_EQ(ztOOP_setReader(gaugeClass, 0, nullptr), 1);
}

TEST(ReadersOfAClass, NeedAClassThatIsKnown) {
  const std::string lines = twice("ztOOP::ztOOP_setReader - Error, the class is not known yet\n");
  EXPECT_EQ(refused(UnusedClass_Instance(), 1), lines);
  EXPECT_EQ(refused(nullptr, 1), lines);
}

// Classes only in name, of versions enough to sort.
TEST(ReadersOfAClass, AreFoundAmongMany) {
  constexpr size_t classCount = 40;
  static ztClass classes[classCount];
  for (ztClass &klass : classes) {
    klass.name = "Many";
    klass.version = 50;
  }
  static const ztReader functions[] = {readOne, readTwo, readNothing, nullptr};
  std::map<std::pair<ztClass *, uint32_t>, ztReader> expected;
  std::minstd_rand random(1);
  for (int round = 0; round < 5000; ++round) {
    ztClass *klass = &classes[random() % classCount];
    const auto version = static_cast<uint32_t>(random() % 50);
    const ztReader function = functions[random() % 4];
    ASSERT_EQ(ztOOP_setReader(klass, version, function), 1);
    expected[{klass, version}] = function;
  }
  int found = 0;
  for (ztClass &klass : classes) {
    for (uint32_t version = 0; version < 50; ++version) {
      const ztReader function = ztOOP_readerOf(&klass, version);
      EXPECT_EQ(function, (expected[{&klass, version}]));
      found += function != nullptr;
      EXPECT_EQ(ztOOP_setReader(&klass, version, nullptr), 1);
    }
  }
  EXPECT_GT(found, 500);
}

// The life of readers -----------------------------------------------------------------------------

TEST(ReadersOfAClass, GoWithTheEnginesCleanUp) {
  HostProcess host;
  EXPECT_EQ(host.run("lifecycle", {"readers"}), 0) << host.output();
}

TEST(ReadersOfAClass, GoWithTheCodeOfTheirClass) {
  HostProcess host;
  EXPECT_EQ(host.run("loaded_plugins", {"old-file", ZT_HOSTS_FOLDER, "0"}), 0) << host.output();
}
