// Feasibility restoration. When the steps of the main mode keep failing to
// reduce the linearised rows at an infeasible point, a restoration leg
// minimises ||c||^2 alone: trust-region Gauss-Newton steps (the restricted
// dogleg of the normal step, inside the slack bounds) judged by the actual
// against the predicted reduction of ||c||. The leg hands back to the main
// mode once the infeasibility has fallen by a factor ten, and ends the
// solve as infeasible when ||c||^2 is stationary at a positive value.
#include <algorithm>
#include <cmath>
#include <vector>

#include "barrier/barrier.h"
#include "driver/error_measures.h"
#include "driver/print.h"
#include "interface/context.h"

void switchInitialize(MXL_context *ctx, BarrierState &b) {
  BarRestore &r = b.resto;
  const int rule = ctx->drv.resolvedSwitchRule;
  r = BarRestore();
  r.active = (rule == 2 || rule == 3) && b.mFull > 0 && b.pen.count == 0;
  if (!r.active) return;
  if (b.convexModel && ctx->resolvedAlgorithm == 1) r.patience = 3;
  else r.patience = rule == 2 ? 2 : 1;
}

// After the search of a main-mode step, with x still the point the step
// started from: a stall of the rows' reduction counts towards a switch.
void switchToRestorationCheck(MXL_context *ctx, BarrierState &b) {
  BarRestore &r = b.resto;
  if (!r.active || r.phase == 3 || r.switches >= 10 || b.iterCount < 4) return;
  // Short accepted steps that together removed less than 1% of ||c|| over
  // the last five iterations make no progress either.
  const bool accepted = b.stepOutcome == BAR_STEP_ACCEPTED;
  if (accepted) {
    std::copy_backward(r.cNormHistory, r.cNormHistory + 4, r.cNormHistory + 5);
    r.cNormHistory[0] = b.cNorm;
  }
  const bool shortStep = b.alpha * norm2(b.nX, b.d.data()) < 1e-3 * (1.0 + b.xNorm);
  const bool crawling = shortStep && r.mainIters >= 5 && b.cNorm > 0.99 * r.cNormHistory[4];
  if (accepted && ctx->drv.resolvedSwitchRule == 2 && b.directStepOk && !crawling) {
    r.stallCount = 0;
    return;
  }
  const bool infeasible = b.feasErr > 1e-4 || (b.feasErr > 1e-8 && !b.feasibleNow);
  if (!infeasible || r.mainIters < 3) return;
  barrierJacTimes(b, b.x.data(), b.d.data(), b.workRows.data());
  for (int i = 0; i < b.mFull; ++i) b.workRows[i] += b.c[i];
  const double p = b.cNorm, l = norm2(b.mFull, b.workRows.data());
  const double t = b.alpha * norm2(b.nFull, b.d.data());
  const bool stall = l >= 0.9 * p && t > 1e-8 &&
                     (t > 0.99 * p || (b.stepOutcome == BAR_STEP_REJECTED && b.aredCons < 0.0) || crawling);
  r.stallCount = stall ? r.stallCount + 1 : r.stallCount;
  r.wantSwitch = r.stallCount >= r.patience;
}

void switchRestorationInit(MXL_context *ctx, BarrierState &b) {
  BarRestore &r = b.resto;
  r.wantSwitch = false;
  r.phase = 3;
  ++r.switches;
  r.legIters = 0;
  r.stallCount = 0;
  r.feasErrStart = b.feasErr;
  r.cNormStart = b.cNorm;
  r.deltaSaved = b.delta;
  b.delta = std::max(b.delta, std::max(1.0, b.cNorm));
  b.cg.factoredHere = false;
  if (ctx->opt.outlev >= 2 && ctx->opt.debug >= 1) mxl_printf(ctx, "Switching to feasibility restoration...\n");
}

// Back to the main mode from the restored point, with the barrier
// parameter and the multipliers the leg started with: the leg moved only
// the point.
void switchMainModeInit(MXL_context *ctx, BarrierState &b) {
  BarRestore &r = b.resto;
  r.phase = 2;
  r.mainIters = 0;
  r.stallCount = 0;
  b.delta = std::max(r.deltaSaved, b.delta);
  replaceNegByPrimal(b, b.lambda.data(), b.x.data());
  barrierUpdateFG(b);
  b.stepOutcome = BAR_STEP_ACCEPTED;
  b.cg.factoredHere = false;
  if (ctx->opt.outlev >= 2 && ctx->opt.debug >= 1) mxl_printf(ctx, "Switching back to the main mode...\n");
}

bool switchToMainModeCheck(const BarrierState &b) {
  const BarRestore &r = b.resto;
  // The leg's own measure counts too: on badly scaled rows the largest
  // violation can lag far behind ||c||.
  return b.feasibleNow || b.cNorm <= 1e-8 || b.feasErr <= 1e-8 || b.feasErr <= 0.1 * r.feasErrStart ||
         b.cNorm <= 0.1 * r.cNormStart;
}

