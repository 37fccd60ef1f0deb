#include "formats/lint.h"

#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "formats/hints.h"
#include "formats/mend.h"
#include "formats/programs.h"
#include "formats/source.h"
#include "tools/cli/advice.h"
#include "tools/cli/console.h"
#include "tools/cli/rule_text.h"
#include "tools/cli/suggestions.h"
#include "tools/commands/carried.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/report/lint_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::LintResult;
using formats::Rule;
using formats::Severity;

struct LintChoice {
  std::vector<std::string> files;
  InputOptions input;
  std::vector<std::string> parts;
  std::vector<std::string> fixed;
  std::vector<std::string> permutations;
  std::vector<std::string> labels;
  int nparts = 0;
  std::string programs;
  bool fix = false;
  std::string output;
  std::string cell_map;
  formats::MendOptions mend;
  std::string rules;
  int most = 50;
  bool strict = false;
  bool json = false;
  bool sarif = false;
  bool summary = false;
  bool list = false;
  std::string explain;
};

constexpr const char* kLintNotes = R"(
Examples:
  quillon lint circuit.hgr                       all findings, with line and column
  quillon lint --rules errors,duplicate-pin *.hgr
  quillon lint --explain duplicate-pin
  quillon lint circuit.hgr --fix -o sound.hgr    repeated pins removed, cells counted from 1

Names all that is wrong with files: errors, for which the tool refuses a file; warnings on what is allowed but likely a
mistake; notes on what some programs treat differently. One cause gives one finding.

--rules selects rules by name, or by errors, warnings and notes; a minus before a word omits them: --rules=-notes.
--fix mends what has one meaning only: the number that cells count from, counts and weight format of the header, repeated
pins, line ends, blanks and comments. A file with other errors, or with two meanings, is not written. --cell-map writes a
line for each cell that --fix-compact keeps: its old number.

The exit status is 1 if there are errors, with --strict also if there are warnings.)";

// The rules that words select.
class Selection {
 public:
  explicit Selection(const std::string& words) {
    const bool starts_full = words.empty() || words.front() == '-';
    for (const Rule& rule : formats::all_rules())
      if (starts_full) selected_.insert(&rule);
    for (std::size_t begin = 0; begin < words.size();) {
      const std::size_t end = std::min(words.find(',', begin), words.size());
      apply(words.substr(begin, end - begin));
      begin = end + 1;
    }
  }

  [[nodiscard]] bool has(const Rule* rule) const { return selected_.count(rule) > 0; }

  // Removes findings of other rules.
  void apply_to(LintResult& result) const {
    std::vector<formats::Finding> findings;
    std::vector<formats::Excerpt> excerpts;
    for (std::size_t k = 0; k < result.findings.size(); ++k) {
      if (!has(formats::rule_named(result.findings[k].rule))) continue;
      findings.push_back(std::move(result.findings[k]));
      if (!result.excerpts.empty()) excerpts.push_back(std::move(result.excerpts[k]));
    }
    result.findings = std::move(findings);
    result.excerpts = std::move(excerpts);
    std::erase_if(result.counts, [this](const formats::RuleCount& broken) { return !has(broken.rule); });
  }

 private:
  void apply(std::string word) {
    const bool omits = word.starts_with('-');
    if (omits) word.erase(0, 1);
    bool is_known = false;
    for (const Rule& rule : formats::all_rules()) {
      if (word != "all" && word != rule.name && word != std::string(name_of(rule.severity)) + "s") continue;
      is_known = true;
      if (omits)
        selected_.erase(&rule);
      else
        selected_.insert(&rule);
    }
    if (!is_known) throw UsageError("--rules: " + unknown_rule(word));
  }

  std::set<const Rule*> selected_;
};

// The options of lint are fewer than those of the commands that use parts.
formats::Finding advised_for_lint(formats::Finding finding) {
  constexpr formats::Advice kAdvice[] = {{formats::kManyParts, " -k says so"},
                                         {formats::kPartsFrom1, " they count from 0 here"}};
  finding.hint = formats::advised(finding.hint, kAdvice);
  return advised(std::move(finding));
}

bool fails(const LintResult& result, bool strict) {
  return result.count(Severity::kError) > 0 || (strict && result.count(Severity::kWarning) > 0);
}

