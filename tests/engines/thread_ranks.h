#pragma once
// Ranks that are threads of one process.

#include <barrier>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "engines/ranks.h"

namespace quillon::engines {

/// What the ranks share. Each step stores pointers to the data of all ranks, which then read those of the
/// others.
struct Meeting {
  explicit Meeting(int count) : barrier(count), data(static_cast<std::size_t>(count)), firsts(data.size()) {}

  std::barrier<> barrier;
  std::vector<const char*> data;
  std::vector<const std::vector<std::int64_t>*> firsts;
};

class ThreadRank : public Ranks {
 public:
  ThreadRank(Meeting& meeting, int rank) : meeting_(meeting), rank_(rank) {}
  [[nodiscard]] int rank() const override { return rank_; }
  [[nodiscard]] int count() const override { return static_cast<int>(meeting_.data.size()); }

  void add_up(std::vector<std::int64_t>& values) const override {
    const std::vector<std::int64_t> mine = values;
    meet(reinterpret_cast<const char*>(mine.data()), nullptr, [&] {
      for (std::size_t k = 0; k < values.size(); ++k) {
        values[k] = 0;
        for (const char* const data : meeting_.data)
          values[k] += reinterpret_cast<const std::int64_t*>(data)[k];
      }
    });
  }

 protected:
  void gather_bytes(const void* mine, std::size_t size, void* all) const override {
    meet(static_cast<const char*>(mine), nullptr, [&] {
      for (std::size_t r = 0; r < meeting_.data.size(); ++r)
        std::memcpy(static_cast<char*>(all) + r * size, meeting_.data[r], size);
    });
  }

  [[nodiscard]] std::vector<std::int64_t> firsts_of_incoming(
      const std::vector<std::int64_t>& outgoing_firsts) const override {
    std::vector<std::int64_t> firsts{0};
    const auto me = static_cast<std::size_t>(rank_);
    meet(nullptr, &outgoing_firsts, [&] {
      for (const std::vector<std::int64_t>* const theirs : meeting_.firsts)
        firsts.push_back(firsts.back() + (*theirs)[me + 1] - (*theirs)[me]);
    });
    return firsts;
  }

  void exchange_bytes(Buffer<const char> out, Buffer<char> in, std::size_t item_size) const override {
    const auto me = static_cast<std::size_t>(rank_);
    meet(out.bytes, out.firsts, [&] {
      char* to = in.bytes;
      for (std::size_t r = 0; r < meeting_.data.size(); ++r) {
        const std::vector<std::int64_t>& theirs = *meeting_.firsts[r];
        const std::size_t size = static_cast<std::size_t>(theirs[me + 1] - theirs[me]) * item_size;
        if (size > 0)
          std::memcpy(to, meeting_.data[r] + static_cast<std::size_t>(theirs[me]) * item_size, size);
        to += size;
      }
    });
  }

 private:
  void meet(const char* data, const std::vector<std::int64_t>* firsts,
            const std::function<void()>& read) const {
    meeting_.data[static_cast<std::size_t>(rank_)] = data;
    meeting_.firsts[static_cast<std::size_t>(rank_)] = firsts;
    meeting_.barrier.arrive_and_wait();
    read();
    meeting_.barrier.arrive_and_wait();
  }

  Meeting& meeting_;
  int rank_;
};

/// Runs `work` on each of several ranks. It must not throw.
inline void run_on_ranks(int count, const std::function<void(const Ranks&)>& work) {
  Meeting meeting(count);
  std::vector<std::thread> threads;
  for (int rank = 0; rank < count; ++rank)
    threads.emplace_back([&meeting, &work, rank] { work(ThreadRank(meeting, rank)); });
  for (std::thread& thread : threads) thread.join();
}

}  // namespace quillon::engines
