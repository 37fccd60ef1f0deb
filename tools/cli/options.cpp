#include "tools/cli/options.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/cli/suggestions.h"
#include "tools/commands/commands.h"

namespace quillon::tool {
namespace {

template <typename Options>
void when_chosen(CLI::App& command, const std::shared_ptr<Options>& options, int& status) {
  command.callback([options, &status] {
    try {
      status = run(*options);
    } catch (const UsageError& error) {
      throw CLI::ValidationError(error.what());
    }
  });
}

// Of the commands that only look at a hypergraph.
void add_keep_small_nets(CLI::App& command, bool& keep_small_nets) {
  command.add_flag("--keep-small-nets", keep_small_nets,
                   "Keep nets with one pin or none, which otherwise are folded into the cells' and the "
                   "hypergraph's totals");
}

// The name of a file. It may not be empty, as that of a variable of the shell that is not set would be.
template <typename Name>
CLI::Option* add_file(CLI::App& command, const char* option, Name& name, const char* help) {
  const bool is_positional = option[0] != '-';
  CLI::Option* const added = command.add_option(option, name, help);
  if (!is_positional) added->type_name("FILE");
  return added->check(
      [](const std::string& text) { return text.empty() ? "the name of a file is empty" : ""; });
}

void add_files(CLI::App& command, std::vector<std::string>& files) {
  add_file(command, "FILE", files, "Hypergraph files; - is standard input")->required();
}

CLI::Option* add_json(CLI::App& command, bool& json) {
  return command.add_flag("--json", json, "Print JSON, an object on a line for each file");
}

// Digits are decimal whatever they begin with.
template <typename Number>
Number number_in(const std::string& option, const std::string& text, Number least) {
  constexpr Number kMost = std::numeric_limits<Number>::max();
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stopped != end || number < least)
    throw CLI::ValidationError(option, "'" + text + "' is no whole number from " + std::to_string(least) +
                                           " to " + std::to_string(kMost));
  return number;
}

template <typename Number>
CLI::Option* add_number(CLI::App& command, const std::string& name, const char* placeholder, Number least,
                        Number& target, const char* help) {
  const auto take = [name, least, &target](const std::string& text) {
    target = number_in(name, text, least);
  };
  return command.add_option_function<std::string>(name, take, help)->type_name(placeholder);
}

// Numbers of cells or nets, in the order in which they are given.
void add_numbers(CLI::App& command, const std::string& name, const char* placeholder,
                 std::vector<int>& target, const char* help) {
  const auto take = [name, &target](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) target.push_back(number_in(name, text, 1));
  };
  command.add_option_function<std::vector<std::string>>(name, take, help)->type_name(placeholder);
}

CLI::Option* add_nparts(CLI::App& command, int& nparts) {
  return add_number(
      command, "-k", "K", 1, nparts,
      "Number of parts, if not one above the largest in the file; to be said if it is more than cells");
}

// Of what is only random if `random` is given.
void add_seed(CLI::App& command, std::uint64_t& seed, CLI::Option* random) {
  add_number(command, "--seed", "S", std::uint64_t{0}, seed, "Start of the random order, 0 if not given")
      ->needs(random);
}

// An option that takes one of a few names.
template <typename Value, typename Target>
void add_choice(CLI::App& command, const char* name,
                const std::vector<std::pair<std::string, Value>>& choices, Target& target, const char* help) {
  std::string names;
  for (const auto& [choice, value] : choices) names += (names.empty() ? "" : "|") + choice;
  const auto take = [=, &target](const std::string& text) {
    for (const auto& [choice, value] : choices) {
      if (choice != text) continue;
      target = value;
      return;
    }
    std::vector<std::string> known;
    known.reserve(choices.size());
    for (const auto& [choice, value] : choices) known.push_back(choice);
    throw CLI::ValidationError(name, "'" + text + "' is none of " + names + did_you_mean(text, known));
  };
  command.add_option_function<std::string>(name, take, help)->type_name(names);
}

void add_format_option(CLI::App& command, const char* name, std::optional<Format>& format, const char* help) {
  add_choice<Format>(command, name,
                     {{"quillon", Format::kQuillon},
                      {"hmetis", Format::kHmetis},
                      {"kub", Format::kKub},
                      {"mtx", Format::kMatrixMarket},
                      {"metis", Format::kMetis},
                      {"hif", Format::kHif}},
                     format, help);
}

