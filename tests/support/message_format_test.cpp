#include "support/ztcutils.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(MessageFormat, FormatsIntoOneBuffer) {
  const char *first = ztCu_fmtMsg("%s-%d", "a", 5);
  EXPECT_STREQ(first, "a-5");
  const char *second = ztCu_fmtMsg("%5.2f|", 1.5);
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, " 1.50|");
}

TEST(MessageFormat, CutsAt511Bytes) {
  EXPECT_EQ(ztCu_fmtMsg("%s", std::string(511, 'a').c_str()), std::string(511, 'a'));
  EXPECT_EQ(ztCu_fmtMsg("%s", std::string(512, 'a').c_str()), std::string(511, 'a'));
  EXPECT_EQ(ztCu_fmtMsg("%100000d", 1), std::string(511, ' '));
}

TEST(MessageFormat, TakesItsOwnResult) {
  const char *text = ztCu_fmtMsg("inner");
  EXPECT_STREQ(ztCu_fmtMsg("<%s|%s>", text, text), "<inner|inner>");
}

TEST(MessageFormat, TakesNullAndTheEmptyFormat) {
  const char *(*const unchecked)(const char *, ...) = ztCu_fmtMsg;
  ztCu_fmtMsg("something");
  EXPECT_STREQ(unchecked(nullptr), "");
  EXPECT_STREQ(ztCu_fmtMsg("%s", ""), "");
}

}  // namespace
