// Each file in tests/files has a listing: the record or the message that a reader must give. The heading of a
// section in a listing, "[both]", "[standard]" or "[one-pin]", names the readers to which it applies; with
// ", checked" it applies only to runs with the check on. A line end inside a message is written as "\n".

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorder.h"
#include "tests/support/reader_outcome.h"

namespace quillon {
namespace {

using Path = std::filesystem::path;

const ReaderPair kReaders[] = {kStandardReader, kOnePinReader};

int read_named(const ReaderPair& reader, Hypergraph* h, const Path& file, int check) {
  const Stream stream(std::fopen(file.c_str(), "rb"));
  if (stream == nullptr) throw std::runtime_error("cannot open " + file.string());
  return reader.module(h, stream.get(), check);
}

std::vector<Path> files_in(const std::string& folder, const std::string& extension) {
  std::vector<Path> files;
  for (const auto& entry : std::filesystem::directory_iterator(Path(QUILLON_TEST_FILES) / folder))
    if (entry.path().extension() == extension) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::string escaped(const std::string& text) {
  std::string line;
  for (const char c : text) line += c == '\n' ? "\\n" : std::string(1, c);
  return line;
}

bool applies(const std::string& heading, const std::string& reader, int check) {
  const std::string suffix = ", checked]";
  if (heading.ends_with(suffix) && check == 0) return false;
  return heading.starts_with("[both") || heading.starts_with("[" + reader);
}

// The lines of all sections that apply to a run; "(no listing)" if there are none.
std::string expected(Path file, const std::string& extension, const std::string& reader, int check) {
  std::ifstream listing(file.replace_extension(extension));
  std::string lines;
  bool chosen = false;
  bool any = false;
  for (std::string line; std::getline(listing, line);) {
    if (line.starts_with('[')) {
      chosen = applies(line, reader, check);
      any = any || chosen;
    } else if (chosen) {
      lines += line + "\n";
    }
  }
  return any ? lines : "(no listing)";
}

std::string listing_of(const Hypergraph& h, int returned) {
  std::ostringstream out;
  out << "returns " << returned << "\n";
  out << "cells " << h._c << ", nets " << h._n << ", pins " << h._p << ", fmt " << h._fmt << "\n";
  out << "total cell weight " << h._totcw << ", net weight " << h._totnw << ", folded " << h._totinw
      << ", virtual " << h._virtualnets << "\n";
  for (int i = 1; i <= h._c; ++i)
    out << "cell " << i << ": weight " << h._clst[i].w << ", folded " << h._clst[i].inw << "\n";
  for (int j = 1; j <= h._n; ++j) {
    out << "net " << j << ": weight " << h._nlst[j].w << ", pins";
    for (const int* pin = h._nlst[j].pins; pin <= h._nlst[j].pinsend; ++pin) out << " " << *pin;
    out << "\n";
  }
  for (const std::string& warning : recorder::warnings()) out << "warning: " << escaped(warning) << "\n";
  return out.str();
}

std::string listing_read_by(const ReaderPair& reader, const Path& file, int check) {
  recorder::reset();
  Hypergraph h{};
  const int returned = read_named(reader, &h, file, check);
  return listing_of(h, returned);
}

std::string message_of(const ReaderPair& reader, const Path& file, int check) {
  recorder::reset();
  Hypergraph h{};
  return escaped(recorder::fatal_text([&] { read_named(reader, &h, file, check); })) + "\n";
}

class Readers : public testing::Test {
 protected:
  Readers() { recorder::reset(); }
  ~Readers() override { recorder::reset(); }
};

TEST_F(Readers, MakeOfEveryGoodFileWhatItsListingSays) {
  const std::vector<Path> files = files_in("good", ".qhg");
  ASSERT_FALSE(files.empty());

  for (const Path& file : files) {
    for (const ReaderPair& reader : kReaders) {
      for (const int check : {0, 1}) {
        SCOPED_TRACE(testing::Message() << file << ", " << reader.name << ", check " << check);
        EXPECT_EQ(listing_read_by(reader, file, check), expected(file, ".record", reader.name, check));
      }
    }
  }
}

TEST_F(Readers, RefuseEveryBrokenFileWithItsMessage) {
  const std::vector<Path> files = files_in("broken", ".qhg");
  ASSERT_FALSE(files.empty());

  for (const Path& file : files) {
    for (const ReaderPair& reader : kReaders) {
      for (const int check : {0, 1}) {
        SCOPED_TRACE(testing::Message() << file << ", " << reader.name << ", check " << check);
        EXPECT_EQ(message_of(reader, file, check), expected(file, ".message", reader.name, check));
      }
    }
  }
}

TEST_F(Readers, HaveAFileForEveryListing) {
  const auto have_files = [](const std::string& folder, const std::string& extension) {
    for (Path listing : files_in(folder, extension))
      EXPECT_TRUE(std::filesystem::exists(listing.replace_extension(".qhg"))) << listing;
  };
  have_files("good", ".record");
  have_files("broken", ".message");
}

}  // namespace
}  // namespace quillon
