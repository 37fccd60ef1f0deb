#include "tools/documents/model.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "formats/formats.h"
#include "formats/programs.h"
#include "formats/rules.h"
#include "formats/source.h"
#include "tools/cli/help.h"
#include "tools/cli/program.h"
#include "tools/cli/rule_text.h"

namespace quillon::tool {
namespace {

using kainjow::mustache::data;
using Words = std::vector<std::string>;
using Descriptions = std::vector<OptionDescription>;

// Templates treat an empty text like one that is there.
data text_or_false(const std::string& text) { return text.empty() ? data(false) : data(text); }

std::string joined(const Words& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text.append(text.empty() ? "" : separator).append(word);
  return text;
}

template <typename Items, typename ToData>
data list_of(const Items& items, const ToData& to_data) {
  data list(data::type::list);
  for (const auto& item : items) list << to_data(item);
  return list;
}

data words_data(const Words& words) {
  return list_of(words, [](const std::string& word) { return data(word); });
}

std::string kind_name(ValueKind kind) {
  switch (kind) {
    case ValueKind::kNone:
      return "none";
    case ValueKind::kHypergraphIn:
      return "hypergraph_in";
    case ValueKind::kHypergraphOut:
      return "hypergraph_out";
    case ValueKind::kPageOut:
      return "page_out";
    case ValueKind::kFile:
      return "file";
    case ValueKind::kChoice:
      return "choice";
    case ValueKind::kTopic:
      return "topic";
    case ValueKind::kOther:
      return "other";
  }
  throw std::logic_error("a kind of value without a name");
}

// The synopsis has no room for many choices; the description of the option lists them.
constexpr std::size_t kLongestInSynopsis = 60;

data option_data(const OptionDescription& option, const std::string& place) {
  const std::string choices = joined(option.choices, " | ");
  const bool is_short = choices.size() <= kLongestInSynopsis;
  data entry(data::type::object);
  entry.set("name", option.name);
  entry.set("flag", option.is_positional ? data(false) : data(option.name.substr(1)));
  entry.set("short_name", text_or_false(option.short_name));
  entry.set("short_flag", text_or_false(option.short_name.substr(option.short_name.empty() ? 0 : 1)));
  entry.set("help", option.help);
  entry.set("placeholder", text_or_false(option.choices.empty() ? option.placeholder : ""));
  entry.set("choices", text_or_false(choices));
  entry.set("synopsis_placeholder", is_short ? entry["placeholder"] : data("KEY"));
  entry.set("synopsis_choices", text_or_false(is_short ? choices : ""));
  entry.set("words", text_or_false(joined(option.choices, " ")));
  entry.set("kind", kind_name(option.kind));
  entry.set("place", text_or_false(option.repeats ? "*" : place));
  entry.set("is_optional", !option.is_required);
  entry.set("takes_value", !option.placeholder.empty());
  entry.set("repeats", option.repeats);
  entry.set("needs", text_or_false(joined(option.needs, ", ")));
  entry.set("excludes", text_or_false(joined(option.excludes, ", ")));
  entry.set("is_last", false);
  return entry;
}

template <typename Condition>
data options_data(const Descriptions& options, const Condition& condition) {
  std::vector<data> entries;
  for (const OptionDescription& option : options)
    if (condition(option)) entries.push_back(option_data(option, ""));
  if (!entries.empty()) entries.back().set("is_last", true);
  return list_of(entries, [](const data& entry) { return entry; });
}

data arguments_data(const Descriptions& options) {
  data list(data::type::list);
  int place = 0;
  for (const OptionDescription& option : options)
    if (option.is_positional) list << option_data(option, std::to_string(++place));
  return list;
}

bool is_option(const OptionDescription& option) { return !option.is_positional; }

// Starts a new line for each sentence, as the source of a manual page should.
std::string by_sentence(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  for (std::size_t at = text.find(". "); at != std::string::npos; at = text.find(". ", at + 1))
    text[at + 1] = '\n';
  return text;
}

// Splits notes at empty lines, and where indented lines begin or end.
data paragraphs_data(const std::string& notes) {
  struct Paragraph {
    bool is_literal;
    Words lines;
  };
  std::vector<Paragraph> paragraphs;
  bool begins = true;
  std::istringstream in(notes);
  for (std::string line; std::getline(in, line);) {
    if (line.empty()) {
      begins = true;
      continue;
    }
    const bool is_literal = line.front() == ' ';
    if (begins || paragraphs.back().is_literal != is_literal) paragraphs.push_back({is_literal, {}});
    paragraphs.back().lines.push_back(line.substr(is_literal ? 2 : 0));
    begins = false;
  }
  return list_of(paragraphs, [](const Paragraph& paragraph) {
    const std::string text = joined(paragraph.lines, "\n");
    data entry("text", paragraph.is_literal ? text : by_sentence(text));
    entry.set("is_literal", paragraph.is_literal);
    return entry;
  });
}

data command_data(const CommandDescription& command, const Descriptions& common) {
  const auto is_common = [&common](const OptionDescription& option) {
    return std::any_of(common.begin(), common.end(), [&option](const OptionDescription& other) {
      return option.name == other.name && option.help == other.help;
    });
  };
  const auto is_special = [&](const OptionDescription& o) { return is_option(o) && !is_common(o); };

  data entry(data::type::object);
  entry.set("name", command.name);
  entry.set("command", command.name);
  entry.set("summary", command.summary);
  entry.set("paragraphs", paragraphs_data(command.notes));
  entry.set("arguments", arguments_data(command.options));
  entry.set("options", options_data(command.options, is_option));
  entry.set("special", options_data(command.options, is_special));
  entry.set("required",
            options_data(command.options, [](const auto& o) { return is_option(o) && o.is_required; }));
  entry.set("alternatives", options_data(command.options, [](const auto& o) { return o.is_alternative; }));
  entry.set("optional", options_data(command.options, [&](const auto& o) {
              return is_option(o) && o.name != "--help" && !o.is_required && !o.is_alternative;
            }));
  return entry;
}

std::string model_usage(const formats::Format& format) {
  Words names;
  for (const formats::Model model : format.models) names.emplace_back(name_of(model));
  return "--model " + joined(names, "|");
}

// An option of convert as it is written on a command line.
std::string usage_of(const std::string& name, const ProgramDescription& program) {
  for (const CommandDescription& command : program.commands)
    for (const OptionDescription& option : command.options)
      if (command.name == "convert" && option.name == name)
        return option.placeholder.empty() ? name : name + " " + option.placeholder;
  throw std::runtime_error("convert has no option " + name);
}

Words suffixes_of(const formats::Format& format) { return {format.suffixes.begin(), format.suffixes.end()}; }

data format_data(const formats::Format& format, const ProgramDescription& program) {
  data entry(data::type::object);
  entry.set("name", std::string(format.name));
  entry.set("suffixes", words_data(suffixes_of(format)));
  entry.set("summary", std::string(format.summary));
  entry.set("first_cell", std::string(format.first_cell));
  entry.set("weights", by_sentence(std::string(format.weights)));
  entry.set("is_written", format.write != nullptr);
  entry.set("options", list_of(options_for(format), [&](const std::string& name) {
              return data(name == "--model" ? model_usage(format) : usage_of(name, program));
            }));
  return entry;
}

Words with_compressed(Words suffixes) {
  const std::size_t count = suffixes.size();
  for (const std::string_view compressed : formats::kCompressedSuffixes)
    for (std::size_t k = 0; k < count; ++k) suffixes.push_back(suffixes[k] + std::string(compressed));
  return suffixes;
}

void set_suffixes(data& root) {
  Words read;
  Words written;
  for (const formats::Format& format : formats::all_formats()) {
    for (const std::string& suffix : suffixes_of(format)) {
      read.push_back(suffix);
      if (format.write != nullptr) written.push_back(suffix);
    }
  }
  root.set("read_suffixes", joined(with_compressed(read), " "));
  root.set("written_suffixes", joined(with_compressed(written), " "));
}

data rule_data(const formats::Rule& rule) {
  data entry(data::type::object);
  entry.set("name", std::string(rule.name));
  entry.set("severity", std::string(name_of(rule.severity)));
  entry.set("summary", std::string(rule.summary));
  entry.set("text", std::string(rule.text));
  entry.set("mend", std::string(rule.mend));
  entry.set("example", text_or_false(example_of(rule)));
  entry.set("format", std::string(rule.format));
  entry.set("programs", text_or_false(programs_on(rule)));
  return entry;
}

data program_data(const formats::ProgramRow& row) {
  data entry(data::type::object);
  entry.set("program",
            std::string(row.program) +
                (row.version == "unknown" ? " (version unknown)" : " " + std::string(row.version)));
  entry.set("format", std::string(row.format));
  entry.set("rule", text_or_false(row.rule == "-" ? "" : std::string(row.rule)));
  entry.set("verdict", std::string(name_of(row.treatment)));
  entry.set("text", std::string(row.text));
  entry.set("source", std::string(row.source));
  return entry;
}

}  // namespace

data template_data(std::span<const Command> commands) {
  const ProgramDescription program = describe(commands);
  data root(data::type::object);
  root.set("version", program.version);
  root.set("options", options_data(program.options, is_option));
  root.set("commands", list_of(program.commands, [&program](const CommandDescription& command) {
             return command_data(command, program.options);
           }));
  root.set("topics", list_of(all_topics(), [](const Topic& topic) {
             data entry("name", topic.name);
             entry.set("summary", topic.summary);
             return entry;
           }));
  root.set("formats", list_of(formats::all_formats(), [&program](const formats::Format& format) {
             return format_data(format, program);
           }));
  root.set("rules", list_of(formats::all_rules(), rule_data));
  root.set("programs", list_of(formats::program_rows(), program_data));
  set_suffixes(root);
  return root;
}

}  // namespace quillon::tool
