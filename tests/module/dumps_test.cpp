#include <gmock/gmock.h>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using testing::IsEmpty;

using PrintPinsText = Recorded;
using PrintNetsText = Recorded;
using PrintHypergraphText = Recorded;

Shape seven_cells() {
  return {.ncells = 7,
          .pins = {{3, 7}, {7}, {}},
          .net_weights = {5, 12, 1},
          .cell_weights = {9, 9, 2, 9, 9, 9, 1},
          .parts = {9, 9, 1, 9, 9, 9, 0}};
}

TEST_F(PrintPinsText, ShowsPartAndWeightOfEachPin) {
  const Record r(seven_cells());
  PrintPins(&r.h, 1);

  EXPECT_EQ(recorder::printed(), "\n Pins[   1] = {   3(P= 1, W=  2),    7(P= 0, W=  1) }\n");
}

TEST_F(PrintPinsText, EndsTheOnlyPinWithABlank) {
  const Record r(seven_cells());
  PrintPins(&r.h, 2);

  EXPECT_EQ(recorder::printed(), "\n Pins[   2] = {   7(P= 0, W=  1) }\n");
}

TEST_F(PrintPinsText, ShowsNothingBetweenTheBracesOfAnEmptyNet) {
  const Record r(seven_cells());
  PrintPins(&r.h, 3);

  EXPECT_EQ(recorder::printed(), "\n Pins[   3] = {}\n");
}

TEST_F(PrintPinsText, ShowsNothingBetweenTheBracesOfANetWithoutAPinList) {
  Record r(seven_cells());
  r.nets[1].pins = r.nets[1].pinsend = nullptr;
  PrintPins(&r.h, 1);

  EXPECT_EQ(recorder::printed(), "\n Pins[   1] = {}\n");
}

TEST_F(PrintPinsText, TellsTheLastPinByItsPlaceAndNotItsNumber) {
  const Record r({.ncells = 1, .pins = {{1, 1}}});
  PrintPins(&r.h, 1);

  EXPECT_EQ(recorder::printed(), "\n Pins[   1] = {   1(P=-1, W=  1),    1(P=-1, W=  1) }\n");
}

TEST_F(PrintPinsText, WideNumbersTakeTheRoomTheyNeed) {
  Shape shape = {.ncells = 12345};
  shape.pins.resize(10001);
  shape.pins[10000] = {12345, 1};
  Record r(shape);
  r.h._clst[12345].pno = kLeast;
  r.h._clst[12345].w = kMost;
  r.h._clst[1].pno = 100;
  r.h._clst[1].w = -1000;
  PrintPins(&r.h, 10001);

  EXPECT_EQ(recorder::printed(),
            "\n Pins[10001] = {12345(P=-2147483648, W=2147483647),    1(P=100, W=-1000) }\n");
}

TEST_F(PrintNetsText, EndsEveryNetWithACommaAndABlank) {
  const Record r(seven_cells());
  PrintNets(&r.h, 7);

  EXPECT_EQ(recorder::printed(), "\n Nets[   7] = {   1(W=  5),    2(W= 12), }\n");
}

TEST_F(PrintNetsText, ShowsNothingBetweenTheBracesOfACellWithoutNets) {
  const Record r(seven_cells());
  PrintNets(&r.h, 1);

  EXPECT_EQ(recorder::printed(), "\n Nets[   1] = {}\n");
}

TEST_F(PrintNetsText, WideNumbersTakeTheRoomTheyNeed) {
  Shape shape = {.ncells = 10002};
  shape.pins.resize(98765);
  shape.pins[98764] = {10002};
  Record r(shape);
  r.h._nlst[98765].w = kLeast;
  PrintNets(&r.h, 10002);

  EXPECT_EQ(recorder::printed(), "\n Nets[10002] = {98765(W=-2147483648), }\n");
}

TEST_F(PrintHypergraphText, ShowsTheTotalsThenBothSides) {
  Record r({.ncells = 3,
            .pins = {{2, 1}, {}, {2}},
            .net_weights = {4, 5, 6},
            .cell_weights = {7, 8, 9},
            .parts = {0, 1, -1}});
  r.h._totinw = 30;
  r.h._virtualnets = 40;
  r.h._clst[2].inw = 30;
  PrintHypergraph(&r.h);

  EXPECT_EQ(recorder::printed(),
            "\n********************************************************************"
            "\n H=(3, 3, 3)"
            "\n totcw=24 totnw=15 totinw=30 virtnets=40\n"
            "\n Nets connectted to the cells"
            "\n=========================================================="
            "\n w=    7 inw=    0 pno=   0 Nets[     1] = {1}"
            "\n w=    8 inw=   30 pno=   1 Nets[     2] = {1, 3}"
            "\n w=    9 inw=    0 pno=  -1 Nets[     3] = {}"
            "\n Cells connectted to the nets"
            "\n=========================================================="
            "\n w=    4 Pins[     1] = {2, 1}"
            "\n w=    5 Pins[     2] = {}"
            "\n w=    6 Pins[     3] = {2}"
            "\n********************************************************************");
}

TEST_F(PrintHypergraphText, WithoutCellsAndNetsShowsTheHeadings) {
  const Record r({});
  PrintHypergraph(&r.h);

  EXPECT_EQ(recorder::printed(),
            "\n********************************************************************"
            "\n H=(0, 0, 0)"
            "\n totcw=0 totnw=0 totinw=0 virtnets=0\n"
            "\n Nets connectted to the cells"
            "\n=========================================================="
            "\n Cells connectted to the nets"
            "\n=========================================================="
            "\n********************************************************************");
}

TEST_F(PrintHypergraphText, ListsThatAreAbsentOrWideAreShownToo) {
  Record r({.ncells = 1, .pins = {{1}}, .net_weights = {kLeast}, .cell_weights = {kMost}, .parts = {123456}});
  r.h._clst[1].inw = -1234567;
  r.nets[1].pins = r.nets[1].pinsend = nullptr;
  PrintHypergraph(&r.h);

  EXPECT_EQ(recorder::printed(),
            "\n********************************************************************"
            "\n H=(1, 1, 1)"
            "\n totcw=2147483647 totnw=-2147483648 totinw=0 virtnets=0\n"
            "\n Nets connectted to the cells"
            "\n=========================================================="
            "\n w=2147483647 inw=-1234567 pno=123456 Nets[     1] = {1}"
            "\n Cells connectted to the nets"
            "\n=========================================================="
            "\n w=-2147483648 Pins[     1] = {}"
            "\n********************************************************************");
}

TEST_F(PrintHypergraphText, MakesNoRequestAndNoWarning) {
  const Record r(seven_cells());
  PrintHypergraph(&r.h);
  PrintPins(&r.h, 1);
  PrintNets(&r.h, 7);

  EXPECT_THAT(recorder::requests(), IsEmpty());
  EXPECT_THAT(recorder::warnings(), IsEmpty());
}

}  // namespace
}  // namespace quillon
