// Where text goes (screen, print file, puts callback), the exit messages of
// every return code, and the reports: the solve table, the JSON report, the
// timing profile, the hints and the debug files.
#include <cjson/cJSON.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "driver/debug_options.h"
#include "driver/exit_messages.h"
#include "driver/output.h"
#include "driver/print.h"
#include "driver/report.h"
#include "interface/context.h"
#include "interface/return_codes.h"
#include "interface/structures.h"
#include "morvex.h"
#include "scratch_context.h"

namespace {

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
  // What switching to the level and mode prints on the screen.
  std::string switched(int outlev, int outmode) {
    testing::internal::CaptureStdout();
    set(outlev, outmode);
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
  // The print file follows a name set after the level, through the setter
  // and through an options file alike.
  ASSERT_EQ(MX_set_char_param_by_name(kc, "outname", "run.log"), 0);
  EXPECT_EQ(printed("after\n"), "after\n");
  { std::ofstream("opts.txt") << "outname other.log\n"; }
  ASSERT_EQ(MX_load_param_file(kc, "opts.txt"), 0);
  EXPECT_EQ(printed("last\n"), "last\n");
  EXPECT_EQ(slurp("run.log"), "after\n");
  // A puts callback silences file and screen.
  PrintCapture cap(kc);
  EXPECT_EQ(printed("only to the callback\n"), "");
  EXPECT_EQ(cap.take(), "only to the callback\n");
  EXPECT_EQ(slurp("morvex.log"), "file\nboth\n");
  EXPECT_EQ(slurp("other.log"), "last\n");
  // Text beyond the callback's buffer is cut, never overrun.
  mxl_printf(kc, "%s", std::string(3000, 'x').c_str());
  EXPECT_EQ(cap.take().size(), 1023u);
}

// An old log is kept behind a separator; an outdir or print file that
// cannot be used warns, and the text still goes somewhere.
TEST_F(Output, PrintFileAppendsOrFallsBack) {
  { std::ofstream("run.log") << "first run\n"; }
  kc->opt.outname = "run.log";
  kc->opt.outappend = 1;
  set(2, 1);
  mxl_printf(kc, "second run\n");
  EXPECT_EQ(slurp("run.log"),
            "first run\n\n======================================================================\nsecond run\n");
  kc->opt.outname.clear();
  kc->opt.outappend = 0;
  kc->opt.outdir = dir + "/missing";
  EXPECT_EQ(switched(2, 2),
            "WARNING: Could not find outdir '" + dir + "/missing'.\n"
            "         Unix error = ENOENT (no such entry).\n"
            "         Output files will be in the current directory.\n");
  EXPECT_EQ(printed("here\n"), "here\n");
  EXPECT_EQ(slurp("morvex.log"), "here\n");
  set(2, 0);
  kc->opt.outdir.clear();
  kc->opt.outname = "no/such/dir/run.log";
  EXPECT_EQ(switched(2, 1),
            "WARNING: Could not open file no/such/dir/run.log.\n"
            "         Output will be sent to the screen (outmode=0).\n");
  EXPECT_EQ(kc->opt.outmode, 0);
  EXPECT_EQ(printed("x\n"), "x\n");
}

// The codes the header defines are the table's, once each, and every one
// has its exit message: the row the table holds for it, the fatal-error
// line, or the unknown-code lines. Some rows depend on the circumstance.
TEST_F(Output, ExitMessagesCoverEveryReturnCodeAndFollowTheCircumstance) {
  std::ifstream header(MORVEX_HEADER_PATH);
  ASSERT_TRUE(header.good());
  const std::regex define("^#define (MX_RC_[A-Z_]+) +(-?[0-9]+)");
  std::set<int> headerCodes, tableCodes;
  std::smatch m;
  for (std::string line; std::getline(header, line);)
    if (std::regex_search(line, m, define)) headerCodes.insert(std::stoi(m[2]));
  int count = 0;
  const MxReturnCode *codes = mxl_return_codes(&count);
  for (int i = 0; i < count; ++i) EXPECT_TRUE(tableCodes.insert(codes[i].code).second) << codes[i].name;
  EXPECT_EQ(headerCodes, tableCodes);
  PrintCapture cap(kc);
  MxExitInfo info;
  const auto exitText = [&](int mixed, int code) {
    printExitMessage(kc, mixed, code, info);
    return cap.take();
  };
  info.xtolIters = 1;
  for (int mixed = 0; mixed <= 1; ++mixed) {
    for (int i = 0; i < count; ++i) {
      const int code = codes[i].code;
      // Codes that only the mixed-integer solver returns.
      const bool mixedOnly = code == -403 || code == -404 || code == -405 || code == -406 ||
                             code == -413 || code == -415 || code == -416;
      if (!mixed && mixedOnly) continue;
      const std::string text = exitText(mixed, code);
      const MxExitMessage *row = mxl_find_exit_message(mixed, code, info);
      if (row != nullptr && code != -103)
        EXPECT_EQ(text, row->text) << code;
      else if (row == nullptr && mixed)
        EXPECT_EQ(text.rfind("EXIT: Termination code " + std::to_string(code) + ".\n", 0), 0u);
      else if (row == nullptr && code <= -505 && code >= -532)
        EXPECT_EQ(text, "EXIT: Fatal Error, MXL_RC = " + std::to_string(code) + ".  Please check the User Manual.\n");
      else if (row == nullptr)
        ADD_FAILURE() << "continuous code " << code << " has no exit message: " << text;
      EXPECT_EQ(text.rfind(code == -203 && !mixed ? "MULTISTART:" : "EXIT:", 0), 0u) << code;
    }
  }
  // -520 is not defined, so no row can hide the fatal-error fallback.
  EXPECT_EQ(exitText(0, -520), "EXIT: Fatal Error, MXL_RC = -520.  Please check the User Manual.\n");

  info = MxExitInfo();
  info.convex = 1;
  EXPECT_EQ(exitText(0, 0), "EXIT: Optimal solution found.\n");
  info.convex = 0;
  info.algorithm = -2;
  EXPECT_EQ(exitText(0, 0), "EXIT: Termination after initial point.\n");
  info.xtolIters = 3;
  EXPECT_EQ(exitText(0, -201), "EXIT: Terminate at infeasible point because the relative change in solution\n"
                               "      estimate < xtol for 3 consecutive iterations.\n");
  info.fstopvalStopped = 1;
  info.algorithm = 1;
  info.fstopval = 2.5;
  EXPECT_EQ(exitText(0, 0), "EXIT: Satisfactory solution found.\n"
                            "      The solution estimate is feasible with objective <= 2.500000e+00\n");
  EXPECT_EQ(exitText(1, -204), "EXIT: Problem appears to be infeasible.\n");
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
  // One of each: a binary is bounded on both sides.
  EXPECT_EQ((std::vector<int>{c.boundedBelow, c.fixed, c.boundedBoth, c.free, c.nlEq, c.nlIneq}),
            std::vector<int>(6, 1));
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
  EXPECT_EQ(log.find("Iter=1"), std::string::npos);  // rewritten
  EXPECT_NE(log.find("Iter=2, obj="), std::string::npos);
  kc->opt.newpoint = 2;
  writeNewPoint(kc, 3, 1.0, x, lambda);
  log = slurp("morvex_newpoint.log");
  EXPECT_NE(log.find("Iter=2"), std::string::npos);  // appended
  EXPECT_NE(log.find("Iter=3"), std::string::npos);
  EXPECT_NE(log.find("X[1]=  2.00000000000e+00\nL[0]=  5.00000000000e-01\n"), std::string::npos);
}

std::vector<std::string> split(const std::string &text, char sep) {
  std::vector<std::string> out;
  std::stringstream s(text);
  for (std::string f; std::getline(s, f, sep);) out.push_back(f);
  return out;
}
std::vector<std::string> lines(const std::string &path) { return split(slurp(path), '\n'); }
std::vector<std::string> fields(const std::string &line) { return split(line, ';'); }

struct Reports : ScratchContext {
  void SetUp() override {
    ScratchContext::SetUp();
    ASSERT_EQ(MX_add_vars(kc, 3, nullptr), 0);
    ASSERT_EQ(MX_add_cons(kc, 1, nullptr), 0);
    ASSERT_EQ(MX_set_var_lobnd(kc, 0, 0.0), 0);
    ASSERT_EQ(MX_set_var_upbnd(kc, 1, 4.0), 0);
    ASSERT_EQ(MX_set_con_eqbnd(kc, 0, 1.0), 0);
  }
};

TEST_F(Reports, SolveTableRowsMatchTheHeaderAndChildrenAndSilentRunsWriteThem) {
  MxProblemCounts counts = mxCountProblem(kc);
  MxSolveStats stats;
  stats.objective = 1.5;
  stats.iterations = 7;
  printCSVsolveInfo(kc, 0, counts, stats);
  counts.residuals = 4;  // residual columns hold values instead of "0;0;"
  counts.nnzResJ = 9;
  counts.integer = 1;
  printCSVsolveInfo(kc, -400, counts, stats);

  MXL_context *child = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, 2);
  ASSERT_NE(child, nullptr);
  child->opt.out_csvname = "child.csv";
  counts.integer = 0;
  counts.quadIneq = 1;
  printCSVsolveInfo(child, -101, counts, stats);
  mxl_destroy(child);
  closeCSVfile(kc);

