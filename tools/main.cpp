#include "tools/cli/program.h"
#include "tools/commands/commands.h"

int main(int argc, char** argv) {
  return quillon::tool::run_program(quillon::tool::all_commands, argc, argv);
}
