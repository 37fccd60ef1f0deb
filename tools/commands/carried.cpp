#include "tools/commands/carried.h"

#include <limits>
#include <string_view>

#include "formats/labels.h"
#include "formats/part_vector.h"
#include "formats/source.h"
#include "tools/cli/run.h"

namespace quillon::tool {
namespace {

Carried carried_of(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == text.size())
    throw UsageError("--carry: '" + text + "' is not FILE:OUT");
  return {text.substr(0, colon), text.substr(colon + 1)};
}

// Files of labels begin with a word.
bool has_labels(const std::string& file) {
  formats::Source source(file);
  const std::string_view begin = source.peek(1);
  return begin == "c" || begin == "n";
}

}  // namespace

void add_carry(Options& options, std::vector<std::string>& carry) {
  options.texts("--carry", "FILE:OUT", carry,
                "Renumber the partition or labels in FILE too, and write them to OUT");
}

void add_maps(Options& options, MapFiles& files) {
  options.file("--cell-map", "FILE", files.cells, ValueKind::kFile,
               "Write the old number of each new cell to FILE");
  options.file("--net-map", "FILE", files.nets, ValueKind::kFile,
               "Write the old number of each new net to FILE");
}

std::vector<Carried> carried_files(const std::vector<std::string>& carry) {
  std::vector<Carried> carried;
  carried.reserve(carry.size());
  for (const std::string& text : carry) carried.push_back(carried_of(text));
  return carried;
}

void refuse_outputs_beside(const std::string& in, const std::string& out, std::vector<std::string> inputs,
                           std::vector<std::string> outputs, const std::vector<Carried>& carried) {
  for (const Carried& file : carried) inputs.push_back(file.file);
  formats::refuse_to_replace(inputs, out);
  for (const std::string& file : outputs) formats::refuse_to_replace({in}, file);
  inputs.push_back(in);
  for (const Carried& file : carried) formats::refuse_to_replace(inputs, file.out);
  outputs.insert(outputs.begin(), out);
  for (const Carried& file : carried) outputs.push_back(file.out);
  formats::refuse_named_twice(outputs);
}

void carry(formats::Outputs& outputs, const std::vector<Carried>& carried, const OldNumbers& numbers,
           int ncells, int nnets) {
  for (const Carried& file : carried) {
    if (has_labels(file.file)) {
      const formats::Labels labels = renumbered(formats::read_labels(file.file, ncells, nnets), numbers);
      outputs.write(file.out, [&](const char* filename) { formats::write_labels(labels, filename); });
      continue;
    }
    const std::vector<int> parts =
        renumbered(formats::read_parts(file.file, ncells, std::numeric_limits<int>::max()), numbers.cells);
    outputs.write(file.out, [&](const char* filename) { formats::write_parts_by_line(parts, filename); });
  }
}

void write_numbers(formats::Outputs& outputs, const std::string& file, const std::vector<int>& numbers) {
  if (!file.empty())
    outputs.write(file, [&](const char* filename) { formats::write_permutation(numbers, filename); });
}

void write_maps(formats::Outputs& outputs, const MapFiles& files, const OldNumbers& numbers) {
  write_numbers(outputs, files.cells, numbers.cells);
  write_numbers(outputs, files.nets, numbers.nets);
}

}  // namespace quillon::tool