  const std::vector<std::string> table = lines("morvex_solve.csv");
  ASSERT_EQ(table.size(), 4u);
  EXPECT_EQ(table[0], mxCsvHeader());
  const size_t width = fields(table[0]).size();
  for (const std::string &row : table) EXPECT_EQ(fields(row).size(), width) << row;
  EXPECT_EQ(fields(table[1])[3], "nlp");  // constraints are general until given structure
  EXPECT_EQ(fields(table[2])[3], "minlp");
  EXPECT_EQ(fields(table[3])[3], "lsq");
  EXPECT_EQ(fields(table[3])[29], "-101");
  EXPECT_NE(access("child.csv", F_OK), 0);

  // A later solve appends without a second header.
  printCSVsolveInfo(kc, 0, counts, stats);
  closeCSVfile(kc);
  const std::vector<std::string> again = lines("morvex_solve.csv");
  EXPECT_EQ(again.size(), 5u);
  EXPECT_EQ(std::count(again.begin(), again.end(), mxCsvHeader()), 1);

  // The final report writes its row even when silent, and reports a table
  // that cannot be opened.
  PrintCapture cap(kc);
  kc->opt.outlev = 0;
  kc->opt.out_csvname = "silent.csv";
  printFinal(kc, 1, -411, MxExitInfo(), stats, 1);
  printFinal(kc, 0, -411, MxExitInfo(), stats, 1);
  closeCSVfile(kc);
  EXPECT_EQ(cap.take(), "");
  const std::vector<std::string> silent = lines("silent.csv");
  ASSERT_EQ(silent.size(), 2u);
  EXPECT_EQ(fields(silent[1])[29], "-411");
  kc->opt.outlev = 2;
  kc->opt.out_csvname = "no/such/dir/t.csv";
  printCSVsolveInfo(kc, 0, mxCountProblem(kc), MxSolveStats());
  EXPECT_EQ(cap.take(), "Error opening no/such/dir/t.csv.\n"
                        "*** Could not open 'no/such/dir/t.csv' for output.\n");
}

