#include "fuzz/accounts.h"

#include <algorithm>
#include <new>

#include "fuzz/driver.h"
#include "tests/double/recorder.h"

namespace quillon::fuzz {

Ending run(const std::function<void()>& body) {
  try {
    body();
    return {true, ""};
  } catch (const recorder::Misuse& error) {
    found(error.what());
  } catch (const recorder::FatalError& error) {
    return {false, error.what()};
  } catch (const std::bad_alloc&) {
    return {false, "out of memory: operator new"};
  }
}

bool lacked_memory(const Ending& ending) {
  return ending.fatal.starts_with("out of memory: ") || ending.fatal.starts_with("pool is full: ");
}

bool run_soundly(const std::function<void()>& body) {
  const Ending ending = run(body);
  if (!ending.returned && !lacked_memory(ending)) found("unexpected error: " + ending.fatal);
  return ending.returned;
}

void expect_reader_error(const std::string& fatal) {
  static const char* const kErrors[] = {
      "out of memory: read_hypergraph",
      "read_hypergraph : cannot read numbering, #cells, #nets, #pins.",
      "read_hypergraph : invalid fmt parameter [",
      "read_hypergraph : invalid numbering parameter [",
      "read_hypergraph : negative number of ",
      "read_hypergraph : too many ",
      "read_hypergraph: Buffer for fgets not big enough",
      "read_hypergraph: Something wrong with the pins from input file ",
      "read_hypergraph: no newline at the end of line '",
      "read_hypergraph_netar: Buffer for fgets not big enough.",
      "read_hypergraph_netar: Something wrong with the pins from input file ",
      "invalid vertex/cell id ",
      "file contains a net with weight "};
  const bool known = std::any_of(std::begin(kErrors), std::end(kErrors),
                                 [&fatal](const char* error) { return fatal.starts_with(error); });
  if (!known) found("an error that no text causes: " + fatal);
}

void expect_nothing_held() {
  for (const std::string& tag : recorder::held()) found("not given back: " + tag);
}

void expect_files_closed() {
  const auto nopened = recorder::requests({"ufopen"}).size();
  const auto nclosed = recorder::requests({"ufclose"}).size();
  expect(nopened == nclosed, "files opened and not closed");
}

}  // namespace quillon::fuzz
