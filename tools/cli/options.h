#pragma once
// The options of a command: declared by the command, parsed by CLI11, and described to help, completion and
// manual.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/formats.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace quillon::tool {

/// What a value is, for completion.
enum class ValueKind {
  kNone,           // a flag
  kHypergraphIn,   // a file of any format
  kHypergraphOut,  // a file of any format that can be written
  kPageOut,        // an HTML page
  kFile,           // any other file
  kChoice,         // one of a few words
  kTopic,          // a command or a topic of the help
  kOther,
};

/// A declared option, to state whether it is required and how it depends on others.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}
  Option& required();
  Option& needs(const Option& other);
  Option& excludes(const Option& other);

 private:
  friend class Options;
  CLI::Option* option_;
};

/// An option as the manual and completion show it.
struct OptionDescription {
  std::string name;         // "--output", "-k", or of a positional argument "FILE"
  std::string short_name;   // "-o", or empty
  std::string placeholder;  // of the value; empty for flags
  std::string help;
  ValueKind kind = ValueKind::kNone;
  std::vector<std::string> choices;   // of kChoice
  std::vector<std::string> needs;     // names of options that must also be given
  std::vector<std::string> excludes;  // names of options that must not be given
  bool is_positional = false;
  bool is_required = false;
  bool is_alternative = false;  // declared with `one_of`
  bool repeats = false;
};

/// Declares the options of one command. The targets have to live until the command has run.
class Options {
 public:
  explicit Options(CLI::App& command) : command_(&command) {}

  /// A file name, which must not be empty. `name` is "FILE" for a positional argument, else "-o,--output" or
  /// "--map".
  Option file(const char* name, const char* placeholder, std::string& target, ValueKind kind,
              const char* help);
  Option file(const char* name, const char* placeholder, std::optional<std::string>& target, ValueKind kind,
              const char* help);
  Option files(const char* name, std::vector<std::string>& target, ValueKind kind, const char* help);

  Option flag(const char* name, bool& target, const char* help);
  Option text(const char* name, const char* placeholder, std::string& target, const char* help,
              ValueKind kind = ValueKind::kOther);

  /// Texts, one for each time that the option is given.
  Option texts(const char* name, const char* placeholder, std::vector<std::string>& target, const char* help);

  /// A decimal number from `least` on.
  Option number(const char* name, const char* placeholder, int least, int& target, const char* help);
  Option number(const char* name, const char* placeholder, std::uint64_t& target, const char* help);
  /// Several numbers from 1 on, in the order of the command line.
  Option numbers(const char* name, const char* placeholder, std::vector<int>& target, const char* help);

  /// One of a few words.
  template <typename Value, typename Target>
  Option choice(const char* name, const std::vector<std::pair<std::string, Value>>& choices, Target& target,
                const char* help) {
    std::vector<std::string> words;
    words.reserve(choices.size());
    for (const auto& [word, value] : choices) words.push_back(word);
    return choice_of(
        name, words, [choices, &target](std::size_t k) { target = choices[k].second; }, help);
  }

  /// Two different words, in either order: `first_comes_first` tells which.
  Option ordered(const char* name, const std::string& first, const std::string& second,
                 const std::function<void(bool first_comes_first)>& store, const char* help);

  /// A format by name.
  Option format(const char* name, const formats::Format*& target, const char* help);
  /// The same for output. Formats that are only read are accepted too, so that the command can say why it
  /// refuses them, but are not listed.
  Option written_format(const char* name, const formats::Format*& target, const char* help);

  /// Options of which exactly one must be given.
  Options one_of(const char* title, const char* description);

  /// All options of the command as CLI11 knows them, in order.
  [[nodiscard]] std::vector<OptionDescription> descriptions() const;

 private:
  using Kinds = std::map<const CLI::Option*, ValueKind>;

  Options(CLI::App& command, std::shared_ptr<Kinds> kinds) : command_(&command), kinds_(std::move(kinds)) {}

  Option choice_of(const char* name, const std::vector<std::string>& words,
                   const std::function<void(std::size_t)>& store, const char* help);
  Option with_kind(CLI::Option* option, ValueKind kind);

  CLI::App* command_;
  std::shared_ptr<Kinds> kinds_ = std::make_shared<Kinds>();
};

}  // namespace quillon::tool
