#pragma once
// Broken files for tests of readers: sound and broken texts, cut and with bytes replaced, from a seed.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// The texts of all files of a folder with this suffix (".qhg"), by file name.
inline std::vector<std::string> texts_in(const std::filesystem::path& folder, std::string_view suffix) {
  std::vector<std::filesystem::path> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().extension() == suffix) names.push_back(entry.path());
  std::sort(names.begin(), names.end());

  std::vector<std::string> texts;
  for (const std::filesystem::path& name : names) {
    std::ifstream stream(name, std::ios::binary);
    texts.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return texts;
}

/// An endless sequence of texts, each made from a random original by one to four changes. The same originals
/// and seed give the same sequence everywhere.
class BrokenTexts {
 public:
  /// @param originals  At least one.
  BrokenTexts(std::vector<std::string> originals, unsigned seed)
      : originals_(std::move(originals)), random_(seed) {}

  std::string next() {
    std::string text = originals_[below(originals_.size())];
    for (std::size_t nchanges = 1 + below(4); nchanges > 0; --nchanges) change(text);
    return text;
  }

 private:
  // No distribution of the standard library, whose numbers differ from one to another.
  std::size_t below(std::size_t bound) { return random_() % std::max<std::size_t>(bound, 1); }

  void change(std::string& text) {
    constexpr std::string_view kBytes = "0123456789 \n\t\r-+%.,:ex\"{}\0\xff";
    const std::size_t at = below(text.size());
    switch (below(8)) {
      case 0:
        text.resize(at);
        break;
      case 1:
        text.erase(at, 1 + below(8));
        break;
      case 2:
        text.insert(at, text.substr(at, 1 + below(20)));
        break;
      case 3:
        text.insert(at, 1, kBytes[below(kBytes.size())]);
        break;
      case 4:
        if (!text.empty()) text[at] = static_cast<char>(below(256));
        break;
      default:
        if (!text.empty()) text[at] = kBytes[below(kBytes.size())];
    }
  }

  std::vector<std::string> originals_;
  std::mt19937 random_;
};

}  // namespace quillon
