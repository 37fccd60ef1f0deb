#pragma once
// The ranks of MPI_COMM_WORLD.

#include <mpi.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "engines/ranks.h"

namespace quillon::engines {

class MpiRanks : public Ranks {
 public:
  MpiRanks() {
    MPI_Comm_rank(MPI_COMM_WORLD, &rank_);
    MPI_Comm_size(MPI_COMM_WORLD, &count_);
  }

  [[nodiscard]] int rank() const override { return rank_; }
  [[nodiscard]] int count() const override { return count_; }

  void add_up(std::vector<std::int64_t>& values) const override {
    MPI_Allreduce(MPI_IN_PLACE, values.data(), static_cast<int>(values.size()), MPI_INT64_T, MPI_SUM,
                  MPI_COMM_WORLD);
  }

 protected:
  void gather_bytes(const void* mine, std::size_t size, void* all) const override {
    const int nbytes = static_cast<int>(size);
    MPI_Allgather(mine, nbytes, MPI_BYTE, all, nbytes, MPI_BYTE, MPI_COMM_WORLD);
  }

  [[nodiscard]] std::vector<std::int64_t> firsts_of_incoming(
      const std::vector<std::int64_t>& outgoing_firsts) const override {
    std::vector<std::int64_t> sent;
    for (std::size_t r = 0; r < static_cast<std::size_t>(count_); ++r)
      sent.push_back(outgoing_firsts[r + 1] - outgoing_firsts[r]);
    std::vector<std::int64_t> received(sent.size());
    MPI_Alltoall(sent.data(), 1, MPI_INT64_T, received.data(), 1, MPI_INT64_T, MPI_COMM_WORLD);
    std::vector<std::int64_t> firsts{0};
    for (const std::int64_t count : received) firsts.push_back(firsts.back() + count);
    return firsts;
  }

  // In step s, each rank sends to the one s places after it. Blocks keep the counts within an int.
  void exchange_bytes(Buffer<const char> out, Buffer<char> in, std::size_t item_size) const override {
    for (int step = 0; step < count_; ++step) {
      const int to = (rank_ + step) % count_;
      const int from = (rank_ + count_ - step) % count_;
      const Stretch send = stretch_of(out, to, item_size);
      const Stretch receive = stretch_of(in, from, item_size);
      for (std::int64_t at = 0; at < std::max(send.size, receive.size); at += kBlock)
        MPI_Sendrecv(out.bytes + send.begin + std::min(at, send.size), part_at(send, at), MPI_BYTE,
                     part_at(send, at) > 0 ? to : MPI_PROC_NULL, 0,
                     in.bytes + receive.begin + std::min(at, receive.size), part_at(receive, at), MPI_BYTE,
                     part_at(receive, at) > 0 ? from : MPI_PROC_NULL, 0, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    }
  }

 private:
  static constexpr std::int64_t kBlock = std::int64_t{1} << 26;

  // Bytes of a buffer.
  struct Stretch {
    std::int64_t begin;
    std::int64_t size;
  };

  template <typename Byte>
  static Stretch stretch_of(const Buffer<Byte>& buffer, int rank, std::size_t item_size) {
    const auto at = static_cast<std::size_t>(rank);
    const auto size = static_cast<std::int64_t>(item_size);
    const std::int64_t begin = (*buffer.firsts)[at] * size;
    return {begin, (*buffer.firsts)[at + 1] * size - begin};
  }

  static int part_at(const Stretch& stretch, std::int64_t at) {
    return static_cast<int>(std::clamp(stretch.size - at, std::int64_t{0}, kBlock));
  }

  int rank_ = 0;
  int count_ = 1;
};

}  // namespace quillon::engines
