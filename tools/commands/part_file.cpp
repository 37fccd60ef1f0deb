#include "tools/commands/part_file.h"

#include <limits>
#include <optional>

#include "formats/scanner.h"

namespace quillon::tool {

std::vector<int> read_parts(const std::string& file, int ncells, int nparts) {
  Tokenizer in = open_tokenizer(file);
  const bool is_bounded = nparts < std::numeric_limits<int>::max();
  const int last = nparts == 0 ? ncells - 1 : is_bounded ? nparts - 1 : nparts;
  const std::string range =
      is_bounded ? ", from 0 to " + std::to_string(last) + ", of cell " : ", from 0, of cell ";
  std::vector<int> parts{0};
  for (int i = 1; i <= ncells; ++i) {
    const Token token = next_token(in);
    const std::optional<int> part = number_in(token, {0, last, {}});
    if (!part) {
      const bool is_large = nparts == 0 && number_in(token, {0, std::numeric_limits<int>::max(), {}});
      unexpected(in, token, "the part number" + range + std::to_string(i),
                 is_large ? "if there are more parts than cells, say it with -k" : "");
    }
    parts.push_back(*part);
  }
  expect_end(in, "the parts of " + std::to_string(ncells) + " cells");
  return parts;
}

}  // namespace quillon::tool
