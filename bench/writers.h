#pragma once
// The writers of the module with the same arguments.

#include "hypergraph/hypergraph.h"

namespace quillon::bench {

inline void write_text_format(const Hypergraph* h, const char* filename) {
  write_hypergraph(h, filename, 1, h->_fmt);
}
inline void write_hmetis(const Hypergraph* h, const char* filename) { write_hmetis_hypergraph(h, filename); }
inline void write_kub(const Hypergraph* h, const char* filename) { write_kub_hypergraph(h, filename); }

}  // namespace quillon::bench
