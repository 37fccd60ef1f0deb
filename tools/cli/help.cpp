#include "tools/cli/help.h"

#include <fmt/format.h>

#include <algorithm>

#include "formats/formats.h"

namespace quillon::tool {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

std::string suffixes_of(const formats::Format& format) {
  std::string text;
  for (const std::string_view suffix : format.suffixes) text.append(text.empty() ? "" : " ").append(suffix);
  return text;
}

// A property of every format. Lines after the first are indented like it.
std::string property_lines(std::string_view formats::Format::*property) {
  Entries entries;
  for (const formats::Format& format : formats::all_formats())
    entries.emplace_back(format.name, format.*property);
  return lines_of(entries);
}

// A line for each format: name, suffixes, summary.
std::string format_lines() {
  std::size_t width = 0;
  for (const formats::Format& format : formats::all_formats())
    width = std::max(width, suffixes_of(format).size());
  Entries entries;
  for (const formats::Format& format : formats::all_formats())
    entries.emplace_back(format.name, fmt::format("{:{}}  {}{}", suffixes_of(format), width, format.summary,
                                                  format.write == nullptr ? "; only read" : ""));
  return lines_of(entries);
}

Topic formats_topic() {
  return {"formats", "file formats by name and suffix",
          "Formats and their file name suffixes:\n\n" + format_lines() + R"(
A trailing .gz or .zst is not part of the suffix, and makes output compressed. Compressed input is recognised by its
content.

All commands read all formats. --from names the format of the input; without it, the suffix does. If the name has no
known suffix, or the first lines break the rules of its format and obey those of another, the content chooses, and a
note on standard error says so. Output has the format of --to or of its suffix.

A quillon file:

  % numbering, #cells, #nets, #pins, weight format
  1 3 2 5 3
  4 1 2
  1 2 3 1
  10 20 30

See also: quillon help numbering, quillon help weights.
)"};
}

Topic numbering_topic() {
  return {
      "numbering", "how cells, nets and parts are numbered",
      R"(Cells and nets are numbered from 1 in reports, in the options and files of dump, prune and reorder, and in messages,
except where a message quotes a number from a file. Parts are numbered from 0.

In files, the first cell is
)" + property_lines(&formats::Format::first_cell) +
          R"(
stats, check and dump remove nets of one pin or none unless --keep-small-nets is given. Later nets are then renumbered.
)"};
}

Topic weights_topic() {
  return {"weights", "weights in files, and how they are used",
          "Cells and nets have weight 1 unless the file says otherwise. Weights are 32-bit integers.\n\n" +
              property_lines(&formats::Format::weights) + R"(
When small nets are removed, the weight of a net of one pin is added to its cell, that of a net without pins to a
separate total.
)"};
}

Topic partitions_topic() {
  return {"partitions", "partition files, cut and balance",
          R"(A partition file has one part number per cell, counted from 0, separated by any white space.

Sums over the nets with L > 1, where w is the weight of a net and L the number of parts with pins of it:
  cut                      sum of w
  connectivity minus one   sum of w (L - 1)
  sum of external degrees  sum of w L
The imbalance is the weight of the heaviest part divided by the average, minus 1.
)"};
}

Topic output_topic() {
  return {
      "output", "output files and standard output",
      R"(Results go to standard output, everything else to standard error. An output file is written completely or not at
all: output goes to temporary files, which are renamed once all of them are complete and standard output has received
its part. A file that is replaced keeps its permissions, group and owner where the system allows it, but not setuid and
setgid.

  --force      replace files without write permission too
  .gz .zst     such output files are compressed
  -            standard output, as are /dev/stdout and /dev/fd/1; the report of prune and partition-info then goes to
               standard error. /dev/stderr and /dev/fd/N are open streams too
  TMPDIR       folder for what waits for standard output, another stream, a pipe or a device; /tmp if not set

With --json, stats, check and partition-info print one JSON object per file, each on one line; see docs/json.md.
)"};
}

Topic terminal_topic() {
  return {
      "terminal", "progress, colours and --quiet",
      R"(Reads of more than a second show their progress if standard error is a terminal. Verdicts and usage errors are
coloured on terminals.

  --quiet      no progress; with check and without --json, no line for a sound file
  NO_COLOR     if not empty: no colours
  TERM         if dumb or not set: no colours and no progress
)"};
}

Topic exit_status_topic() {
  return {"exit-status", "exit statuses of commands",
          R"(0  success
1  a finding (check), bad input, or output that could not be written
2  wrong usage

With several files, the status is the largest one.
)"};
}

}  // namespace

std::string lines_of(const Entries& entries) {
  std::size_t width = 0;
  for (const auto& [name, text] : entries) width = std::max(width, name.size());
  std::string lines;
  for (auto [name, text] : entries) {
    const std::string indent(width + 4, ' ');
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1))
      text.insert(at + 1, indent);
    lines += fmt::format("  {:{}}  {}\n", name, width, text);
  }
  return lines;
}

std::vector<std::string> options_for(const formats::Format& format) {
  constexpr std::pair<formats::OptionBit, const char*> kNames[] = {
      {formats::kNumberingOption, "--numbering"}, {formats::kWeightsOption, "--weights"},
      {formats::kModelOption, "--model"},         {formats::kDiagonalOption, "--diagonal"},
      {formats::kLabelsOption, "--labels"},       {formats::kPairsOption, "--pairs"},
  };
  std::vector<std::string> names;
  for (const auto& [bit, name] : kNames)
    if ((format.options & bit) != 0) names.emplace_back(name);
  return names;
}

std::vector<Topic> all_topics() {
  return {formats_topic(), numbering_topic(), weights_topic(),    partitions_topic(),
          output_topic(),  terminal_topic(),  exit_status_topic()};
}

}  // namespace quillon::tool
