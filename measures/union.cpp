#include "measures/union.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "hypergraph/detail/lists.h"
#include "measures/common_pins.h"
#include "measures/complete.h"
#include "measures/net_keys.h"
#include "util/util.h"

namespace quillon::measures {
namespace {

class Joiner {
 public:
  Joiner(std::span<const Operand> operands, int ncells, bool distinct, Hypergraph& joined)
      : operands_(operands), h_(joined), common_(distinct ? ncells : 0) {
    const int nnets = total("nets", [](const Hypergraph& h) { return h._n; });
    if (distinct) nets_by_key_.emplace(static_cast<std::size_t>(nnets));
    h_._c = ncells;
    h_._n = nnets;
    h_._p = total("pins", [](const Hypergraph& h) { return h._p; });
    h_._fmt = 0;
    malloc_hypergraph(&h_);
    made_.nets.reserve(static_cast<std::size_t>(nnets) + 1);
    made_.nets.push_back({0, 0});
  }

  Union join() {
    join_cells();
    int* pin = h_._cell_list;
    for (std::size_t k = 0; k < operands_.size(); ++k)
      for (int j = 1; j <= operands_[k].h->_n; ++j) pin = join_net({static_cast<int>(k), j}, pin);
    h_._n = static_cast<int>(made_.nets.size()) - 1;
    h_._p = static_cast<int>(pin - h_._cell_list);
    complete(h_);
    return std::move(made_);
  }

 private:
  template <typename Count>
  int total(const char* what, Count count) const {
    std::int64_t sum = 0;
    for (const Operand& operand : operands_) sum += count(*operand.h);
    if (sum > std::numeric_limits<int>::max() - 2)
      errexit("%lld %s are too many for one hypergraph", static_cast<long long>(sum), what);
    return static_cast<int>(sum);
  }

  void join_cells() {
    std::vector<bool> is_set(static_cast<std::size_t>(h_._c) + 1, false);
    for (const Operand& operand : operands_)
      for (int i = 1; i <= operand.h->_c; ++i) {
        const int number = operand.cells[static_cast<std::size_t>(i)];
        const int weight = operand.h->_clst[i].w;
        Cell& cell = h_._clst[number];
        if (is_set[static_cast<std::size_t>(number)]) {
          const bool is_first = made_.conflict == 0 || number < made_.conflict;
          if (cell.w != weight && is_first) made_.conflict = number;
          continue;
        }
        is_set[static_cast<std::size_t>(number)] = true;
        cell.w = weight;
        cell.inw = 0;
        cell.pno = -1;
      }
  }

  // Adds a net whose first pin goes to `pin`. Returns where the next net begins.
  int* join_net(const Origin& origin, int* pin) {
    const Operand& operand = operands_[static_cast<std::size_t>(origin.operand)];
    const Net& source = operand.h->_nlst[origin.net];
    int* end = pin;
    for (const int i : pins_of(source)) *end++ = operand.cells[static_cast<std::size_t>(i)];
    const int number = static_cast<int>(made_.nets.size());
    const Net net{source.w, pin, end - 1};
    if (nets_by_key_ && is_repeated(net, number)) return pin;
    h_._nlst[number] = net;
    made_.nets.push_back(origin);
    return end;
  }

  // Whether an equal net is there already. If not, notes the net under its number.
  bool is_repeated(const Net& net, int number) {
    const std::uint64_t key = spread(hash_of_set(pins_of(net)) + static_cast<std::uint32_t>(net.w));
    const int equal = nets_by_key_->find(key, [&](int candidate) {
      const Net& other = h_._nlst[candidate];
      return other.w == net.w && common_.are_same(pins_of(other), pins_of(net));
    });
    if (equal == 0) nets_by_key_->add(key, number);
    return equal != 0;
  }

  std::span<const Operand> operands_;
  Hypergraph& h_;
  CommonPins common_;
  std::optional<NetsByKey> nets_by_key_;
  Union made_;
};

}  // namespace

Union unite(std::span<const Operand> operands, int ncells, bool distinct, Hypergraph* joined) {
  return Joiner(operands, ncells, distinct, *joined).join();
}

}  // namespace quillon::measures
