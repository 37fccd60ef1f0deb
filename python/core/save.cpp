#include "python/core/save.h"

#include <cstdio>
#include <stdexcept>

#include "formats/formats.h"
#include "formats/sink.h"
#include "python/core/build.h"
#include "python/core/call.h"
#include "util/util.h"

namespace quillon::python {
namespace {

const formats::Format& format_of(const WriteRequest& request) {
  if (!request.format.empty()) return known_format(request.format);
  const formats::Format* const format = formats::format_of_file(request.file);
  return format != nullptr ? *format : formats::own_format();
}

formats::WriteOptions options_of(const Graph& graph, const WriteRequest& request) {
  formats::WriteOptions options;
  options.numbering = request.numbering;
  options.weights = request.weights ? request.weights : graph.weights;
  options.model = known_model(request.model);
  options.labels = &graph.names;
  return options;
}

void warn_of_losses(const Hypergraph& h, const formats::Format& format, const formats::WriteOptions& options,
                    const std::string& file) {
  if (format.find_losses == nullptr) return;
  formats::Losses losses;
  format.find_losses(h, options, losses);
  for (const std::string& lost : losses.lost) uwarning("%s does not hold %s", file.c_str(), lost.c_str());
  for (const auto* const held : {&losses.refused, &losses.dropped})
    for (const std::string& what : *held) uwarning("%s holds %s", file.c_str(), what.c_str());
}

}  // namespace

void write(Graph& graph, const WriteRequest& request) {
  const formats::Format& format = format_of(request);
  const formats::WriteOptions options = options_of(graph, request);
  if (format.refusal != nullptr)
    if (const std::string refusal = format.refusal(options); !refusal.empty())
      throw std::invalid_argument(refusal);
  need_cell_side(graph);
  call([&] {
    warn_of_losses(graph.h(), format, options, formats::shown_target(request.file));
    formats::Outputs outputs(request.replace_protected);
    outputs.write(request.file, [&](const char* filename) { format.write(graph.h(), options, filename); });
    outputs.publish();
    return true;
  });
}

void write_page(const std::string& file, const std::string& page) {
  call([&] {
    formats::Outputs outputs;
    outputs.write(file, [&page](const char* filename) {
      std::FILE* const out = ufopen(filename, "w", "quillon: page");
      std::fwrite(page.data(), 1, page.size(), out);
      ufclose(out);
    });
    outputs.publish();
    return true;
  });
}

}  // namespace quillon::python
