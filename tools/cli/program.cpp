#include "tools/cli/program.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/cli/console.h"
#include "tools/cli/help.h"
#include "tools/cli/rule_text.h"
#include "tools/cli/suggestions.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kExamples = R"(
Examples:
  quillon stats circuit.qhg                      a report with distributions
  quillon stats --table --header *.qhg           one line per file, for a spreadsheet
  quillon check circuit.qhg                      verify the file
  quillon dump circuit.qhg --net 7               the cells of net 7
  quillon report circuit.qhg -o circuit.html     a page with charts

Exit status: 0 success, 1 a finding or bad input, 2 wrong usage.
See quillon COMMAND --help for each command, quillon help for topics such as formats and weights.)";

std::vector<std::string> option_names(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : command.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

std::vector<std::string> command_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

// What is wrong with an unknown word, which is often the cause of another error; empty if there is none.
std::string unknown_word(const CLI::App& app) {
  const std::vector<CLI::App*> used = app.get_subcommands();
  bool are_options = true;
  for (const std::string& word : app.remaining(true)) {
    const std::string name = word.substr(0, word.find('='));
    if (word == "--") {
      if (used.empty()) return "-- goes after the command";
      are_options = false;
    } else if (!are_options) {
      return "The following argument was not expected: " + word +
             (word.front() == '-' ? " (after --, nothing is an option)" : "");
    } else if (name.size() > 1 && name.front() == '-') {
      const std::vector<std::string> known = option_names(used.empty() ? app : *used.front());
      if (std::find(known.begin(), known.end(), name) != known.end()) return name + " goes after the command";
      return "The following argument was not expected: " + word + did_you_mean(name, known);
    }
    if (used.empty()) return "there is no command '" + word + "'" + did_you_mean(word, command_names(app));
  }
  return "";
}

std::string usage_error(const CLI::App* app, const CLI::Error& error) {
  std::string command = app->get_name();
  for (const CLI::App* const used : app->get_subcommands()) command += " " + used->get_name();
  const std::string unknown = unknown_word(*app);
  return error_prefix() + printable(STDERR_FILENO, unknown.empty() ? std::string(error.what()) : unknown) +
         "\nTry '" + command + " --help'.\n";
}

void add_quiet(CLI::App& app) {
  constexpr const char* kHelp = "Show no progress";
  app.add_flag("-q,--quiet", quiet(), kHelp);
  for (CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; }))
    command->add_flag("-q,--quiet", quiet(),
                      command->get_name() == "check"
                          ? "Show no progress and, without --json, no line for a sound file"
                          : kHelp);
}

std::string list_of_topics(const CLI::App& app) {
  std::vector<std::pair<std::string, std::string>> topics;
  for (const Topic& topic : all_topics()) topics.emplace_back(topic.name, topic.summary);
  std::vector<std::pair<std::string, std::string>> commands;
  for (const CLI::App* const command : app.get_subcommands({}))
    commands.emplace_back(command->get_name(), command->get_description());
  return "quillon help COMMAND explains a command, quillon help TOPIC one of these:\n\n" + lines_of(topics) +
         "\nCommands:\n\n" + lines_of(commands);
}

int print_help(const CLI::App& app, const std::string& name) {
  if (name.empty()) {
    uprintf("%s", list_of_topics(app).c_str());
    return kSuccess;
  }
  std::vector<std::string> known;
  for (const Topic& topic : all_topics()) {
    if (name == topic.name) {
      uprintf("%s", topic.text.c_str());
      return kSuccess;
    }
    known.push_back(topic.name);
  }
  for (const CLI::App* const command : app.get_subcommands({})) {
    if (name == command->get_name()) {
      uprintf("%s", command->help("quillon").c_str());
      return kSuccess;
    }
    known.push_back(command->get_name());
  }
  if (const formats::Rule* const rule = formats::rule_named(name); rule != nullptr) {
    uprintf("%s", page_of(*rule).c_str());
    return kSuccess;
  }
  print_usage_error("there is no help on '" + name + "'" + did_you_mean(name, known) +
                    "\nTry 'quillon help'.");
  return kUsage;
}

// A stream that the caller closed must not become that of the next file opened. Its stand-in fails like a
// closed one.
void hold_standard_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// The application with all commands; the one that is chosen stores its work. To declare the options of all
// takes longer than the work on a small file.
struct Application {
  CLI::App app{
      "Reads, checks and reports hypergraphs: cells (vertices) and nets (hyperedges) with their pins.",
      "quillon"};
  std::function<int()> chosen;
  std::string topic;

  /// @param is_wanted  Whether the options of a command are declared, by its name.
  Application(std::span<const Command> commands, const std::function<bool(std::string_view)>& is_wanted) {
    app.set_version_flag("--version", "quillon " QUILLON_VERSION);
    app.footer(kExamples);
    app.require_subcommand(1);
    app.failure_message(usage_error);
    for (const Command& command : commands) {
      CLI::App* const added = app.add_subcommand(std::string(command.name), std::string(command.summary));
      if (is_wanted(command.name)) declare(command, added);
    }
    add_quiet(app);
    add_help_command();
  }

  [[nodiscard]] ProgramDescription description() {
    ProgramDescription program{QUILLON_VERSION, Options(app).descriptions(), {}};
    for (const auto& [command, options] : declared_)
      program.commands.push_back(
          {command->get_name(), command->get_description(), command->get_footer(), options.descriptions()});
    return program;
  }

 private:
  void declare(const Command& command, CLI::App* added) {
    Options& options = declared_.emplace_back(added, Options(*added)).second;
    const std::function<int()> work = command.declare(options);
    added->footer(command.notes);
    added->callback([this, work] { chosen = work; });
  }

  void add_help_command() {
    CLI::App* const help = app.add_subcommand("help", "Explain a command or a topic");
    Options& options = declared_.emplace_back(help, Options(*help)).second;
    options.text("TOPIC", "TOPIC", topic, "What to explain (default: list the topics)", ValueKind::kTopic);
    help->footer("");  // not that of the application
    help->callback([this] { chosen = [this] { return print_help(app, topic); }; });
  }

  std::vector<std::pair<const CLI::App*, Options>> declared_;
};

int run_chosen(Application& application) {
  try {
    const int status = application.chosen ? run_guarded(application.chosen) : kSuccess;
    flush_output();
    return status;
  } catch (const UsageError& error) {
    application.app.exit(CLI::ValidationError(error.what()));
    return kUsage;
  }
}

}  // namespace

ProgramDescription describe(std::span<const Command> commands) {
  return Application(commands, [](std::string_view) { return true; }).description();
}

int run_program(std::span<const Command> (*commands)(), int argc, char** argv) {
  hold_standard_streams();
  install_handlers();
  try {
    const std::span<char* const> words(argv, static_cast<std::size_t>(argc));
    Application application(commands(), [words](std::string_view name) {
      return std::any_of(words.begin(), words.end(), [name](const char* word) { return name == word; });
    });
    try {
      application.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      if (application.app.exit(error) != 0) return kUsage;
      application.chosen = nullptr;
    }
    return run_chosen(application);
  } catch (...) {
    print_current_exception();
    return kFinding;
  }
}

}  // namespace quillon::tool