TEST_F(Reports, JsonReportHoldsEverySectionAndReadsBackAsDebugOptions) {
  kc->opt.out_jsonname = "report.json";
  kc->var.x = {1.0, 2.0, 3.0};
  MxJson root(cJSON_CreateObject());
  const MxProblemCounts counts = mxCountProblem(kc);
  MxProblemCounts presolved = counts;
  presolved.n = 2;
  MxSolveStats stats;
  stats.objective = -2.5;
  stats.iterations = 12;
  MxPresolveCounts presolve;
  presolve.passes = 3;
  printJSONapplicationModelInfo(root.get(), counts);
  printJSONpresolvedModelInfo(root.get(), presolved);
  ASSERT_EQ(mxWriteJSON(kc, root.get(), -100, counts, stats, presolve), 0);
  // A second solve replaces the sections rather than adding twins.
  ASSERT_EQ(mxWriteJSON(kc, root.get(), 0, counts, stats, presolve), 0);

  // Read back as a debug options file would be.
  MxJson doc = mxReadDebugOptions(kc, "report.json");
  ASSERT_TRUE(doc) << slurp("report.json");
  EXPECT_EQ(cJSON_GetArraySize(doc.get()), 6);
  EXPECT_EQ(getDebugOptionIntValue3(doc.get(), "ApplicationModel", "Variables", "NumberOfVariables", -1), 3);
  EXPECT_EQ(getDebugOptionDoubleValue3(doc.get(), "PresolvedModel", "Variables", "NumberOfVariables", -1), 2.0);
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Problem", "NbVariables", -1), 3);
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Output", "Status", -1), 0);  // the second solve's
  EXPECT_EQ(getDebugOptionDoubleValue2(doc.get(), "Output", "Value", 0.0), -2.5);
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Output", "NumberOfIterations", -1), 12);
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Presolve", "NbPasses", -1), 3);

  const cJSON *solution = getJsonSection1(doc.get(), "Solution");
  ASSERT_EQ(cJSON_GetArraySize(solution), 3);
  const cJSON *first = cJSON_GetArrayItem(solution, 0), *second = cJSON_GetArrayItem(solution, 1);
  EXPECT_STREQ(getDebugOptionStringValue1(first, "Name", ""), "x[0]");
  EXPECT_EQ(getDebugOptionDoubleValue2(first, "Bound", "Lower", -1.0), 0.0);
  EXPECT_STREQ(getDebugOptionStringValue2(first, "Bound", "Upper", ""), "+inf");
  EXPECT_STREQ(getDebugOptionStringValue2(second, "Bound", "Lower", ""), "-inf");
  EXPECT_EQ(getDebugOptionDoubleValue1(second, "Value", 0.0), 2.0);

  // The getters fall back to the default along any missing key.
  EXPECT_STREQ(getDebugOptionStringValue2(doc.get(), "Output", "Other", "none"), "none");
  EXPECT_EQ(getDebugOptionIntValue3(doc.get(), "Output", "Status", "x", 7), 7);
  EXPECT_EQ(getDebugOptionDoubleValue1(nullptr, "Output", 2.0), 2.0);
  PrintCapture cap(kc);
  EXPECT_FALSE(mxReadDebugOptions(kc, "absent.json"));
  EXPECT_EQ(cap.take(), "ERROR: Morvex could not open file 'absent.json' for input.\n");
}

