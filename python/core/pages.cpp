#include "python/core/pages.h"

#include <memory>
#include <utility>

#include "formats/lint.h"
#include "python/core/build.h"
#include "python/core/call.h"
#include "python/core/integers.h"
#include "tools/report/html_report.h"
#include "tools/report/model.h"

namespace quillon::python {
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

std::vector<formats::Finding> lint(const LintRequest& request) {
  formats::LintOptions options;
  if (!request.format.empty()) options.format = &known_format(request.format);
  options.read.model = known_model(request.model);
  options.most_kept = request.most_kept;
  return call([&] { return formats::lint(request.file, options).findings; });
}

}  // namespace quillon::python
