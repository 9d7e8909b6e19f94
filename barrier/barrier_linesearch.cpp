// Acceptance of a step: the merit function phi + nu ||c||, the predicted
// and actual reductions with the penalty rules, the backtracking search
// with the slack reset of the trial point, and the trust radius.
#include <algorithm>
#include <cmath>
#include <vector>

#include "barrier/barrier.h"
#include "driver/error_measures.h"
#include "driver/print.h"
#include "interface/context.h"
#include "interface/evaluation.h"

namespace {

constexpr double kEps = 2.220446049250313e-16;

// What one search keeps between its trials.
struct BarSearch {
  double gd = 0.0, dWd = 0.0;   // g'd and d'Wd of the full step
  double cAdNorm = 0.0;         // ||c + A d||
  double pred0 = 0.0;           // predicted reduction of the full step
  double prevAlpha = 0.0, prevMerit = 0.0;  // the trial before the last
  double wolfeLow = 0.0, wolfeHigh = 1.7976931348623157e308;
  int maxTrials = 3;
};

int barSearchSetup(MXL_context *ctx, BarrierState &b, BarSearch &s) {
  if (const int rc = barrierComputeHv(ctx, b, b.d.data(), b.Hd.data())) return rc;
  s.gd = s.dWd = 0.0;
  for (int i = 0; i < b.nFull; ++i) {
    s.gd += b.gradPhi[i] * b.d[i];
    s.dWd += b.d[i] * b.Hd[i];
  }
  barrierJacTimes(b, b.x.data(), b.d.data(), b.workRows.data());
  for (int r = 0; r < b.mFull; ++r) b.workRows[r] += b.c[r];
  s.cAdNorm = norm2(b.mFull, b.workRows.data());
  // A trust-region step is judged once: the radius does the rest.
  if (!b.directStepOk) {
    s.maxTrials = 0;
    return 0;
  }
  // A direct step backtracks up to 10 times before the trust-region step
  // takes over: cheaper than the trust-region step on the models we
  // measured, and it solves more of them.
  s.maxTrials = std::max(ctx->opt.linesearch_maxtrials, 10);
  return 0;
}

void compute_nu_pred(MXL_context *ctx, BarrierState &b, const BarSearch &s) {
  const double a = b.alpha;
  b.linPred = a * (b.cNorm - s.cAdNorm);
  const double gd = a * s.gd, dWd = a * a * s.dWd;
  if (dWd >= 0.0 || !b.directStepOk)
    b.objPred = -gd - 0.5 * dWd;
  else if (gd > kEps)
    b.objPred = -gd - std::min(0.5 * dWd, 1000.0 * gd);
  else
    b.objPred = std::max(0.0, -gd - 0.5 * dWd);
  b.nuTrial = b.linPred > 0.0 ? -1.5 * b.objPred / b.linPred : 0.0;
  double nuUse;
  if (ctx->drv.resolvedPenaltyRule == 2) {
    nuUse = std::max(b.nuLow, b.nuTrial);
    b.nuHigh = std::max(b.nuHigh, nuUse);
  } else {
    b.nu = std::max(b.nu, b.nuTrial);
    nuUse = b.nu;
  }
  b.nuUsed = nuUse;
  double pred = nuUse * b.linPred + b.objPred;
  b.stepUsable = pred > 0.0 || std::fabs(pred) < kEps;
  if (!b.stepUsable && ctx->opt.debug > 0)
    mxl_printf(ctx, "WARNING: increase direction for merit! pred = %e\n", pred);
  b.pred = std::max(pred, kEps);
}

double barRatio(BarrierState &b, double ared, double pred) {
  const double tiny = 2.220446049250313e-15;
  if (std::fabs(ared) < tiny && std::fabs(pred) < tiny && b.tinyReductions < 5) {
    ++b.tinyReductions;
    return 1.0;
  }
  return pred > 0.0 ? (kEps + ared) / pred : 0.0;
}

void meritComputeRatio(MXL_context *ctx, BarrierState &b) {
  b.aredObj = b.phi - b.phiTrial;
  b.aredCons = b.cNorm - b.cNormTrial;
  b.ared = b.aredObj + b.nuUsed * b.aredCons;
  b.ratio = barRatio(b, b.ared, b.pred);
  if (ctx->drv.resolvedPenaltyRule != 2) return;
  b.aredHigh = b.aredObj + b.nuHigh * b.aredCons;
  const double predHigh = std::max(b.nuHigh * b.linPred + b.objPred, kEps);
  b.ratioHigh = barRatio(b, b.aredHigh, predHigh);
  b.ratioLow = b.ratio;
}

// Only the upper end of the interval accepted the step: move the lower end
// up towards the weight that would have been needed.
void meritFlexUpdate(BarrierState &b) {
  if (!(b.ratioLow < 1e-8 && b.ratioHigh >= 1e-8)) return;
  double needed = b.nuHigh;
  if (b.aredCons != 0.0) needed = std::min(b.nuHigh, (1e-8 * b.pred - b.aredObj) / b.aredCons);
  const double x = std::max(b.nuLow, kEps);
  needed = std::max(needed, x);
  const double grown = std::pow(2.7182812, std::log(x) + 0.2 * std::log(needed / x));
  b.nuLow = std::min(b.nuHigh, std::max(grown, b.nuLow + 0.0001));
}

bool barNoiseAccept(const BarrierState &b, double meritX, double meritTrial) {
  if (b.noiseAccepts > 4) return false;
  if (!(b.errCurrent < 1e-4 || b.errCurrent < (b.optScale + 1.0) * 1e-6)) return false;
  if (!(meritTrial < meritX + 1e-4 * std::fabs(meritX))) return false;
  return b.alpha * b.stepNorm < (b.xNorm + 1.0) * 1e-4;
}

// Evaluates the trial point of the current alpha. Returns 0, 1 for an
// undefined point, or a negative code that ends the solve.
}  // namespace

