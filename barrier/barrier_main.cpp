// The barrier loop: start of a leg, the order of one iteration, the
// bookkeeping of accepted and rejected steps, and the end of a leg.
#include <algorithm>
#include <cmath>
#include <utility>

#include "barrier/barrier.h"
#include "driver/error_measures.h"
#include "driver/print.h"
#include "driver/report.h"
#include "interface/context.h"
#include "interface/evaluation.h"

namespace {

const char *const kDirectResultNames[] = {"TRY_FULL", "TRY_CUT_S", "TRY_CUT_L", "REJ_CUT",
                                          "REJ_CUT_S", "REJ_CUT_L", "REJ_INERT"};

int barChooseForm(MXL_context *ctx, const BarrierState &b) {
  // The general rules resolve an automatic form to 1 before the barrier
  // starts; the automatic choice below still applies to it, since forming
  // bound rows into the matrix doubles the dimension of bound-heavy models
  // for no gain.
  const int opt = ctx->opt.bar_linsys == -1 ? -1 : ctx->drv.resolvedLinsys;
  const bool bounds = b.nBoundRows > 0;
  const MxProblemClass &cls = ctx->drv.cls;
  if (opt == -1 || opt == 0 || opt == 1) {
    const bool wants2 = opt == -1 && ctx->resolvedAlgorithm == 1 && (cls.isBoundConstrained || b.nBoundRows >= 10000);
    return wants2 && bounds ? 2 : 1;
  }
  if (opt == 2 || (opt == 3 && b.nIneq == 0)) return bounds ? 2 : 1;
  // Form 3 only where nothing but general rows needs the primal block.
  if (!bounds && b.nFixed == 0 && b.pen.count == 0 && ctx->resolvedHessopt != 6) return 3;
  return b.nBoundRows > 10000 ? 2 : 1;
}

void barResolveRules(MXL_context *ctx, BarrierState &b) {
  b.murule = ctx->resolvedMurule == 0 ? 4 : ctx->resolvedMurule;
  if (b.nSlacks == 0) b.murule = 1;
  b.maxCorrectors = ctx->drv.resolvedCorrectors;
  if (ctx->opt.bar_maxcorrectors > 0) b.maxCorrectors = ctx->opt.bar_maxcorrectors;
  if ((b.murule == 4 || b.murule == 5) && b.maxCorrectors <= 0) b.maxCorrectors = 1;
  const MxProblemClass &cls = ctx->drv.cls;
  b.convexModel = cls.convexity == 1 || cls.isLP;
  b.modelIsLP = cls.isLP;
  b.modelIsQP = cls.isQP;
}

// Model values at the user's point, which the driver evaluated already.
int barStartValues(MXL_context *ctx, BarrierState &b) {
  presolveXAppToPre(ctx, ctx->var.x.data(), b.x.data());
  presolveCAppToPre(ctx, ctx->con.c.data(), b.cModel.data());
  b.fObj = b.fTilde = presolveObjAppToPre(ctx, ctx->drv.objValue);
  std::copy(ctx->var.objGrad.begin(), ctx->var.objGrad.begin() + b.n, b.gModel.begin());
  std::copy(ctx->pat.jac.values.begin(), ctx->pat.jac.values.begin() + b.nnzJ, b.jacVals.begin());
  if (!std::isfinite(b.fTilde)) {
    mxl_printf(ctx, "ERROR: Objective function undefined at the initial point.\n");
    mxl_printf(ctx, "       Please choose an initial point where the objective is defined.\n");
    return MX_RC_EVAL_ERR;
  }
  for (int i = 0; i < b.m; ++i) {
    if (std::isfinite(b.cModel[i])) continue;
    if (ctx->con.name.exists() && ctx->con.hasName[i])
      mxl_printf(ctx, "\nERROR: Constraint %s is undefined at the initial point.\n", ctx->con.name.v[i].c_str());
    else
      mxl_printf(ctx, "\nERROR: Constraint c[%d] is undefined at the initial point.\n", i);
    mxl_printf(ctx, "       Please choose an initial point where all functions are defined.\n");
    return MX_RC_EVAL_ERR;
  }
  return 0;
}

// Multipliers given by the user, turned into row multipliers.
void barStartMultipliers(MXL_context *ctx, BarrierState &b) {
  std::fill(b.lambda.begin(), b.lambda.end(), 0.0);
  if (ctx->noInitialLambda || ctx->lambda.size() < static_cast<size_t>(b.m + b.n)) return;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (barElasticBound(b, row)) continue;
    const int at = row.onVariable() ? b.m + row.item : row.item;
    const double v = -b.objWeight * ctx->lambda[at] / row.coef();
    b.lambda[r] = row.slack >= 0 ? std::max(v, 0.0) : v;
  }
}

