#include "formats/lines.h"

#include <cstring>

#include "formats/audit.h"
#include "formats/stream.h"
#include "hypergraph/detail/scan.h"

namespace quillon::formats {
namespace {

// Notes that lines of a run of odd ones have been consumed: those before `in.at`.
void pass_odd_lines(const Scanner& in, Scanner::Stream& stream, int count) {
  const Run& run = stream.block->runs[stream.run];
  const int* const odd = stream.block->odd_words.data() + run.odd;
  while (stream.odd < run.nodd && static_cast<std::size_t>(odd[stream.odd]) < in.at) ++stream.odd;
  stream.line += count;
  stream.at = in.at;
}

// Moves to the run that begins here, or within one of odd lines. Returns false if there is none: the reader
// is within a run of plain lines that it reads by words, or between runs.
bool find_run(const Scanner& in, Scanner::Stream& stream) {
  const std::vector<Run>& runs = stream.block->runs;
  while (stream.run < runs.size() && stream.at < in.at) {
    const Run& run = runs[stream.run];
    if (!run.is_odd() || run.end <= in.at) {
      stream.enter_run(stream.run + 1);
      continue;
    }
    const std::string_view passed = in.text.substr(stream.at, in.at - stream.at);
    pass_odd_lines(in, stream, static_cast<int>(count_line_ends(passed)));
  }
  return stream.run < runs.size() && stream.at == in.at;
}

// The rest of the run that begins here.
NumberLines lines_of_run(const Block& block, const Scanner::Stream& stream) {
  const Run& run = block.runs[stream.run];
  NumberLines lines;
  lines.all = block.numbers.data();
  lines.numbers = lines.all + run.number;
  lines.nnumbers = run.nnumbers;
  if (run.nlines == 0) return lines;
  lines.starts = block.starts.data() + run.line + stream.line;
  lines.count = run.nlines - stream.line;
  lines.numbers = lines.line(0);
  lines.nnumbers = lines.before(lines.count);
  if (run.is_odd()) lines.odd = block.odd_words.data() + run.odd + stream.odd;
  return lines;
}

// The lines of the run that begins here, if they are of this kind.
NumberLines find_lines(Scanner& in, bool are_odd) {
  if (in.stream == nullptr || at_end(in) || !find_run(in, *in.stream)) return {};
  const Scanner::Stream& stream = *in.stream;
  return stream.block->runs[stream.run].is_odd() == are_odd ? lines_of_run(*stream.block, stream)
                                                            : NumberLines{};
}

// Notes that words of the run have been consumed: those before `in.at`.
void pass_words(const Scanner& in, Scanner::Stream& stream, std::size_t count) {
  const Run& run = stream.block->runs[stream.run];
  const int* const odd = stream.block->odd_words.data() + run.odd;
  while (stream.odd < run.nodd && static_cast<std::size_t>(odd[stream.odd]) < in.at) ++stream.odd;
  stream.word += static_cast<int>(count);
  stream.at = in.at;
}

// Number of words of a text that does not begin or end within one.
std::size_t words_in(std::string_view text) {
  std::size_t count = 0;
  bool is_after_space = true;
  for (const char c : text) {
    count += is_after_space && !is_space(c) ? 1 : 0;
    is_after_space = is_space(c);
  }
  return count;
}

// The end of the last of so many words.
std::size_t end_of_words(std::string_view text, std::size_t at, std::size_t count) {
  for (std::size_t k = 0; k < count; ++k) {
    while (is_space(text[at])) ++at;
    while (at < text.size() && !is_space(text[at])) ++at;
  }
  return at;
}

}  // namespace

void begin_lines(Scanner& in, const LineShape& shape) {
  const bool by_words = in.audit != nullptr && in.audit->is_locating();
  if (in.stream == nullptr || by_words || at_end(in)) return;
  Scanner::Stream& stream = *in.stream;
  stream.enter(stream.queue.start(shape, in.at));
}

NumberLines number_lines(Scanner& in) { return find_lines(in, false); }

NumberLines odd_lines(Scanner& in) { return find_lines(in, true); }

void skip_lines(Scanner& in, int count) {
  Scanner::Stream& stream = *in.stream;
  const Run& run = stream.block->runs[stream.run];
  if (stream.line + count == run.nlines) {
    skip_all_lines(in);
    return;
  }
  for (int k = 0; k < count; ++k) in.at = in.text.find('\n', in.at) + 1;
  if (run.is_odd()) {
    pass_odd_lines(in, stream, count);
  } else {
    stream.line += count;
    stream.at = in.at;
  }
}

void skip_all_lines(Scanner& in) {
  Scanner::Stream& stream = *in.stream;
  in.at = stream.block->runs[stream.run].end;
  stream.enter_run(stream.run + 1);
}

WordList words_here(Scanner& in) {
  if (in.stream == nullptr || at_end(in)) return {};
  Scanner::Stream& stream = *in.stream;
  const std::vector<Run>& runs = stream.block->runs;
  while (stream.run < runs.size() && runs[stream.run].end <= in.at) stream.enter_run(stream.run + 1);
  if (stream.run == runs.size() || stream.at > in.at) return {};
  if (stream.at < in.at) pass_words(in, stream, words_in(in.text.substr(stream.at, in.at - stream.at)));
  const Run& run = runs[stream.run];
  return {{stream.block->numbers.data() + run.number + stream.word,
           static_cast<std::size_t>(run.nnumbers - stream.word)},
          stream.block->odd_words.data() + run.odd + stream.odd};
}

void skip_words(Scanner& in, const WordList& words, std::size_t count) {
  if (count == words.numbers.size()) {
    skip_all_lines(in);
    return;
  }
  in.at = end_of_words(in.text, in.at, count);
  pass_words(in, *in.stream, count);
}

}  // namespace quillon::formats
