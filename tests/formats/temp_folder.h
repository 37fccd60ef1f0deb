#pragma once
// A temporary folder, removed at the end of the test.

#include <stdlib.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillon::formats {

class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quillon-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder like " + name);
    path_ = name;
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  /// The path of a name in the folder.
  [[nodiscard]] std::string at(const std::string& name) const { return path_ / name; }

  /// Writes a file; returns its path.
  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(at(name), std::ios::binary) << text;
    return at(name);
  }

  [[nodiscard]] std::string contents(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(at(name), std::ios::binary).rdbuf();
    return text.str();
  }

  /// The names in the folder, sorted.
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      found.push_back(entry.path().filename().string());
    std::sort(found.begin(), found.end());
    return found;
  }

 private:
  std::filesystem::path path_;
};

/// A text as zstd data with a checksum.
inline std::string zstd_packed(const std::string& text) {
  const std::unique_ptr<ZSTD_CCtx, std::size_t (*)(ZSTD_CCtx*)> context(ZSTD_createCCtx(), ZSTD_freeCCtx);
  ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, 1);
  std::string packed(ZSTD_compressBound(text.size()), '\0');
  packed.resize(ZSTD_compress2(context.get(), packed.data(), packed.size(), text.data(), text.size()));
  return packed;
}

/// A text as gzip data.
inline std::string gzipped(const std::string& text) {
  const TempFolder folder;
  const gzFile file = gzopen(folder.at("data.gz").c_str(), "w");
  if (file == nullptr) throw std::runtime_error("cannot compress");
  gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
  gzclose(file);
  return folder.contents("data.gz");
}

}  // namespace quillon::formats
