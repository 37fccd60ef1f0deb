#include "formats/text_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/support/resources.h"
#include "tests/support/temp_file.h"
#include "tests/support/throwing.h"

namespace quillon::formats {
namespace {

TEST(TextWriter, WritesNumbersAndText) {
  const TempFile file("old contents");
  TextWriter out(file.name(), "test");
  const int large = std::numeric_limits<int>::max();
  for (const int value : {0, 7, -1, 12345678, 123456789, large, -large - 1}) {
    out.number(value);
    out.character(' ');
  }
  out.number(std::numeric_limits<std::int64_t>::min());
  out.text("");
  out.text(std::string_view());
  out.text("\ntext\n");
  out.close();
  EXPECT_EQ(file.contents(), "0 7 -1 12345678 123456789 2147483647 -2147483648 -9223372036854775808\ntext\n");
}

TEST(TextWriter, WritesTextOfAnyLengthAtAnyPlaceInABlock) {
  for (const std::size_t before : {0, 1, 65280, 65520, 65535, 65536, 65537, 131072, 200000}) {
    for (const std::size_t length : {1, 255, 65535, 65536, 65537, 300000}) {
      SCOPED_TRACE(testing::Message() << length << " bytes after " << before);
      const TempFile file;
      TextWriter out(file.name(), "test");
      std::string expected;
      for (std::size_t k = 0; k < before; ++k) {
        out.character('a');
        expected += 'a';
      }
      out.text(std::string(length, 'b'));
      expected.append(length, 'b');
      char* const at = out.room(TextWriter::kMostRoom);
      std::fill_n(at, TextWriter::kMostRoom, 'c');
      out.end(at + TextWriter::kMostRoom);
      expected.append(TextWriter::kMostRoom, 'c');
      out.close();
      ASSERT_EQ(file.contents() == expected, true);
    }
  }
}

TEST(TextWriter, ClosesItsFileWhenDestroyed) {
  const int before = open_descriptors();
  const TempFile file;
  {
    TextWriter out(file.name(), "test");
    out.text("x");
    EXPECT_EQ(open_descriptors(), before < 0 ? before : before + 1);
  }
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(file.contents(), "");  // what is left of a failed write
}

TEST(TextWriter, ReportsAFullDiskAtTheFirstBlockOrAtTheEnd) {
  const char* const message = "ufclose: '/dev/full' is not whole, data was lost: No space left on device";
  EXPECT_EQ(fatal_text([] {
              TextWriter out("/dev/full", "test");
              out.text("x");
              out.close();
            }),
            message);
  EXPECT_EQ(fatal_text([] {
              TextWriter out("/dev/full", "test");
              for (;;) out.text("endless");
            }),
            message);
  EXPECT_EQ(fatal_text([] {
              TextWriter out("/dev/full", "test");
              out.text(std::string(1000000, 'x'));
            }),
            message);
}

TEST(TextWriter, ReportsAFileThatCannotBeOpened) {
  EXPECT_THAT(fatal_text([] { const TextWriter out("/nowhere/file", "a tag"); }),
              testing::StartsWith("ufopen: cannot open '/nowhere/file' with mode \"w\" for \"a tag\": "));
}

}  // namespace
}  // namespace quillon::formats