void barPrintDirectRow(MXL_context *ctx, const BarrierState &b) {
  if (ctx->opt.debug < 1) return;
  const char *res = kDirectResultNames[b.directResult];
  if (!b.directStepOk) {
    mxl_printf(ctx, "%6d \t\t\t\t\t\t\t\t\t\t       | \t\t\t\t\t %9s\n", b.iterCount, res);
    return;
  }
  const double nA = norm2(b.nFull, b.dAff.data()), nlA = norm2(b.mFull, b.dLambdaAff.data());
  const double nC = norm2(b.nFull, b.dCorr.data()), nlC = norm2(b.mFull, b.dLambdaCorr.data());
  mxl_printf(ctx, "%6d %9.2e %9.2e %9.2e %9.2e %9.2e %9.2e %9.2e %9.2e", b.iterCount, b.muPrevious, b.mu,
             b.alphaMaxPrimal, b.alphaMaxDual, nA, nlA, nC, nlC);
  mxl_printf(ctx, " | %9.2e %9.2e %9.2e %9.2e %9s %8.1e %8.1e\n", norm2(b.nFull, b.d.data()),
             norm2(b.mFull, b.dLambda.data()), b.alphaMaxPrimal, b.alphaMaxDual, res, b.pertH, b.regKKT);
}

void barPrintIteration(MXL_context *ctx, BarrierState &b, bool last) {
  const int level = ctx->opt.outlev;
  if (level < 2 || ctx->quietSubsolve || b.lastPrintedIter == b.iterCount) return;
  const int printNow = level >= 3 || b.iterCount % 10 == 0 || last ? 1 : 0;
  if (!printNow) return;
  const double obj = presolveObjPreToApp(ctx, b.fObj);
  printIter(ctx, level, static_cast<unsigned>(b.iterCount), static_cast<unsigned>(ctx->eval.counters.numFCevals),
            b.stepKind == 2 ? 0u : static_cast<unsigned>(b.cg.cgIterations), 1, obj, b.feasErr, b.optErr,
            b.alpha * norm2(b.nX, b.d.data()));
  b.lastPrintedIter = b.iterCount;
}

void barRejectStep(MXL_context *ctx, BarrierState &b);

void barSwapTrial(BarrierState &b) {
  b.x.swap(b.xTrial);
  b.c.swap(b.cTrial);
  b.cModel.swap(b.cModelTrial);
  std::swap(b.fTilde, b.fTildeTrial);
  std::swap(b.fObj, b.fObjTrial);
  b.lambda.swap(b.lambdaTrial);
}