// Variables whose bounds are honoured (honorbnds 1) are never handed to
// the callbacks outside their bounds: such a trial counts as undefined.
bool barOutsideHonouredBounds(const MXL_context *ctx, const BarrierState &b, const double *xs) {
  const std::vector<int> &flag = ctx->var.honorBnds.v;
  if (flag.size() < static_cast<size_t>(b.n)) return false;
  for (int j = 0; j < b.n; ++j) {
    if (flag[j] != 1) continue;
    const int lo = b.varBoundRows[0][j], up = b.varBoundRows[1][j];
    if (lo >= 0 && xs[j] < b.rows[lo].bound) return true;
    if (up >= 0 && xs[j] > b.rows[up].bound) return true;
  }
  return false;
}

int barrierEvaluateTrial(MXL_context *ctx, BarrierState &b) {
  updateIterate(b, b.x.data(), b.d.data(), b.alpha, b.xTrial.data());
  if (ctx->resolvedHonorbnds != 0 && barOutsideHonouredBounds(ctx, b, b.xTrial.data())) return 1;
  if (b.feasibleMode && !checkBounds(b, b.xTrial.data())) return 1;
  for (int r = 0; r < b.mFull; ++r) b.lambdaTrial[r] = b.lambda[r] + b.alpha * b.dLambda[r];
  if (b.dualRepair) replaceNegByPrimal(b, b.lambdaTrial.data(), b.xTrial.data());
  const int rc = barrierComputeFC(ctx, b, b.xTrial.data(), &b.fObjTrial, &b.fTildeTrial, b.cModelTrial.data(), b.cTrial.data());
  if (rc == MX_RC_EVAL_ERR) return 1;
  if (rc != 0) return rc;
  if (b.feasibleMode) {
    if (!checkFeasibility(b, b.xTrial.data(), b.cTrial.data(), 0.0, 0.0)) return 1;
    barrierFeasibleSlacks(b, b.xTrial.data(), b.cTrial.data());
  } else if (!b.modelIsLP) {
    resetSlacks(b, b.xTrial.data(), b.cTrial.data());
  }
  b.phiTrial = barrierPhi(b, b.xTrial.data(), b.fTildeTrial);
  b.cNormTrial = norm2(b.mFull, b.cTrial.data());
  return 0;
}

