// Classes are described while calls fail.
#include "tests/faults/injection.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"
#include "zentova.h"

TEST(Descriptions, AreWholeOrNoneWhateverFails) {
  const Scenario scenario = [](Trial &trial) {
    std::string told;
    trial.need([&] {
      ztClassInfo *info = ztOOP_classInfo(ztTagClass_Instance());
      if (info != nullptr) told += std::to_string(info->methodCount);
      ztOOP_freeClassInfo(info);
      return info != nullptr;
    });
    trial.need([&] {
      ztObjectInfo *info = ztObject_classInfo(ztTagClass_Instance());
      if (info != nullptr) told += "(" + std::to_string(info->propertyCount) + ")";
      ztObject_freeClassInfo(info);
      return info != nullptr;
    });
    return told;
  };
  int strikes = 0;
  for (const Kind &kind : allKinds()) strikes += strikeEach(kind, scenario);
  // Where only one of many faults is tried, one strikes in each way of failing.
  EXPECT_GE(strikes, scale(100) < 100 ? 2 : 3);
}
