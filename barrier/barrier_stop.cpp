// The stop test of the barrier method: errors in the terms of the model as
// given, the test of the barrier subproblem, and the limits that end a solve.
#include <algorithm>
#include <cmath>
#include <vector>

#include "barrier/barrier.h"
#include "driver/error_measures.h"
#include "driver/print.h"
#include "driver/solve.h"
#include "interface/context.h"

namespace {
constexpr int kCreepIters = 50;   // creeping steps that end a solve
constexpr int kStuckIters = 200;  // steps at one barrier parameter that end it
}  // namespace

double getBarCompErr(const BarrierState &b, const double *x, const double *lambda, const double *r, double mu) {
  double viol = 0.0;
  for (int j = 0; j < b.nSlacks; ++j) viol = std::max(viol, std::fabs(r[b.nX + j]));
  if (mu > 0.001) return viol;
  double v = 0.0;
  const double *s = x + b.nX;
  for (int j = 0; j < b.nSlacks; ++j) {
    const double l = lambda[b.slackRow[j]];
    v = std::max(v, std::max(0.0, std::min(std::min(l * s[j], l), s[j]) - mu));
  }
  return std::min(v, viol);
}

namespace {

ErrJacobian barAppJacobian(const MXL_context *ctx, const BarrierState &b) {
  ErrJacobian j;
  j.nnz = b.nnzJ;
  j.row = ctx->pat.jac.indexCons.data();
  j.col = ctx->pat.jac.indexVars.data();
  j.val = b.jacVals.data();
  return j;
}

}  // namespace

// The multipliers handed back: the method's own, or their repair by the
// error measure where that satisfies the optimality conditions better (a
// last dual step that fell short of an active bound leaves the repaired
// values closer). Writes lambdaApp; x, c are in xApp, cApp.
void barrierReturnMultipliers(MXL_context *ctx, BarrierState &b) {
  barrierLambdaToUser(b, b.lambda.data(), b.lambdaUser.data());
  presolveLambdaPreToApp(ctx, b.lambdaUser.data(), b.lambdaApp.data());
  std::vector<double> repaired(b.lambdaApp);
  double opt = 0.0, comp = 0.0;
  const ErrJacobian jac = barAppJacobian(ctx, b);
  getOpterr(ctx, errModelApp(ctx), b.objSign, b.xApp.data(), b.cApp.data(), b.gModel.data(), repaired.data(), jac,
            b.rApp.data(), &opt, &comp);
  auto kkt = [&](const double *l) {
    const double st = getAppDualFeas(ctx, b.gModel.data(), l, jac, b.rApp.data());
    return std::max(st, getAppCompErr(ctx, b.xApp.data(), b.cApp.data(), l));
  };
  if (kkt(repaired.data()) < kkt(b.lambdaApp.data())) b.lambdaApp.swap(repaired);
}

// Optimality error of the current multipliers in the model as given; the
// repaired multipliers stay in lambdaApp.
double barrierOptimalityError(MXL_context *ctx, BarrierState &b) {
  barrierLambdaToUser(b, b.lambda.data(), b.lambdaUser.data());
  presolveLambdaPreToApp(ctx, b.lambdaUser.data(), b.lambdaApp.data());
  presolveXPreToApp(ctx, b.x.data(), b.xApp.data());
  presolveCPreToApp(ctx, b.cModel.data(), b.cApp.data());
  const double sign = b.objSign;
  double opt = 0.0, comp = 0.0;
  getOpterr(ctx, errModelApp(ctx), sign, b.xApp.data(), b.cApp.data(), b.gModel.data(), b.lambdaApp.data(),
            barAppJacobian(ctx, b), b.rApp.data(), &opt, &comp);
  b.compErrApp = comp;
  return std::max(opt, comp);
}

