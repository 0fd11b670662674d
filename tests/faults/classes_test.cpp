// The life of an object of each class that the library registers, while calls fail.
#include "tests/faults/injection.hh"
#include "tests/helpers/lives.hh"

#include "zentova.h"

namespace {

class FaultsInTheLife : public testing::TestWithParam<Life> {
 protected:
  static void SetUpTestSuite() {
    registerPropertyTypes();
  }

  // Strikes each call of the kinds; how many runs were struck.
  static int strike(const std::vector<Kind> &kinds) {
    int strikes = 0;
    for (const Kind &kind : kinds) {
      strikes += strikeEach(kind, [](Trial &trial) { return liveOnce(trial, GetParam()); });
      if (HasFailure()) break;
    }
    return strikes;
  }
};

std::string classNameOf(const testing::TestParamInfo<Life> &test) {
  return test.param.name;
}

}  // namespace

TEST(FaultsInTheLifeOf, EveryRegisteredClassAreTried) {
  int classes = 0;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next, ++classes) {
    EXPECT_NE(lifeOf(entry->name), nullptr) << entry->name << " has no life here";
  }
  EXPECT_EQ(classes, static_cast<int>(lives().size()));
}

TEST_P(FaultsInTheLife, OfMemoryAreReportedAndOvercome) {
  EXPECT_GT(strike({memory}), 0);
}

TEST_P(FaultsInTheLife, OfFilesAreReportedAndOvercome) {
  EXPECT_EQ(strike(fileKinds()) > 0, GetParam().stores || !GetParam().clones);
}

INSTANTIATE_TEST_SUITE_P(Of, FaultsInTheLife, testing::ValuesIn(lives().begin(), lives().end()), classNameOf);
