#include "measures/simplification.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>

#include "hypergraph/detail/lists.h"
#include "measures/complete.h"
#include "measures/distinct_cells.h"
#include "measures/net_keys.h"
#include "util/util.h"

namespace quillon::measures {
namespace {

class Simplifier {
 public:
  Simplifier(const Hypergraph& h, const Simplifications& wanted, Simplification& made)
      : h_(h), wanted_(wanted), made_(made), marks_(h._c) {
    if (wanted.parallel_nets) nets_by_key_.emplace(static_cast<std::size_t>(h._n));
    made_.cells.assign(1, 0);
    made_.nets.assign(1, 0);
    made_.new_cells.assign(static_cast<std::size_t>(h._c) + 1, wanted.isolated_cells ? 0 : 1);
    made_.new_nets.assign(static_cast<std::size_t>(h._n) + 1, 0);
    weights_.assign(1, 0);
  }

  void simplify() {
    for (int j = 1; j <= h_._n; ++j) simplify_net(j);
    for (int i = 1; i <= h_._c; ++i) {
      int& number = made_.new_cells[static_cast<std::size_t>(i)];
      if (number == 0) continue;
      number = static_cast<int>(made_.cells.size());
      made_.cells.push_back(i);
    }
    for (std::size_t j = 1; j < weights_.size(); ++j)
      if (weights_[j] != static_cast<int>(weights_[j]))
        errexit("net %d and those parallel to it weigh %lld together, more than 32 bits hold", made_.nets[j],
                static_cast<long long>(weights_[j]));
  }

  // The record of the cells and nets that are left.
  void build(Hypergraph& simple) {
    simple._c = static_cast<int>(made_.cells.size()) - 1;
    simple._n = static_cast<int>(made_.nets.size()) - 1;
    simple._p = npins_;
    simple._fmt = h_._fmt;
    malloc_hypergraph(&simple);
    for (int i = 1; i <= simple._c; ++i) {
      const Cell& cell = h_._clst[made_.cells[static_cast<std::size_t>(i)]];
      simple._clst[i].w = cell.w;
      simple._clst[i].inw = cell.inw;
      simple._clst[i].pno = cell.pno;
    }
    int* pin = simple._cell_list;
    for (int j = 1; j <= simple._n; ++j) pin = build_net(simple._nlst[j], j, pin);
    simple._nlst[simple._n + 1].pins = pin;
    complete(simple);
  }

 private:
  [[nodiscard]] Pins pins(int j) const { return pins_of(h_._nlst[j]); }

  // Number of pins that a net keeps.
  int kept_size(int j) {
    if (!wanted_.repeated_pins) return net_size(h_._nlst[j]);
    int size = 0;
    marks_.for_each_cell(pins(j), [&size](int) { ++size; });
    made_.repeated_pins += net_size(h_._nlst[j]) - size;
    return size;
  }

  void simplify_net(int j) {
    const int size = kept_size(j);
    const std::int64_t weight = h_._nlst[j].w;
    if (wanted_.small_nets && size < 2) {
      (size == 1 ? made_.one_pin_nets : made_.empty_nets) += 1;
      (size == 1 ? made_.one_pin_weight : made_.empty_weight) += weight;
      return;
    }
    int& number = made_.new_nets[static_cast<std::size_t>(j)];
    if (const int earlier = parallel_net(j); earlier != 0) {
      number = made_.new_nets[static_cast<std::size_t>(earlier)];
      weights_[static_cast<std::size_t>(number)] += weight;
      ++made_.merged_nets;
      return;
    }
    number = static_cast<int>(made_.nets.size());
    made_.nets.push_back(j);
    weights_.push_back(weight);
    npins_ += size;
    if (wanted_.isolated_cells)
      for (const int i : pins(j)) made_.new_cells[static_cast<std::size_t>(i)] = 1;
  }

  // An earlier net with the same cells, 0 if there is none.
  int parallel_net(int j) {
    if (!nets_by_key_) return 0;
    CellHash hash;
    marks_.for_each_cell(pins(j), [&hash](int i) { hash.add(i); });
    const int earlier = nets_by_key_->find(
        hash.value(), [&](int candidate) { return marks_.have_same_cells(pins(candidate), pins(j)); });
    if (earlier == 0) nets_by_key_->add(hash.value(), j);
    return earlier;
  }

  int* build_net(Net& net, int number, int* pin) {
    const int j = made_.nets[static_cast<std::size_t>(number)];
    net.w = static_cast<int>(weights_[static_cast<std::size_t>(number)]);
    net.pins = pin;
    const auto add = [&](int i) { *pin++ = made_.new_cells[static_cast<std::size_t>(i)]; };
    if (wanted_.repeated_pins)
      marks_.for_each_cell(pins(j), add);
    else
      std::for_each(pins(j).begin(), pins(j).end(), add);
    net.pinsend = pin - 1;
    return pin;
  }

  const Hypergraph& h_;
  Simplifications wanted_;
  Simplification& made_;
  DistinctCells marks_;
  std::optional<NetsByKey> nets_by_key_;
  std::vector<std::int64_t> weights_;  // by new net
  int npins_ = 0;
};

}  // namespace

Simplification simplify(const Hypergraph& h, const Simplifications& wanted, Hypergraph* simple) {
  Simplification made;
  Simplifier simplifier(h, wanted, made);
  simplifier.simplify();
  simplifier.build(*simple);
  return made;
}

}  // namespace quillon::measures