namespace {

void barScales(MXL_context *ctx, BarrierState &b) {
  const double g = normInf(b.n, b.gModel.data());
  if (!b.feasScaleSet) {
    b.feasScale = std::max(1.0, b.feasErr);
    b.feasScaleSet = true;
    b.gradNormStart = g;
  }
  b.optScale = std::max(1.0, g);
  b.optScaleInt = std::max(1.0, b.objScale * g);
  if (b.mFull == 0) {
    const double f = std::fabs(b.fObj);
    b.optScale = std::max(1.0, std::min(f / b.objScale, b.gradNormStart));
    b.optScaleInt = std::max(1.0, std::min(f, b.objScale * b.gradNormStart));
  }
  (void)ctx;
}

bool barSubproblemSolved(MXL_context *ctx, const BarrierState &b, double gNorm) {
  (void)ctx;
  const double tolBarFeas = b.feasScale * b.muTol;
  double optRef = std::max(b.optScaleInt, b.objScale * gNorm);
  if (b.murule != 1 && b.mFull > 0) optRef = std::max(optRef, std::min(normInf(b.mFull, b.lambda.data()), 1e6));
  return b.cErr <= tolBarFeas && b.barrierErr <= optRef * b.muTol;
}

void barSetMuUpdate(MXL_context *ctx, BarrierState &b, bool solved) {
  const bool force = b.tinyStepDrops > 1 || (b.nearSolution && b.ftolRun > 2);
  b.monotoneDrop = (b.murule == 1 || b.safeguardCount >= 2) && (solved || force) && b.mu > b.muFloorRef;
  if (b.stepOutcome == BAR_STEP_NONE || b.nSlacks == 0) {
    b.needMuUpdate = false;
  } else if (b.murule == 1 || (b.safeguardMode && b.safeguardCount >= 2)) {
    b.needMuUpdate = b.monotoneDrop;
  } else {
    b.needMuUpdate = b.muIterCount > 0;
  }
  (void)ctx;
}

// The average product of slack and multiplier. An elastic value p lets the
// model's objective fall by about |lambda| p, with lambda the multiplier of
// its row in the model's scale; the multiplier of its bound measures the
// elastic objective instead, which the answer does not care about.
double barModelComplementarity(const BarrierState &b) {
  double gap = 0.0;
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    const BarRow &row = b.rows[r];
    if (barElasticBound(b, row)) {
      const int of = b.pen.row[row.item - b.n];
      gap += std::fabs(b.lambda[of]) * std::max(b.x[row.item], 0.0) / b.pen.piObjFactor;
    } else {
      gap += b.x[b.nX + j] * b.lambda[r];
    }
  }
  return gap / std::max(b.nSlacks, 1);
}

// The elastic problem solved at a point that violates the model: the weight
// must grow; at its limits the point minimises the violation.
void barElasticSolved(MXL_context *ctx, BarrierState &b) {
  b.elasticInfeasible = b.elasticStationary = false;
  if (b.pen.count == 0 || b.feasibleNow || b.solutionFound) return;
  const double tol = ctx->opt.opttol * std::max(1.0, b.pen.pi);
  if (b.cErr > b.tolFeas || b.barrierErr > tol || b.mu > 1e-6) return;
  b.elasticStationary = true;
  if (penaltyBarAtLimit(b)) b.elasticInfeasible = true;
  else b.forceFGUpdate = true;
}

}  // namespace

// The least-squares multipliers at the point, min ||gradPhi - A' lambda||,
// slack rows clipped at zero. False when the projection system cannot be
// factored here.
bool barLeastSquaresMultipliers(MXL_context *ctx, BarrierState &b, std::vector<double> &lambda) {
  barrierInitializeCG(ctx, b);
  BarCG &cg = b.cg;
  if (!cg.aug.analysed) return false;
  // Not marked as the factor of this point: the slacks may still be reset
  // before the step.
  if (!cg.factoredHere && barrierAUGfactor(ctx, b) != 0) return false;
  std::fill(cg.workRows.begin(), cg.workRows.end(), 0.0);
  lambda.assign(b.mFull, 0.0);
  if (barrierAUGsolve(ctx, b, b.gradPhi.data(), cg.workRows.data(), cg.work.data(), lambda.data()) != 0) return false;
  for (int r = 0; r < b.mFull; ++r) {
    if (!std::isfinite(lambda[r])) return false;
    if (b.rows[r].slack >= 0) lambda[r] = std::max(lambda[r], 0.0);
  }
  return true;
}