constexpr const char* kStatsExamples = R"(
Examples:
  quillon stats circuit.qhg
  quillon stats --table --header a.qhg b.qhg > table.tsv
  quillon stats --json circuit.qhg | jq .net_size.maximum
  zcat circuit.qhg.gz | quillon stats --summary -

Columns of --table, of which "min" counts only values above 0:
  cells nets pins, then of the cell degree: avg std cov min zero max, the same of the net size,
  then of the cell weight: min max total, the same of the net weight.)";

void add_stats(CLI::App& app, int& status) {
  auto options = std::make_shared<StatsOptions>();
  CLI::App* const command = app.add_subcommand("stats", "Report counts, degrees, net sizes and weights");
  add_files(*command, options->files);
  CLI::Option* const table =
      command->add_flag("--table", options->table, "Print one line of 21 tab-separated fields a file");
  command->add_flag("--header", options->header, "Name the columns of --table first")->needs(table);
  CLI::Option* const summary =
      command->add_flag("--summary", options->summary, "Print a summary of two lines a file")
          ->excludes(table);
  add_json(*command, options->json)->excludes(table)->excludes(summary);
  add_keep_small_nets(*command, options->keep_small_nets);
  command->footer(kStatsExamples);
  when_chosen(*command, options, status);
}

constexpr const char* kCheckExamples = R"(
Examples:
  quillon check circuit.qhg
  quillon check --symmetric matrix.qhg && echo pattern is symmetric

Prints one line a file on standard output. What is wrong with a file is said on standard error.)";

void add_check(CLI::App& app, int& status) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App* const command = app.add_subcommand("check", "Verify files: counts, both sides, totals, symmetry");
  add_files(*command, options->files);
  command->add_flag("--symmetric", options->symmetric,
                    "Demand that net i names the cells whose nets cell i is on");
  add_json(*command, options->json);
  add_keep_small_nets(*command, options->keep_small_nets);
  command->footer(kCheckExamples);
  when_chosen(*command, options, status);
}

constexpr const char* kDumpExamples = R"(
Examples:
  quillon dump circuit.qhg
  quillon dump circuit.qhg --net 7 --net 9 --cell 3

Cells and nets are numbered from 1. Nets are numbered as they stand in memory: in a file with nets of one pin or
none, use --keep-small-nets for the numbers of the file.)";

void add_dump(CLI::App& app, int& status) {
  auto options = std::make_shared<DumpOptions>();
  CLI::App* const command = app.add_subcommand("dump", "Print a hypergraph, or some of its nets and cells");
  add_file(*command, "FILE", options->file, "Hypergraph file; - is standard input")->required();
  add_numbers(*command, "--net", "J", options->nets, "Print the pins of net J");
  add_numbers(*command, "--cell", "I", options->cells, "Print the nets of cell I");
  add_keep_small_nets(*command, options->keep_small_nets);
  command->footer(kDumpExamples);
  when_chosen(*command, options, status);
}

constexpr const char* kPruneExamples = R"(
Examples:
  quillon prune circuit.qhg -o small.qhg --max-size 50
  quillon prune circuit.qhg -o small.qhg --max-size 50 --set-aside big.qhg --map origin.txt
  quillon prune circuit.qhg -o small.qhg --max-size 50 --shuffle --seed 7

Kept are the nets of 2 to N - 1 pins. Nets of one pin or none are dropped.
--map writes a line for each net kept ("net NEW OLD"), each net set aside ("aside NEW OLD") and each cell
("cell NEW OLD"); numbers count from 1.)";

void add_prune(CLI::App& app, int& status) {
  auto options = std::make_shared<PruneOptions>();
  CLI::App* const command =
      app.add_subcommand("prune", "Drop nets of fewer than two pins and set big ones aside");
  add_file(*command, "IN", options->in, "Hypergraph file; - is standard input")->required();
  add_file(*command, "-o,--output", options->out, "File for the nets kept")->required()->type_name("OUT");
  add_number(*command, "--max-size", "N", 1, options->max_size, "Set nets of N pins or more aside")
      ->required();
  CLI::Option* const shuffle = command->add_flag("--shuffle", options->shuffle,
                                                 "Put nets, cells and the pins of each net in random order");
  add_seed(*command, options->seed, shuffle);
  add_file(*command, "--map", options->map, "Write where each net and cell came from");
  add_file(*command, "--set-aside", options->set_aside, "Write the nets set aside as a hypergraph");
  command->footer(kPruneExamples);
  when_chosen(*command, options, status);
}

