#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>

#include "tools/commands.h"
#include "tools/isolate.h"

namespace quillon::tool {
namespace {

constexpr const char* kExamples = R"(
Examples:
  quillon stats circuit.qhg                      a report with distributions
  quillon stats --table --header *.qhg           one line a file, for a spreadsheet
  quillon check circuit.qhg                      is the file sound, is it symmetric
  quillon dump circuit.qhg --net 7               the cells of net 7

Status: 0 fine, 1 a finding or bad input, 2 wrong usage.
See quillon COMMAND --help for each command.)";

std::string usage_error(const CLI::App* app, const CLI::Error& error) {
  std::string command = app->get_name();
  for (const CLI::App* const used : app->get_subcommands()) command += " " + used->get_name();
  return "quillon: error: " + std::string(error.what()) + "\nTry '" + command + " --help'.\n";
}

// A stream that the caller closed must not become that of the next file opened. What takes its place fails,
// as it would have.
void hold_standard_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int run(int argc, char** argv) {
  hold_standard_streams();
  CLI::App app{
      "Reads, checks and reports hypergraphs: cells (vertices) and nets (hyperedges) with their pins.",
      "quillon"};
  app.set_version_flag("--version", "quillon " QUILLON_VERSION);
  app.footer(kExamples);
  app.require_subcommand(1);
  app.failure_message(usage_error);

  int status = kFine;
  add_stats(app, status);
  add_check(app, status);
  add_dump(app, status);
  add_prune(app, status);
  add_reorder(app, status);
  add_convert(app, status);
  add_partition_info(app, status);
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
    return quillon::tool::run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillon: error: %s\n", error.what());
    return quillon::tool::kFinding;
  }
}
