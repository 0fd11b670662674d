// Properties of C++ classes, and typed access to those of any object.
#include "tests/helpers/captured_log.hh"
#include "zentova.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

enum class Mode : uint8_t { off, on };

struct Station : zt::Class<Station, ztObject> {
  static constexpr auto className = "CppStation";
  int32_t count = 1;
  uint16_t small = 2;
  Mode mode = Mode::off;
  bool isOn = false;
  char grade = 'a';
  double level = 0.5;
  float narrow = 0.25F;
  std::string name = "none";
  const char *unit = "m";
  void *user = nullptr;
  const int *constant = nullptr;
  zt::Own<ztString> note;
  int32_t sets = 0;

  void setCount(int32_t value) {
    count = value;
    ++sets;
  }
  const std::string &getName() const {
    return name;
  }
  void setName(const std::string &value) {
    name = value + "!";
  }
  int32_t twice() const {
    return 2 * count;
  }
  static void define(zt::Def<Station> &c) {
    c.property<&Station::count, &Station::setCount>("count");
    c.property<&Station::small>("small");
    c.property<&Station::mode>("mode");
    c.property<&Station::isOn>("isOn");
    c.property<&Station::grade>("grade");
    c.property<&Station::level>("level");
    c.property<&Station::narrow>("narrow");
    c.property<&Station::name>("name");
    c.property<&Station::getName, &Station::setName>("loudName");
    c.property<&Station::unit>("unit");
    c.property<&Station::user>("user");
    c.property<&Station::constant>("constant");
    c.property<&Station::note>("note");
    c.readOnly<&Station::twice>("twice");
    c.signal("moved(int32_t x, int32_t y)");
  }
};

struct Buoy : zt::Class<Buoy, Station> {
  static constexpr auto className = "CppBuoy";
  int32_t depth = 3;
  static void define(zt::Def<Buoy> &c) {
    c.property<&Buoy::depth>("depth");
  }
};

struct Deaf : zt::Class<Deaf, ztObject> {
  static constexpr auto className = "CppDeaf";
  static int32_t declare(ztClass *klass) {
    ztSetter setter;
    setter.setInt = [](void *, int32_t) {};
    return ztObject_table()->addProperty(klass, "level", "ztInt", ztGetter{}, setter, nullptr, nullptr);
  }
  static void define(zt::Def<Deaf> &c) {
    c.method<&Deaf::declare>(&Methods::initProperties);
  }
};

template <typename T>
void expectRoundTrip(Station &station, const char *name, const T &value) {
  EXPECT_EQ(zt::Property<T>(name).set(station, value), zt::Access::done) << name;
  const auto read = zt::Property<T>(name).get(station);
  EXPECT_TRUE(read) << name;
  EXPECT_EQ(*read, value) << name;
}

}  // namespace

TEST(CppProperty, HasEveryKind) {
  Station station;
  int target = 0;
  expectRoundTrip<int32_t>(station, "count", 42);
  EXPECT_EQ(station.sets, 1);
  expectRoundTrip<uint16_t>(station, "small", 65535);
  expectRoundTrip<Mode>(station, "mode", Mode::on);
  expectRoundTrip<bool>(station, "isOn", true);
  expectRoundTrip<char>(station, "grade", 'z');
  expectRoundTrip<double>(station, "level", 1.5);
  expectRoundTrip<float>(station, "narrow", 2.5F);
  expectRoundTrip<std::string>(station, "name", "a name that is too long for a short string");
  EXPECT_STREQ(*zt::Property<const char *>("name").get(station), station.name.c_str());
  expectRoundTrip<void *>(station, "user", &target);
  expectRoundTrip<const int *>(station, "constant", &target);
  expectRoundTrip<std::string>(station, "note", "a note");
  expectRoundTrip<std::string>(station, "note", "another note");
  EXPECT_EQ(zt::Property<const char *>("loudName").set(station, "x"), zt::Access::done);
  EXPECT_EQ(station.name, "x!");
  EXPECT_EQ(*zt::Property<std::string>("unit").get(station), "m");
}

TEST(CppProperty, TellsWhyItWasNotReadOrWritten) {
  Station station;
  CapturedLog log;
  EXPECT_EQ(zt::Property<int32_t>("none").set(station, 1), zt::Access::noProperty);
  EXPECT_EQ(zt::Property<int32_t>("none").get(station).access, zt::Access::noProperty);
  EXPECT_EQ(zt::Property<double>("count").set(station, 1), zt::Access::otherKind);
  EXPECT_EQ(zt::Property<std::string>("count").get(station).access, zt::Access::otherKind);
  EXPECT_EQ(zt::Property<int32_t>("twice").set(station, 1), zt::Access::readOnly);
  EXPECT_EQ(*zt::Property<int32_t>("twice").get(station), 2);
  EXPECT_EQ(zt::Property<const char *>("name").set(station, nullptr), zt::Access::refused);
  EXPECT_EQ(zt::Property<int32_t>("count").set(zt::Ptr<Station>(), 1), zt::Access::noProperty);
  const std::string logged = log.file();
  EXPECT_NE(logged.find("has no property 'none'"), std::string::npos);
  EXPECT_NE(logged.find("cannot be written"), std::string::npos);
}

TEST(CppProperty, TellsThatItCannotBeRead) {
  auto deaf = zt::make<Deaf>();
  const CapturedLog log;
  EXPECT_EQ(zt::Property<int32_t>("level").set(deaf, 1), zt::Access::done);
  EXPECT_EQ(zt::Property<int32_t>("level").get(deaf).access, zt::Access::writeOnly);
}

TEST(CppProperty, IsInheritedInItsOrder) {
  Buoy buoy;
  EXPECT_EQ(*zt::Property<int32_t>("depth").get(buoy), 3);
  EXPECT_EQ(zt::Property<int32_t>("count").set(buoy, 8), zt::Access::done);
  EXPECT_EQ(buoy.count, 8);
  zt::Array<ztProperty *> properties;
  ASSERT_EQ(zt::methods(buoy)->getStaticProperties(&buoy, properties.get()), 1);
  ASSERT_EQ(properties.size(), 16U);  // with that of ztObject
  EXPECT_STREQ(ztString_of(properties[1]->name)->get(properties[1]->name), "count");
  EXPECT_STREQ(ztString_of(properties[15]->name)->get(properties[15]->name), "depth");
}

TEST(CppProperty, ServesDynamicOnes) {
  auto object = zt::make<ztObject>();
  ztObject_addText(object.get(), "text", "first");
  EXPECT_EQ(zt::Property<std::string>("text").set(object, "second"), zt::Access::done);
  EXPECT_EQ(*zt::Property<std::string>("text").get(object), "second");
}

TEST(CppProperty, AnnouncesItsChanges) {
  auto station = zt::make<Station>();
  auto panel = zt::make<Station>();
  ztObject_onChange(station.get(), "count", panel.get(),
                    zt::detail::memberFunction<&Station::setCount, Station>());
  zt::Property<int32_t>("count").set(station, 5);
  EXPECT_EQ(panel->count, 5);
}

TEST(CppProperty, SignalsAreDeclared) {
  auto station = zt::make<Station>();
  CapturedLog log;
  auto known = zt::connect(station, "moved", [](int32_t, int32_t) {});
  auto unknown = zt::connect(station, "movd", [] {});
  EXPECT_TRUE(unknown);
  const std::string logged = log.file();
  EXPECT_NE(logged.find("movd"), std::string::npos);
  EXPECT_EQ(logged.find("'moved'"), std::string::npos);
}