// The accepted trial becomes the current point. Where its derivatives are
// undefined, the point goes back and the step counts as rejected, so the
// search steps back as it does for a trial whose functions are undefined.
int barAcceptStep(MXL_context *ctx, BarrierState &b) {
  barrierQNStore(b);
  barSwapTrial(b);
  const int rc = barrierComputeGA(ctx, b, b.x.data(), false);
  if (rc == MX_RC_EVAL_ERR) {
    barSwapTrial(b);
    if (const int again = barrierComputeGA(ctx, b, b.x.data(), true)) return again;
    if (ctx->opt.debug > 0) mxl_printf(ctx, "Derivatives undefined at the trial point: step rejected.\n");
    b.stepOutcome = BAR_STEP_REJECTED;
    barRejectStep(ctx, b);
    return 0;
  }
  if (rc != 0) return rc;
  safeguardMultipliers(b, b.lambda.data());
  ++b.iterCount;
  ++b.muIterCount;
  ++b.totalIterCount;
  b.consecutiveCG = b.directStepOk ? 0 : b.consecutiveCG + 1;
  b.smallStepCount = b.alphaMaxPrimal < 0.01 ? b.smallStepCount + 1 : 0;
  std::copy_backward(b.lastStepAlphas, b.lastStepAlphas + 9, b.lastStepAlphas + 10);
  b.lastStepAlphas[0] = b.alphaMaxPrimal;
  barrierUpdateTRaccept(b);
  barrierWatchdogAdvance(b, true);
  b.pertHMin = 0.0;
  b.directRetries = 0;
  ++b.resto.mainIters;
  b.rejections = 0;
  if (ctx->resolvedAlgorithm == 2 && !b.feasibleMode) b.cg.freeNormalStep = true;
  b.cg.factoredHere = false;
  if (b.directStepOk && !b.modelIsLP && !b.modelIsQP) resetBndMultipliers(b);
  b.xNorm = norm2(b.nX, b.x.data());
  b.cNorm = norm2(b.mFull, b.c.data());
  return 0;
}

// A rejected step: the next one is a trust-region step at the same point,
// in a region that shrinks with each rejection of such a step.
void barRejectStep(MXL_context *ctx, BarrierState &b) {
  ++b.totalIterCount;
  ++b.rejections;
  if (b.directStepOk && b.probing && !b.safeguardMode) {
    // The predictor's target failed: go on with the monotone regime from a
    // barrier parameter at the size of the complementarity.
    b.safeguardMode = true;
    b.safeguardCount = 1;
    updatemutol(ctx, b);
    barrierUpdateFG(b);
    b.safeguardCount = 2;
    b.muIterCount = 0;
  }
  if (!b.directStepOk && b.rejections >= 3) b.cg.freeNormalStep = false;
  barrierUpdateTRreject(b);
  b.directStepOk = false;
}

// The convex start (bar_initpt 1) replaces the search of the very first
// direct step: the step is taken whole, the slacks and multipliers it
// drove through zero are shifted back inside, and the shifted point is
// accepted. Returns 1 when the functions are undefined there (the
// ordinary search then runs), else 0 or a code that ends the solve.
int barConvexStartStep(MXL_context *ctx, BarrierState &b) {
  // The predictor (the Newton step towards mu 0) where the rule computed
  // one, else the step itself; either is taken whole, not cut to the
  // fraction to the boundary.
  const bool aff = b.probing;
  const double *dx = aff ? b.dAff.data() : b.d.data(), *dl = aff ? b.dLambdaAff.data() : b.dLambda.data();
  const double aP = !aff && b.alphaMaxPrimal > 0.0 ? 1.0 / b.alphaMaxPrimal : 1.0;
  const double aD = !aff && b.alphaMaxDual > 0.0 ? 1.0 / b.alphaMaxDual : 1.0;
  for (int i = 0; i < b.nX; ++i) b.xTrial[i] = b.x[i] + aP * dx[i];
  for (int j = b.nX; j < b.nFull; ++j) b.xTrial[j] = (1.0 + aP * dx[j]) * b.x[j];
  for (int r = 0; r < b.mFull; ++r) b.lambdaTrial[r] = b.lambda[r] + aD * dl[r];
  if (computeshift(ctx, b, b.xTrial.data() + b.nX, b.lambdaTrial.data()) && ctx->opt.debug > 0 && ctx->opt.outlev > 0)
    mxl_printf(ctx, "Morvex barrier algorithm shifted slacks.\n");
  const int rc = barrierComputeFC(ctx, b, b.xTrial.data(), &b.fObjTrial, &b.fTildeTrial, b.cModelTrial.data(), b.cTrial.data());
  if (rc == MX_RC_EVAL_ERR) return 1;
  if (rc != 0) return rc;
  b.alpha = 1.0;
  b.stepOutcome = BAR_STEP_ACCEPTED;
  return barAcceptStep(ctx, b);
}

