#include "formats/lines.h"

#include <cstring>

#include "formats/audit.h"
#include "formats/stream.h"

namespace quillon::formats {
namespace {

// Moves to the run that begins here. Returns false if there is none: the reader is on an odd line, or within
// a run that it reads by words.
bool find_run(const Scanner& in, Scanner::Stream& stream) {
  const std::vector<Run>& runs = stream.block->runs;
  while (stream.run < runs.size() && stream.at < in.at) stream.enter_run(stream.run + 1);
  return stream.run < runs.size() && stream.at == in.at;
}

}  // namespace

void begin_lines(Scanner& in, const LineShape& shape) {
  const bool by_words = in.audit != nullptr && in.audit->is_locating();
  if (in.stream == nullptr || by_words || at_end(in)) return;
  Scanner::Stream& stream = *in.stream;
  stream.enter(stream.queue.start(shape, in.at));
}

NumberLines number_lines(Scanner& in) {
  if (in.stream == nullptr || at_end(in) || !find_run(in, *in.stream)) return {};
  const Block& block = *in.stream->block;
  const Run& run = block.runs[in.stream->run];
  NumberLines lines;
  lines.all = block.numbers.data();
  lines.numbers = lines.all + run.number;
  lines.nnumbers = run.nnumbers;
  if (run.nlines == 0) return lines;
  lines.starts = block.starts.data() + run.line + in.stream->line;
  lines.count = run.nlines - in.stream->line;
  lines.numbers = lines.line(0);
  lines.nnumbers = lines.before(lines.count);
  return lines;
}

void skip_lines(Scanner& in, int count) {
  Scanner::Stream& stream = *in.stream;
  const Run& run = stream.block->runs[stream.run];
  stream.line += count;
  if (stream.line == run.nlines) {
    skip_all_lines(in);
    return;
  }
  for (int k = 0; k < count; ++k) in.at = in.text.find('\n', in.at) + 1;
  stream.at = in.at;
}

void skip_all_lines(Scanner& in) {
  Scanner::Stream& stream = *in.stream;
  in.at = stream.block->runs[stream.run].end;
  stream.enter_run(stream.run + 1);
}

}  // namespace quillon::formats
