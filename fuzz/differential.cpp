// The readers beside the slow one that goes step by step: both end in the same way, with the same record,
// messages and requests, and leave the stream at the same place.

#include <iostream>

#include "fuzz/driver.h"
#include "tests/double/recorder.h"
#include "tests/support/slow_reader.h"

namespace quillon::fuzz {
namespace {

void compare(const slow::Outcome& seen, const slow::Outcome& expected, const char* what) {
  if (seen == expected) return;
  std::cerr << what << ", the reader:";
  slow::PrintTo(seen, &std::cerr);
  std::cerr << "the slow reader:";
  slow::PrintTo(expected, &std::cerr);
  found("the readers differ");
}

void compare_readers(Source& source, slow::Kind kind, int check) {
  slow::Stream stream = source.open_file();
  const slow::Outcome expected = slow::read(kind, stream.get(), check);
  expect(!expected.endless, "a text waits for ever that does not end in a comment");
  if (expected.huge) return;

  stream.reset();
  stream = source.open_file();
  compare(slow::read_with_module(kind, stream.get(), check), expected, "file");

  stream.reset();
  stream = source.open_pipe();
  slow::Outcome from_pipe = slow::read_with_module(kind, stream.get(), check);
  from_pipe.position = expected.position;  // which nobody can ask for
  compare(from_pipe, expected, "pipe");
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  using slow::Kind;
  const std::string text = fuzz::expanded(data, size);
  if (slow::ends_in_comment(text) || fuzz::announces_much(text)) return 0;
  fuzz::Source source(text);
  for (const Kind kind : {Kind::kStandard, Kind::kOnePin})
    for (const int check : {0, 1}) fuzz::compare_readers(source, kind, check);
  recorder::reset();
  return 0;
}
