// The head, the iteration log and the final report of a solve.
#pragma once

#include <cstdint>
#include <string>

#include "driver/exit_messages.h"

struct MXL_context;
struct cJSON;

// The model counted by kind of bound and constraint, as the head, the CSV
// row and the JSON report show it.
struct MxProblemCounts {
  int n = 0, boundedBelow = 0, boundedAbove = 0, boundedBoth = 0, fixed = 0, free = 0;
  int binary = 0, integer = 0;
  int m = 0;
  int linEq = 0, quadEq = 0, nlEq = 0;
  int linIneq = 0, quadIneq = 0, nlIneq = 0;
  int linRange = 0, quadRange = 0, nlRange = 0;
  int comps = 0, residuals = 0;
  int64_t nnzJ = 0, nnzH = 0, nnzResJ = 0;
  int objGoal = 0, objType = -1;
  int equalities() const { return linEq + quadEq + nlEq; }
};

// Statistics of a finished run, for the final report and the CSV row.
struct MxSolveStats {
  double objective = 0.0;
  double absFeasError = 0.0, feasScale = 1.0;
  double absOptError = 0.0, optScale = 1.0;
  int iterations = 0, cgIterations = 0;
  int fevals = 0, gevals = 0, hevals = 0, hvevals = 0;
  int nodes = 0;
  double realTime = 0.0, cpuTime = 0.0, evalTime = 0.0;
  int feasible = 0;
  int exactHessian = 0;
  int hessianVectorProducts = 0;
  int stoppedOnFindiffError = 0;
  int msRuleStopped = 0;
  int quadraticModel = 0;          // a QP or QCQP
  int convexity = -1;              // 1 convex, 0 not convex, -1 unknown
  double convexityCheckTime = 0.0;
};

// Reductions made by the presolve, for the JSON report.
struct MxPresolveCounts {
  int passes = 0, fixed = 0, singCon = 0, forcing = 0, singDoubleton = 0, singVar = 0;
  int varBndStrengthening = 0, varCoeffStrengthening = 0, redundantCstr = 0;
  int impliedComp = 0, simpleSubstitution = 0;
};

MxProblemCounts mxCountProblem(const MXL_context *ctx);

void printBanner(MXL_context *ctx);
void printHead(MXL_context *ctx, int quiet, int outlev, const MxProblemCounts &counts,
               const MxProblemCounts *presolved);
void printIterHead(MXL_context *ctx, int level, int iteration, int fCount, double obj, double feasError);
void printIter(MXL_context *ctx, int level, unsigned iteration, unsigned fCount, unsigned cgIts,
               int printNow, double obj, double feasError, double optError, double stepNorm);
// With writeCsv the solve table gets its row, also at `outlev` 0.
void printFinal(MXL_context *ctx, int writeCsv, int code, const MxExitInfo &info,
                const MxSolveStats &stats, int printStats);
void printHints(MXL_context *ctx, int code, const MxProblemCounts &counts, const MxSolveStats &stats);

// Writes the point to the new-point log when `newpoint` asks for it.
void writeNewPoint(MXL_context *ctx, int iteration, double obj, const double *x, const double *lambda);

// The solve table: one row per solve appended to "morvex_solve.csv" or
// `out_csvname`; a child's row goes to the file of its root context.
std::string mxCsvHeader();
std::string mxCsvRow(const MXL_context *ctx, int code, const MxProblemCounts &counts,
                     const MxSolveStats &stats);
bool openCSVfile(MXL_context *ctx);
void closeCSVfile(MXL_context *ctx);
void printCSVsolveInfo(MXL_context *ctx, int code, const MxProblemCounts &counts,
                       const MxSolveStats &stats);

// The JSON report: sections added to a root object, then written to
// `out_jsonname`. Returns 0 or -505 when the file cannot be written.
void printJSONapplicationModelInfo(cJSON *root, const MxProblemCounts &counts);
void printJSONpresolvedModelInfo(cJSON *root, const MxProblemCounts &counts);
int mxWriteJSON(MXL_context *ctx, cJSON *root, int code, const MxProblemCounts &counts,
                const MxSolveStats &stats, const MxPresolveCounts &presolve);

// The profile printed with `debug` 1, and the build line.
void printProfileCommonTimes(MXL_context *ctx);
void printProfileCPUinfo(MXL_context *ctx);
void printBuildInfo(MXL_context *ctx);