bool barConvexStartWanted(const MXL_context *ctx, const BarrierState &b) {
  return ctx->resolvedInitpt == 1 && b.totalIterCount == 0 && b.nSlacks > 0 && b.resto.phase != 3 &&
         !b.feasibleMode && ctx->resolvedHonorbnds != 1 && b.restartCount == 0;
}

// A direct step with its line search; a corrector that failed is tried
// once more without.
int barTakeDirectStep(MXL_context *ctx, BarrierState &b) {
  b.noCorrectors = false;
  for (int attempt = 0; attempt < 2; ++attempt) {
    b.stepKind = 2;
    computeDirectStep(ctx, b);
    barPrintDirectRow(ctx, b);
    if (!b.directStepOk) break;
    if (barConvexStartWanted(ctx, b)) {
      const int rc = barConvexStartStep(ctx, b);
      if (rc <= 0) return rc;
    }
    barrierFeasibleCut(b);
    b.stepNorm = norm2(b.nFull, b.d.data());
    const int rc = barrierLineSearch(ctx, b);
    if (rc != 0) return rc;
    switchToRestorationCheck(ctx, b);
    if (b.stepOutcome == BAR_STEP_ACCEPTED) return barAcceptStep(ctx, b);
    if (b.correctorsUsed == 0 || b.noCorrectors) break;
    b.noCorrectors = true;
  }
  b.stepOutcome = BAR_STEP_REJECTED;
  barRejectStep(ctx, b);
  return 0;
}

void barPrintCGRow(MXL_context *ctx, const BarrierState &b) {
  if (ctx->opt.debug < 1) return;
  const BarCG &cg = b.cg;
  mxl_printf(ctx, "%6d CG  mu %9.2e delta %9.2e ||n|| %9.2e ||t|| %9.2e x%5.3f cgits %4d exit %d nu %9.2e ratio %9.2e %s\n",
             b.iterCount, b.mu, b.deltaPrev, std::sqrt(cg.normalNormSq), norm2(b.nFull, cg.tangent.data()),
             cg.tangentScale, cg.cgIterations, cg.cgExit, b.nuUsed, b.ratio,
             b.stepOutcome == BAR_STEP_ACCEPTED ? "accepted" : "rejected");
}

// No trust-region step exists when the projection system stays singular
// however it is regularised: the point cannot be improved.
int barNoStep(MXL_context *ctx, BarrierState &b) {
  if (ctx->opt.debug > 0) mxl_printf(ctx, "No step: the projection system stays singular.\n");
  b.stepOutcome = BAR_STEP_REJECTED;
  b.rejections = std::max(b.rejections, 50);
  barRejectStep(ctx, b);
  return 0;
}

int barTakeCGStep(MXL_context *ctx, BarrierState &b) {
  if (const int rc = computeCGStep(ctx, b)) return rc == 1 ? barNoStep(ctx, b) : rc;
  barrierFeasibleCut(b);
  b.stepNorm = norm2(b.nFull, b.d.data());
  const int rc = barrierLineSearch(ctx, b);
  if (rc != 0) return rc;
  barPrintCGRow(ctx, b);
  switchToRestorationCheck(ctx, b);
  if (b.stepOutcome == BAR_STEP_ACCEPTED) return barAcceptStep(ctx, b);
  b.stepOutcome = BAR_STEP_REJECTED;
  barRejectStep(ctx, b);
  return 0;
}

