// Polish of a converged point whose violation still buys objective.
//
// Where a row loses its constraint qualification at the solution (a cusp,
// a row tangent to a bound), the multipliers grow without limit as the
// iterates approach it, and every merit penalty the method can afford
// leaves a stationary point just outside the region: the violation is
// inside the tolerance, but |lambda| times the violation, the objective it
// buys, is not. The polish pins the variables that sit on a bound there and
// takes Gauss-Newton steps (minimum-norm, rows scaled to unit length, by
// conjugate gradients on the normal equations) on the equalities, the
// violated rows and the active ones until a step no longer moves the
// objective by the tolerance. The rows' projection system is not used: at a cusp the row
// and the bound it touches are parallel to rounding, and its factor would
// call them dependent.
#include <algorithm>
#include <cmath>
#include <vector>

#include "barrier/barrier.h"
#include "driver/error_measures.h"
#include "driver/print.h"
#include "interface/context.h"
#include "presolve/presolve.h"

namespace {

constexpr int kPolishSteps = 60;

// An amount of the method's objective relative to the objective fRef, in
// the model's terms.
double barRelative(const BarrierState &b, double amount, double fRef) {
  return amount / b.objScale / std::max(1.0, std::fabs(fRef / b.objScale));
}

// The objective the current violation buys, relative to the objective.
double barViolationGain(const BarrierState &b, const double *lambda) {
  double gain = 0.0;
  for (int r = 0; r < b.mFull; ++r) gain += std::fabs(lambda[r] * b.c[r]);
  return barRelative(b, gain, b.fObj);
}

// What the polish may have to give back.
struct BarPolishSave {
  std::vector<double> x, c, cModel, gModel, jacVals, lambda, xApp, cApp, lambdaApp;
  double fObj = 0.0, fTilde = 0.0, feasErr = 0.0, feasErrPre = 0.0, optErr = 0.0, compErrApp = 0.0;
  bool feasibleNow = false;

  void take(const BarrierState &b) {
    x = b.x, c = b.c, cModel = b.cModel, gModel = b.gModel, jacVals = b.jacVals, lambda = b.lambda;
    xApp = b.xApp, cApp = b.cApp, lambdaApp = b.lambdaApp;
    fObj = b.fObj, fTilde = b.fTilde, feasErr = b.feasErr, feasErrPre = b.feasErrPre, optErr = b.optErr;
    compErrApp = b.compErrApp, feasibleNow = b.feasibleNow;
  }
  void give(BarrierState &b) const {
    b.x = x, b.c = c, b.cModel = cModel, b.gModel = gModel, b.jacVals = jacVals, b.lambda = lambda;
    b.xApp = xApp, b.cApp = cApp, b.lambdaApp = lambdaApp;
    b.fObj = fObj, b.fTilde = fTilde, b.feasErr = feasErr, b.feasErrPre = feasErrPre, b.optErr = optErr;
    b.compErrApp = compErrApp, b.feasibleNow = feasibleNow;
    barrierUpdateFG(b);
    b.xNorm = norm2(b.nX, b.x.data());
  }
};

// The value of row r without its slack: at least zero for a satisfied
// inequality or bound, zero for an equality.
double barRowValue(const BarrierState &b, int r, const double *xs, const double *cModel) {
  const BarRow &row = b.rows[r];
  const double v = row.onVariable() ? xs[row.item] : row.scale * cModel[row.item];
  return row.sign() * (v - row.bound);
}

// The Gauss-Newton system of one polish step: the equalities and the
// violated or active inequalities over the variables not pinned to a bound,
// each row scaled to unit length (a row whose gradient vanishes at a cusp
// is still a full row of the system).
struct BarPolishSystem {
  std::vector<char> pinned;     // variable sits on a bound: it moves there and stays
  std::vector<double> pin;      // the move of a pinned variable
  std::vector<int> rows;        // rows of the system
  std::vector<char> held;       // row held at equality though it holds (active)
  std::vector<double> scale, rhs;
};

// The squared violation of the rows at a point, the rows the system holds
// at equality counted as equalities.
double barPolishViolation(const BarrierState &b, const double *xs, const double *cModel,
                          const BarPolishSystem *sys = nullptr) {
  double v = 0.0;
  for (int r = 0; r < b.mFull; ++r) {
    const double t = barRowValue(b, r, xs, cModel);
    const bool equality = b.rows[r].slack < 0 || (sys != nullptr && sys->held[r]);
    const double bad = equality ? t : std::min(t, 0.0);
    v += bad * bad;
  }
  return v;
}

void barPolishPin(const BarrierState &b, BarPolishSystem &sys) {
  sys.pinned.assign(b.n, 0);
  sys.pin.assign(b.n, 0.0);
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (!row.onVariable() || row.item >= b.n) continue;
    const double t = barRowValue(b, r, b.x.data(), b.cModel.data());
    if (row.slack >= 0 && t > 1e-8 * std::max(1.0, std::fabs(row.bound))) continue;
    sys.pinned[row.item] = 1;
    sys.pin[row.item] = -t / row.sign();
  }
}