struct CompanionFiles {
  formats::Companion kind;
  const std::vector<std::string> LintChoice::*names;
};

constexpr CompanionFiles kCompanions[] = {{formats::Companion::kParts, &LintChoice::parts},
                                          {formats::Companion::kFixed, &LintChoice::fixed},
                                          {formats::Companion::kPermutation, &LintChoice::permutations},
                                          {formats::Companion::kLabels, &LintChoice::labels}};

bool has_companions(const LintChoice& choice) {
  return std::any_of(std::begin(kCompanions), std::end(kCompanions),
                     [&choice](const CompanionFiles& files) { return !(choice.*files.names).empty(); });
}

std::vector<std::string> chosen_programs(const std::string& words) {
  std::vector<std::string> programs;
  const std::vector<std::string_view> known = formats::program_names();
  for (std::size_t begin = 0; begin < words.size() && words != "all";) {
    const std::size_t end = std::min(words.find(',', begin), words.size());
    programs.push_back(words.substr(begin, end - begin));
    if (std::find(known.begin(), known.end(), programs.back()) == known.end())
      throw UsageError("--for: there is no program '" + programs.back() + "'" +
                       did_you_mean(programs.back(), {known.begin(), known.end()}));
    begin = end + 1;
  }
  return programs;
}

// Reports on a file and those that belong to it.
class FileLinter {
 public:
  FileLinter(const LintChoice& choice, LintReport& report)
      : choice_(choice),
        report_(report),
        selection_(choice.rules),
        programs_(chosen_programs(choice.programs)) {}

  int lint(const std::string& file) {
    const formats::LintOptions options{choice_.input.from, read_options(choice_.input),
                                       static_cast<std::size_t>(choice_.most),
                                       !choice_.json && !choice_.summary};
    LintResult result = formats::lint(file, options);
    std::vector<LintResult> companions;
    for (const CompanionFiles& files : kCompanions) {
      for (const std::string& name : choice_.*files.names) {
        if (result.count(Severity::kError) > 0)
          print_note(formats::shown_name(name) + " is not read, because of errors in " + result.file);
        else
          companions.push_back(formats::lint_companion(name, files.kind, result, choice_.nparts,
                                                       options.most_kept, options.excerpts));
      }
    }
    int status =
        choice_.fix ? fix(file, result, options) : report(std::move(result), !choice_.programs.empty());
    print_beside(choice_.output, [&] {
      for (LintResult& companion : companions) status = std::max(status, report(std::move(companion), false));
    });
    return status;
  }

 private:
  // Reports on what was found, and writes the mended file. Nothing is left to find fault with then.
  int fix(const std::string& file, const LintResult& result, const formats::LintOptions& options) {
    for (const std::string& output : {choice_.output, choice_.cell_map})
      formats::refuse_to_replace({file}, output);
    formats::refuse_named_twice({choice_.output, choice_.cell_map});
    formats::Mended mended = formats::mend(file, result, options, choice_.mend);
    formats::Record record;
    const formats::Labels names{std::move(mended.lists.cell_names), std::move(mended.lists.net_names)};
    formats::to_record(std::move(mended.lists), record);
    OutputOptions output;
    if (formats::format_of_file(choice_.output) == nullptr) output.to = result.format;
    output.write.model = choice_.input.model;
    output.write.labels = &names;
    output.plain = true;
    formats::Outputs outputs(force());
    write_output(outputs, choice_.output, record.h, output);
    write_numbers(outputs, choice_.cell_map, mended.cells);
    outputs.publish([&] { print_beside(choice_.output, [&] { report_.add_mended(result, mended); }); });
    return kSuccess;
  }

  int report(LintResult result, bool with_programs) {
    std::vector<formats::ProgramVerdict> verdicts;
    if (with_programs) verdicts = formats::verdicts_on(result, programs_);
    selection_.apply_to(result);
    for (formats::Finding& finding : result.findings) finding = advised_for_lint(std::move(finding));
    report_.add(result, verdicts);
    return fails(result, choice_.strict) ? kFinding : kSuccess;
  }

  const LintChoice& choice_;
  LintReport& report_;
  Selection selection_;
  std::vector<std::string> programs_;
};

