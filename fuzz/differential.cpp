// The readers against their twins: both end in the same way, with the same record, messages and requests, and
// leave the stream at the same position.

#include <iostream>

#include "fuzz/driver.h"
#include "tests/double/recorder.h"
#include "tests/support/reader_outcome.h"

namespace quillon::fuzz {
namespace {

void compare(const ReaderOutcome& seen, const ReaderOutcome& expected, const char* what) {
  if (seen == expected) return;
  std::cerr << what << ", the reader:";
  PrintTo(seen, &std::cerr);
  std::cerr << "the twin:";
  PrintTo(expected, &std::cerr);
  found("the readers differ");
}

void compare_readers(Source& source, const ReaderPair& readers, int check) {
  Stream stream = source.open_file();
  const ReaderOutcome expected = outcome_of(readers.oracle, stream.get(), check);
  expect(!expected.endless, "the reader waits forever although the text does not end in a comment");

  stream.reset();
  stream = source.open_file();
  compare(outcome_of(readers.module, stream.get(), check), expected, "file");

  stream.reset();
  stream = source.open_pipe();
  ReaderOutcome from_pipe = outcome_of(readers.module, stream.get(), check);
  from_pipe.position = expected.position;  // a pipe has none
  compare(from_pipe, expected, "pipe");
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  const std::string text = fuzz::expanded(data, size);
  if (ends_in_comment(text) || fuzz::announces_much(text)) return 0;
  fuzz::Source source(text);
  for (const ReaderPair& readers : {kStandardReader, kOnePinReader})
    for (const int check : {0, 1}) fuzz::compare_readers(source, readers, check);
  recorder::reset();
  return 0;
}
