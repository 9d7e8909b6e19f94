// The road of a solve: the model stage (MX_solve), the dispatch stage
// (MXL_solve, MXL_mip_solve) and the single-solve stage (mxlSolveInternals).
#pragma once

#include <cstdint>
#include <vector>

#include "morvex.h"

struct MXL_context;
struct cJSON;

// Class of the model, as the automatic choices read it.
struct MxProblemClass {
  int isLP = 0, isQP = 0, isQCQP = 0, isMPEC = 0;
  int isUnconstrained = 0, isBoundConstrained = 0, isOverdetermined = 0;
  int convexity = 0;   // 1 convex, 0 unknown, -1 non-convex
  int numIneqCons = 0, numFiniteBounds = 0, numFixed = 0, numEqualities = 0;
  int hasCones = 0;
  int inequalities() const { return numIneqCons + numFiniteBounds; }
};

// What the driver keeps between the stages of one solve and across solves.
struct MxDriverState {
  // Result record of the last solve.
  double objValue = 0.0;
  double absFeasError = 0.0, feasErrorScale = 1.0;
  double absOptError = 0.0, optErrorScale = 1.0;
  double feasTolEffective = 0.0;
  int isFeasibleFlag = 0;
  bool feasScaleFixed = false;   // the scale is fixed at the first solve
  int fstopSatisfied = 0;
  int presolveStage = 0;
  int numIters = 0, numCGIters = 0, numMajorIters = 0, numMinorIters = 0;
  // Resolved twins that the context record has no slot for.
  int resolvedMaxit = 0, resolvedSwitchRule = 0, resolvedQpAlg = 0, resolvedLinesearch = 0;
  int resolvedCorrectors = 0, resolvedDirectInterval = -1, resolvedLinsys = 0;
  int resolvedRestarts = -1, resolvedInitStrategy = 0, resolvedPenaltyRule = 0, resolvedBlas = -1;
  int barConvexMode = 0;
  MxProblemClass cls;
  double resolvedInitMu = 0.0, resolvedSlackPush = 0.0;
  int xtolIters = 0;
  int randomSeed = 0;
  // Sizes at the end of the last solve, for the next one.
  int lastN = 0, lastM = 0;
  int64_t lastNnzJ = 0;
  std::vector<double> startX;
  const cJSON *debugOptions = nullptr;  // the parsed debug options file, during a solve
  int presolveOff = 0;         // presolve dropped after its evaluation failed
  // Mixed-integer results, filled by the mixed-integer solver.
  int mipNodes = 0, mipSolves = 0;
  double mipAbsGap = MX_INFINITY, mipRelGap = MX_INFINITY;
  double mipIncumbentObj = MX_INFINITY, mipRelaxBound = -MX_INFINITY, mipLastNodeObj = 0.0;
  std::vector<double> mipIncumbentX;   // empty: no incumbent
  double cpuStart = 0.0, realStart = 0.0, cpuTotal = 0.0, realTotal = 0.0;
};

// Model stage; updateOnly prepares the structure without solving.
int mxSolveModel(MXL_context *ctx, int updateOnly);
// Dispatch stage. Both take the context lock themselves.
int MXL_solve(MXL_context *ctx);
int MXL_mip_solve(MXL_context *ctx);
// Single-solve stage (lock held by the caller).
int mxlSolveInternals(MXL_context *ctx);
void mxlInitialize(MXL_context *ctx);
int mxlSolveProblem(MXL_context *ctx);
void determineAutoOptions(MXL_context *ctx);
// Classifies the model from its terms and bounds (no presolve reductions).
void mxAnalyzeProblem(MXL_context *ctx);
// The report of the automatic choices and the corrections that follow them.
void mxAfterAutoOptions(MXL_context *ctx);

// Checks of the model data.
int checkProblemDefinition(MXL_context *ctx, int isMixedInteger);
int checkVarConBounds(MXL_context *ctx);
void setHonorBnds(MXL_context *ctx);
void mxWarnHugeBounds(MXL_context *ctx);

// The final report of a solve that ended with code.
void mxFinishSolve(MXL_context *ctx, int code, int printStats);
// Refuses a step that is not built: "Internal error:" and -600.
int mxNotBuilt(MXL_context *ctx, const char *what);
// Wall and CPU clocks in seconds.
double mxWallSeconds();
double mxCpuSeconds();

// Feasibility values of the start point (the scale is fixed at the first
// solve of the context); evaluated tells whether f and c are known there.
void mxMeasureStart(MXL_context *ctx, bool evaluated);
// The start is feasible and the objective target fstopval is reached.
bool mxObjectiveTargetReached(MXL_context *ctx);