namespace {

// The minimiser of the cubic through M(0) with slope g0 and the last two
// trials, kept within [0.1, 0.5] of the last fraction.
double cubicInterpAlpha(double m0, double g0, double a0, double m0a, double a1, double m1a) {
  const double r1 = m1a - m0 - g0 * a1, r0 = m0a - m0 - g0 * a0;
  const double den = a0 * a0 * a1 * a1 * (a1 - a0);
  double next = 0.5 * a1;
  if (den != 0.0) {
    const double ca = (a0 * a0 * r1 - a1 * a1 * r0) / den;
    const double cb = (-a0 * a0 * a0 * r1 + a1 * a1 * a1 * r0) / den;
    const double disc = cb * cb - 3.0 * ca * g0;
    if (ca == 0.0)
      next = cb != 0.0 ? -g0 / (2.0 * cb) : next;
    else if (disc >= 0.0)
      next = (-cb + std::sqrt(disc)) / (3.0 * ca);
  }
  if (!std::isfinite(next)) next = 0.5 * a1;
  return std::min(std::max(next, 0.1 * a1), 0.5 * a1);
}

// The next fraction after a rejected trial: halving, and with interpolation
// the cubic from the second cut on.
double barNextAlpha(MXL_context *ctx, const BarrierState &b, BarSearch &s, double meritTrial, double meritX) {
  const double a = b.alpha;
  double next = 0.5 * a;
  if (ctx->drv.resolvedLinesearch == 2 && s.prevAlpha > 0.0) {
    const double slope = -s.pred0;  // the merit's slope along d, by the prediction at alpha 1
    next = cubicInterpAlpha(meritX, slope, s.prevAlpha, s.prevMerit, a, meritTrial);
  }
  s.prevAlpha = a;
  s.prevMerit = meritTrial;
  return next;
}

// Weak Wolfe conditions on phi for unconstrained models: returns 1 accept,
// 0 shorten, 2 lengthen; negative codes end the solve.
int barWolfeTest(MXL_context *ctx, BarrierState &b, const BarSearch &s) {
  if (b.phiTrial - b.phi >= 1e-4 * b.alpha * s.gd) return 0;
  presolveXPreToApp(ctx, b.xTrial.data(), b.xApp.data());
  std::vector<double> &g = b.workN;
  g.resize(b.n);
  const int rc = callbackForGA(ctx, b.xApp.data(), g.data(), b.workRows.data());
  if (rc == MX_RC_EVAL_ERR) return 0;
  if (rc != 0) return rc;
  double gd = 0.0;
  for (int i = 0; i < b.n; ++i) gd += b.objWeight * g[i] * b.d[i];
  return gd < 0.5 * s.gd ? 2 : 1;
}

}  // namespace

// Whether a rejected full trial earns a second-order correction.
bool barrierTestForSOC(MXL_context *ctx, const BarrierState &b, double objNeeded) {
  const int soc = ctx->opt.soc;
  if (soc == 0 || b.alpha < 1.0 || b.mFull == 0) return false;
  if (soc == 2) return true;
  if (!b.directStepOk) {
    const BarCG &cg = b.cg;
    const double nn = std::sqrt(cg.normalNormSq), tn = norm2(b.nFull, cg.tangent.data()) * cg.tangentScale;
    if (!cg.normalStepReused && nn <= 0.1 * tn) return true;
    return cg.freeNormalStep && tn <= 0.64 * b.delta;
  }
  return b.aredCons < 0.0 && b.aredObj >= objNeeded;
}

// The correction of the rows' curvature: d += the minimum-norm step with
// A dc = -c(xTrial), kept inside the slack bounds. Returns 0 with the
// corrected trial evaluated, 1 when no corrected trial exists, or a
// negative code that ends the solve.
int barrierComputeSOC(MXL_context *ctx, BarrierState &b) {
  std::vector<double> &dc = b.workFull, &dl = b.dLambdaSave;
  dl.resize(b.mFull);
  std::vector<double> zero(b.nFull, 0.0), rc(b.mFull);
  for (int r = 0; r < b.mFull; ++r) rc[r] = -b.cTrial[r];
  const int st = b.directStepOk ? barrierKKTsolve(ctx, b, zero.data(), rc.data(), dc.data(), dl.data(), 0)
                                : barrierAUGsolve(ctx, b, zero.data(), rc.data(), dc.data(), dl.data());
  if (st != 0) return 1;
  std::copy(b.d.begin(), b.d.end(), b.dSave.begin());
  for (int i = 0; i < b.nFull; ++i) b.d[i] += dc[i];
  double aP = 1.0, aD = 1.0;
  std::fill(dl.begin(), dl.end(), 0.0);
  barrierStepLengths(b, b.d.data(), dl.data(), b.rho, &aP, &aD);
  if (aP < 1.0)
    for (double &v : b.d) v *= aP;
  return barrierEvaluateTrial(ctx, b);
}