// One step from the current point: the direct step first under algorithm
// 1, the trust-region step under algorithm 2 and after a rejection.
// Returns a negative code that ends the solve, else 0.
int barTakeStep(MXL_context *ctx, BarrierState &b) {
  const bool rejected = b.stepOutcome == BAR_STEP_REJECTED;
  if (b.stepOutcome == BAR_STEP_ACCEPTED || b.stepOutcome == BAR_STEP_AT_FLOOR) {
    const int rc = barrierComputeH(ctx, b, 3);
    if (rc != 0) return rc;
  }
  if (b.resto.phase == 3) {
    const int rc = barTakeRestorationStep(ctx, b);
    return rc == 1 ? barNoStep(ctx, b) : rc;
  }
  if (ctx->resolvedAlgorithm == 2) return barTakeCGStep(ctx, b);
  // A rejected direct step is retried twice with a larger Hessian shift,
  // which turns it towards the gradient, before trust-region steps take
  // over at this point.
  if (rejected && b.directRetries >= 2) return barTakeCGStep(ctx, b);
  if (rejected) {
    ++b.directRetries;
    b.pertHMin = std::max(1e-4, 10.0 * std::max(b.pertH, b.pertHMin));
  }
  return barTakeDirectStep(ctx, b);
}

void barUpdateFeasErr(MXL_context *ctx, BarrierState &b) {
  presolveXPreToApp(ctx, b.x.data(), b.xApp.data());
  presolveCPreToApp(ctx, b.cModel.data(), b.cApp.data());
  b.feasErr = getFeasErrApp(ctx, b.xApp.data(), b.cApp.data(), nullptr, nullptr, nullptr);
  b.feasibleNow = b.feasErr <= b.tolFeas;
}

// After an accepted restoration step: the model's infeasibility decides
// whether the main mode takes over again.
void barRestorationProgress(MXL_context *ctx, BarrierState &b) {
  barUpdateFeasErr(ctx, b);
  if (switchToMainModeCheck(b)) switchMainModeInit(ctx, b);
}

void barRestorationHandBack(MXL_context *ctx, BarrierState &b) {
  b.resto.handBack = false;
  barUpdateFeasErr(ctx, b);
  switchMainModeInit(ctx, b);
}

// The stall was seen before the step: a step that was accepted may have
// reached a feasible point after all.
void barRestorationEnter(MXL_context *ctx, BarrierState &b) {
  b.resto.wantSwitch = false;
  if (b.stepOutcome == BAR_STEP_ACCEPTED) barUpdateFeasErr(ctx, b);
  if (b.feasErr > 1e-4 || (b.feasErr > 1e-8 && !b.feasibleNow)) switchRestorationInit(ctx, b);
  else b.resto.stallCount = 0;
}

void barInitializeSub(MXL_context *ctx, BarrierState &b) {
  b.muIterCount = 0;
  b.muIterCountAll = 0;
  b.stepKind = ctx->resolvedAlgorithm == 1 ? 2 : 1;
  if ((b.murule == 1 || (b.safeguardMode && b.safeguardCount >= 2)) && std::isfinite(5.0 * b.delta))
    b.delta = std::max(5.0 * b.delta, 1.0);
  b.flexCap = 100.0 * b.cNorm;
}

}  // namespace

void barPrintScaling(MXL_context *ctx) {
  if (ctx->opt.debug < 1) return;
  const std::vector<double> &f = ctx->pre.conScale;
  const long scaled = std::count_if(f.begin(), f.end(), [](double v) { return v != 1.0; });
  if (scaled == 0) mxl_printf(ctx, "  ->No constraint scaling.\n");
  else mxl_printf(ctx, "Scaling: %ld scaled constraints, objective scaling: %g\n", scaled, ctx->pre.objScale);
}