// y = A v over the rows of the system (unscaled), v over the variables.
void barPolishTimes(const BarrierState &b, const BarPolishSystem &sys, const double *v, double *y) {
  for (size_t k = 0; k < sys.rows.size(); ++k) {
    const BarRow &row = b.rows[sys.rows[k]];
    double sum = 0.0;
    for (int64_t q = b.jacRowPtr[row.item]; q < b.jacRowPtr[row.item + 1]; ++q)
      sum += b.jacVals[q] * v[b.jacVars[q]];
    y[k] = row.coef() * sum;
  }
}

// y = A' w over the free variables.
void barPolishTransTimes(const BarrierState &b, const BarPolishSystem &sys, const double *w, double *y) {
  std::fill(y, y + b.n, 0.0);
  for (size_t k = 0; k < sys.rows.size(); ++k) {
    const BarRow &row = b.rows[sys.rows[k]];
    for (int64_t q = b.jacRowPtr[row.item]; q < b.jacRowPtr[row.item + 1]; ++q)
      y[b.jacVars[q]] += row.coef() * b.jacVals[q] * w[k];
  }
  for (int j = 0; j < b.n; ++j)
    if (sys.pinned[j]) y[j] = 0.0;
}

// An inequality that holds with a closing slack and a multiplier a
// thousand times larger is active: the polish keeps it at equality, which
// from inside a cusp moves the point onto it.
bool barRowActive(const BarrierState &b, int r, double t) {
  return t <= 1e-6 * std::max(1.0, std::fabs(b.rows[r].bound)) && b.lambda[r] > 1e3 * t;
}

// Rows, scales and right-hand sides: the equalities, the inequalities that
// the pins leave violated (to first order) and the active ones, scaled.
void barPolishRows(const BarrierState &b, BarPolishSystem &sys) {
  sys.rows.clear();
  sys.scale.clear();
  sys.rhs.clear();
  sys.held.assign(b.mFull, 0);
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (row.onVariable()) continue;
    double moved = 0.0, norm = 0.0;
    for (int64_t q = b.jacRowPtr[row.item]; q < b.jacRowPtr[row.item + 1]; ++q) {
      const double a = row.coef() * b.jacVals[q];
      const int j = b.jacVars[q];
      if (sys.pinned[j]) moved += a * sys.pin[j];
      else norm += a * a;
    }
    const double t = barRowValue(b, r, b.x.data(), b.cModel.data()) + moved;
    if (row.slack >= 0 && t >= 0.0) {
      if (!barRowActive(b, r, t)) continue;
      sys.held[r] = 1;
    }
    const double scale = norm > 0.0 ? 1.0 / std::sqrt(norm) : 0.0;
    sys.rows.push_back(r);
    sys.scale.push_back(scale);
    sys.rhs.push_back(-t * scale);
  }
}

// The minimum-norm least-squares solution of the scaled system by
// conjugate gradients on the normal equations, from zero.
void barPolishSolve(const BarrierState &b, const BarPolishSystem &sys, std::vector<double> &n) {
  const size_t m = sys.rows.size();
  n.assign(b.n, 0.0);
  if (m == 0) return;
  std::vector<double> r(sys.rhs), w(m), s(b.n), p(b.n), q(m);
  auto scaledT = [&](const std::vector<double> &v, std::vector<double> &out) {
    for (size_t k = 0; k < m; ++k) w[k] = v[k] * sys.scale[k];
    barPolishTransTimes(b, sys, w.data(), out.data());
  };
  scaledT(r, s);
  p = s;
  double gamma = barrierDot(b.n, s.data(), s.data());
  const double gamma0 = gamma, rhsNorm = norm2(static_cast<int>(m), sys.rhs.data());
  const int limit = static_cast<int>(std::min<size_t>(2 * m + 10, 500));
  for (int it = 0; it < limit && gamma > 1e-28 * gamma0; ++it) {
    barPolishTimes(b, sys, p.data(), q.data());
    for (size_t k = 0; k < m; ++k) q[k] *= sys.scale[k];
    const double delta = barrierDot(static_cast<int>(m), q.data(), q.data());
    if (!(delta > 0.0)) break;
    const double a = gamma / delta;
    for (int j = 0; j < b.n; ++j) n[j] += a * p[j];
    for (size_t k = 0; k < m; ++k) r[k] -= a * q[k];
    if (norm2(static_cast<int>(m), r.data()) <= 1e-15 * rhsNorm) break;
    scaledT(r, s);
    const double gammaNew = barrierDot(b.n, s.data(), s.data());
    for (int j = 0; j < b.n; ++j) p[j] = s[j] + (gammaNew / gamma) * p[j];
    gamma = gammaNew;
  }
}