namespace {

// Where the rows are nearly dependent at a solution, the multipliers of
// the Newton steps drift along the dependence and the point, converged,
// never shows it: the least-squares multipliers then end the solve. Only
// tried after small steps and when the optimality error has not fallen
// tenfold in three iterations: a solve whose own multipliers converge is
// left to them. Multipliers that are not the method's own end a solve
// only at a point ten times inside the feasibility tolerance.
void barTryLeastSquaresMultipliers(MXL_context *ctx, BarrierState &b) {
  double *hist = b.optErrRecent;
  const bool stalled = b.optErr > 0.1 * hist[2];
  if (!b.retestPass) {
    hist[2] = hist[1];
    hist[1] = hist[0];
    hist[0] = b.optErr;
  }
  if (b.solutionFound || !b.feasibleNow || b.mFull == 0 || b.iterCount < 3 || b.optErr <= b.tolOpt) return;
  if (b.feasErr > 0.1 * b.tolFeas) return;
  if (!stalled || b.alpha * b.stepNorm > 1e-2 * (b.xNorm + 1.0)) return;
  // Cone rows and complementarity pairs need multipliers in their own
  // sets, which a projection does not give; an LP has no curvature to make
  // its rows dependent at the solution alone.
  if (!ctx->model->conics.empty() || !ctx->comp.index1.empty() || b.modelIsLP) return;
  // A try that fails waits twice as long as the one before: on a model
  // they do not end, the extra factorizations stay few.
  if (b.iterCount < b.lsNextIter) return;
  b.lsNextIter = b.iterCount + b.lsWait;
  b.lsWait *= 2;
  std::vector<double> ls;
  if (!barLeastSquaresMultipliers(ctx, b, ls)) return;
  b.lambda.swap(ls);
  const std::vector<double> lambdaApp(b.lambdaApp);
  const double compErrApp = b.compErrApp;
  const double opt = barrierOptimalityError(ctx, b);
  const double avgComp = barModelComplementarity(b);
  if (opt <= b.tolOpt && avgComp / b.objScale <= 0.1 * b.tolOpt) {
    b.optErr = opt;
    b.errCurrent = std::max(b.feasErr, b.optErr);
    b.solutionFound = true;
    return;
  }
  b.lambda.swap(ls);
  b.lambdaApp = lambdaApp;
  b.compErrApp = compErrApp;
}

void testconvergenceBar(MXL_context *ctx, BarrierState &b) {
  b.cErr = normInf(b.mFull, b.c.data());
  b.optErr = barrierOptimalityError(ctx, b);
  b.feasErr = getFeasErrApp(ctx, b.xApp.data(), b.cApp.data(), nullptr, nullptr, nullptr);
  b.feasErrPre = getFeasErrPre(ctx, b.xApp.data(), b.cApp.data(), nullptr, nullptr, nullptr);
  barScales(ctx, b);
  b.dualInf = barrierDualResidual(b, b.x.data(), b.lambda.data(), b.workFull.data());
  b.compErr = getBarCompErr(b, b.x.data(), b.lambda.data(), b.workFull.data(), b.mu);
  b.barrierErr = std::max(b.dualInf, b.compErr);
  const double gNorm = normInf(b.n, b.gModel.data());
  const double tolFeas = std::min(ctx->opt.feastol * b.feasScale, ctx->opt.feastol_abs);
  const double tolOpt = std::min(ctx->opt.opttol * b.optScale, ctx->opt.opttol_abs);
  b.tolFeas = tolFeas;
  b.tolOpt = tolOpt;
  if (b.stepOutcome == BAR_STEP_ACCEPTED && !b.retestPass) nlpGlobalize(ctx, b);
  const bool solved = barSubproblemSolved(ctx, b, gNorm);
  b.feasibleNow = isFeasible(ctx, errModelApp(ctx), b.xApp.data(), b.cApp.data(), b.feasErr, tolFeas);
  if (b.feasibleNow) b.everFeasible = true;
  if (b.mu >= 1e-8) b.barSlackFloor = 5e-16;
  else if (solved && !b.feasibleNow && getMinSlackVal(b, b.x.data()) <= 5e-16) b.barSlackFloor = 1e-20;
  b.errCurrent = std::max(b.feasErr, b.optErr);
  b.nearSolution = (b.optErr < 1e-3 && b.feasErr < 1e-6) || (b.feasibleNow && b.feasErr < 1e-3);
  // The complementarity of the barrier pairs must also be small: a point
  // whose products are at the size of the tolerance still moves the
  // objective by about their sum.
  const double avgComp = barModelComplementarity(b);
  b.solutionFound = b.feasibleNow && b.optErr <= tolOpt && avgComp / b.objScale <= 0.1 * tolOpt;
  barTryLeastSquaresMultipliers(ctx, b);
  const double target = ctx->opt.fstopval;
  if (!b.solutionFound && b.feasibleNow && ctx->opt.objrange > std::fabs(target)) {
    const double f = presolveObjPreToApp(ctx, b.fObj);
    const bool reached = b.objSign < 0 ? f >= target : f <= target;
    if (reached) b.solutionFound = b.fstopReached = true;
  }
  barSetMuUpdate(ctx, b, solved);
  if (b.solutionFound) b.needMuUpdate = false;
  barElasticSolved(ctx, b);
}

}  // namespace

