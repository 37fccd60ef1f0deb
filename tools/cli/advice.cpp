#include "tools/cli/advice.h"

#include <utility>

#include "formats/hints.h"

namespace quillon::tool {
namespace {

constexpr formats::Advice kAdvice[] = {
    {formats::kMayBeMetis, " --from metis reads those"},
    {formats::kLikeMetis, "; --from metis reads it as one"},
    {formats::kNameTheFormat, " with --from"},
    {formats::kManyParts, " -k and --allow-empty-parts say so"},
    {formats::kPartsFrom1, " --parts-from 1 says so"},
};

}  // namespace

std::string advised(std::string_view text) { return formats::advised(text, kAdvice); }

formats::Finding advised(formats::Finding finding) {
  finding.message = advised(std::string_view(finding.message));
  finding.hint = advised(std::string_view(finding.hint));
  return finding;
}

}  // namespace quillon::tool