namespace {

// The largest model infeasibility a trial may reach from a point that is
// nearly feasible; infinity when no limit applies.
double barTrialFeasLimit(const BarrierState &b) {
  double lim = 1.7976931348623157e308;
  if (b.feasErr0 < 0.001) lim = std::min(lim, std::max(1e5 * b.feasErr0, 1.0));
  if (b.feasErr < 0.001) lim = std::min(lim, std::max(1e5 * b.feasErr, 0.001));
  if (b.resto.switches > 0) lim = std::min(lim, std::max(1000.0 * b.feasErr, 0.001));
  return lim;
}

double barTrialFeasErr(MXL_context *ctx, BarrierState &b) {
  b.xAppTrial.resize(b.xApp.size());
  b.cAppTrial.resize(b.cApp.size());
  presolveXPreToApp(ctx, b.xTrial.data(), b.xAppTrial.data());
  presolveCPreToApp(ctx, b.cModelTrial.data(), b.cAppTrial.data());
  return getFeasErrApp(ctx, b.xAppTrial.data(), b.cAppTrial.data(), nullptr, nullptr, nullptr);
}

// Inequality multipliers a million times the gradient mark a row that has
// lost its constraint qualification, like a cusp. No merit penalty is high
// enough there: the violation of such a row grows slower than the step
// across it, and the iterates would settle on a false stationary point
// outside the region, violating the row within the tolerance but with the
// objective visibly off. From a feasible point no step may add to the
// violation then. The largest multiplier seen so far counts, as the
// estimates of degenerate rows swing by orders of magnitude.
bool barTrialCrossesDegenerateRow(MXL_context *ctx, BarrierState &b) {
  if (!b.feasibleNow) return false;
  double &lamMax = b.guardLambda;
  for (int j = 0; j < b.nSlacks; ++j) lamMax = std::max(lamMax, std::fabs(b.lambda[b.slackRow[j]]));
  const bool degenerate = lamMax > 1e6 * std::max(1.0, b.objScale * normInf(b.n, b.gModel.data()));
  return degenerate && barTrialFeasErr(ctx, b) > b.feasErr;
}

// Under the flexible rule a small penalty can accept a step that throws a
// nearly feasible point far from the constraints, the objective gain
// paying for it: for such a trial the lower end of the interval rises so
// that the constraint term decides.
bool barTrialLeavesFeasibleRegion(MXL_context *ctx, BarrierState &b) {
  if (b.aredCons >= 0.0) return false;
  const double lim = barTrialFeasLimit(b);
  if (lim >= 1.7976931348623157e308 || barTrialFeasErr(ctx, b) <= lim) return false;
  const double needed = (1e-8 * b.pred - b.aredObj) / b.aredCons;
  if (b.nuLow >= needed) return false;
  b.nuLow = std::min({2.0 * needed, 1e5 * std::max(b.nuLow, kEps), 1e16});
  b.nuHigh = std::max(b.nuHigh, b.nuLow);
  // The trial is judged again with the raised weight.
  const double pred = std::max(b.nuLow * b.linPred + b.objPred, kEps);
  return barRatio(b, b.aredObj + b.nuLow * b.aredCons, pred) < 1e-8;
}

// Acceptance of the evaluated trial (ev 0) by the merit function or the
// noise rule.
bool barTrialAccepted(MXL_context *ctx, BarrierState &b, double meritX) {
  const double meritTrial = b.phiTrial + b.nuUsed * b.cNormTrial;
  meritComputeRatio(ctx, b);
  if (barTrialCrossesDegenerateRow(ctx, b)) return false;
  if (b.ratio >= 1e-8 || (ctx->drv.resolvedPenaltyRule == 2 && b.ratioHigh >= 1e-8))
    return ctx->drv.resolvedPenaltyRule != 2 || !barTrialLeavesFeasibleRegion(ctx, b);
  if (barNoiseAccept(b, meritX, meritTrial)) {
    ++b.noiseAccepts;
    return true;
  }
  return false;
}

}  // namespace