// Whether feasible point A (objective in the model's sense, optimality
// error) is better than feasible point B. Within 1e-6 (1 + |f|) the
// objective is what a violation inside the tolerance can buy, so there the
// point nearer to optimality wins: otherwise an early iterate that is
// merely less feasible would stand for the converged one.
bool barrierFeasibleBetter(double objSign, double fA, double optA, double fB, double optB) {
  const double tie = 1e-6 * (1.0 + std::max(std::fabs(fA), std::fabs(fB)));
  const double gain = objSign * (fB - fA);
  return gain > tie || (gain >= -tie && optA < optB);
}

bool barTimeUp(MXL_context *ctx) {
  const MxDriverState &d = ctx->drv;
  return mxCpuSeconds() - d.cpuStart >= ctx->opt.maxtime_cpu || mxWallSeconds() - d.realStart >= ctx->opt.maxtime_real;
}

namespace {

// The best point is the feasible one of least objective, else the least
// infeasible.
void barKeepBest(MXL_context *ctx, BarrierState &b) {
  MxBestPoint &best = ctx->errState.best;
  const double f = presolveObjPreToApp(ctx, b.fObj);
  bool better = !best.stored;
  if (!better) {
    const bool bestFeasible = best.bestFeasErr <= b.tolFeas;
    if (b.feasibleNow && !bestFeasible) better = true;
    else if (b.feasibleNow && bestFeasible) better = barrierFeasibleBetter(b.objSign, f, b.optErr, best.bestObj, best.bestOptErr);
    else if (!b.feasibleNow && !bestFeasible) better = b.feasErr < best.bestFeasErr;
  }
  if (better)
    storeBestSolution(ctx, b.xApp.data(), b.lambdaApp.data(), b.cApp.data(), b.gModel.data(), b.jacVals.data(),
                      b.nnzJ, b.feasErr, b.optErr, f);
}

// Tiny steps: every component under 1e-15 (1 + |x_i|).
bool barTinyStep(const BarrierState &b) {
  if (b.iterCount == 0 || b.stepOutcome != BAR_STEP_ACCEPTED) return false;
  for (int i = 0; i < b.nX; ++i)
    if (std::fabs(b.alpha * b.d[i]) >= 1e-15 * (1.0 + std::fabs(b.x[i]))) return false;
  return true;
}

// One run counter: zero when the step breaks the run, restarted when the
// feasibility or the optimality error falls by a tenth from where the run
// began (a slow run trades one for the other).
void barRunCount(const BarrierState &b, bool inRun, int &run, double start[2]) {
  if (!inRun) {
    run = 0;
    return;
  }
  if (run == 0 || b.feasErr < 0.9 * start[0] || b.optErr < 0.9 * start[1]) {
    run = 0;
    start[0] = b.feasErr;
    start[1] = b.optErr;
  }
  ++run;
}

// Feasible steps that move the point by less than 1e-8 of its size, or
// keep the barrier parameter, and over the run cut neither error by a
// tenth: a trust region held small by a slack that closes at a cusp moves
// the point 1e-9 per step for ever, or cycles at one parameter. (A slow
// barrier rule still gains more than that in fifty steps.)
void barCreepCounter(BarrierState &b) {
  double step = 0.0;
  for (int i = 0; i < b.nX; ++i) step += b.d[i] * b.d[i];
  const bool tiny = b.alpha * std::sqrt(step) < 1e-8 * (1.0 + b.xNorm);
  const bool stuck = b.mu == b.creepMu;
  b.creepMu = b.mu;
  barRunCount(b, b.feasibleNow && tiny, b.creepRun, b.creepErr);
  barRunCount(b, b.feasibleNow && stuck, b.stuckRun, b.stuckErr);
}

void barStallCounters(MXL_context *ctx, BarrierState &b) {
  if (b.stepOutcome != BAR_STEP_ACCEPTED || b.iterCount == 0) return;
  bool xsmall = true;
  for (int i = 0; i < b.nX && xsmall; ++i)
    xsmall = std::fabs(b.alpha * b.d[i]) < (1.0 + std::fabs(b.x[i])) * ctx->opt.xtol;
  b.xtolRun = xsmall ? b.xtolRun + 1 : 0;
  const double f = b.fObj / b.objScale;
  b.ftolRun = b.feasibleNow && std::fabs(f - b.fPrev) < ctx->opt.ftol * (1.0 + std::fabs(f)) ? b.ftolRun + 1 : 0;
  b.fPrev = f;
  if (!b.feasibleNow) {
    const bool stall = std::fabs(b.feasErr - b.feasErrPrevStall) < ctx->opt.infeastol * b.feasErr;
    b.infeasStall = stall ? b.infeasStall + 1 : 0;
  } else {
    b.infeasStall = 0;
  }
  b.feasErrPrevStall = b.feasErr;
  barCreepCounter(b);
}

}  // namespace

