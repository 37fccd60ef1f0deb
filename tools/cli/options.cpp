#include "tools/cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <limits>
#include <set>
#include <sstream>

#include "tools/cli/suggestions.h"

namespace quillon::tool {
namespace {

// An unset variable of the shell gives an empty name.
CLI::Option* refuse_empty(CLI::Option* option) {
  return option->check(
      [](const std::string& text) { return text.empty() ? "the name of a file is empty" : ""; });
}

// A positional argument shows its own name.
CLI::Option* with_placeholder(CLI::Option* option, const char* placeholder) {
  return option->get_positional() ? option : option->type_name(placeholder);
}

// Digits are decimal, whatever they begin with.
template <typename Number>
Number number_in(const std::string& option, const std::string& text, Number least) {
  constexpr Number kMost = std::numeric_limits<Number>::max();
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stopped != end || number < least)
    throw CLI::ValidationError(option, "'" + text + "' is not a whole number from " + std::to_string(least) +
                                           " to " + std::to_string(kMost));
  return number;
}

// Six parameters: all that declares an option, and where it goes.
template <typename Number>
CLI::Option* add_number(CLI::App& command, const std::string& name, const char* placeholder, Number least,
                        Number& target, const char* help) {
  const auto store = [name, least, &target](const std::string& text) {
    target = number_in(name, text, least);
  };
  return command.add_option_function<std::string>(name, store, help)->type_name(placeholder);
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text.append(text.empty() ? "" : "|").append(word);
  return text;
}

std::vector<std::string> words_of(const std::string& joined_words) {
  std::vector<std::string> words;
  std::istringstream in(joined_words);
  for (std::string word; std::getline(in, word, '|');) words.push_back(word);
  return words;
}

// Sorted, since CLI11 orders the options by address.
std::vector<std::string> names_of(const std::set<CLI::Option*>& options) {
  std::vector<std::string> names;
  names.reserve(options.size());
  for (const CLI::Option* const option : options) names.push_back(option->get_name());
  std::sort(names.begin(), names.end());
  return names;
}

OptionDescription described(const CLI::Option& option, ValueKind kind) {
  OptionDescription description;
  description.is_positional = option.get_positional();
  description.is_required = option.get_required();
  description.repeats = option.get_expected_max() > 1;
  description.help = option.get_description();
  description.kind = kind;
  if (kind == ValueKind::kChoice) description.choices = words_of(option.get_type_name());
  description.needs = names_of(option.get_needs());
  description.excludes = names_of(option.get_excludes());
  const std::vector<std::string>& long_names = option.get_lnames();
  const std::vector<std::string>& short_names = option.get_snames();
  if (description.is_positional) {
    description.name = option.get_single_name();
    return description;
  }
  if (!short_names.empty()) description.short_name = "-" + short_names.front();
  description.name =
      long_names.empty() ? std::exchange(description.short_name, "") : "--" + long_names.front();
  if (option.get_expected_min() > 0) description.placeholder = option.get_type_name();
  return description;
}

}  // namespace

Option& Option::required() {
  option_->required();
  return *this;
}

Option& Option::needs(const Option& other) {
  option_->needs(other.option_);
  return *this;
}

Option& Option::excludes(const Option& other) {
  option_->excludes(other.option_);
  return *this;
}

Option Options::with_kind(CLI::Option* option, ValueKind kind) {
  kinds_->emplace(option, kind);
  return Option(option);
}

Option Options::file(const char* name, const char* placeholder, std::string& target, ValueKind kind,
                     const char* help) {
  return with_kind(refuse_empty(with_placeholder(command_->add_option(name, target, help), placeholder)),
                   kind);
}

Option Options::file(const char* name, const char* placeholder, std::optional<std::string>& target,
                     ValueKind kind, const char* help) {
  return with_kind(refuse_empty(with_placeholder(command_->add_option(name, target, help), placeholder)),
                   kind);
}

Option Options::files(const char* name, std::vector<std::string>& target, ValueKind kind, const char* help) {
  return with_kind(refuse_empty(command_->add_option(name, target, help)), kind);
}

Option Options::flag(const char* name, bool& target, const char* help) {
  return with_kind(command_->add_flag(name, target, help), ValueKind::kNone);
}

