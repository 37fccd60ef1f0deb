#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "tools/cli/console.h"
#include "tools/cli/suggestions.h"
#include "tools/commands/commands.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct Topic {
  const char* name;
  const char* summary;
  const char* text;
};

constexpr Topic kTopics[] = {
    {"formats", "the file formats by name and suffix",
     R"(Formats, by name and by the suffixes that stand for them:

  quillon  .qhg               our own: a header, a line of cells for each net, cell weights
  hmetis   .hgr .hmetis .hg   hypergraphs of hMETIS, formats 0, 1, 10 and 11
  kub      .kub               count-prefixed nets, cells from 0
  mtx      .mtx               Matrix Market coordinates, by --model a row, a column or an entry a cell or net
  metis    .graph             graphs of METIS as hypergraphs of 2-pin nets; only read
  hif      .json              Hypergraph Interchange Format 0.1

A name that ends in .gz is read as the format that stands before it, and is unpacked on the way in. convert,
partition-info and report read all of them, by suffix or by --from; the other commands read quillon.

A quillon file:

  % numbering, #cells, #nets, #pins, weight format
  1 3 2 5 3
  4 1 2
  1 2 3 1
  10 20 30

See also: quillon help numbering, quillon help weights.
)"},
    {"numbering", "from what cells, nets and parts are counted",
     R"(Cells and nets count from 1, in reports, in what dump, prune and reorder take and write, and in messages, but for
those that speak of the numbers of a file. Parts count from 0.

In files, the first cell is
  quillon  0 or 1, as the first number of the header says
  hmetis, metis, mtx  1
  kub      0
  hif      whatever its names are; they are numbered in the order of the file

Nets of one pin or none are folded away by stats, check and dump unless --keep-small-nets is given, which moves
the numbers of the nets behind them.
)"},
    {"weights", "what weights files have, and what becomes of them",
     R"(Cells and nets weigh 1 where a file does not say otherwise. Weights have 32 bits.

  quillon  fifth number of the header: 0 none, 1 cells, 2 nets, 3 both. Cell weights follow the nets, a net's
           weight begins its line. A sixth number says how many weights a cell has; the first counts.
  hmetis   format 1 nets, 10 cells, 11 both
  kub      both, always
  mtx      none; the entries' values are not read
  hif      the weights of nodes and edges, which must be whole

A net with one pin that is folded away adds its weight to its cell, one without pins to a total of its own.
)"},
    {"partitions", "files of parts, cut and balance",
     R"(A partition file has a part number for each cell, counted from 0, with any white space between.

With L the number of parts that the pins of a net of weight w lie in, over the nets with L > 1:
  cut                      sum of w
  connectivity minus one   sum of w (L - 1)
  sum of external degrees  sum of w L
The imbalance is the weight of the heaviest part over the average, minus 1.
)"},
    {"output", "where results go, and when",
     R"(Results go to standard output, everything else to standard error. Files named by -o and the like appear whole
or not at all: they are written beside their targets, and renamed when every one of them is done. - is standard
output; what prune and partition-info report beside it then goes to standard error.

stats, check and partition-info print JSON with --json, an object on a line for each file; see docs/json.md.
)"},
    {"terminal", "progress, colours and --quiet",
     R"(Where standard error is a terminal, reads of more than a second show how far they have come. Where a stream is
a terminal, verdicts and what is said of wrong usage are in colour.

  --quiet      no progress; of check, but for --json, no line for a sound file
  NO_COLOR     not empty: no colours
  TERM         dumb, or not set: neither colours nor progress
)"},
    {"exit-status", "what the numbers mean that commands end with",
     R"(0  fine
1  a finding (check), bad input, or output that could not be written
2  wrong usage

Of several files, the status is that of the worst.
)"},
};

std::string topics_and_commands(std::span<const CommandHelp> commands) {
  std::string text = "quillon help COMMAND explains a command, quillon help TOPIC one of these:\n\n";
  for (const Topic& topic : kTopics) {
    char line[120];
    std::snprintf(line, sizeof line, "  %-12s %s\n", topic.name, topic.summary);
    text += line;
  }
  text += "\nCommands:\n\n";
  for (const CommandHelp& command : commands) {
    char line[120];
    std::snprintf(line, sizeof line, "  %-14s %s\n", command.name.c_str(), command.summary.c_str());
    text += line;
  }
  return text;
}

int unknown(const std::string& name, std::span<const CommandHelp> commands) {
  std::vector<std::string> names;
  for (const Topic& topic : kTopics) names.emplace_back(topic.name);
  for (const CommandHelp& command : commands) names.push_back(command.name);
  std::fprintf(stderr, "%sthere is no help on '%s'%s\nTry 'quillon help'.\n", error_prefix().c_str(),
               name.c_str(), did_you_mean(name, names).c_str());
  return kUsage;
}

}  // namespace

int help(const std::string& topic, std::span<const CommandHelp> commands) {
  if (topic.empty()) {
    uprintf("%s", topics_and_commands(commands).c_str());
    return kFine;
  }
  for (const Topic& known : kTopics) {
    if (topic != known.name) continue;
    uprintf("%s", known.text);
    return kFine;
  }
  for (const CommandHelp& command : commands) {
    if (topic != command.name) continue;
    uprintf("%s", command.text.c_str());
    return kFine;
  }
  return unknown(topic, commands);
}

}  // namespace quillon::tool