namespace {

// One search along d from alpha 1. forced: the search after a failed
// watchdog, with one more trial and no watchdog or correction.
int barSearchRun(MXL_context *ctx, BarrierState &b, bool forced) {
  BarSearch s;
  if (const int rc = barSearchSetup(ctx, b, s)) return rc;
  if (forced) ++s.maxTrials;
  BarWatchdog &w = b.watchdog;
  b.alpha = 1.0;
  b.stepOutcome = BAR_STEP_REJECTED;
  bool socTried = forced;
  for (int trial = 0;; ++trial) {
    compute_nu_pred(ctx, b, s);
    if (trial == 0) s.pred0 = b.pred;
    if (!b.stepUsable && w.state == 0) return 0;  // not a descent direction for the merit function
    const double meritX = b.phi + b.nuUsed * b.cNorm;
    int ev = barrierEvaluateTrial(ctx, b);
    if (ev < 0) return ev;
    bool accepted = ev == 0 && barTrialAccepted(ctx, b, meritX);
    double meritTrial = ev == 0 ? b.phiTrial + b.nuUsed * b.cNormTrial : 1e300;
    if (ev == 0 && w.state == 1) accepted = true;
    if (ev == 0 && w.state == 2) {
      // Measured against the point where the watchdog started.
      const double m = b.phiTrial + w.nuMerit * b.cNormTrial;
      accepted = m < w.merit + 1e-4 * std::fabs(w.merit);
    }
    if (!accepted && ev == 0 && !socTried && w.state == 0 && barrierTestForSOC(ctx, b, b.objPred)) {
      socTried = true;
      ev = barrierComputeSOC(ctx, b);
      if (ev < 0) return ev;
      accepted = ev == 0 && barTrialAccepted(ctx, b, meritX);
      if (!accepted) std::copy(b.dSave.begin(), b.dSave.end(), b.d.begin());
    }
    if (!accepted && ev == 0 && !forced && barrierWatchdogCheck(ctx, b)) accepted = true;
    if (accepted) {
      if (ctx->drv.resolvedPenaltyRule == 2) meritFlexUpdate(b);
      b.stepOutcome = BAR_STEP_ACCEPTED;
      b.barStage = 12;
      return 0;
    }
    if (trial >= s.maxTrials) return 0;
    b.alpha = ev == 0 ? barNextAlpha(ctx, b, s, meritTrial, meritX) : 0.5 * b.alpha;
  }
}

// The weak-Wolfe search of unconstrained models: bisection between the
// fractions that decrease too little and those whose slope is still steep.
int barWolfeSearch(MXL_context *ctx, BarrierState &b) {
  BarSearch s;
  if (const int rc = barSearchSetup(ctx, b, s)) return rc;
  s.maxTrials = std::max(ctx->opt.linesearch_maxtrials, 10);
  b.alpha = 1.0;
  b.stepOutcome = BAR_STEP_REJECTED;
  for (int trial = 0; trial <= s.maxTrials; ++trial) {
    compute_nu_pred(ctx, b, s);
    const int ev = barrierEvaluateTrial(ctx, b);
    if (ev < 0) return ev;
    const int w = ev == 0 ? barWolfeTest(ctx, b, s) : 0;
    if (w < 0) return w;
    if (w == 1) {
      b.ratio = 1.0;
      b.stepOutcome = BAR_STEP_ACCEPTED;
      b.barStage = 12;
      return 0;
    }
    if (w == 0) s.wolfeHigh = b.alpha;
    else s.wolfeLow = b.alpha;
    b.alpha = s.wolfeHigh >= 1.7976931348623157e308 ? 2.0 * s.wolfeLow : 0.5 * (s.wolfeLow + s.wolfeHigh);
  }
  return 0;
}

}  // namespace

int barrierLineSearch(MXL_context *ctx, BarrierState &b) {
  if (ctx->drv.resolvedLinesearch == 3 && b.mFull == 0 && b.directStepOk) return barWolfeSearch(ctx, b);
  int rc = barSearchRun(ctx, b, false);
  if (rc != 0 || b.stepOutcome == BAR_STEP_ACCEPTED || b.watchdog.state == 0) return rc;
  // The watchdog failed: back to where it started, searching its step.
  barrierWatchdogRestore(b);
  return barSearchRun(ctx, b, true);
}

void barrierUpdateTRaccept(BarrierState &b) {
  const double stepLen = b.alpha * b.stepNorm;
  if (b.directStepOk) {
    b.delta = std::min(2.0 * stepLen, 1.7976931348623157e308);
    return;
  }
  double cand = b.ratio >= 0.9 ? 7.0 * stepLen : b.ratio >= 0.3 ? 2.0 * stepLen : -1.0;
  if (cand < 0.0) return;
  if (cand > b.delta) {
    b.delta = cand;
    b.radiusHeld = false;
  } else {
    b.radiusHeld = true;
  }
}

void barrierUpdateTRreject(BarrierState &b) {
  if (b.stepKind == 2) return;
  const double v = std::min(b.deltaPrev, b.alpha * b.stepNorm);
  b.delta = b.rejections > 6 ? std::pow(0.5, b.rejections - 5) * v : 0.5 * v;
  b.radiusHeld = false;
}
