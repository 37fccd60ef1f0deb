#include "formats/labels.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "formats/findings.h"
#include "formats/json_name.h"
#include "formats/line_errors.h"
#include "formats/names.h"
#include "formats/number_set.h"
#include "formats/part_readers.h"
#include "formats/scanner.h"
#include "formats/text_writer.h"

namespace quillon::formats {
namespace {

// The rest of the line, with the blanks inside.
Token read_rest(Scanner& in) {
  Token first = next_on_line(in);
  std::size_t end = in.text.find('\n', first.offset);
  if (end == std::string::npos) end = in.text.size();
  while (end > first.offset && (in.text[end - 1] == ' ' || in.text[end - 1] == '\r')) --end;
  first.text = std::string_view(in.text).substr(first.offset, end - first.offset);
  return first;
}

// Of all cells, or of all nets.
struct Named {
  std::string kind;
  int count;
  std::vector<std::string>* by_number;  // null if the names are not wanted
  NumberSet numbers = {};
  Names used = {};
};

// The number of an item. None if it is wrong.
std::optional<int> read_number(const Scanner& in, const Token& token, const Named& names) {
  return number_or_refuse(in, token, {1, names.count, {}, "bad-number"}, [&] {
    return names.count == 0 ? "no " + names.kind + ", as there are none"
                            : "the number of a " + names.kind + ", from 1 to " + std::to_string(names.count);
  });
}

// Returns whether there was no error.
bool read_label(Scanner& in, Named& names) {
  const Token token = next_on_line(in);
  const std::optional<int> number = read_number(in, token, names);
  if (!number) return false;
  if (names.numbers.contains(*number))
    return refuse(in, token, "repeated-number", [&] { return "a " + names.kind + " not named before"; });
  const Token rest = read_rest(in);
  std::optional<std::string> text = json_name(rest.text);
  if (!text)
    return refuse(in, rest, "bad-name", [] { return "a name: a string in double quotes, or an integer"; });
  names.numbers.add(*number);
  const int nused = names.used.size();
  if (names.used.number_of(*text) <= nused)
    return refuse(in, rest, "repeated-name", [&] { return "a name that no other " + names.kind + " has"; });
  if (names.by_number != nullptr) (*names.by_number)[static_cast<std::size_t>(*number)] = std::move(*text);
  skip_line(in);
  return true;
}

void check_complete(const Scanner& in, const Named& names) {
  std::int64_t nmissing = names.count - static_cast<std::int64_t>(names.numbers.size());
  for (int k = 1; nmissing > 0; ++k) {
    if (names.numbers.contains(k)) continue;
    --nmissing;
    if (!wants_text(in, "missing-name")) return in.audit->count("missing-name", nmissing);
    const Place place = place_of(in, in.at);
    report(in,
           {"missing-name", Severity::kError, in.name, place.line, place.column,
            "found the end of the file, expected the name of " + names.kind + " " + std::to_string(k), ""});
  }
}

}  // namespace

Labels read_labels(const std::string& filename, int ncells, int nnets) {
  Scanner in = open_scanner(filename);
  return read_labels(in, ncells, nnets);
}

Labels read_labels(Scanner& in, int ncells, int nnets) {
  Labels labels;
  const bool are_wanted = in.audit == nullptr;
  if (are_wanted) {
    labels.cells.resize(static_cast<std::size_t>(ncells) + 1);
    labels.nets.resize(static_cast<std::size_t>(nnets) + 1);
  }
  Named cells{"cell", ncells, are_wanted ? &labels.cells : nullptr};
  Named nets{"net", nnets, are_wanted ? &labels.nets : nullptr};
  for (Token kind = next_token(in); !kind.text.empty(); kind = next_token(in)) {
    read_line(in, [&] {
      if (kind.text != "cell" && kind.text != "net")
        return refuse(in, kind, "bad-keyword", [] { return "cell or net"; });
      return read_label(in, kind.text == "cell" ? cells : nets);
    });
  }
  check_complete(in, cells);
  check_complete(in, nets);
  finish(in);
  return labels;
}

void write_labels(const Labels& labels, const char* filename) {
  TextWriter out(filename, "quillon convert: labels");
  const auto write_names = [&out](const char* kind, const std::vector<std::string>& names) {
    for (std::size_t k = 1; k < names.size(); ++k) {
      out.text(kind);
      out.number(static_cast<std::int64_t>(k));
      out.character(' ');
      out.text(names[k]);
      out.character('\n');
    }
  };
  write_names("cell ", labels.cells);
  write_names("net ", labels.nets);
  out.close();
}

}  // namespace quillon::formats
