// What the library logs within a scope: to standard output, and to a log file of its own.
#ifndef ZT_TESTS_CAPTURED_LOG_HH
#define ZT_TESTS_CAPTURED_LOG_HH

#include "core/ztlogctrl.h"
#include "tests/helpers/temp_folder.hh"

#include <gtest/gtest.h>

class CapturedLog {
 public:
  CapturedLog() {
    ztLc_closeLogFile();
    ztLc_openLogFile(folder.path("captured.log").c_str());
    testing::internal::CaptureStdout();
  }
  ~CapturedLog() {
    stop();
  }
  CapturedLog(const CapturedLog &) = delete;
  CapturedLog &operator=(const CapturedLog &) = delete;

  // What standard output received.
  const std::string &output() {
    stop();
    return printed;
  }
  // What the log file received.
  std::string file() {
    stop();
    return contentsOf(folder.path("captured.log"));
  }

 private:
  void stop() {
    if (!capturing) return;
    capturing = false;
    printed = testing::internal::GetCapturedStdout();
    ztLc_closeLogFile();
  }

  TempFolder folder;
  std::string printed;
  bool capturing = true;
};

#endif
