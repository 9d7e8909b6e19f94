// The command-line tool solves the bundled model examples/nearest_point.nl:
// the summary line, the AMPL solution file read back through the AMPL
// library, and the options that reach the solve in AMPL mode.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tool_run.h"

namespace {

const std::string kModel = std::string(MORVEX_SOURCE_DIR) + "/examples/nearest_point.nl";
// The optimum worked out in examples/README.md.
const double kS = std::sqrt(0.35);
const double kObjective = 9.0 - std::sqrt(35.0);

TEST(BundledModel, ToolSolvesItAndPrintsTheOptimumInTheSummary) {
  const ToolRun r = toolRun(kModel + " outlev=3");
  ASSERT_TRUE(r.summary.found) << r.output;
  EXPECT_EQ(r.summary.status, 0) << r.output;
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_NEAR(r.summary.objective, kObjective, 1e-6 * kObjective);
  EXPECT_NE(r.output.find("EXIT: Locally optimal solution found."), std::string::npos);
  // outlev=3 logs every iteration, so the first one is there.
  EXPECT_NE(r.output.find("\n       1  "), std::string::npos) << r.output;
}

TEST(BundledModel, AmplSolutionFileHoldsTheOptimalPointAndMultipliers) {
  AmplSolve a = toolSolveAmpl(kModel, "outlev=0");
  ASSERT_TRUE(a.solRead) << a.run.output;
  EXPECT_EQ(a.run.summary.status, 0) << a.run.output;
  EXPECT_EQ(a.solveResultNum, 0);
  EXPECT_EQ(a.message.rfind("Morvex: return code 0, objective 3.0839", 0), 0u) << a.message;
  const double xStar[] = {kS, 2 * kS, 1.5, 1.5 + 3 * kS};
  ASSERT_EQ(a.x.size(), 4u);
  for (size_t j = 0; j < 4; ++j) EXPECT_NEAR(a.x[j], xStar[j], 1e-5) << "x[" << j << "]";
  expectSolutionConsistent(a, 1e-6);
  // The ball is active with multiplier (1 - s) / s, the product row is
  // inactive, and `total` has none since x4 is inside its bounds.
  ASSERT_EQ(a.y.size(), 3u);
  EXPECT_NEAR(std::fabs(a.y[0]), (1 - kS) / kS, 1e-4);
  EXPECT_NEAR(a.y[1], 0.0, 1e-5);
  EXPECT_NEAR(a.y[2], 0.0, 1e-5);
}

// Command-line words come after those of morvex_options, so they win; a
// limit reached is reported to AMPL in its limit class.
TEST(BundledModel, AmplModeTakesOptionsFromTheEnvironmentThenTheCommandLine) {
  AmplSolve limited = toolSolveAmpl(kModel, "outlev=0 maxit=2");
  ASSERT_TRUE(limited.solRead) << limited.run.output;
  const int st = limited.run.summary.status;
  ASSERT_TRUE(st <= -400 && st >= -416) << limited.run.output;
  EXPECT_EQ(limited.solveResultNum, st >= -406 ? 400 : 401);
  EXPECT_EQ(limited.run.exitCode, 2);
  EXPECT_EQ(limited.message.rfind("Morvex: return code " + std::to_string(st), 0), 0u) << limited.message;

  AmplSolve overridden = toolSolveAmpl(kModel, "outlev=0 maxit=2", "maxit=100");
  ASSERT_TRUE(overridden.solRead) << overridden.run.output;
  EXPECT_EQ(overridden.run.summary.status, 0) << overridden.run.output;
  EXPECT_EQ(overridden.solveResultNum, 0);
}

// The file's options apply, and name=value words override them wherever
// they stand.
TEST(BundledModel, OptionFileAppliesUnderTheCommandLineWords) {
  char tmpl[] = "/tmp/mxoptsXXXXXX";
  const int fd = mkstemp(tmpl);
  ASSERT_GE(fd, 0);
  const std::string text = "# iteration limit\nmaxit 2\n";
  ASSERT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(fd);
  const std::string file = std::string("option_file=") + tmpl;
  const ToolRun limited = toolRun(kModel + " outlev=0 " + file);
  const ToolRun before = toolRun(kModel + " outlev=0 maxit=100 " + file);
  const ToolRun after = toolRun(kModel + " outlev=0 " + file + " maxit=100");
  std::remove(tmpl);
  EXPECT_LE(limited.summary.status, -400) << limited.output;
  EXPECT_EQ(before.summary.status, 0) << before.output;
  EXPECT_EQ(after.summary.status, 0) << after.output;
}

}  // namespace