int barrierInitialize(MXL_context *ctx) {
  if (!ctx->bar) ctx->bar.reset(new BarrierState);
  BarrierState &b = *ctx->bar;
  b.evalRequest = 4;
  barrierSizes(ctx, b);
  presolveSetConScale(ctx, ctx->pat.jac.values.data());
  barrierScaleRows(b, ctx->pre.conScale);
  barPrintScaling(ctx);
  barrierQNSetup(ctx, b);
  barrierAllocate(b);
  initvals(ctx, b);
  barResolveRules(ctx, b);
  switchInitialize(ctx, b);
  initmutol(ctx, b);
  b.rho = 0.995;
  presolveSetObjScale(ctx, ctx->var.objGrad.data());
  b.objScale = ctx->pre.objScale;
  b.objFactor = b.objWeight = b.objSign * b.objScale;
  if (const int rc = barStartValues(ctx, b)) return rc;
  penaltyBarInitPi(ctx, b);
  const double push = ctx->drv.resolvedSlackPush > 0.0 ? ctx->drv.resolvedSlackPush : 0.1;
  penaltyBarInitVars(b, push);
  b.fTilde = penaltyBarObjective(b, b.x.data(), b.fObj);
  barStartMultipliers(ctx, b);
  initializeSlacks(b, push);
  initializeLambdaIneq(b, 0.0);
  barrierFormRows(b, b.x.data(), b.cModel.data(), b.c.data());
  barrierUpdateFG(b);
  b.xNorm = norm2(b.nX, b.x.data());
  if (ctx->resolvedAlgorithm == 1) {
    barrierKKTinit(ctx, b, barChooseForm(ctx, b));
    if (!b.kkt.analysed) return MX_RC_LINEAR_SOLVER_ERR;
  }
  b.cg.allocated = false;
  b.cg.factoredHere = false;
  b.cg.lastKind = b.stepKind = ctx->resolvedAlgorithm == 1 ? 2 : 1;
  presolveXPreToApp(ctx, b.x.data(), b.xApp.data());
  presolveCPreToApp(ctx, b.cModel.data(), b.cApp.data());
  b.feasErr = b.feasErr0 = b.feasErrBest = getFeasErrApp(ctx, b.xApp.data(), b.cApp.data(), nullptr, nullptr, nullptr);
  if (ctx->opt.outlev >= 2 && !ctx->quietSubsolve)
    printIterHead(ctx, ctx->opt.outlev, 0, ctx->eval.counters.numFCevals, ctx->drv.objValue, b.feasErr);
  b.lastPrintedIter = 0;
  if (ctx->opt.debug >= 1) {
    mxl_printf(ctx, "%s (Barrier Algorithm)\nDirect Step information\n\n", "Morvex");
    mxl_printf(ctx, "  Iter     mu      muDYN     cutAS_P   cutAS_D   ||dAS||  ||dlAS||");
    mxl_printf(ctx, "  ||dCC||  ||dlCC||  |    ||d||    ||dl||    alpha_P   alpha_D   Result");
    mxl_printf(ctx, "    pertH   regKKT\n");
  }
  return 0;
}

int barrierNewpoint(MXL_context *ctx) {
  BarrierState &b = *ctx->bar;
  barrierLambdaToUser(b, b.lambda.data(), b.lambdaUser.data());
  presolveLambdaPreToApp(ctx, b.lambdaUser.data(), b.lambdaApp.data());
  presolveUntransform(ctx);
  presolveXPreToApp(ctx, b.x.data(), b.xApp.data());
  int stop = 0;
  if (ctx->hooks.newpt != nullptr && callbackForNewPoint(ctx, b.xApp.data(), b.lambdaApp.data()) == 0) stop = 1;
  if (ctx->opt.newpoint == 1 || ctx->opt.newpoint == 2)
    writeNewPoint(ctx, b.iterCount, presolveObjPreToApp(ctx, b.fObj), b.xApp.data(), b.lambdaApp.data());
  presolveTransform(ctx);
  b.evalRequest = 6;
  return stop;
}

int barrierRestartCheck(MXL_context *ctx) {
  BarrierState &b = *ctx->bar;
  if (b.restartCount >= ctx->drv.resolvedRestarts) return 0;
  const int st = b.barStatus;
  const bool stalledInfeasible = (st == MX_RC_INFEASIBLE || st == MX_RC_INFEAS_XTOL || st == MX_RC_INFEAS_NO_IMPROVE) &&
                                 b.feasErr > 1e-4 && b.nSlacks > 0 && !b.convexModel;
  if (!stalledInfeasible) return 0;
  ++b.restartCount;
  if (ctx->opt.outlev >= 2 && ctx->opt.debug >= 1)
    mxl_printf(ctx, "Performing restart %d of %d...\n", b.restartCount, ctx->drv.resolvedRestarts);
  return 1;
}

