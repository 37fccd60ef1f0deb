#pragma once
// From the record to a file, one function a format. A write that fails ends the program.

#include <string>
#include <vector>

#include "formats/readers.h"
#include "hypergraph/hypergraph.h"

namespace quillon::tool {

/// Identifiers as JSON texts, by cell and by net; empty where the numbers serve.
struct Labels {
  std::vector<std::string> cells;
  std::vector<std::string> nets;
};

/// The kub format through the module, which does not look whether the file arrived: here that is seen to.
void export_kub(const Hypergraph* h, const char* filename);

/// A pattern in which a cell of a net stands once. Not for fine-grain models.
void export_matrix_market(const Hypergraph* h, Model model, const char* filename);

void export_hif(const Hypergraph* h, const Labels& labels, const char* filename);

void write_labels(const Labels& labels, const char* filename);

/// Reads what `write_labels` wrote; ends the program when it does not fit the hypergraph.
Labels read_labels(const std::string& filename, int ncells, int nnets);

}  // namespace quillon::tool