Option Options::text(const char* name, const char* placeholder, std::string& target, const char* help,
                     ValueKind kind) {
  return with_kind(with_placeholder(command_->add_option(name, target, help), placeholder), kind);
}

Option Options::texts(const char* name, const char* placeholder, std::vector<std::string>& target,
                      const char* help) {
  CLI::Option* const option = command_->add_option(name, target, help)->type_name(placeholder);
  return with_kind(option->allow_extra_args(false), ValueKind::kOther);
}

Option Options::number(const char* name, const char* placeholder, int least, int& target, const char* help) {
  return with_kind(add_number(*command_, name, placeholder, least, target, help), ValueKind::kOther);
}

Option Options::number(const char* name, const char* placeholder, std::uint64_t& target, const char* help) {
  return with_kind(add_number(*command_, name, placeholder, std::uint64_t{0}, target, help),
                   ValueKind::kOther);
}

Option Options::numbers(const char* name, const char* placeholder, std::vector<int>& target,
                        const char* help) {
  const auto store = [name = std::string(name), &target](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) target.push_back(number_in(name, text, 1));
  };
  return with_kind(
      command_->add_option_function<std::vector<std::string>>(name, store, help)->type_name(placeholder),
      ValueKind::kOther);
}

Option Options::choice_of(const char* name, const std::vector<std::string>& words,
                          const std::function<void(std::size_t)>& store, const char* help) {
  const auto store_word = [name = std::string(name), words, store](const std::string& text) {
    for (std::size_t k = 0; k < words.size(); ++k)
      if (words[k] == text) return store(k);
    throw CLI::ValidationError(name,
                               "'" + text + "' is none of " + joined(words) + did_you_mean(text, words));
  };
  return with_kind(
      command_->add_option_function<std::string>(name, store_word, help)->type_name(joined(words)),
      ValueKind::kChoice);
}

Option Options::ordered(const char* name, const std::string& first, const std::string& second,
                        const std::function<void(bool)>& store, const char* help) {
  const auto store_words = [name = std::string(name), first, second,
                            store](const std::vector<std::string>& words) {
    const bool is_first = words == std::vector<std::string>{first, second};
    if (!is_first && words != std::vector<std::string>{second, first})
      throw CLI::ValidationError(name, "'" + words.front() + " " + words.back() + "' is neither '" + first +
                                           " " + second + "' nor '" + second + " " + first + "'");
    store(is_first);
  };
  CLI::Option* const option =
      command_->add_option_function<std::vector<std::string>>(name, store_words, help);
  option->type_size(2)->expected(1)->type_name(first + " " + second);
  return with_kind(option, ValueKind::kOther);
}

Option Options::format(const char* name, const formats::Format*& target, const char* help) {
  std::vector<std::pair<std::string, const formats::Format*>> choices;
  for (const formats::Format& known : formats::all_formats()) choices.emplace_back(known.name, &known);
  return choice<const formats::Format*>(name, choices, target, help);
}

Option Options::written_format(const char* name, const formats::Format*& target, const char* help) {
  std::vector<std::string> written;
  for (const formats::Format& known : formats::all_formats())
    if (known.write != nullptr) written.emplace_back(known.name);
  Option option = this->format(name, target, help);
  option.option_->type_name(joined(written));
  return option;
}

Options Options::one_of(const char* title, const char* description) {
  CLI::Option_group* const group = command_->add_option_group(title, description);
  group->require_option(1);
  return {*group, kinds_};
}

std::vector<OptionDescription> Options::descriptions() const {
  std::vector<OptionDescription> all;
  const auto add = [this, &all](const CLI::App& app, bool are_alternatives) {
    for (const CLI::Option* const option : app.get_options()) {
      if (are_alternatives && option == app.get_help_ptr()) continue;  // CLI11 gives each group a hidden one
      const auto kind = kinds_->find(option);
      all.push_back(described(*option, kind == kinds_->end() ? ValueKind::kNone : kind->second));
      all.back().is_alternative = are_alternatives;
    }
  };
  add(*command_, false);
  // CLI11 keeps groups of options among the subcommands; they have no name.
  for (const CLI::App* const group :
       command_->get_subcommands([](const CLI::App* app) { return app->get_name().empty(); }))
    add(*group, true);
  return all;
}

}  // namespace quillon::tool