// The reset of the start of a subproblem: the barrier parameter from the
// current errors, slacks pushed from the rows, multipliers on the central
// path, counters of the stall tests cleared.
void barResetInitPoint(MXL_context *ctx, BarrierState &b) {
  b.mu = std::max(std::max(b.feasErr, 1e-6), 1e-4 * b.dualInf);
  if (ctx->drv.resolvedInitMu > 0.0 && ctx->opt.bar_initmu > 0.0) b.mu = ctx->opt.bar_initmu;
  b.mu = std::min(b.mu, 1e3);
  b.muTol = b.muPrevious = b.muTarget = b.mu;
  b.murule = ctx->resolvedMurule == 0 ? 4 : ctx->resolvedMurule;
  initializeSlacks(b, std::min(0.1, b.mu));
  std::fill(b.lambda.begin(), b.lambda.end(), 0.0);
  initializeLambdaIneq(b, 0.0);
  barrierFormRows(b, b.x.data(), b.cModel.data(), b.c.data());
  barrierUpdateFG(b);
  b.barStatus = 0;
  b.stepOutcome = BAR_STEP_ACCEPTED;
  b.xtolRun = b.ftolRun = b.infeasStall = b.infeasStationary = b.rejections = 0;
  b.pertHMin = 0.0;
  b.guardLambda = 0.0;
  b.feasibleMode = false;
  b.directRetries = 0;
  b.tinyStepDrops = b.tinyDirectSteps = 0;
  b.muFloorRef = 3e-16;
  b.safeguardMode = false;
  b.safeguardCount = 0;
  b.kktBest = 1e300;
  b.kktBestIter = b.iterCount;
  b.filterF.clear();
  b.filterFeas.clear();
  b.muIterCount = 0;
}

// The code of a run that hands back a stored feasible point: an ending
// that would call the model infeasible, or stop at a limit with an
// infeasible point, describes the last iterate, not the answer.
static int barFeasibleFallbackCode(const BarrierState &b, double bestOptErr) {
  switch (b.barStatus) {
    case MX_RC_INFEASIBLE:
    case MX_RC_INFEAS_XTOL:
    case MX_RC_INFEAS_NO_IMPROVE:
      return bestOptErr <= 100.0 * b.tolOpt ? -100 : -102;
    case MX_RC_ITER_LIMIT_INFEAS:
    case MX_RC_TIME_LIMIT_INFEAS:
    case MX_RC_FEVAL_LIMIT_INFEAS:
      return b.barStatus + 10;  // the same limit, feasible
    default:
      return b.barStatus;
  }
}

void barrierFinished(MXL_context *ctx) {
  BarrierState &b = *ctx->bar;
  presolveXPreToApp(ctx, b.x.data(), b.xApp.data());
  presolveCPreToApp(ctx, b.cModel.data(), b.cApp.data());
  double f = presolveObjPreToApp(ctx, b.fObj);
  double feas = b.feasErr, opt = b.optErr;
  const MxBestPoint &best = ctx->errState.best;
  const bool bestFeasible = best.stored && best.bestFeasErr <= b.tolFeas;
  // A minimiser of the elastic violation is the answer of an infeasible
  // model, even where an earlier point had a smaller largest violation.
  const bool elasticEnd = b.barStatus == MX_RC_INFEASIBLE && b.pen.count > 0;
  const bool useBest = b.barStatus != 0 && best.stored && !elasticEnd &&
                       ((!b.feasibleNow && bestFeasible) ||
                        (b.feasibleNow && bestFeasible && barrierFeasibleBetter(b.objSign, best.bestObj, best.bestOptErr, f, opt)) ||
                        (!b.feasibleNow && !bestFeasible && best.bestFeasErr < b.feasErr));
  if (useBest) {
    restoreBestSolution(ctx, b.xApp.data(), b.lambdaApp.data(), b.cApp.data(), b.gModel.data(), b.jacVals.data(),
                        &feas, &opt, &f);
  }
  if (!useBest) barrierReturnMultipliers(ctx, b);
  presolveTransform(ctx);
  std::copy(b.xApp.begin(), b.xApp.end(), ctx->var.x.begin());
  std::copy(b.cApp.begin(), b.cApp.end(), ctx->con.c.begin());
  ctx->lambda.assign(b.lambdaApp.begin(), b.lambdaApp.end());
  std::copy(b.gModel.begin(), b.gModel.end(), ctx->var.objGrad.begin());
  std::copy(b.jacVals.begin(), b.jacVals.end(), ctx->pat.jac.values.begin());
  MxDriverState &d = ctx->drv;
  d.objValue = f;
  d.absFeasError = feas;
  d.absOptError = opt;
  d.feasErrorScale = b.feasScale;
  d.optErrorScale = b.optScale;
  d.isFeasibleFlag = useBest ? bestFeasible : b.feasibleNow;
  d.numIters = b.iterCount;
  d.numCGIters = b.cg.cgIterationsTotal;
  d.fstopSatisfied = b.fstopReached ? 1 : d.fstopSatisfied;
  ctx->returnCode = useBest && bestFeasible ? barFeasibleFallbackCode(b, opt) : b.barStatus;
  b.evalRequest = 5;
  barrierKKTfree(b);
  barrierAUGfree(b);
}

