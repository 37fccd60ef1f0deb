#include "formats/cnf.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>
#include <vector>

#include "formats/audit.h"
#include "formats/line_errors.h"
#include "formats/notes.h"
#include "formats/ranges.h"

namespace quillon::formats {
namespace {

struct Header {
  int nvariables = 0;
  int nclauses = 0;
  std::size_t nvariables_offset = 0;  // in the file
};

Range literal_range(int nvariables) {
  const std::string last = std::to_string(nvariables);
  return {-nvariables, nvariables,
          nvariables == 0 ? "the 0 that ends the clause, as there are no variables"
                          : "a literal from -" + last + " to " + last + ", or the 0 that ends the clause",
          "cell-out-of-range"};
}

// Clauses are nets, in file order. Each literal of a clause is a pin, or each variable in the other models.
class Clauses {
 public:
  Clauses(NetLists& lists, const Header& header, bool by_literal)
      : lists_(lists), header_(header), by_literal_(by_literal), literals_(literal_range(header.nvariables)) {
    begin_nets(lists, header.nclauses);
    lists.ncells = by_literal ? 2 * header.nvariables : header.nvariables;
  }

  void add(const Scanner& in, const Token& token) {
    if (nclauses_ == header_.nclauses)
      unexpected(in, token, "trailing-text",
                 "nothing after the " + counted(header_.nclauses, "clause") + " of the header");
    const std::optional<int> literal = number_in(token, literals_);
    if (clause_.empty()) locate(in, {Item::kNet, nclauses_ + 1, Item::kLine}, token.offset);
    if (!literal) {
      refuse_number(in, token, literals_);
      note_damage(in, nclauses_ + 1);
    } else if (*literal != 0) {
      locate(in, {Item::kNet, nclauses_ + 1, Item::kFirstPin + std::ssize(clause_)}, token.offset);
      clause_.push_back(*literal);
      offsets_.push_back(token.offset);
    } else {
      end_clause(in);
    }
  }

  // `token` is what stands after the last clause.
  void expect_complete(const Scanner& in, const Token& token) const {
    const std::string clause = of_all("clause", nclauses_ + 1, header_.nclauses);
    if (!clause_.empty()) unexpected(in, token, "missing-zero", "the 0 that ends " + clause);
    if (nclauses_ < header_.nclauses) unexpected(in, token, "missing-line", clause);
  }

  void note_repetitions() {
    note(lists_.remarks, nrepeated_, "repetition", " of a literal in its clause dropped");
    note(lists_.remarks, nopposed_, "pair", " of a variable and its negation in one clause, read as one pin");
  }

 private:
  void end_clause(const Scanner& in) {
    if (has_repeated_variables()) drop_repeated(in);
    for (const int literal : clause_)
      lists_.nadj.push_back(by_literal_ ? 2 * std::abs(literal) - (literal > 0 ? 1 : 0) : std::abs(literal));
    end_net(lists_);
    clause_.clear();
    offsets_.clear();
    ++nclauses_;
  }

  bool has_repeated_variables() {
    variables_.clear();
    for (const int literal : clause_) variables_.push_back(std::abs(literal));
    std::sort(variables_.begin(), variables_.end());
    return std::adjacent_find(variables_.begin(), variables_.end()) != variables_.end();
  }

  // Keeps the first of literals, or of variables, that are given more than once.
  void drop_repeated(const Scanner& in) {
    std::set<int> seen;
    std::size_t kept = 0;
    for (std::size_t k = 0; k < clause_.size(); ++k) {
      const int literal = clause_[k];
      const bool is_repeated = !seen.insert(literal).second;
      const bool is_opposed = !is_repeated && !by_literal_ && seen.contains(-literal);
      nrepeated_ += is_repeated ? 1 : 0;
      nopposed_ += is_opposed ? 1 : 0;
      if (is_repeated) note_repetition(in, k, "duplicate-pin", " stands in its clause before");
      if (is_opposed) note_repetition(in, k, "opposed-literals", " and its negation stand in one clause");
      if (!is_repeated && !is_opposed) clause_[kept++] = literal;
    }
    clause_.resize(kept);
  }

