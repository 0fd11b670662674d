// What examples/station_gauge promises: its class, as the engine describes it. Its `main` is not called here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-declarations"
#pragma GCC diagnostic ignored "-Wreturn-type"
#define main stationMain
#include "../../examples/station_gauge/main.cpp"
#undef main
#pragma GCC diagnostic pop

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(CppExample, hasPropertiesOfAllSevenKindsAndASignalWithTwoArguments) {
  const auto station = zt::make<Station>();
  ztObjectInfo *info = ztObject_classInfo(ztOOP_classOf(station.get()));
  ASSERT_NE(info, nullptr);
  std::set<std::string> kinds;
  for (int32_t i = 0; i < info->propertyCount; ++i) kinds.insert(info->properties[i].type);
  const std::set<std::string> all = {"ztBool", "ztChar",   "ztChar*", "ztFloat",
                                     "ztInt",  "ztString", "ztVoid*"};
  EXPECT_EQ(kinds, all);
  ASSERT_EQ(info->signalCount, 1);
  EXPECT_EQ(info->signals[0].argumentCount, 2);
  ztObject_freeClassInfo(info);
}