void barrierMain(MXL_context *ctx) {
  const int rc = barrierInitialize(ctx);
  BarrierState &b = *ctx->bar;
  if (rc != 0) {
    b.barStatus = rc;
    b.evalRequest = 5;
    ctx->returnCode = rc;
    return;
  }
  bool retest = false;
  for (;;) {
    b.retestPass = retest;
    barrierStopTest(ctx, b);
    if (b.barStatus == 0 && !b.solutionFound && !retest && b.stepOutcome == BAR_STEP_ACCEPTED &&
        (ctx->hooks.newpt != nullptr || ctx->opt.newpoint > 0) && b.iterCount > 0 && barrierNewpoint(ctx))
      b.barStatus = MX_RC_USER_TERMINATION;
    if (b.barStatus != 0 && barrierRestartCheck(ctx)) barResetInitPoint(ctx, b);
    const bool ends = b.barStatus != 0 || b.solutionFound;
    barPrintIteration(ctx, b, ends);
    if (b.solutionFound && b.iterCount == 0 && !b.modelIsLP) {
      mxl_printf(ctx, "\nWARNING: The initial point is a stationary point and only the first order\n");
      mxl_printf(ctx, "         optimality conditions have been verified.\n");
    }
    if (ends) break;
    if (b.stepOutcome == BAR_STEP_ACCEPTED && !retest) penaltyBarUpdatePi(ctx, b, b.forceFGUpdate);
    b.forceFGUpdate = false;
    if (b.resto.phase != 3 && b.stepOutcome == BAR_STEP_ACCEPTED && !retest) barrierFeasibleModeCheck(ctx, b);
    retest = false;
    if (b.needMuUpdate && b.resto.phase == 3) b.needMuUpdate = false;
    if (b.needMuUpdate) {
      updatemutol(ctx, b);
      barrierUpdateFG(b);
      barInitializeSub(ctx, b);
      // A monotone rule tests the new subproblem at once.
      if (b.murule == 1 && b.stepOutcome != BAR_STEP_AT_FLOOR && b.mu > b.muFloorRef) {
        retest = true;
        continue;
      }
    }
    const int st = barTakeStep(ctx, b);
    if (st != 0) {
      b.barStatus = st;
      break;
    }
    if (b.resto.wantSwitch) barRestorationEnter(ctx, b);
    else if (b.resto.phase == 3 && b.resto.handBack) barRestorationHandBack(ctx, b);
    else if (b.resto.phase == 3 && b.stepOutcome == BAR_STEP_ACCEPTED) barRestorationProgress(ctx, b);
    if (b.rejections > 50) {
      b.barStatus = b.feasibleNow ? MX_RC_FEAS_NO_IMPROVE : MX_RC_INFEAS_NO_IMPROVE;
      break;
    }
  }
  barrierFinished(ctx);
}