// The largest fraction of the step of the free variables that keeps them
// inside their bounds.
double barPolishFraction(const BarrierState &b, const BarPolishSystem &sys, const std::vector<double> &n) {
  double alpha = 1.0;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (!row.onVariable() || row.slack < 0 || row.item >= b.n || sys.pinned[row.item]) continue;
    const double move = row.sign() * n[row.item];
    const double room = barRowValue(b, r, b.x.data(), b.cModel.data());
    if (move < 0.0 && room + move < 0.0) alpha = std::min(alpha, room / -move);
  }
  return alpha;
}

// Slacks at the rows' values: satisfied rows close, violated ones keep the
// floor.
void barPolishSlacks(BarrierState &b, double *xs, const double *cModel, double *c) {
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    xs[b.nX + j] = std::max(barRowValue(b, r, xs, cModel), b.barSlackFloor);
  }
  barrierFormRows(b, xs, cModel, c);
}

// One Gauss-Newton step from the current point, cut back until the
// violation falls. False when it cannot.
bool barPolishStep(MXL_context *ctx, BarrierState &b, BarPolishSystem &sys) {
  barPolishPin(b, sys);
  barPolishRows(b, sys);
  std::vector<double> n;
  barPolishSolve(b, sys, n);
  for (double v : n)
    if (!std::isfinite(v)) return false;
  const double v0 = barPolishViolation(b, b.x.data(), b.cModel.data(), &sys);
  for (double alpha = barPolishFraction(b, sys, n); alpha > 1e-3; alpha *= 0.5) {
    std::copy(b.x.begin(), b.x.end(), b.xTrial.begin());
    for (int j = 0; j < b.n; ++j) b.xTrial[j] += sys.pinned[j] ? sys.pin[j] : alpha * n[j];
    if (ctx->resolvedHonorbnds != 0 && barOutsideHonouredBounds(ctx, b, b.xTrial.data())) continue;
    const int rc = barrierComputeFC(ctx, b, b.xTrial.data(), &b.fObjTrial, &b.fTildeTrial, b.cModelTrial.data(),
                                    b.cTrial.data());
    if (rc != 0) continue;
    if (barPolishViolation(b, b.xTrial.data(), b.cModelTrial.data(), &sys) >= (1.0 - 1e-4 * alpha) * v0) continue;
    barPolishSlacks(b, b.xTrial.data(), b.cModelTrial.data(), b.cTrial.data());
    b.x.swap(b.xTrial);
    b.c.swap(b.cTrial);
    b.cModel.swap(b.cModelTrial);
    std::swap(b.fObj, b.fObjTrial);
    std::swap(b.fTilde, b.fTildeTrial);
    return barrierComputeGA(ctx, b, b.x.data(), false) == 0;
  }
  return false;
}

// Gauss-Newton steps until one changes the objective by less than half the
// tolerance: the objective the remaining violation buys is then within it
// (at a cusp each step removes a fixed share of it). The polish may move
// the objective by about ten times what the violation was seen to buy, no
// more (reach): farther, the rows' minimum-norm steps are not a polish.
bool barPolishIterate(MXL_context *ctx, BarrierState &b, double tol, double reach) {
  const double f0 = b.fObj, v0 = barPolishViolation(b, b.x.data(), b.cModel.data());
  BarPolishSystem sys;
  for (int k = 0; k < kPolishSteps; ++k) {
    const double fPrev = b.fObj;
    if (!barPolishStep(ctx, b, sys))
      return k > 0 && barPolishViolation(b, b.x.data(), b.cModel.data()) <= 1e-12 * v0;
    ++b.polishSteps;
    if (ctx->opt.debug > 0)
      mxl_printf(ctx, "Polish %2d: ||c|| = %.3e, objective %.10e\n", k, b.cNorm, b.fObj / b.objScale);
    if (barRelative(b, std::fabs(b.fObj - f0), f0) > reach) return false;
    if (barRelative(b, std::fabs(b.fObj - fPrev), fPrev) <= 0.5 * tol) return true;
  }
  return false;
}