// The gradient of ||c||^2 / 2 projected on the slack bounds, in absolute
// terms: a slack may always grow, so a row that a larger slack would
// satisfy is never stationary however small its slack is.
double barrierInfeasibilityGradient(const BarrierState &b) {
  std::vector<double> g(b.nFull);
  barrierJacTransTimes(b, b.x.data(), b.c.data(), g.data());
  double worst = normInf(b.nX, g.data());
  for (int j = 0; j < b.nSlacks; ++j) {
    const double cr = b.c[b.slackRow[j]], s = b.x[b.nX + j];
    worst = std::max(worst, cr > 0.0 ? cr : -cr * std::min(1.0, s));
  }
  return worst;
}

namespace {

// Local infeasibility: the rows' residual is stationary for ||c||^2 while
// the steps vanish.
bool barInfeasibleStationary(BarrierState &b) {
  if (b.feasibleNow || b.cNorm <= 1e-6 || b.iterCount == 0) return false;
  double wmax = 0.0;
  for (int r = 0; r < b.mFull; ++r) wmax = std::max(wmax, std::fabs(b.c[r]));
  const bool stationary = barrierInfeasibilityGradient(b) < 1e-6 * (1.0 + wmax) * std::max(1.0, wmax);
  // The step in absolute terms: slacks that shrink towards a violated
  // bound keep a large relative step while the point stands still.
  double step = 0.0;
  for (int i = 0; i < b.nX; ++i) step += b.d[i] * b.d[i];
  for (int j = 0; j < b.nSlacks; ++j) step += std::pow(b.x[b.nX + j] * b.d[b.nX + j], 2);
  const bool small = b.alpha * std::sqrt(step) < 1e-6 * (1.0 + b.xNorm);
  b.infeasStationary = stationary && small ? b.infeasStationary + 1 : 0;
  return b.infeasStationary >= 2;
}

int barLimitStatus(MXL_context *ctx, BarrierState &b) {
  const bool feas = b.feasibleNow;
  if (!feas && (b.elasticInfeasible || barInfeasibleStationary(b))) return MX_RC_INFEASIBLE;
  if (!feas && b.resto.phase == 3 && b.resto.stalled) return barrierRestorationEnd(b);
  const int stallLimit = ctx->opt.infeastol_iters;
  if (!feas && stallLimit > 0 && b.infeasStall >= stallLimit) return MX_RC_INFEAS_NO_IMPROVE;
  if (feas && b.stepOutcome == BAR_STEP_ACCEPTED && b.fObj / b.objScale < -ctx->opt.objrange) return -300;
  if (b.iterCount >= ctx->drv.resolvedMaxit) return feas ? -400 : -410;
  const int fl = ctx->opt.maxfevals;
  if (fl > 0 && ctx->eval.counters.numFCevals >= fl) return feas ? -402 : -412;
  if (barTinyStep(b)) {
    if (b.mu > b.muFloorRef && b.nSlacks > 0) {
      b.mu = std::max(std::min(std::min(0.1 * b.muPrevious, b.mu), 1e-8), 3e-16);
      b.muTol = b.mu;
      b.murule = 1;
      ++b.tinyStepDrops;
      b.stepOutcome = BAR_STEP_AT_FLOOR;
      barrierUpdateFG(b);
      return 0;
    }
    // A direct step may still move the multipliers: give it a few more.
    if (b.directStepOk && ++b.tinyDirectSteps < 5) return 0;
    if (!feas && b.elasticStationary) return MX_RC_INFEASIBLE;
    if (!feas) return b.xtolRun >= ctx->opt.xtol_iters ? -201 : -202;
    if (b.optErr > 100.0 * b.tolOpt) return b.xtolRun >= ctx->opt.xtol_iters ? -101 : -102;
    return -100;
  }
  if (ctx->opt.xtol_iters > 0 && b.xtolRun >= ctx->opt.xtol_iters)
    return feas ? -101 : b.elasticStationary ? MX_RC_INFEASIBLE : -201;
  if (ctx->opt.ftol_iters > 0 && b.ftolRun >= ctx->opt.ftol_iters) return -103;
  if (feas && (b.creepRun >= kCreepIters || b.stuckRun >= kStuckIters)) return b.optErr > 100.0 * b.tolOpt ? -102 : -100;
  if (barTimeUp(ctx)) return feas ? -401 : -411;
  return 0;
}

// Filter of (objective, infeasibility) pairs: a point that no entry
// dominates is progress; repeated failures switch to the monotone regime.
void barGlobalizeFilter(MXL_context *ctx, BarrierState &b, int limitFails) {
  const double f = b.fObj, feas = b.feasErrPre;
  const double margin = 1e-5 * std::min(1.0, std::max(feas / b.feasScale, b.optErr / b.optScale));
  if (b.filterF.empty()) {
    b.filterF.assign(1, f);
    b.filterFeas.assign(1, feas);
    b.failCount = 0;
    return;
  }
  bool acceptable = true;
  for (size_t k = 0; k < b.filterF.size() && acceptable; ++k)
    acceptable = b.filterF[k] - margin >= f || b.filterFeas[k] - margin >= feas;
  if (!acceptable) {
    ++b.failCount;
    if (b.safeguardMode) {
      ++b.safeguardCount;
      return;
    }
    if (b.failCount > limitFails) {
      b.safeguardMode = true;
      ++b.safeguardCount;
    }
    return;
  }
  size_t w = 0;
  for (size_t k = 0; k < b.filterF.size(); ++k) {
    if (f <= b.filterF[k] && feas <= b.filterFeas[k]) continue;  // dominated by the new point
    b.filterF[w] = b.filterF[k];
    b.filterFeas[w] = b.filterFeas[k];
    ++w;
  }
  b.filterF.resize(w);
  b.filterFeas.resize(w);
  const size_t cap = static_cast<size_t>(b.murule == 1 ? 1 : std::min(ctx->drv.resolvedMaxit + 10, 100000));
  if (b.filterF.size() < cap) {
    b.filterF.push_back(f);
    b.filterFeas.push_back(feas);
  }
  b.failCount = 0;
  b.safeguardMode = false;
  b.safeguardCount = 0;
}

// Progress of a combined KKT error over the last ten iterations.
void barGlobalizeKkt(BarrierState &b) {
  double gap = 0.0;
  getDualityGap(b, b.x.data(), b.lambda.data(), nullptr, nullptr, &gap);
  const double e1 = b.feasErr / b.feasScale, e2 = b.optErr / b.optScale, e3 = gap / b.optScaleInt;
  const double phiK = e1 * e1 + e2 * e2 + e3 * e3;
  double worst = 0.0;
  for (double v : b.kktHistory) worst = std::max(worst, v);
  if (b.iterCount >= 10 && b.kktHistory.size() >= 10 && phiK > 0.9999 * worst) {
    b.safeguardMode = true;
    ++b.safeguardCount;
    return;
  }
  b.kktHistory.push_back(phiK);
  if (b.kktHistory.size() > 10) b.kktHistory.erase(b.kktHistory.begin());
  b.safeguardMode = false;
  b.safeguardCount = 0;
}

}  // namespace

