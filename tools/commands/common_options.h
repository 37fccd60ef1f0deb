#pragma once
// Options that several commands share, and what follows from them.

#include <cstdint>
#include <string>
#include <vector>

#include "formats/formats.h"
#include "formats/sink.h"
#include "tools/cli/options.h"

namespace quillon::tool {

/// How a command reads hypergraphs.
struct InputOptions {
  const formats::Format* from = nullptr;  // --from; null: by suffix or content
  formats::Model model = formats::Model::kDefault;
  bool add_diagonal = false;
  formats::Pairs pairs = formats::Pairs::kNone;
  bool strict = false;
  int threads = 0;  // that read; 0: the default of the formats library

  // Set by commands.
  bool keep_small_nets = true;
  bool cell_side = true;             // the command uses the cell side of the record
  bool model_is_for_output = false;  // of an output format, so the input need not have it
  bool keeps_names = false;          // names are used, so they are not lost
};

/// How a command writes hypergraphs.
struct OutputOptions {
  const formats::Format* to = nullptr;  // --to; null: by suffix, or else our own

  // Set by commands.
  formats::WriteOptions write;
  bool strict = false;  // of the input
  bool plain = false;   // without comments, and with a newline after the last line, where the format has both
};

/// Why a model means nothing to either format; empty if it does, or is the default.
///
/// @param to  Null if nothing is written.
std::string model_error(formats::Model model, const formats::Format& from, const formats::Format* to);

void add_hypergraph(Options& options, const char* name, std::string& file);
void add_hypergraphs(Options& options, std::vector<std::string>& files);

/// Declares --from, --model, --diagonal, --pairs, --threads and --strict.
void add_input(Options& options, InputOptions& input);

/// The parts of `add_input`, for commands with an order or a --strict of their own: --from and --threads;
/// --model, --diagonal and --pairs.
void add_from(Options& options, InputOptions& input);
void add_model(Options& options, InputOptions& input);

/// The options of its format.
formats::ReadOptions read_options(const InputOptions& input);

/// Reads a file, and warns of what is odd about it or lost.
///
/// @throws formats::BadFile  as `formats::load` does.
/// @par Errors               Something lost is fatal under --strict.
formats::Loaded load_input(formats::Record& record, const std::string& file, const InputOptions& input);

/// Declares --to.
void add_output(Options& options, OutputOptions& output);

/// Completes the options from those of the input: before it is read, so that a usage error comes first.
///
/// @param files        The hypergraphs to write; empty names are ignored.
/// @throws UsageError  as `output_format` does.
void prepare_output(OutputOptions& output, InputOptions& input, const std::vector<std::string>& files);

/// The weights of an output file: those that an input file of our own format has, and of others those that
/// are not all 1.
int written_weights(const Hypergraph& h, const formats::Loaded& loaded);

/// The format that a file is written in.
///
/// @throws UsageError  if it cannot be written, or not with these options.
const formats::Format& output_format(const std::string& file, const OutputOptions& output);

/// Warns of what the file will not hold, and writes it.
///
/// @throws UsageError  as `output_format` does.
/// @par Errors         Something lost, or unwelcome to readers, is fatal under --strict.
void write_output(formats::Outputs& outputs, const std::string& file, const Hypergraph& h,
                  const OutputOptions& output);

/// Declares --force, for commands that write files: `formats::Outputs(force())`.
void add_force(Options& options);

Option add_json(Options& options, bool& json);

/// Nets of one pin or none are then folded by default.
void add_keep_small_nets(Options& options, InputOptions& input);

/// Of a random order that is made only if `random` is given.
void add_seed(Options& options, std::uint64_t& seed, const Option& random);

}  // namespace quillon::tool
