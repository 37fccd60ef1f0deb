#pragma once
// Random numbers from a seed.

#include <random>

namespace quillon::formats {

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  int from_to(int least, int most) {
    return least + static_cast<int>(engine_() % static_cast<unsigned>(most - least + 1));
  }

 private:
  std::mt19937 engine_;
};

}  // namespace quillon::formats