void nlpGlobalize(MXL_context *ctx, BarrierState &b) {
  const int mode = ctx->opt.bar_globalize;
  // The predictor rules keep their own safeguards (the step-length tests of
  // the correctors and the sign repair): the monotone fallback from their
  // tiny complementarity jams at the boundary instead.
  if (mode == 0 || b.murule == 1 || b.nSlacks == 0) return;
  if (b.murule >= 3 && b.murule <= 5) {
    // A predictor rule whose KKT error has not improved for 30 iterations
    // hands over to the adaptive rule.
    double gap = 0.0;
    getDualityGap(b, b.x.data(), b.lambda.data(), nullptr, nullptr, &gap);
    const double e1 = b.feasErr / b.feasScale, e2 = b.optErr / b.optScale, e3 = gap / b.optScaleInt;
    const double phiK = e1 * e1 + e2 * e2 + e3 * e3;
    if (phiK < 0.99 * b.kktBest || b.iterCount == 0) {
      b.kktBest = phiK;
      b.kktBestIter = b.iterCount;
    } else if (b.iterCount - b.kktBestIter >= 30 && !(b.feasErr <= 1e-6 * b.feasScale && b.optErr < 1e-3 * b.optScale)) {
      b.murule = 2;
    }
    return;
  }
  const int limitFails = b.convexModel ? 10 : 5;
  if (mode == 2)
    barGlobalizeFilter(ctx, b, limitFails);
  else
    barGlobalizeKkt(b);
}

namespace {

// A polished point ends the solve: optimal, or optimal with multipliers
// that cannot be made to fit.
void barPolishEnd(MXL_context *ctx, BarrierState &b) {
  const int polished = barrierPolishDegenerate(ctx, b, b.barStatus != 0);
  if (polished == 0) return;
  b.solutionFound = polished == 1;
  b.barStatus = polished == 1 ? 0 : -100;
}

}  // namespace

void barrierStopTest(MXL_context *ctx, BarrierState &b) {
  if (b.stepOutcome == BAR_STEP_REJECTED) {
    b.needMuUpdate = false;
    b.forceFGUpdate = false;
  } else {
    testconvergenceBar(ctx, b);
    barKeepBest(ctx, b);
    if (!b.retestPass) barStallCounters(ctx, b);
  }
  if (b.solutionFound) {
    b.barStatus = 0;
    barPolishEnd(ctx, b);
    return;
  }
  b.barStatus = barLimitStatus(ctx, b);
  // A feasible point where the steps ran out may be a cusp's false
  // stationary point: the polish may still finish it.
  const int st = b.barStatus;
  if (st == -100 || st == -101 || st == -102) barPolishEnd(ctx, b);
}