constexpr const char* kReorderExamples = R"(
Examples:
  quillon reorder circuit.qhg -o mixed.qhg --random --seed 7 --write-perm order.txt
  quillon reorder circuit.qhg -o other.qhg --perm order.txt
  quillon reorder matrix.qhg -o blocks.qhg --by-part matrix.part

--by-part renumbers cells and nets alike and wants as many of the one as of the other; --random and --perm renumber
the cells and leave the nets in their order.

Orders have one number a line, from 1. When old cell 3 comes first, then old cell 1, then old cell 2:
  --write-perm writes     3 1 2   line i: the old number of new cell i; --perm reads this
  --write-inverse writes  2 3 1   line i: the new number of old cell i)";

void add_reorder(CLI::App& app, int& status) {
  auto options = std::make_shared<ReorderOptions>();
  CLI::App* const command =
      app.add_subcommand("reorder", "Renumber the cells: by part, at random or as a file says");
  add_file(*command, "IN", options->in, "Hypergraph file; - is standard input")->required();
  add_file(*command, "-o,--output", options->out, "File for the hypergraph renumbered")
      ->required()
      ->type_name("OUT");
  CLI::Option_group* const how = command->add_option_group("Order", "One of these");
  add_file(*how, "--by-part", options->by_part,
           "Sort by the part numbers in PARTFILE, any white space between")
      ->type_name("PARTFILE");
  add_file(*how, "--perm", options->perm, "Take the order from FILE");
  CLI::Option* const random = how->add_flag("--random", options->random, "Take a random order");
  how->require_option(1);
  add_seed(*command, options->seed, random);
  add_file(*command, "--write-perm", options->write_perm, "Write the old number of each new cell");
  add_file(*command, "--write-inverse", options->write_inverse, "Write the new number of each old cell");
  command->footer(kReorderExamples);
  when_chosen(*command, options, status);
}

constexpr const char* kConvertExamples = R"(
Examples:
  quillon convert circuit.hgr circuit.qhg
  quillon convert matrix.mtx.gz matrix.hgr --model column-net
  quillon convert --from metis --to quillon - - < mesh.txt > mesh.qhg
  quillon convert people.json people.qhg --labels people.names

Formats, with the suffixes that stand for them:
  quillon  .qhg               our own
  hmetis   .hgr .hmetis .hg   hypergraphs of hMETIS; weights of nets and cells are always written
  kub      .kub               count-prefixed nets, cells from 0
  mtx      .mtx               Matrix Market coordinates; written as a pattern
  metis    .graph             graphs of METIS as hypergraphs of 2-pin nets; only read
  hif      .json              Hypergraph Interchange Format 0.1, undirected
A name that ends in .gz is read as the format that stands before it. Nothing is written compressed.

Models of a matrix:
  row-net      rows are nets, columns are cells
  column-net   columns are nets, rows are cells
  fine-grain   entries are cells, rows and then columns are nets; only read)";

void add_convert(CLI::App& app, int& status) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* const command = app.add_subcommand("convert", "Turn a file into one of another format");
  add_file(*command, "IN", options->in, "File to read; - is standard input")->required();
  add_file(*command, "OUT", options->out, "File to write; - is standard output")->required();
  add_format_option(*command, "--from", options->from, "Format of IN, if its suffix does not tell");
  add_format_option(*command, "--to", options->to, "Format of OUT, if its suffix does not tell");
  add_choice<int>(*command, "--numbering", {{"0", 0}, {"1", 1}}, options->numbering,
                  "First cell number in a quillon file, 1 if not given");
  add_choice<WrittenWeights>(*command, "--weights",
                             {{"none", WrittenWeights::kNone},
                              {"cells", WrittenWeights::kCells},
                              {"nets", WrittenWeights::kNets},
                              {"both", WrittenWeights::kBoth},
                              {"auto", WrittenWeights::kAuto}},
                             options->weights,
                             "Weights in a quillon file; auto, if not given: those that are not all 1");
  add_choice<Model>(
      *command, "--model",
      {{"row-net", Model::kRowNet}, {"column-net", Model::kColumnNet}, {"fine-grain", Model::kFineGrain}},
      options->model, "How a matrix is a hypergraph, row-net if not given");
  command->add_flag("--diagonal", options->add_diagonal,
                    "Add the missing diagonal entries of a square matrix");
  add_file(*command, "--labels", options->labels,
           "Keep the names of a hif file in FILE, or take them from it");
  command->add_flag("--strict", options->strict,
                    "Write nothing if anything would be lost, or refused by readers");
  command->footer(kConvertExamples);
  when_chosen(*command, options, status);
}