// The better of the least-squares multipliers of the point and the ones
// it came with; returns its optimality error.
double barPolishMultipliers(MXL_context *ctx, BarrierState &b, const std::vector<double> &lambda0) {
  b.lambda = lambda0;
  const double opt0 = barrierOptimalityError(ctx, b);
  std::vector<double> ls;
  barrierInitializeCG(ctx, b);
  if (!b.cg.aug.analysed || barrierAUGfactor(ctx, b) != 0) return opt0;
  b.cg.factoredHere = true;
  const bool ok = barLeastSquaresMultipliers(ctx, b, ls);
  b.cg.factoredHere = false;
  if (!ok) return opt0;
  b.lambda.swap(ls);
  const double optLS = barrierOptimalityError(ctx, b);
  if (optLS <= opt0) return optLS;
  b.lambda = lambda0;
  return barrierOptimalityError(ctx, b);
}

// Whether the best point kept so far stays the answer over the polished
// one: only where its objective is better by more than twice what its
// violation buys at the price the polish paid for feasibility.
bool barBestBeatsPolished(MXL_context *ctx, const BarrierState &b, double price) {
  const MxBestPoint &best = ctx->errState.best;
  if (!best.stored || best.bestFeasErr > b.tolFeas) return false;
  const double f = presolveObjPreToApp(ctx, b.fObj);
  if (!barrierFeasibleBetter(b.objSign, best.bestObj, best.bestOptErr, f, b.optErr)) return false;
  return b.objSign * (f - best.bestObj) > 2.0 * price * best.bestFeasErr;
}

// Errors and multipliers of the polished point; whether it is kept: no
// less feasible, and an objective that got worse must have bought
// feasibility.
bool barPolishKeeps(MXL_context *ctx, BarrierState &b, const BarPolishSave &save, double tol, double *opt) {
  *opt = barPolishMultipliers(ctx, b, save.lambda);
  b.feasErr = getFeasErrApp(ctx, b.xApp.data(), b.cApp.data(), nullptr, nullptr, nullptr);
  b.feasErrPre = getFeasErrPre(ctx, b.xApp.data(), b.cApp.data(), nullptr, nullptr, nullptr);
  b.feasibleNow = isFeasible(ctx, errModelApp(ctx), b.xApp.data(), b.cApp.data(), b.feasErr, b.tolFeas);
  if (!b.feasibleNow || b.feasErr > save.feasErr) return false;
  const double worse = barRelative(b, b.fObj - save.fObj, save.fObj);  // the method minimises
  return worse <= tol || b.feasErr < 0.1 * save.feasErr;
}

}  // namespace

// Polishes the current point once. A converged point (always false) is
// polished where its violation buys more objective than the tolerance; a
// point where the steps ran out (always true) in any case. Returns 0 when
// the point stays, 1 when the polished point replaces it and passes the
// stop test, 2 when it replaces it but no multipliers make its optimality
// error small (the rows lost their qualification there: the point is
// optimal, its multipliers unbounded).
int barrierPolishDegenerate(MXL_context *ctx, BarrierState &b, bool always) {
  if (b.polishTried || !b.feasibleNow || b.mFull == 0 || b.modelIsLP || b.pen.count > 0) return 0;
  if (!ctx->model->conics.empty() || !ctx->comp.index1.empty() || b.fstopReached) return 0;
  const double tol = ctx->opt.opttol;
  const double gain0 = barViolationGain(b, b.lambda.data());
  if (gain0 <= tol && !always) return 0;
  b.polishTried = true;
  BarPolishSave save;
  save.take(b);
  bool kept = barPolishIterate(ctx, b, tol, always ? std::max(10.0 * gain0, 1e-2) : 10.0 * gain0);
  double opt = 0.0;
  if (kept) kept = barPolishKeeps(ctx, b, save, tol, &opt);
  b.cg.factoredHere = false;
  if (!kept) {
    save.give(b);
    return 0;
  }
  b.optErr = opt;
  b.errCurrent = std::max(b.feasErr, b.optErr);
  b.xNorm = norm2(b.nX, b.x.data());
  b.cNorm = norm2(b.mFull, b.c.data());
  const double fromApp = presolveObjPreToApp(ctx, save.fObj), toApp = presolveObjPreToApp(ctx, b.fObj);
  const double price = std::fabs(toApp - fromApp) / std::max(save.feasErr - b.feasErr, 1e-300);
  if (!barBestBeatsPolished(ctx, b, price))
    storeBestSolution(ctx, b.xApp.data(), b.lambdaApp.data(), b.cApp.data(), b.gModel.data(), b.jacVals.data(),
                      b.nnzJ, b.feasErr, b.optErr, toApp);
  if (ctx->opt.debug > 0)
    mxl_printf(ctx, "Polished the point: %d steps, objective %.10e, optimality error %.3e\n", b.polishSteps,
               b.fObj / b.objScale, opt);
  return opt <= b.tolOpt ? 1 : 2;
}
