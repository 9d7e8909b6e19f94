// AMPL mode of the tool on the shared .nl collections: `morvex stub -AMPL`
// writes stub.sol, and the AMPL library reads back the message, the point
// and the result code. Skipped when ../shared/data is absent.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "tool_run.h"

namespace {

const std::string kData = MORVEX_DATA_DIR;

bool present(const std::string &path) { return static_cast<bool>(std::ifstream(path)); }

// The folder's published optimum of a model (column 5 of reference.tsv),
// NaN when the table has none.
double referenceValue(const std::string &folder, const std::string &name) {
  std::ifstream in(kData + "/" + folder + "/reference.tsv");
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream row(line);
    std::string cell[5];
    for (std::string &c : cell) std::getline(row, c, '\t');
    if (cell[0] == name && !cell[4].empty()) return std::stod(cell[4]);
  }
  return NAN;
}

TEST(AmplMode, StartPointRunWritesTheStartPoint) {
  const std::string source = kData + "/nl-cute-pyomo-ampl/hs071.nl";
  if (!present(source)) GTEST_SKIP() << source << " not found; skipping";
  AmplSolve a = toolSolveAmpl(source, "algorithm=-2 outlev=0");
  ASSERT_TRUE(a.solRead) << a.run.output;
  EXPECT_NE(a.message.find("Morvex: return code 0"), std::string::npos) << a.message;
  EXPECT_EQ(a.solveResultNum, 0);
  // With algorithm -2 the point is the model's start (1, 5, 5, 1).
  ASSERT_EQ(a.x.size(), 4u);
  EXPECT_EQ(a.x, nlStartPoint(*a.model));
  EXPECT_EQ(a.x[1], 5.0);
}

// Continuous models of each collection that the interior-point algorithm
// solves: the published optimum, and a solution file whose point is
// feasible and gives the printed objective.
TEST(AmplMode, SolvedModelsOfEachCollectionReadBack) {
  const struct {
    const char *folder, *name;
  } models[] = {{"nl-cute-pyomo-ampl", "hs071"}, {"nl-cute-pyomo-ampl", "hs065"},
                {"nl-coconut-lib2", "hs111"},    {"nl-coconut-lib2", "hs089"},
                {"nl-couenne-tests", "alkyl"},   {"nl-couenne-tests", "st_e01"}};
  int solved = 0;
  for (const auto &m : models) {
    const std::string source = kData + "/" + m.folder + "/" + m.name + ".nl";
    if (!present(source)) continue;
    SCOPED_TRACE(source);
    AmplSolve a = toolSolveAmpl(source, "outlev=0");
    ASSERT_TRUE(a.solRead) << a.run.output;
    ASSERT_EQ(a.run.summary.status, 0) << a.run.output;
    const double ref = referenceValue(m.folder, m.name);
    ASSERT_FALSE(std::isnan(ref));
    EXPECT_NEAR(a.run.summary.objective, ref, 1e-5 * std::max(1.0, std::fabs(ref)));
    EXPECT_TRUE(a.solveResultNum >= 0 && a.solveResultNum <= 99) << a.solveResultNum;
    EXPECT_EQ(a.message.rfind("Morvex: return code 0, objective ", 0), 0u) << a.message;
    expectSolutionConsistent(a, 1e-5);
    ++solved;
  }
  if (solved == 0) GTEST_SKIP() << "no .nl collections under " << kData << "; skipping";
}

// The mixed-integer solver is not built: the one model of the Bonmin folder
// (integer variables) ends with -600, reported to AMPL as a failure.
TEST(AmplMode, IntegerModelEndsAsNotBuilt) {
  const std::string source = kData + "/nl-bonmin-tests/mytoy.nl";
  if (!present(source)) GTEST_SKIP() << source << " not found; skipping";
  AmplSolve a = toolSolveAmpl(source, "outlev=1");
  ASSERT_TRUE(a.solRead) << a.run.output;
  EXPECT_EQ(a.run.summary.status, -600) << a.run.output;
  EXPECT_EQ(a.run.exitCode, 2);
  EXPECT_NE(a.run.output.find("Internal error: the mixed-integer solver is not built"), std::string::npos)
      << a.run.output;
  EXPECT_EQ(a.solveResultNum, 500);
  EXPECT_EQ(a.message.rfind("Morvex: return code -600", 0), 0u) << a.message;
  EXPECT_EQ(a.x.size(), 4u);
}

}  // namespace