int lint_files(const LintChoice& choice) {
  if (choice.files.size() > 1 && has_companions(choice))
    throw UsageError("with --part, --fix-file, --perm or --labels there is one FILE");
  if (choice.fix && (choice.files.size() > 1 || choice.files.front() == "-"))
    throw UsageError("with --fix there is one FILE, which is not standard input");
  if (choice.fix && !choice.programs.empty())
    throw UsageError("--for is on files as they are; it excludes --fix");
  LintReport report({choice.json    ? LintReport::Kind::kJson
                     : choice.sarif ? LintReport::Kind::kSarif
                                    : LintReport::Kind::kText,
                     choice.summary, quiet()});
  FileLinter linter(choice, report);
  const int status = for_each_file(
      choice.files, [&](const std::string& file) { return linter.lint(file); }, [](const std::string&) {});
  print_beside(choice.output, [&report] { report.finish(); });
  return status;
}

int run(const LintChoice& choice) {
  if (choice.list) {
    uprintf("%s", list_of_rules().c_str());
    return kSuccess;
  }
  if (!choice.explain.empty()) {
    const Rule* const rule = formats::rule_named(choice.explain);
    if (rule == nullptr) throw UsageError("--explain: " + unknown_rule(choice.explain));
    uprintf("%s", page_of(*rule).c_str());
    return kSuccess;
  }
  if (choice.files.empty()) throw UsageError("FILE is required");
  return lint_files(choice);
}

void add_fix(Options& options, LintChoice& chosen) {
  Option fix = options.flag("--fix", chosen.fix, "Write a mended file");
  Option output = options.file("-o,--output", "OUT", chosen.output, ValueKind::kHypergraphOut,
                               "The mended file; its suffix can choose another format");
  fix.needs(output);
  output.needs(fix);
  options.flag("--fix-drop-empty", chosen.mend.drop_empty_nets, "Drop nets without pins too").needs(fix);
  options.flag("--fix-drop-one-pin", chosen.mend.drop_one_pin_nets, "Drop nets of one pin too").needs(fix);
  options
      .flag("--fix-merge-parallel", chosen.mend.merge_parallel_nets,
            "Merge nets of the same cells too, and add up their weights")
      .needs(fix);
  Option compact =
      options.flag("--fix-compact", chosen.mend.drop_isolated_cells, "Drop cells on no net too").needs(fix);
  options
      .file("--cell-map", "FILE", chosen.cell_map, ValueKind::kFile,
            "Write the old number of each new cell to FILE")
      .needs(compact);
  add_force(options);
}

std::function<int()> declare_lint(Options& options) {
  auto chosen = std::make_shared<LintChoice>();
  options.files("FILE", chosen->files, ValueKind::kHypergraphIn, "Hypergraph files; - is standard input");
  options.texts("--part", "PARTFILE", chosen->parts, "Partition of the hypergraph to check; repeatable");
  options.texts("--fix-file", "FIXFILE", chosen->fixed, "Fix file of the hypergraph to check; repeatable");
  options.texts("--perm", "PERMFILE", chosen->permutations, "Permutation of the cells to check; repeatable");
  options.texts("--labels", "LABELSFILE", chosen->labels, "Labels of cells and nets to check; repeatable");
  add_fix(options, *chosen);
  options.number("-k", "K", 1, chosen->nparts, "Number of parts (default: by the partition)");
  options.text("--for", "PROGRAMS", chosen->programs,
               "Say which programs take the files: names separated by commas, or all");
  options.text(
      "--rules", "SELECT", chosen->rules,
      "Rules to report: names, errors, warnings, notes, separated by commas; - before a word omits it");
  options.number("--max", "N", 0, chosen->most,
                 "Findings of each rule to print (default 50); all are counted");
  options.flag("--strict", chosen->strict, "Exit with status 1 for warnings too");
  Option summary =
      options.flag("--summary", chosen->summary, "Print one RESULT line per file instead of the findings");
  const Option json = add_json(options, chosen->json);
  summary.excludes(json);
  Option sarif = options.flag("--sarif", chosen->sarif, "Print a SARIF 2.1.0 document");
  sarif.excludes(json);
  sarif.excludes(summary);
  options.flag("--list", chosen->list, "List all rules");
  options.text("--explain", "RULE", chosen->explain, "Explain a rule");
  add_from(options, chosen->input);
  add_model(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command lint_command() {
  return {"lint", "Name all that is wrong with files, and where", kLintNotes, declare_lint};
}

}  // namespace quillon::tool
