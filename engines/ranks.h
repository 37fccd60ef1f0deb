#pragma once
/// @file
/// The processes that share a hypergraph, and what they exchange.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace quillon::engines {

/// Items for several ranks: those for rank r are items[firsts[r]] to before items[firsts[r + 1]].
template <typename Item>
struct Parcels {
  std::vector<Item> items;
  std::vector<std::int64_t> firsts;
};

/// Communication among all ranks. Every rank must make the same calls in the same order.
class Ranks {
 public:
  Ranks() = default;
  virtual ~Ranks() = default;
  Ranks(const Ranks&) = delete;
  Ranks& operator=(const Ranks&) = delete;

  [[nodiscard]] virtual int rank() const = 0;
  [[nodiscard]] virtual int count() const = 0;

  /// The values of all ranks, in the order of the ranks.
  template <typename Value>
  [[nodiscard]] std::vector<Value> gather(const Value& value) const {
    std::vector<Value> all(static_cast<std::size_t>(count()));
    gather_bytes(&value, sizeof value, all.data());
    return all;
  }

  /// Replaces each value by its sum over all ranks.
  virtual void add_up(std::vector<std::int64_t>& values) const = 0;

  /// Sends each rank its parcel. Frees what was sent.
  ///
  /// @return  What the ranks sent to this one, in the order of the ranks.
  template <typename Item>
  [[nodiscard]] std::vector<Item> exchange(Parcels<Item>&& outgoing) const {
    const std::vector<std::int64_t> from = firsts_of_incoming(outgoing.firsts);
    std::vector<Item> incoming(static_cast<std::size_t>(from.back()));
    exchange_bytes({reinterpret_cast<const char*>(outgoing.items.data()), &outgoing.firsts},
                   {reinterpret_cast<char*>(incoming.data()), &from}, sizeof(Item));
    outgoing = {};
    return incoming;
  }

 protected:
  /// Items as bytes, with where those of each rank begin.
  template <typename Byte>
  struct Buffer {
    Byte* bytes;
    const std::vector<std::int64_t>* firsts;  // in items
  };

  virtual void gather_bytes(const void* mine, std::size_t size, void* all) const = 0;
  /// Where the items of each rank begin in what this one receives.
  [[nodiscard]] virtual std::vector<std::int64_t> firsts_of_incoming(
      const std::vector<std::int64_t>& outgoing_firsts) const = 0;
  virtual void exchange_bytes(Buffer<const char> out, Buffer<char> in, std::size_t item_size) const = 0;
};

/// Ends the work of all ranks with one message, for errors that every rank finds: rank 0 throws, the others
/// wait to be ended.
template <typename Error>
[[noreturn]] void fail_together(const Ranks& ranks, const std::string& message) {
  if (ranks.rank() != 0) static_cast<void>(ranks.gather(0));
  throw Error(message);
}

/// One process alone.
class OneRank : public Ranks {
 public:
  [[nodiscard]] int rank() const override { return 0; }
  [[nodiscard]] int count() const override { return 1; }
  void add_up(std::vector<std::int64_t>& /*values*/) const override {}

 protected:
  void gather_bytes(const void* mine, std::size_t size, void* all) const override {
    std::memcpy(all, mine, size);
  }
  [[nodiscard]] std::vector<std::int64_t> firsts_of_incoming(
      const std::vector<std::int64_t>& outgoing_firsts) const override {
    return outgoing_firsts;
  }
  void exchange_bytes(Buffer<const char> out, Buffer<char> in, std::size_t item_size) const override {
    if (in.firsts->back() > 0)
      std::memcpy(in.bytes, out.bytes, static_cast<std::size_t>(in.firsts->back()) * item_size);
  }
};

}  // namespace quillon::engines