namespace {

constexpr int kResWindow = 20;

// The accepted restoration trial becomes the point; multipliers stay.
int resAccept(MXL_context *ctx, BarrierState &b) {
  b.x.swap(b.xTrial);
  b.c.swap(b.cTrial);
  b.cModel.swap(b.cModelTrial);
  b.fTilde = b.fTildeTrial;
  b.fObj = b.fObjTrial;
  ++b.iterCount;
  ++b.totalIterCount;
  ++b.resto.legIters;
  b.rejections = 0;
  b.cg.factoredHere = false;
  if (const int rc = barrierComputeGA(ctx, b, b.x.data())) return rc;
  b.xNorm = norm2(b.nX, b.x.data());
  b.cNorm = norm2(b.mFull, b.c.data());
  return 0;
}

// Five restoration steps in a row that leave ||c|| within a factor
// 0.999999 end the leg: the point minimises the infeasibility as far as
// the method can tell.
void barRestorationStall(BarrierState &b, double cNext) {
  BarRestore &r = b.resto;
  r.noProgress = r.legIters >= 2 && cNext > 0.999999 * b.cNorm ? r.noProgress + 1 : 0;
  // Gauss-Newton steps along a curved valley can keep a steady but useless
  // pace: less than 1% off ||c|| over a window of steps is no progress either.
  if (r.legIters == 0) {
    r.cNormWindow = b.cNorm;
    r.windowStart = 0;
  } else if (r.legIters - r.windowStart >= kResWindow) {
    if (cNext > 0.99 * r.cNormWindow) r.noProgress = 5;
    r.cNormWindow = cNext;
    r.windowStart = r.legIters;
  }
  if (r.noProgress < 5) return;
  // A stalled leg first hands back to the main mode; only when the legs
  // keep stalling at the same violation is the point taken as a minimiser
  // of the infeasibility.
  r.noProgress = 0;
  const bool same = r.stalledLegs > 0 && std::fabs(b.cNorm - r.cNormStalled) <= 0.01 * r.cNormStalled;
  r.stalledLegs = same ? r.stalledLegs + 1 : 1;
  r.cNormStalled = b.cNorm;
  r.stalled = r.stalledLegs >= 3;
  if (!r.stalled) r.handBack = true;
}

}  // namespace

// How a stalled restoration ends: -200 where ||c||^2 is stationary to a
// modest tolerance, else -202. Gauss-Newton steps crawl near a minimiser
// with a large residual, so the tolerance is relative to ||c||; for convex
// rows a point of large violation with so small a gradient proves that
// the violation cannot vanish.
int barrierRestorationEnd(const BarrierState &b) {
  return barrierInfeasibilityGradient(b) <= 1e-3 * std::max(1.0, b.cNorm) ? -200 : -202;
}

// One restoration step. Returns 0, 1 when the projection system stays
// singular, or a negative code that ends the solve.
int barTakeRestorationStep(MXL_context *ctx, BarrierState &b) {
  barrierInitializeCG(ctx, b);
  BarCG &cg = b.cg;
  if (!cg.factoredHere) {
    const int st = barrierAUGfactor(ctx, b);
    if (st == LIN_ERR_SINGULAR) return 1;
    if (st != 0) return MX_RC_LINEAR_SOLVER_ERR;
    cg.factoredHere = true;
  }
  normalStepRestricted(ctx, b);
  std::copy(cg.normal.begin(), cg.normal.end(), b.d.begin());
  std::fill(b.dLambda.begin(), b.dLambda.end(), 0.0);
  b.directStepOk = false;
  b.dualRepair = false;
  b.alpha = 1.0;
  b.stepNorm = std::sqrt(cg.normalNormSq);
  const double pred = b.cNorm - cg.normalModel;
  const int ev = pred > 0.0 ? barrierEvaluateTrial(ctx, b) : 1;
  if (ev < 0) return ev;
  const double ared = ev == 0 ? b.cNorm - b.cNormTrial : -1.0;
  const double ratio = ev == 0 ? (ared + 2.220446049250313e-16) / pred : 0.0;
  if (ctx->opt.debug > 0)
    mxl_printf(ctx, "%6d RESTORE delta %9.2e ||n|| %9.2e ||c|| %9.2e pred %9.2e ared %9.2e\n", b.iterCount, b.delta,
               b.stepNorm, b.cNorm, pred, ared);
  barRestorationStall(b, ev == 0 && ared > 0.0 ? b.cNormTrial : b.cNorm);
  if (ratio >= 1e-8 && ared > 0.0) {
    b.stepOutcome = BAR_STEP_ACCEPTED;
    const double len = b.stepNorm;
    if (ratio >= 0.9) b.delta = std::max(b.delta, 7.0 * len);
    else if (ratio >= 0.3) b.delta = std::max(b.delta, 2.0 * len);
    else if (ratio < 0.1) b.delta = 0.5 * len;
    return resAccept(ctx, b);
  }
  b.stepOutcome = BAR_STEP_REJECTED;
  ++b.totalIterCount;
  ++b.rejections;
  b.delta = 0.5 * std::max(b.stepNorm, 1e-300);
  return 0;
}
