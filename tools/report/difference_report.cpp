#include "tools/report/difference_report.h"

#include <fmt/format.h>

#include <algorithm>

#include "formats/notes.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::counted;
using Pins = std::span<const int>;

constexpr std::size_t kMostPins = 24;  // on a line

void print_line(const std::string& text) { uprintf("%s\n", text.c_str()); }

std::string counts_of(const Hypergraph& h) {
  return counted(h._c, "cell") + ", " + counted(h._n, "net") + ", " + counted(h._p, "pin");
}

std::string place_of(const NetOfFile& net) {
  return fmt::format("net {}", net.net) + (net.line > 0 ? fmt::format(", line {}", net.line) : "");
}

// The pins of a net; of many, those that differ from the pins of its counterpart.
std::string listed(Pins pins, Pins others) {
  Pins rest = pins;
  std::size_t nbefore = 0;
  std::size_t nafter = 0;
  if (pins.size() > kMostPins) {
    const auto begin = std::mismatch(pins.begin(), pins.end(), others.begin(), others.end());
    nbefore = static_cast<std::size_t>(begin.first - pins.begin());
    rest = pins.subspan(nbefore);
    const Pins other_rest = others.subspan(nbefore);
    const auto end = std::mismatch(rest.rbegin(), rest.rend(), other_rest.rbegin(), other_rest.rend());
    nafter = static_cast<std::size_t>(end.first - rest.rbegin());
    rest = rest.first(rest.size() - nafter);
    if (rest.size() > kMostPins) {
      nafter += rest.size() - kMostPins;
      rest = rest.first(kMostPins);
    }
  }
  std::string text =
      nbefore > 0 ? fmt::format(" [{}]", counted(static_cast<std::int64_t>(nbefore), "pin")) : "";
  for (const int i : rest) text += fmt::format(" {}", i);
  if (nafter > 0) text += fmt::format(" [{}]", counted(static_cast<std::int64_t>(nafter), "pin"));
  return text;
}

class Printer {
 public:
  explicit Printer(const DifferenceModel& model)
      : model_(model), has_weights_(((model.first->_fmt | model.second->_fmt) & 2) != 0) {}

  void print() const {
    print_line("--- " + model_.first_file + ": " + counts_of(*model_.first));
    print_line("+++ " + model_.second_file + ": " + counts_of(*model_.second));
    print_weights();
    print_nets("changed", model_.changed);
    print_nets("moved", model_.moved);
    print_nets("only in " + model_.first_file, model_.only_first);
    print_nets("only in " + model_.second_file, model_.only_second);
    print_summary();
  }

 private:
  void print_weights() const {
    const std::vector<int>& cells = model_.difference.weights;
    for (std::size_t k = 0; k < model_.nweights_shown; ++k) {
      const int i = cells[k];
      print_line(fmt::format("@@ weight: cell {} @@\n-{}\n+{}", i, model_.first->_clst[i].w,
                             model_.second->_clst[i].w));
    }
    print_rest("weight", cells.size() - model_.nweights_shown);
  }

  void print_nets(const std::string& how, const DifferentNets& nets) const {
    for (const auto& [first, second] : nets.shown) {
      const std::string arrow = first && second ? " -> " : "";
      print_line("@@ " + how + ": " + (first ? place_of(*first) : "") + arrow +
                 (second ? place_of(*second) : "") + " @@");
      const bool is_moved = &nets == &model_.moved;
      if (first) print_net(is_moved ? ' ' : '-', *first, second);
      if (second && !is_moved) print_net('+', *second, first);
    }
    print_rest(how, nets.count - nets.shown.size());
  }

  void print_net(char sign, const NetOfFile& net, const std::optional<NetOfFile>& other) const {
    const std::string pins = listed(net.pins, other ? other->pins : Pins());
    const std::string text = (has_weights_ ? fmt::format(" weight {}:", net.weight) : "") + pins;
    print_line(sign + (text.empty() ? "no pins" : text.substr(1)));
  }

  static void print_rest(const std::string& how, std::size_t count) {
    if (count > 0) print_line(fmt::format("@@ {}: {} more @@", how, count));
  }

  void print_summary() const {
    const measures::Difference& found = model_.difference;
    std::string text;
    const auto add = [&text](std::size_t count, const std::string& what, const std::string& how) {
      if (count == 0) return;
      text += (text.empty() ? "" : ", ") + counted(static_cast<std::int64_t>(count), what) + how;
    };
    const auto nadded = static_cast<std::size_t>(std::abs(found.ncells_added));
    add(nadded, "cell", found.ncells_added > 0 ? " added" : " removed");
    add(found.weights.size(), "cell", " of another weight");
    add(model_.changed.count, "net", " changed");
    add(model_.moved.count, "net", " moved");
    add(model_.only_first.count, "net", " removed");
    add(model_.only_second.count, "net", " added");
    print_line(text + (found.is_order_only() ? "; only the order differs" : ""));
  }

  const DifferenceModel& model_;
  bool has_weights_;
};

std::string tolerance_text(const measures::Tolerance& tolerance) {
  if (tolerance.pin_order)
    return tolerance.net_order ? " up to the order of pins and nets" : " up to the order of pins";
  return tolerance.net_order ? " up to the order of nets" : "";
}

}  // namespace

void print_difference_text(const DifferenceModel& model) {
  if (model.difference.is_empty())
    print_line(model.first_file + " and " + model.second_file + " are the same" +
               tolerance_text(model.tolerance) + ": " + counts_of(*model.first));
  else
    Printer(model).print();
}

}  // namespace quillon::tool
