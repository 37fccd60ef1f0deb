#include "tools/report/lint_json.h"

#include <nlohmann/json.hpp>

#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::Finding;
using formats::LintResult;
using formats::Rule;
using formats::Severity;
using Json = nlohmann::ordered_json;

// File names need not be UTF-8.
std::string text_of(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

Json finding_json(const Finding& finding) {
  return {{"rule", finding.rule},       {"severity", name_of(finding.severity)},
          {"line", finding.line},       {"column", finding.column},
          {"message", finding.message}, {"hint", finding.hint}};
}

// As a URI refers to a file: bytes other than letters, digits and a few signs become %XX.
std::string uri_of(const std::string& file) {
  constexpr std::string_view kPlain = "-._~/";
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string uri = file.starts_with('/') ? "file://" : "";
  for (const char c : file) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte < 0x80 && std::isalnum(byte) != 0) || kPlain.find(c) != std::string_view::npos)
      uri += c;
    else
      uri.append("%") += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
  return uri;
}

Json rule_json(const Rule& rule) {
  return {{"id", rule.name},
          {"shortDescription", {{"text", rule.summary}}},
          {"fullDescription", {{"text", rule.text}}},
          {"help", {{"text", rule.mend}}},
          {"defaultConfiguration", {{"level", name_of(rule.severity)}}}};
}

// Columns of SARIF count characters, ours bytes.
Json result_json(const Finding& finding, std::size_t character) {
  Json location{{"artifactLocation", {{"uri", uri_of(finding.file)}}}};
  if (finding.line > 0)
    location["region"] = {{"startLine", finding.line},
                          {"startColumn", character == 0 ? finding.column : character}};
  const Rule* const rule = formats::rule_named(finding.rule);
  return {{"ruleId", finding.rule},
          {"ruleIndex", rule - formats::all_rules().data()},
          {"level", name_of(finding.severity)},
          {"message", {{"text", finding.message + (finding.hint.empty() ? "" : " (" + finding.hint + ")")}}},
          {"locations", Json::array({{{"physicalLocation", std::move(location)}}})}};
}

}  // namespace

void print_lint_json(const LintResult& result, const std::vector<formats::ProgramVerdict>& verdicts) {
  const bool failed = result.count(Severity::kError) > 0;
  Json json{{"schema_version", 1},
            {"command", "lint"},
            {"file", result.file},
            {"status", failed ? "failed" : "ok"},
            {"format", result.format == nullptr ? Json() : Json(result.format->name)},
            {"errors", result.count(Severity::kError)},
            {"warnings", result.count(Severity::kWarning)},
            {"notes", result.count(Severity::kNote)},
            {"counts", Json::object()},
            {"findings", Json::array()},
            {"programs", Json::array()}};
  for (const formats::RuleCount& broken : result.counts)
    json["counts"][std::string(broken.rule->name)] = broken.count;
  for (const Finding& finding : result.findings) json["findings"].push_back(finding_json(finding));
  for (const formats::ProgramVerdict& verdict : verdicts)
    json["programs"].push_back(
        {{"name", verdict.program}, {"verdict", verdict.verdict}, {"reason", verdict.reason}});
  uprintf("%s\n", text_of(json, -1).c_str());
}

struct SarifLog::State {
  Json results = Json::array();
};

SarifLog::SarifLog() : state_(std::make_unique<State>()) {}

SarifLog::~SarifLog() = default;

void SarifLog::add(const LintResult& result) {
  for (std::size_t k = 0; k < result.findings.size(); ++k)
    state_->results.push_back(
        result_json(result.findings[k], k < result.excerpts.size() ? result.excerpts[k].character : 0));
}

std::string SarifLog::text() const {
  Json rules = Json::array();
  for (const Rule& rule : formats::all_rules()) rules.push_back(rule_json(rule));
  const Json driver{{"name", "quillon"}, {"version", QUILLON_VERSION}, {"rules", std::move(rules)}};
  const Json log{{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                 {"version", "2.1.0"},
                 {"runs", Json::array({{{"tool", {{"driver", driver}}},
                                        {"columnKind", "unicodeCodePoints"},
                                        {"results", state_->results}}})}};
  return text_of(log, 1) + "\n";
}

}  // namespace quillon::tool
