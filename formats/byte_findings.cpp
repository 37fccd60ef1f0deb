#include "formats/byte_findings.h"

#include "formats/notes.h"

namespace quillon::formats {
namespace {

Finding finding_at(const TextTraits& text, const char* rule, const Place& place, const std::string& message,
                   const std::string& hint = {}) {
  return {rule, Severity::kNote, text.file, place.line, place.column, message, hint};
}

void add_line_end_findings(const ByteAudit& bytes, const TextTraits& text, FindingStore& store) {
  const bool is_mixed = bytes.crlf.count > 0 && bytes.lf.count > 0;
  const Occurrences& rare = bytes.crlf.count < bytes.lf.count ? bytes.crlf : bytes.lf;
  const std::string with_crlf = counted(bytes.crlf.count, "line") + " with CR LF at the end";
  if (is_mixed)
    store.add(finding_at(
        text, "mixed-line-ends", rare.first,
        with_crlf + ", " + std::to_string(bytes.lf.count) + " with LF; here the rarer kind begins"));
  else if (bytes.crlf.count > 0)
    store.add(finding_at(text, "crlf", bytes.crlf.first, with_crlf), bytes.crlf.count);
  const bool is_cut_off = store.count_of("bad-compression") + store.count_of("cannot-read") > 0;
  if (bytes.is_empty() || bytes.ends_with_newline() || is_cut_off || text.needs_no_newline) return;
  const char* const message = "no newline after the last line";
  if (text.may_lose_last_line)
    store.add(finding_at(text, "lost-last-line", bytes.end(), message,
                         "the readers of the library do not read this line"));
  else
    store.add(finding_at(text, "no-final-newline", bytes.end(), message));
}

}  // namespace

void add_byte_findings(const ByteAudit& bytes, const TextTraits& text, FindingStore& store) {
  if (text.has_mark)
    store.add(finding_at(text, "byte-order-mark", {1, 1}, "the file begins with a byte order mark"));
  for (const Place& place : bytes.nul) {
    store.drop_on_line("ignored-text", place.line);
    if (!store.add_hint_on_line(place.line, "the line has a byte of value 0"))
      store.add(finding_at(text, "nul-byte", place, "found a byte of value 0"));
  }
  add_line_end_findings(bytes, text, store);
}

}  // namespace quillon::formats
