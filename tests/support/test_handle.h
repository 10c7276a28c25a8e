// A calibration handle owned by one test: created on construction,
// destroyed (and checked) at the end of the test.
#pragma once

#include <gtest/gtest.h>

#include "KelvoCalibrate.h"

namespace kvx_test {

class Handle {
 public:
  explicit Handle(KvxLong mode = CalibModeManual) {
    EXPECT_EQ(CalibCreate(mode, &h_), 0u);
  }
  ~Handle() { EXPECT_EQ(CalibDestroy(h_), 0u); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  operator CalibHandle() const { return h_; }

 private:
  CalibHandle h_ = 0;
};

}  // namespace kvx_test
