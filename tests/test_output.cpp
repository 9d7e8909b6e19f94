// Where text goes (screen, print file, puts callback) and the exit messages
// of every return code.
#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "capture.h"
#include "driver/debug_options.h"
#include "driver/exit_messages.h"
#include "driver/output.h"
#include "driver/print.h"
#include "driver/report.h"
#include "interface/return_codes.h"
#include "morvex.h"
#include "scratch_context.h"

namespace {

std::string slurp(const std::string &path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// Each test runs in a scratch directory, so default file names stay local.
struct Output : ScratchContext {
  void set(int outlev, int outmode) {
    kc->opt.outlev = outlev;
    kc->opt.outmode = outmode;
    mxl_output_option_changed(kc);
  }
  std::string printed(const char *text) {
    testing::internal::CaptureStdout();
    mxl_printf(kc, "%s", text);
    return testing::internal::GetCapturedStdout();
  }
};

TEST_F(Output, ModesRouteToScreenFileOrBoth) {
  set(0, 2);  // level 0 prints nothing and opens no file
  EXPECT_EQ(printed("ERROR: something\n"), "");
  struct stat st;
  EXPECT_NE(stat("morvex.log", &st), 0);
  set(2, 0);
  EXPECT_EQ(printed("screen\n"), "screen\n");
  set(2, 1);
  EXPECT_EQ(printed("file\n"), "");
  set(2, 2);
  EXPECT_EQ(printed("both\n"), "both\n");
  EXPECT_EQ(slurp("morvex.log"), "file\nboth\n");
  // A puts callback silences file and screen.
  PrintCapture cap(kc);
  EXPECT_EQ(printed("only to the callback\n"), "");
  EXPECT_EQ(cap.take(), "only to the callback\n");
  EXPECT_EQ(slurp("morvex.log"), "file\nboth\n");
  // Text beyond the callback's buffer is cut, never overrun.
  mxl_printf(kc, "%s", std::string(3000, 'x').c_str());
  EXPECT_EQ(cap.take().size(), 1023u);
}

TEST_F(Output, AppendKeepsTheOldLogBehindASeparator) {
  { std::ofstream("run.log") << "first run\n"; }
  kc->opt.outname = "run.log";
  kc->opt.outappend = 1;
  set(2, 1);
  mxl_printf(kc, "second run\n");
  EXPECT_EQ(slurp("run.log"),
            "first run\n\n======================================================================\nsecond run\n");
}

TEST_F(Output, UnusableOutdirWarnsAndFallsBackToTheCurrentDirectory) {
  kc->opt.outdir = dir + "/missing";
  testing::internal::CaptureStdout();
  set(2, 2);
  const std::string warned = testing::internal::GetCapturedStdout();
  EXPECT_EQ(warned, "WARNING: Could not find outdir '" + dir + "/missing'.\n"
                    "         Unix error = ENOENT (no such entry).\n"
                    "         Output files will be in the current directory.\n");
  EXPECT_EQ(printed("here\n"), "here\n");
  EXPECT_EQ(slurp("morvex.log"), "here\n");
}

TEST_F(Output, UnopenablePrintFileSendsOutputToTheScreen) {
  kc->opt.outname = "no/such/dir/run.log";
  testing::internal::CaptureStdout();
  set(2, 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "WARNING: Could not open file no/such/dir/run.log.\n"
            "         Output will be sent to the screen (outmode=0).\n");
  EXPECT_EQ(kc->opt.outmode, 0);
  EXPECT_EQ(printed("x\n"), "x\n");
}

// Every return code has its exit message: the row the table holds for it,
// the fatal-error line, or the unknown-code lines.
TEST_F(Output, EveryReturnCodePrintsItsExitMessage) {
  PrintCapture cap(kc);
  int count = 0;
  const MxReturnCode *codes = mxl_return_codes(&count);
  MxExitInfo info;
  info.xtolIters = 1;
  for (int mixed = 0; mixed <= 1; ++mixed) {
    for (int i = 0; i < count; ++i) {
      const int code = codes[i].code;
      // Codes that only the mixed-integer solver returns.
      const bool mixedOnly = code == -403 || code == -404 || code == -405 || code == -406 ||
                             code == -413 || code == -415 || code == -416;
      if (!mixed && mixedOnly) continue;
      printExitMessage(kc, mixed, code, info);
      const std::string text = cap.take();
      const MxExitMessage *row = mxl_find_exit_message(mixed, code, info);
      if (row != nullptr && code != -103) {
        EXPECT_EQ(text, row->text) << code;
      } else if (row == nullptr && mixed) {
        EXPECT_EQ(text.rfind("EXIT: Termination code " + std::to_string(code) + ".\n", 0), 0u);
      } else if (row == nullptr && code <= -505 && code >= -532) {
        EXPECT_EQ(text, "EXIT: Fatal Error, MXL_RC = " + std::to_string(code) + ".  Please check the User Manual.\n");
      } else if (row == nullptr) {
        ADD_FAILURE() << "continuous code " << code << " has no exit message: " << text;
      }
      EXPECT_EQ(text.rfind(code == -203 && !mixed ? "MULTISTART:" : "EXIT:", 0), 0u) << code;
    }
  }
  printExitMessage(kc, 0, -520, info);
  EXPECT_EQ(cap.take(), "EXIT: Fatal Error, MXL_RC = -520.  Please check the User Manual.\n");
}

TEST_F(Output, ExitMessageFollowsTheCircumstance) {
  PrintCapture cap(kc);
  MxExitInfo info;
  info.convex = 1;
  printExitMessage(kc, 0, 0, info);
  EXPECT_EQ(cap.take(), "EXIT: Optimal solution found.\n");
  info.convex = 0;
  info.algorithm = -2;
  printExitMessage(kc, 0, 0, info);
  EXPECT_EQ(cap.take(), "EXIT: Termination after initial point.\n");
  info.xtolIters = 3;
  printExitMessage(kc, 0, -201, info);
  EXPECT_EQ(cap.take(), "EXIT: Terminate at infeasible point because the relative change in solution\n"
                        "      estimate < xtol for 3 consecutive iterations.\n");
  info.fstopvalStopped = 1;
  info.algorithm = 1;
  info.fstopval = 2.5;
  printExitMessage(kc, 0, 0, info);
  EXPECT_EQ(cap.take(), "EXIT: Satisfactory solution found.\n"
                        "      The solution estimate is feasible with objective <= 2.500000e+00\n");
  printExitMessage(kc, 1, -204, info);
  EXPECT_EQ(cap.take(), "EXIT: Problem appears to be infeasible.\n");
}

TEST_F(Output, HeadCountsBoundsAndConstraintKinds) {
  PrintCapture cap(kc);
  ASSERT_EQ(MX_add_vars(kc, 4, nullptr), 0);
  ASSERT_EQ(MX_add_cons(kc, 2, nullptr), 0);
  ASSERT_EQ(MX_set_var_lobnd(kc, 0, 0.0), 0);
  ASSERT_EQ(MX_set_var_fxbnd(kc, 1, 2.0), 0);
  ASSERT_EQ(MX_set_var_type(kc, 2, MX_VARTYPE_BINARY), 0);
  ASSERT_EQ(MX_set_con_eqbnd(kc, 0, 1.0), 0);
  ASSERT_EQ(MX_set_con_upbnd(kc, 1, 1.0), 0);
  const MxProblemCounts c = mxCountProblem(kc);
  EXPECT_EQ(c.boundedBelow, 1);
  EXPECT_EQ(c.fixed, 1);
  EXPECT_EQ(c.boundedBoth, 1);
  EXPECT_EQ(c.free, 1);
  EXPECT_EQ(c.nlEq, 1);
  EXPECT_EQ(c.nlIneq, 1);
  printHead(kc, 0, 2, c, nullptr);
  const std::string head = cap.take();
  EXPECT_NE(head.find("Number of binary variables:                           1\n"), std::string::npos);
  EXPECT_NE(head.find("    gen. nonlinear equalities:                        1\n"), std::string::npos);
  printHead(kc, 1, 2, c, nullptr);
  EXPECT_EQ(cap.take(), "");
}

TEST_F(Output, NewPointLogRewritesOrAppends) {
  ASSERT_EQ(MX_add_vars(kc, 2, nullptr), 0);
  ASSERT_EQ(MX_add_cons(kc, 1, nullptr), 0);
  const double x[2] = {1.0, 2.0}, lambda[3] = {0.5, 0.0, 0.0};
  kc->opt.newpoint = 1;
  writeNewPoint(kc, 1, 3.0, x, lambda);
  writeNewPoint(kc, 2, 2.0, x, lambda);
  std::string log = slurp("morvex_newpoint.log");
  EXPECT_EQ(log.find("Iter=1"), std::string::npos);
  EXPECT_NE(log.find("Iter=2, obj="), std::string::npos);
  EXPECT_NE(log.find(", n=2, m=1\n"), std::string::npos);
  kc->opt.newpoint = 2;
  writeNewPoint(kc, 3, 1.0, x, lambda);
  log = slurp("morvex_newpoint.log");
  EXPECT_NE(log.find("Iter=2"), std::string::npos);
  EXPECT_NE(log.find("Iter=3"), std::string::npos);
  EXPECT_NE(log.find("X[1]=  2.00000000000e+00\nL[0]=  5.00000000000e-01\n"), std::string::npos);
}

TEST_F(Output, DebugOptionsFallBackToDefaultsAlongAnyMissingKey) {
  { std::ofstream("dbg.json") << R"({"MIP": {"SolutionPathMorvex": "sol.txt", "Depth": 3, "Inner": {"Tol": 0.5}}})"; }
  MxJson doc = mxReadDebugOptions(kc, "dbg.json");
  ASSERT_TRUE(doc);
  EXPECT_STREQ(getDebugOptionStringValue2(doc.get(), "MIP", "SolutionPathMorvex", "none"), "sol.txt");
  EXPECT_STREQ(getDebugOptionStringValue2(doc.get(), "MIP", "SolutionPathMiplib", "none"), "none");
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "MIP", "Depth", 7), 3);
  EXPECT_EQ(getDebugOptionIntValue3(doc.get(), "MIP", "Depth", "x", 7), 7);
  EXPECT_EQ(getDebugOptionDoubleValue3(doc.get(), "MIP", "Inner", "Tol", 1.0), 0.5);
  EXPECT_EQ(getDebugOptionDoubleValue1(nullptr, "MIP", 2.0), 2.0);
  PrintCapture cap(kc);
  EXPECT_FALSE(mxReadDebugOptions(kc, "absent.json"));
  EXPECT_EQ(cap.take(), "ERROR: Morvex could not open file 'absent.json' for input.\n");
}

}  // namespace