  void note_repetition(const Scanner& in, std::size_t k, const char* rule, const char* what) const {
    note_oddity_at(in, offsets_[k], rule, [&] { return "literal " + std::to_string(clause_[k]) + what; });
  }

  NetLists& lists_;
  const Header header_;
  const bool by_literal_;
  const Range literals_;
  int nclauses_ = 0;
  std::vector<int> clause_;           // the literals of the clause that has not ended yet
  std::vector<std::size_t> offsets_;  // of these literals
  std::vector<int> variables_;        // scratch
  std::int64_t nrepeated_ = 0;
  std::int64_t nopposed_ = 0;
};

// The first word of the next line that is neither blank nor a comment; empty at the end of the text.
Token begin_line(Scanner& in) {
  Token token = next_token(in);
  while (token.text.starts_with('c')) {
    note_comment(in, token.offset);
    skip_line(in);
    token = next_token(in);
  }
  return token;
}

Header read_header(Scanner& in) {
  const Token p = begin_line(in);
  if (p.text != "p")
    unexpected(in, p, p.text.empty() ? "header-missing" : "bad-banner", "a line p cnf VARIABLES CLAUSES");
  note_header(in, p.offset);
  if (const Token kind = next_on_line(in); kind.text != "cnf")
    unexpected(in, kind, "bad-banner", "cnf",
               kind.text == "wcnf" ? "weighted formulas are not read here" : "");
  Header header;
  const Token nvariables = next_on_line(in);
  header.nvariables = as_number(in, nvariables, count_range("the number of variables"));
  header.nvariables_offset = nvariables.offset;
  header.nclauses = as_number(in, next_on_line(in), count_range("the number of clauses"));
  expect_line_end(in, "the number of clauses");
  return header;
}

// A line that begins with "%" ends the data.
void read_clauses(Scanner& in, Clauses& clauses) {
  Token token = begin_line(in);
  while (!token.text.empty() && !token.text.starts_with('%')) {
    for (; !token.text.empty(); token = next_on_line(in)) clauses.add(in, token);
    token = begin_line(in);
  }
  clauses.expect_complete(in, token);
}

// Cells become nets and nets cells. The cells of each new net ascend.
void transpose(NetLists& lists) {
  std::vector<Pin> pins;
  pins.reserve(lists.nadj.size());
  for (int j = 1; j <= lists.nnets; ++j) {
    const auto at = static_cast<std::size_t>(j);
    for (int k = lists.xnadj[at]; k < lists.xnadj[at + 1]; ++k)
      pins.push_back({lists.nadj[static_cast<std::size_t>(k)], j});
  }
  std::swap(lists.ncells, lists.nnets);
  group_by_net(lists, pins);
}

}  // namespace

void read_cnf(Scanner& in, NetLists& lists, const ReadOptions& options) {
  const Header header = read_header(in);
  const bool by_literal = options.model == Model::kLiteral;
  if (by_literal && header.nvariables > kMostItems / 2)
    bad_text(in, header.nvariables_offset, "bad-count",
             "found " + std::to_string(header.nvariables) + " variables, expected at most " +
                 std::to_string(kMostItems / 2) + " for the literal model");
  Clauses clauses(lists, header, by_literal);
  read_clauses(in, clauses);
  clauses.note_repetitions();
  if (options.model != Model::kDual) return;
  if (!lists.avoids(lists.ncells, lists.nadj.size())) return transpose(lists);
  note_oddity(in, {}, "mostly-empty",
              "the header announces " + counted(header.nvariables, "variable") + " for " +
                  counted(static_cast<std::int64_t>(lists.nadj.size()), "literal"));
  std::swap(lists.ncells, lists.nnets);
  lists.xnadj.clear();
  lists.nadj.clear();
}

std::string refusal_of_cnf(const WriteOptions& /*options*/) {
  return "SAT formulas are only read: a hypergraph has no signs of literals";
}

}  // namespace quillon::formats
