#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "tools/cli/console.h"
#include "tools/cli/isolate.h"
#include "tools/cli/options.h"
#include "tools/cli/suggestions.h"
#include "tools/commands/commands.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kExamples = R"(
Examples:
  quillon stats circuit.qhg                      a report with distributions
  quillon stats --table --header *.qhg           one line a file, for a spreadsheet
  quillon check circuit.qhg                      is the file sound, is it symmetric
  quillon dump circuit.qhg --net 7               the cells of net 7
  quillon report circuit.qhg -o circuit.html     a page with pictures

Status: 0 fine, 1 a finding or bad input, 2 wrong usage.
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

// What is wrong with a word that nothing knows, which may be why something else is missing; none if all are
// known.
std::string unknown_word(const CLI::App& app) {
  const std::vector<CLI::App*> used = app.get_subcommands();
  for (const std::string& word : app.remaining(true)) {
    const std::string name = word.substr(0, word.find('='));
    if (name.size() > 1 && name.front() == '-') {
      const std::vector<std::string> known = option_names(used.empty() ? app : *used.front());
      if (std::find(known.begin(), known.end(), name) != known.end())
        return name + " goes behind the command";
      return std::string("The following argument was not expected: ")
          .append(word)
          .append(did_you_mean(name, known));
    }
    if (used.empty())
      return std::string("there is no command '")
          .append(word)
          .append("'")
          .append(did_you_mean(word, command_names(app)));
  }
  return "";
}

std::string usage_error(const CLI::App* app, const CLI::Error& error) {
  std::string command = app->get_name();
  for (const CLI::App* const used : app->get_subcommands()) command += " " + used->get_name();
  const std::string unknown = unknown_word(*app);
  return error_prefix() + (unknown.empty() ? std::string(error.what()) : unknown) + "\nTry '" + command +
         " --help'.\n";
}

void add_quiet(CLI::App& app) {
  constexpr const char* kHelp = "Show no progress";
  app.add_flag("-q,--quiet", quiet(), kHelp);
  for (CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
    const std::string name = command->get_name();
    if (name == "help") continue;
    command->add_flag(
        "-q,--quiet", quiet(),
        name == "check" ? "Show no progress and, but for --json, no line for a sound file" : kHelp);
  }
}

// A stream that the caller closed must not become that of the next file opened. What takes its place fails,
// as it would have.
void hold_standard_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// Where memory ends the program does, with a message, also where no exception may pass.
void prepare_for_limits() {
  std::set_new_handler([] { errexit("out of memory"); });
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow further is an error like a full disk
}

int run_program(int argc, char** argv) {
  hold_standard_streams();
  prepare_for_limits();
  CLI::App app{
      "Reads, checks and reports hypergraphs: cells (vertices) and nets (hyperedges) with their pins.",
      "quillon"};
  app.set_version_flag("--version", "quillon " QUILLON_VERSION);
  app.footer(kExamples);
  app.require_subcommand(1);
  app.failure_message(usage_error);

  int status = kFine;
  add_commands(app, status);
  add_quiet(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (app.exit(error) != 0) return kUsage;
  }
  flush_output();
  return status;
}

}  // namespace
}  // namespace quillon::tool

int main(int argc, char** argv) {
  try {
    return quillon::tool::run_program(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s%s\n", quillon::tool::error_prefix().c_str(), error.what());
    return quillon::tool::kFinding;
  }
}
