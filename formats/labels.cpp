#include <nlohmann/json.hpp>
#include <unordered_set>

#include "formats/writers.h"

namespace quillon::tool {
namespace {

using nlohmann::json;

// The rest of the line, which may hold blanks.
Token read_rest(Tokenizer& in) {
  Token first = next_on_line(in);
  std::size_t end = in.text.find('\n', first.offset);
  if (end == std::string::npos) end = in.text.size();
  while (end > first.offset && (in.text[end - 1] == ' ' || in.text[end - 1] == '\r')) --end;
  first.text = std::string_view(in.text).substr(first.offset, end - first.offset);
  return first;
}

// As JSON writes it.
std::string as_name(const Tokenizer& in, const Token& token) {
  const json name = json::parse(token.text, nullptr, false);
  if (!name.is_string() && !name.is_number_integer())
    unexpected(in, token, "a name: a string in double quotes, or an integer");
  return name.dump();
}

struct Names {
  std::vector<std::string>& by_number;
  std::unordered_set<std::string> taken;
  std::string kind;
};

void read_label(Tokenizer& in, Names& names) {
  const int count = static_cast<int>(names.by_number.size()) - 1;
  const Token token = next_on_line(in);
  const int number =
      as_number(in, token,
                {1, count,
                 count == 0 ? "no " + names.kind + ", as there are none"
                            : "the number of a " + names.kind + ", from 1 to " + std::to_string(count)});
  std::string& name = names.by_number[static_cast<std::size_t>(number)];
  if (!name.empty()) unexpected(in, token, "a " + names.kind + " not named before");
  const Token rest = read_rest(in);
  name = as_name(in, rest);
  if (!names.taken.insert(name).second) unexpected(in, rest, "a name that no other " + names.kind + " has");
  skip_line(in);
}

void check_complete(const Tokenizer& in, const Names& names) {
  for (std::size_t k = 1; k < names.by_number.size(); ++k)
    if (names.by_number[k].empty())
      unexpected(in, {{}, in.at}, "the name of " + names.kind + " " + std::to_string(k));
}

}  // namespace

Labels read_labels(const std::string& filename, int ncells, int nnets) {
  Tokenizer in = open_tokenizer(filename);
  Labels labels{std::vector<std::string>(static_cast<std::size_t>(ncells) + 1),
                std::vector<std::string>(static_cast<std::size_t>(nnets) + 1)};
  Names cells{labels.cells, {}, "cell"};
  Names nets{labels.nets, {}, "net"};
  for (Token kind = next_token(in); !kind.text.empty(); kind = next_token(in)) {
    if (kind.text != "cell" && kind.text != "net") unexpected(in, kind, "cell or net");
    read_label(in, kind.text == "cell" ? cells : nets);
  }
  check_complete(in, cells);
  check_complete(in, nets);
  return labels;
}

}  // namespace quillon::tool
