#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "formats/detect.h"
#include "formats/findings.h"
#include "formats/formats.h"
#include "formats/source.h"

namespace quillon::formats {
namespace {

const Format* find_format(Source& source, const LoadOptions& options) {
  const std::string& name = source.name();
  const Choice choice = choose_format(name, [&source](std::size_t most) {
    const std::string_view text = source.peek(most);
    return Sample{text, text.size() < most};
  });
  if (choice.format == nullptr)
    throw BadFile({"unknown-format", Severity::kError, name, 0, 0,
                   "cannot tell the format of " + (name == shown_name("-") ? name : "'" + name + "'") +
                       (source.peek(1).empty() ? ", which is empty" : "") + "; " + options.advice,
                   ""});
  if (choice.by_content && options.on_choice) options.on_choice(*choice.format);
  return choice.format;
}

// Adds the name of the file to an error.
void make_record(Record& record, NetLists&& lists, const LoadOptions& options, const std::string& name) {
  try {
    if (options.cell_side)
      to_record(std::move(lists), record, options.small_nets);
    else
      to_net_side(std::move(lists), record, options.small_nets);
  } catch (const BadFile& error) {
    Finding finding = error.finding();
    finding.file = name;
    finding.message = name + ": " + finding.message;
    throw BadFile(finding);
  }
}

}  // namespace

Loaded load(Record& record, const std::string& filename, const LoadOptions& options) {
  return load(record, std::make_unique<Source>(filename), options);
}

Loaded load(Record& record, std::unique_ptr<Source> source, const LoadOptions& options) {
  const Format* const format = options.format != nullptr ? options.format : find_format(*source, options);
  const std::string name = source->name();
  NetLists lists = read_source(std::move(source), *format, options.read);
  const int weights = (lists.cell_weights.empty() ? 0 : 1) | (lists.net_weights.empty() ? 0 : 2);
  make_record(record, std::move(lists), options, name);
  // What is not of the record is still there.
  // NOLINTBEGIN(bugprone-use-after-move)
  return {format,
          weights,
          std::move(lists.remarks),
          std::move(lists.losses),
          {std::move(lists.cell_names), std::move(lists.net_names)}};
  // NOLINTEND(bugprone-use-after-move)
}

}  // namespace quillon::formats
