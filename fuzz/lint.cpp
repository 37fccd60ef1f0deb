// lint and mend on any text of any format: findings lie in the text, and what mend writes has no errors.

#include "formats/lint.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "formats/compression.h"
#include "formats/finding_store.h"
#include "formats/formats.h"
#include "formats/mend.h"
#include "formats/record.h"
#include "formats/threads.h"
#include "fuzz/accounts.h"
#include "fuzz/driver.h"
#include "tests/double/recorder.h"

namespace quillon::fuzz {
namespace {

using formats::Finding;
using formats::Format;
using formats::LintOptions;
using formats::LintResult;
using formats::Severity;

constexpr int kMostItems = 20000;  // cells, nets or pins of a hypergraph that is written
constexpr std::size_t kMostKept = 20;

bool is_compressed(std::string_view text) {
  return formats::compression_of_bytes(text.substr(0, formats::kMagicSize)) != formats::Compression::kNone;
}

void expect_sound(const LintResult& result, const std::string& text) {
  std::size_t last_line = 0;
  for (std::size_t k = 0; k < result.findings.size(); ++k) {
    const Finding& finding = result.findings[k];
    expect(formats::rule_named(finding.rule) != nullptr, "a finding of no rule");
    expect(finding.severity == formats::rule_named(finding.rule)->severity, "a finding of another severity");
    expect(finding.line == 0 || is_inside(text, finding.line, finding.column), "a finding outside the text");
    expect(finding.line == 0 || finding.line >= last_line, "findings are not in the order of the text");
    last_line = finding.line;
    const auto kept = static_cast<std::int64_t>(kMostKept);
    expect(result.count(finding.rule) >= 1, "a finding that is not counted");
    expect(std::count_if(result.findings.begin(), result.findings.end(),
                         [&finding](const Finding& other) { return other.rule == finding.rule; }) <= kept,
           "more findings are kept than asked for");
    const formats::Excerpt& excerpt = result.excerpts[k];
    expect(excerpt.caret <= excerpt.text.size(), "a caret outside its line");
  }
}

const Format& format_to_write(const Format& read) {
  const bool is_written = read.write != nullptr && (read.refusal == nullptr || read.refusal({}).empty());
  return is_written ? read : *formats::format_named("quillon");
}

bool is_small(const formats::NetLists& lists) {
  return lists.ncells <= kMostItems && lists.nnets <= kMostItems && std::ssize(lists.nadj) <= kMostItems;
}

// What is mended reads back without an error.
void try_mend(const std::string& filename, const LintResult& found, const LintOptions& options,
              const formats::MendOptions& mend_options) {
  formats::Mended mended;
  try {
    mended = formats::mend(filename, found, options, mend_options);
  } catch (const formats::BadFile& error) {
    expect(!error.finding().message.empty(), "a refusal without a reason");
    return;
  }
  if (!is_small(mended.lists)) return;
  const formats::Labels names{std::move(mended.lists.cell_names), std::move(mended.lists.net_names)};
  formats::Record record;
  formats::to_record(std::move(mended.lists), record);
  static const MemoryFile output;
  output.fill("");
  const Format& format = format_to_write(*found.format);
  if (format.name == "edges" && record.h._n == 0) return;
  format.write(record.h, {.labels = &names}, output.name());
  recorder::forget_files();  // some writers close the file by std::fclose
  LintOptions of_result;
  of_result.format = &format;
  const LintResult again = formats::lint(output.name(), of_result);
  for (const formats::RuleCount& broken : again.counts)
    if (broken.rule->severity == Severity::kError)
      fuzz::found("a mended file breaks " + std::string(broken.rule->name) + ":\n" + output.contents());
}

void try_text(const std::string& text) {
  static const MemoryFile input;
  input.fill(text);
  LintOptions options;
  options.most_kept = kMostKept;
  options.excerpts = true;
  formats::set_least_kept(text.size() % 2 == 0 ? 0 : formats::kLeastKept);
  LintResult found = formats::lint(input.name(), options);
  if (found.format == nullptr) {
    const auto formats = formats::all_formats();
    options.format = &formats[text.size() % formats.size()];
    found = formats::lint(input.name(), options);
  }
  expect_sound(found, text);
  options.format = found.format;
  try_mend(input.name(), found, options, {});
  try_mend(input.name(), found, options,
           {.drop_one_pin_nets = true, .merge_parallel_nets = true, .drop_isolated_cells = true});
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (fuzz::is_compressed(text)) return 0;
  recorder::reset();
  formats::set_threads(1);
  fuzz::run_soundly([&] { fuzz::try_text(text); });
  return 0;
}
