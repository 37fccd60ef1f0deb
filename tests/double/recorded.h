#pragma once
// A test that starts with nothing recorded and frees everything it allocates.

#include <gtest/gtest.h>

#include "tests/double/recorder.h"

namespace quillon {

struct Recorded : testing::Test {
  Recorded() { recorder::reset(); }
  ~Recorded() override { recorder::reset(); }
};

}  // namespace quillon