constexpr const char* kPartitionInfoExamples = R"(
Examples:
  quillon partition-info circuit.qhg circuit.part.8
  quillon partition-info circuit.hgr circuit.part.8 -k 8 --write circuit.parts
  quillon partition-info circuit.qhg circuit.parts --write other.part --one-per-line

PARTFILE has a part number for each cell, counted from 0, with any white space between. The hypergraph may be of any
format that convert reads.

With L the number of parts that the pins of a net of weight w lie in, over the nets with L > 1: the cut is the sum of
w, the connectivity minus one that of w (L - 1), the sum of external degrees that of w L. The imbalance is the weight
of the heaviest part over the average, minus 1.)";

void add_partition_info(CLI::App& app, int& status) {
  auto options = std::make_shared<PartitionInfoOptions>();
  CLI::App* const command =
      app.add_subcommand("partition-info", "Measure a partition: sizes of its parts, cut, balance");
  add_file(*command, "HYPERGRAPH", options->hypergraph, "Hypergraph file; - is standard input")->required();
  add_file(*command, "PARTFILE", options->part_file, "Part numbers of the cells; - is standard input")
      ->required();
  add_format_option(*command, "--from", options->from, "Format of HYPERGRAPH, if its suffix does not tell");
  add_nparts(*command, options->nparts);
  CLI::Option* const write =
      add_file(*command, "--write", options->write, "Write the partition, 100 numbers a line");
  command->add_flag("--one-per-line", options->one_per_line, "Write it with one number a line")->needs(write);
  add_json(*command, options->json);
  command->footer(kPartitionInfoExamples);
  when_chosen(*command, options, status);
}

constexpr const char* kReportExamples = R"(
Examples:
  quillon report circuit.qhg -o circuit.html
  quillon report circuit.hgr circuit.part.8 -o circuit.html
  quillon convert matrix.mtx.gz - --to quillon | quillon report - -o - > matrix.html

The page has counts, distributions, weights, a picture of where the pins are, the largest nets and, of a partition,
its balance, its cut and what lies between its parts. It needs neither scripts nor a network. Nets of one pin or none
are kept. The hypergraph may be of any format that convert reads.)";

void add_report(CLI::App& app, int& status) {
  auto options = std::make_shared<ReportOptions>();
  CLI::App* const command = app.add_subcommand("report", "Make a page with pictures of a hypergraph");
  add_file(*command, "HYPERGRAPH", options->hypergraph, "Hypergraph file; - is standard input")->required();
  CLI::Option* const part_file = add_file(*command, "PARTFILE", options->part_file,
                                          "Part numbers of the cells, if there is a partition");
  add_file(*command, "-o,--output", options->out, "File for the page; - is standard output")
      ->required()
      ->type_name("OUT");
  add_format_option(*command, "--from", options->from, "Format of HYPERGRAPH, if its suffix does not tell");
  add_nparts(*command, options->nparts)->needs(part_file);
  command->add_option("--title", options->title, "Heading of the page, if not the file's name")
      ->type_name("TEXT");
  command->footer(kReportExamples);
  when_chosen(*command, options, status);
}

void add_help(CLI::App& app, int& status) {
  auto topic = std::make_shared<std::string>();
  CLI::App* const command = app.add_subcommand("help", "Explain a command or a topic");
  command->add_option("TOPIC", *topic, "What to explain; a list of topics, if not given");
  command->footer("");  // not that of the application
  command->callback([topic, &app, &status] {
    std::vector<CommandHelp> commands;
    for (const CLI::App* const known : app.get_subcommands({}))
      commands.push_back({known->get_name(), known->get_description(), known->help("quillon")});
    status = help(*topic, commands);
  });
}

}  // namespace

void add_commands(CLI::App& app, int& status) {
  add_stats(app, status);
  add_check(app, status);
  add_dump(app, status);
  add_prune(app, status);
  add_reorder(app, status);
  add_convert(app, status);
  add_partition_info(app, status);
  add_report(app, status);
  add_help(app, status);
}

}  // namespace quillon::tool
