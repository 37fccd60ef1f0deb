#include "formats/net_places.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "formats/audit.h"
#include "formats/formats.h"
#include "formats/source.h"
#include "formats/stream.h"

namespace quillon::formats {
namespace {

/// Which line is that of a net.
enum class LineOf {
  kNet,        ///< Its own.
  kFirstCell,  ///< The line of its first cell.
  kFirstPin,   ///< The line of its first pin.
};

LineOf line_of_net(const Format& format, const ReadOptions& options) {
  if (has_net_lines(format, options)) return LineOf::kNet;
  return format.name == "metis" || format.name == "cnf" ? LineOf::kFirstCell : LineOf::kFirstPin;
}

// By net number, as far as they are wanted: the index of the first pin with a place, or its offset.
class FirstPins {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  explicit FirstPins(int last_net) : places_(static_cast<std::size_t>(last_net) + 1, kNone) {}

  void add(int net, std::size_t place) {
    if (const auto at = static_cast<std::size_t>(net); at < places_.size() && places_[at] == kNone)
      places_[at] = place;
  }

  [[nodiscard]] std::size_t of(int net) const { return places_[static_cast<std::size_t>(net)]; }

 private:
  std::vector<std::size_t> places_;
};

// Calls visit(net) for each net that an entry of a matrix belongs to.
template <typename Visit>
void visit_nets_of_entry(int row, int column, const PinList& pins, Model model, Visit visit) {
  if (model != Model::kColumnNet) visit(row);
  if (model == Model::kColumnNet) visit(column);
  if (model == Model::kFineGrain) visit(pins.nnets + column);
}

// One file, which is read again: once, or twice if the places of its nets depend on what is in it.
class NetPlaces {
 public:
  NetPlaces(const std::string& filename, const Format& format, const ReadOptions& options,
            const std::vector<int>& nets)
      : filename_(filename), format_(format), options_(options), nets_(nets), lines_(nets.size(), 0) {}

  std::vector<std::size_t> lines() {
    switch (line_of_net(format_, options_)) {
      case LineOf::kNet:
        for (const int net : nets_) items_.push_back(net);
        break;
      case LineOf::kFirstCell:
        find_first_cells();
        break;
      case LineOf::kFirstPin:
        find_first_pins();
    }
    if (!items_.empty()) locate_items();
    return std::move(lines_);
  }

 private:
  [[nodiscard]] std::unique_ptr<Scanner> open() const {
    auto in = std::make_unique<Scanner>(filename_);
    if (format_.reads_whole_text) read_whole(*in);
    return in;
  }

  void find_first_cells() {
    const NetLists lists = read_file(filename_, format_, options_);
    for (const int net : nets_) {
      const auto begin = static_cast<std::size_t>(lists.xnadj[static_cast<std::size_t>(net)]);
      const bool is_empty = lists.xnadj[static_cast<std::size_t>(net) + 1] == static_cast<int>(begin);
      items_.push_back(is_empty ? 0 : lists.nadj[begin]);
    }
  }

  void find_first_pins() {
    const std::unique_ptr<Scanner> in = open();
    Audit audit;
    audit.pins = [&](const PinList& pins) {
      if (pins.offsets.empty())
        find_entries(pins);
      else
        find_lines(*in, pins);
      throw Audit::AllFound();
    };
    read_audited(*in, format_, options_, audit);
  }

  // Entries of matrices are items.
  void find_entries(const PinList& pins) {
    FirstPins first(nets_.back());
    for (std::size_t k = 0; 2 * k < pins.numbers.size(); ++k) {
      const int row = pins.numbers[2 * k];
      const int column = pins.numbers[2 * k + 1];
      const auto add = [&](int net) { first.add(net, k); };
      visit_nets_of_entry(row, column, pins, options_.model, add);
      if (pins.is_mirrored) visit_nets_of_entry(column, row, pins, options_.model, add);
    }
    for (const int net : nets_)
      items_.push_back(first.of(net) == FirstPins::kNone ? 0 : static_cast<std::int64_t>(first.of(net)) + 1);
  }

  void find_lines(const Scanner& in, const PinList& pins) {
    FirstPins first(nets_.back());
    for (std::size_t k = 0; k < pins.offsets.size(); ++k) first.add(pins.numbers[2 * k], pins.offsets[k]);
    for (std::size_t k = 0; k < nets_.size(); ++k)
      if (const std::size_t offset = first.of(nets_[k]); offset != FirstPins::kNone)
        lines_[k] = place_of(in, offset).line;
  }

  void locate_items() {
    Audit audit;
    for (const std::int64_t item : items_)
      if (item > 0) audit.wanted.push_back({{Item::kNet, item, Item::kLine}, {}});
    if (audit.wanted.empty()) return;
    const auto by_item = [](const Audit::Wanted& a, const Audit::Wanted& b) { return a.item < b.item; };
    std::sort(audit.wanted.begin(), audit.wanted.end(), by_item);
    read_audited(*open(), format_, options_, audit);
    for (std::size_t k = 0; k < items_.size(); ++k)
      if (items_[k] > 0) lines_[k] = audit.place_of_wanted({Item::kNet, items_[k], Item::kLine}).line;
  }

  const std::string& filename_;
  const Format& format_;
  const ReadOptions& options_;
  const std::vector<int>& nets_;
  std::vector<std::size_t> lines_;
  std::vector<std::int64_t> items_;  // by index in `nets_`: what stands on its line; 0: nothing
};

}  // namespace

std::vector<std::size_t> lines_of_nets(const std::string& filename, const Format& format,
                                       const ReadOptions& options, const std::vector<int>& nets) {
  if (nets.empty() || filename == "-" || !Source(filename).is_regular())
    return std::vector<std::size_t>(nets.size(), 0);
  return NetPlaces(filename, format, options, nets).lines();
}

}  // namespace quillon::formats