TEST_F(Reports, ProfileWithoutElapsedTimeHasNoNonFiniteShares) {
  PrintCapture cap(kc);
  kc->timers->profile.fcTime = 0.5;
  kc->timers->profile.fcCount = 3;
  printProfileCommonTimes(kc);
  const std::string text = cap.take();
  EXPECT_EQ(text.find("nan"), std::string::npos);
  EXPECT_EQ(text.find("inf"), std::string::npos);
  EXPECT_NE(text.find("  Function/constraint eval time/count .      0.50000 /      3  ( 0.0% )\n"),
            std::string::npos);
}

// Each hint about the model's class appears exactly in its circumstances.
TEST_F(Reports, ModelClassHintsFollowTheirConditions) {
  PrintCapture cap(kc);
  MxProblemCounts counts = mxCountProblem(kc);
  counts.linIneq = 1;  // keeps the least-squares hint out of the way
  MxSolveStats stats;
  // The hints for a return code; a prefix check where the text runs long.
  const auto hints = [&](int code) {
    printHints(kc, code, counts, stats);
    return cap.take();
  };
  const auto starts = [](const std::string &text, const char *head) { return text.rfind(head, 0) == 0; };
  EXPECT_EQ(hints(0), "");

  kc->model->conics.push_back(std::make_unique<MXCONIC>());
  kc->opt.bar_conic_enable = 0;
  EXPECT_EQ(hints(0), "\nHINT: Cone constraints were identified, but option bar_conic_enable=0.\n"
                        "      Setting bar_conic_enable=1 may improve performance.\n");
  kc->opt.bar_conic_enable = 1;

  stats.quadraticModel = 1;
  stats.realTime = 10.0;
  stats.convexityCheckTime = 0.05;  // half a percent: not worth a hint
  EXPECT_EQ(hints(0), "");
  stats.convexityCheckTime = 0.5;
  EXPECT_TRUE(starts(hints(0), "\nHINT: Morvex spent   5.0% of solution time (0.500000 secs) checking model\n"));
  kc->opt.convex = 0;

  stats.convexity = 0;
  EXPECT_EQ(hints(0), "");
  EXPECT_TRUE(starts(hints(-202), "\nHINT: The problem appears to be a non-convex QP or QCQP."));
  stats.quadraticModel = 0;

  counts.integer = 2;
  kc->opt.mip_method = 1;
  EXPECT_TRUE(starts(hints(0), "\nHINT: The problem may be a non-convex mixed-integer problem."));
  stats.convexity = 1;
  EXPECT_EQ(hints(0), "");
  kc->opt.mip_method = 3;
  EXPECT_TRUE(starts(hints(0), "\nHINT: The MISQP algorithm is just a heuristic"));
  kc->opt.mip_multistart = 1;
  EXPECT_EQ(hints(0), "");
}

TEST_F(Reports, DebugFilesOpenPerAlgorithmFamilyWithTheChildsNumber) {
  EXPECT_EQ(addIntSuffixToFilePath("out.d/trace", 12), "out.d/trace_12");
  openDebugFiles(kc, true, -1);
  EXPECT_EQ(mxDebugFile(kc, MX_DBG_SUMM), nullptr);  // debug is off

  ASSERT_EQ(mkdir("dbg", 0755), 0);
  kc->opt.outdir = "dbg";
  kc->opt.debug = 1;
  openDebugFiles(kc, true, -1);
  EXPECT_NE(mxDebugFile(kc, MX_DBG_ACTSET), nullptr);
  EXPECT_EQ(mxDebugFile(kc, MX_DBG_BARRIER), nullptr);
  EXPECT_EQ(access("dbg/mxdbg_lpAS.log", F_OK), 0);
  openDebugFiles(kc, false, 4);
  EXPECT_EQ(mxDebugFile(kc, MX_DBG_ACTSET), nullptr);
  EXPECT_NE(mxDebugFile(kc, MX_DBG_DIRECT), nullptr);
  EXPECT_EQ(access("dbg/mxdbg_directIP_4.log", F_OK), 0);
  closeDebugFiles(kc);
  EXPECT_EQ(mxDebugFile(kc, MX_DBG_DIRECT), nullptr);
}

}  // namespace
