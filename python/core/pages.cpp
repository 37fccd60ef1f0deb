#include "python/core/pages.h"

#include <memory>
#include <utility>

#include "formats/formats.h"
#include "formats/scanner.h"
#include "formats/source.h"
#include "python/core/call.h"
#include "python/core/integers.h"
#include "tools/report/html_report.h"
#include "tools/report/model.h"

namespace quillon::python {
namespace {

const formats::Format* format_of(const ReadRequest& request, const formats::Scanner& in) {
  if (!request.format.empty()) return &known_format(request.format);
  const formats::Format* const named = formats::format_of_file(request.file);
  return named != nullptr ? named : formats::format_of_text({in.text, true});
}

std::vector<formats::Finding> findings_of(const ReadRequest& request) {
  try {
    formats::Scanner in = formats::open_scanner(request.file);
    if (const formats::Format* const format = format_of(request, in))
      return formats::findings_in(in, *format, {known_model(request.model)});
    const std::string message =
        "cannot tell the format of '" + request.file + "'; name it by the argument format";
    return {{"unknown-format", formats::Severity::kError, request.file, 0, 0, message, ""}};
  } catch (const formats::BadFile& error) {
    return {error.finding()};
  }
}

}  // namespace

std::string html_page(Graph& graph, const std::string& title, const std::vector<ShownPartition>& partitions) {
  need_cell_side(graph);
  std::vector<Integers> arrays;
  for (const ShownPartition& shown : partitions) arrays.emplace_back(shown.parts);
  return call([&] {
    std::vector<tool::NamedPartition> named;
    for (std::size_t k = 0; k < arrays.size(); ++k) {
      const ShownPartition& shown = partitions[k];
      named.push_back({shown.heading,
                       {by_number(arrays[k], graph.h()._c, {"parts", 0, shown.nparts - 1}), shown.nparts}});
    }
    return tool::html_page(tool::page_model(title, graph.h(), named, graph.names));
  });
}

std::vector<formats::Finding> lint(const ReadRequest& request) {
  return call([&request] { return findings_of(request); });
}

}  // namespace quillon::python
