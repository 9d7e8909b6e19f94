// The solve table, the JSON report and the timing profile.
#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "capture.h"
#include "driver/debug_options.h"
#include "driver/report.h"
#include "interface/context.h"
#include "interface/structures.h"
#include "morvex.h"
#include "scratch_context.h"

namespace {

std::vector<std::string> lines(const std::string &path) {
  std::ifstream in(path);
  std::vector<std::string> out;
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

std::vector<std::string> fields(const std::string &line) {
  std::vector<std::string> out;
  std::stringstream s(line);
  for (std::string f; std::getline(s, f, ';');) out.push_back(f);
  return out;
}

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

TEST_F(Reports, SolveTableRowsMatchTheHeaderAndChildrenWriteToTheRoot) {
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
  for (const std::string &row : table) {
    EXPECT_EQ(fields(row).size(), width) << row;
    EXPECT_EQ(row.back(), ';');
  }
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
}

TEST_F(Reports, FinalReportWritesItsRowEvenWhenSilent) {
  PrintCapture cap(kc);
  kc->opt.outlev = 0;
  kc->opt.out_csvname = "silent.csv";
  MxSolveStats stats;
  printFinal(kc, 1, -411, MxExitInfo(), stats, 1);
  printFinal(kc, 0, -411, MxExitInfo(), stats, 1);
  closeCSVfile(kc);
  EXPECT_EQ(cap.take(), "");
  const std::vector<std::string> table = lines("silent.csv");
  ASSERT_EQ(table.size(), 2u);
  EXPECT_EQ(fields(table[1])[29], "-411");
}

TEST_F(Reports, SolveTableThatCannotBeOpenedIsReported) {
  PrintCapture cap(kc);
  kc->opt.out_csvname = "no/such/dir/t.csv";
  printCSVsolveInfo(kc, 0, mxCountProblem(kc), MxSolveStats());
  EXPECT_EQ(cap.take(), "Error opening no/such/dir/t.csv.\n"
                        "*** Could not open 'no/such/dir/t.csv' for output.\n");
}

const cJSON *at(const cJSON *root, const char *a, const char *b = nullptr) {
  const cJSON *item = getJsonSection1(root, a);
  return b != nullptr ? getJsonSection1(item, b) : item;
}

TEST_F(Reports, JsonReportHoldsEverySectionAndInfiniteBoundsAsText) {
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

  std::ifstream in("report.json");
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  MxJson doc(cJSON_Parse(text.c_str()));
  ASSERT_TRUE(doc) << text;
  EXPECT_EQ(cJSON_GetArraySize(doc.get()), 6);
  EXPECT_EQ(getDebugOptionIntValue3(doc.get(), "ApplicationModel", "Variables", "NumberOfVariables", -1), 3);
  EXPECT_EQ(getDebugOptionIntValue3(doc.get(), "ApplicationModel", "Constraints", "GeneralNonlinearEqualities", -1), 1);
  EXPECT_EQ(getDebugOptionIntValue3(doc.get(), "PresolvedModel", "Variables", "NumberOfVariables", -1), 2);
  EXPECT_STREQ(getDebugOptionStringValue2(doc.get(), "ApplicationModel", "ObjectiveGoal", ""), "Minimize");
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Problem", "NbVariables", -1), 3);
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Output", "Status", -1), 0);
  EXPECT_EQ(getDebugOptionDoubleValue2(doc.get(), "Output", "Value", 0.0), -2.5);
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Output", "NumberOfIterations", -1), 12);
  EXPECT_EQ(getDebugOptionIntValue2(doc.get(), "Presolve", "NbPasses", -1), 3);
  EXPECT_NE(at(doc.get(), "Presolve", "NbSimpleSubstitution"), nullptr);

  const cJSON *solution = at(doc.get(), "Solution");
  ASSERT_EQ(cJSON_GetArraySize(solution), 3);
  const cJSON *first = cJSON_GetArrayItem(solution, 0);
  const cJSON *second = cJSON_GetArrayItem(solution, 1);
  EXPECT_STREQ(getDebugOptionStringValue1(first, "Name", ""), "x[0]");
  EXPECT_EQ(getDebugOptionDoubleValue2(first, "Bound", "Lower", -1.0), 0.0);
  EXPECT_STREQ(getDebugOptionStringValue2(first, "Bound", "Upper", ""), "+inf");
  EXPECT_STREQ(getDebugOptionStringValue2(second, "Bound", "Lower", ""), "-inf");
  EXPECT_EQ(getDebugOptionDoubleValue1(second, "Value", 0.0), 2.0);
}

TEST_F(Reports, ProfileWithoutElapsedTimeHasNoNonFiniteShares) {
  PrintCapture cap(kc);
  kc->timers->profile.fcTime = 0.5;
  kc->timers->profile.fcCount = 3;
  printProfileCommonTimes(kc);
  const std::string text = cap.take();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 12);
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
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take(), "");

  kc->model->conics.push_back(std::make_unique<MXCONIC>());
  kc->opt.bar_conic_enable = 0;
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take(), "\nHINT: Cone constraints were identified, but option bar_conic_enable=0.\n"
                        "      Setting bar_conic_enable=1 may improve performance.\n");
  kc->opt.bar_conic_enable = 1;

  stats.quadraticModel = 1;
  stats.realTime = 10.0;
  stats.convexityCheckTime = 0.05;  // half a percent: not worth a hint
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take(), "");
  stats.convexityCheckTime = 0.5;
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take().rfind("\nHINT: Morvex spent   5.0% of solution time (0.500000 secs) checking model\n", 0), 0u);
  kc->opt.convex = 0;

  stats.convexity = 0;
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take(), "");
  printHints(kc, -202, counts, stats);
  EXPECT_EQ(cap.take().rfind("\nHINT: The problem appears to be a non-convex QP or QCQP.", 0), 0u);
  stats.quadraticModel = 0;

  counts.integer = 2;
  kc->opt.mip_method = 1;
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take().rfind("\nHINT: The problem may be a non-convex mixed-integer problem.", 0), 0u);
  stats.convexity = 1;
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take(), "");
  kc->opt.mip_method = 3;
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take().rfind("\nHINT: The MISQP algorithm is just a heuristic", 0), 0u);
  kc->opt.mip_multistart = 1;
  printHints(kc, 0, counts, stats);
  EXPECT_EQ(cap.take(), "");
}

TEST_F(Reports, DebugFilesOpenPerAlgorithmFamilyWithTheChildsNumber) {
  EXPECT_EQ(addIntSuffixToFilePath("mxdbg_summIP.log", 3), "mxdbg_summIP_3.log");
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
