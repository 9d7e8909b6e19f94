// The trust-region step of the barrier method: a normal step that reduces
// the linearised rows within 0.8 delta, and a tangential step from the
// projected conjugate gradient in the null space of the Jacobian. The only
// factor is that of the projection system; the Hessian enters through
// products, so the step exists where the direct step's matrix has the
// wrong inertia or no usable factor at all.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "interface/context.h"

namespace {

constexpr double kEps = 2.220446049250313e-16;

inline double dot(int n, const double *a, const double *b) { return barrierDot(n, a, b); }

// Positive root tau of ||t + tau p||^2 = R.
double barBoundaryRoot(MXL_context *ctx, const double *t, const double *p, int n, double R) {
  const double pp = dot(n, p, p), tp = dot(n, t, p), tt = dot(n, t, t);
  if (pp <= 0.0) return 0.0;
  double disc = (R - tt) * pp + tp * tp;
  if (disc < 0.0) {
    if (ctx->opt.debug > 0) mxl_printf(ctx, "WARNING: negative discriminant in trust region step: %e\n", disc);
    disc = 0.0;
  }
  return std::max(0.0, (std::sqrt(disc) - tp) / pp);
}

// Largest fraction in [0, 1] of v whose slack part keeps v_s >= -limit.
double barSlackFraction(const BarrierState &b, const double *v, double limit) {
  double frac = 1.0;
  for (int j = b.nX; j < b.nFull; ++j)
    if (v[j] < -limit) frac = std::min(frac, limit / -v[j]);
  return frac;
}

// Largest tau in [0, 1] with base + tau dir keeping the slack part >= -limit.
double barSlackFractionFrom(const BarrierState &b, const double *base, const double *dir, double limit) {
  double frac = 1.0;
  for (int j = b.nX; j < b.nFull; ++j) {
    if (dir[j] >= 0.0) continue;
    const double room = base[j] + limit;
    frac = std::min(frac, room <= 0.0 ? 0.0 : room / -dir[j]);
  }
  return frac;
}

int barCGHv(MXL_context *ctx, BarrierState &b, const double *v, double *y) {
  return barrierComputeHv(ctx, b, v, y);
}

}  // namespace

// ---- Projection ----

int project_r(MXL_context *ctx, BarrierState &b, const double *r, double *y, double *w) {
  if (b.mFull == 0) {
    std::copy(r, r + b.nFull, y);
    return 0;
  }
  BarCG &cg = b.cg;
  const bool prec = ctx->opt.cg_precond == 1 && cg.precOk;
  auto solve = [&](const double *rx, double *yy, double *ww) {
    return prec ? barrierEqPrecAUGsolve(b, rx, cg.workRows.data(), yy, ww)
                : barrierAUGsolve(ctx, b, rx, cg.workRows.data(), yy, ww);
  };
  std::fill(cg.workRows.begin(), cg.workRows.end(), 0.0);
  if (const int st = solve(r, y, w)) return st;
  if (prec) return 0;  // D y = r - A'w: the check below is for the identity metric
  // A projection that leaves the null space is projected once more.
  barrierJacTimes(b, b.x.data(), y, cg.workRows.data());
  const double off = normInf(b.mFull, cg.workRows.data());
  if (off > 2.220446049250313e-14 * std::max(1.0, normInf(b.nFull, r))) {
    std::vector<double> &y2 = cg.work;
    std::fill(cg.workRows.begin(), cg.workRows.end(), 0.0);
    std::vector<double> w2(b.mFull);
    if (solve(y, y2.data(), w2.data()) == 0) {
      std::copy(y2.begin(), y2.end(), y);
      for (int i = 0; i < b.mFull; ++i) w[i] += w2[i];
    }
  }
  return 0;
}

// ---- Normal step ----

namespace {

// Cauchy point of min ||c + A n||^2 along -A'c, and the Newton point
// (minimum-norm solution of A n = -c). Returns false when the gradient of
// the residual vanishes (the normal step is then zero).
bool barNormalPoints(MXL_context *ctx, BarrierState &b, std::vector<double> &nC, std::vector<double> &nN) {
  BarCG &cg = b.cg;
  std::vector<double> &g = cg.work;
  barrierJacTransTimes(b, b.x.data(), b.c.data(), g.data());
  const double gg = dot(b.nFull, g.data(), g.data());
  if (gg < 7.458340731200208e-155) return false;
  barrierJacTimes(b, b.x.data(), g.data(), cg.workRows.data());
  const double agag = std::max(dot(b.mFull, cg.workRows.data(), cg.workRows.data()), 1e-300);
  for (int i = 0; i < b.nFull; ++i) nC[i] = -(gg / agag) * g[i];
  std::vector<double> zero(b.nFull, 0.0), w(b.mFull);
  for (int r = 0; r < b.mFull; ++r) cg.workRows[r] = -b.c[r];
  if (barrierAUGsolve(ctx, b, zero.data(), cg.workRows.data(), nN.data(), w.data()) != 0) nN = nC;
  const double nc = norm2(b.nFull, nC.data()), nn = norm2(b.nFull, nN.data());
  const double cosang = nc > 0.0 && nn > 0.0 ? dot(b.nFull, nC.data(), nN.data()) / (nc * nn) : 1.0;
  cg.normalAngle = std::acos(std::max(-1.0, std::min(1.0, cosang))) * 57.296;
  return true;
}

void barNormalFinish(BarrierState &b) {
  BarCG &cg = b.cg;
  cg.normalNormSq = dot(b.nFull, cg.normal.data(), cg.normal.data());
  barrierJacTimes(b, b.x.data(), cg.normal.data(), cg.An.data());
  for (int r = 0; r < b.mFull; ++r) cg.workRows[r] = b.c[r] + cg.An[r];
  cg.normalModel = norm2(b.mFull, cg.workRows.data());
}

}  // namespace

void normalStepFree(MXL_context *ctx, BarrierState &b) {
  BarCG &cg = b.cg;
  std::fill(cg.normal.begin(), cg.normal.end(), 0.0);
  std::vector<double> nC(b.nFull), nN(b.nFull);
  if (b.mFull > 0 && barNormalPoints(ctx, b, nC, nN)) {
    const double bound = 0.8 * b.delta;
    const double nc = norm2(b.nFull, nC.data()), nn = norm2(b.nFull, nN.data());
    if (nn <= bound) {
      cg.normal = nN;
    } else if (nc >= bound) {
      for (int i = 0; i < b.nFull; ++i) cg.normal[i] = nC[i] * (bound / nc);
    } else {
      for (int i = 0; i < b.nFull; ++i) nN[i] -= nC[i];
      const double tau = barBoundaryRoot(ctx, nC.data(), nN.data(), b.nFull, bound * bound);
      for (int i = 0; i < b.nFull; ++i) cg.normal[i] = nC[i] + tau * nN[i];
    }
  }
  barNormalFinish(b);
}

// ||c + A v|| of a candidate normal step.
double barLinearResidual(BarrierState &b, const std::vector<double> &v) {
  barrierJacTimes(b, b.x.data(), v.data(), b.cg.workRows.data());
  for (int r = 0; r < b.mFull; ++r) b.cg.workRows[r] += b.c[r];
  return norm2(b.mFull, b.cg.workRows.data());
}

// The dogleg kept inside the radius and, at half the fraction to the
// boundary, inside the slack bounds. When a slack blocks the Cauchy leg,
// the Newton point cut to the same limits may still reduce the rows more:
// the better of the two (by ||c + A n||) is taken.
void normalStepRestricted(MXL_context *ctx, BarrierState &b) {
  BarCG &cg = b.cg;
  std::fill(cg.normal.begin(), cg.normal.end(), 0.0);
  std::vector<double> nC(b.nFull), nN(b.nFull);
  if (b.mFull > 0 && barNormalPoints(ctx, b, nC, nN)) {
    const double bound = 0.8 * b.delta, tauN = 0.5 * b.rho;
    double uC = std::min(1.0, bound / std::max(norm2(b.nFull, nC.data()), 1e-300));
    uC = std::min(uC, barSlackFraction(b, nC.data(), tauN));
    if (uC < 1.0) {
      double uN = std::min(1.0, bound / std::max(norm2(b.nFull, nN.data()), 1e-300));
      uN = std::min(uN, barSlackFraction(b, nN.data(), tauN));
      for (double &v : nC) v *= uC;
      for (double &v : nN) v *= uN;
      cg.normal = barLinearResidual(b, nN) < barLinearResidual(b, nC) ? nN : nC;
    } else {
      // The Newton leg from the Cauchy point.
      for (int i = 0; i < b.nFull; ++i) nN[i] -= nC[i];
      double v = barBoundaryRoot(ctx, nC.data(), nN.data(), b.nFull, bound * bound);
      v = std::min({v, 1.0, barSlackFractionFrom(b, nC.data(), nN.data(), tauN)});
      for (int i = 0; i < b.nFull; ++i) cg.normal[i] = nC[i] + v * nN[i];
    }
  }
  barNormalFinish(b);
}

// ---- Tangential step ----

// min gN't + t'Wt/2 over A t = 0, ||t||^2 <= radiusSq, from t = 0. The last
// projection's multipliers are left in lambdaLS.
int projectedCG(MXL_context *ctx, BarrierState &b, double radiusSq) {
  BarCG &cg = b.cg;
  const int n = b.nFull;
  double *t = cg.tangent.data(), *r = cg.r.data(), *y = cg.y.data(), *p = cg.p.data(), *Hp = cg.Hp.data();
  std::fill(t, t + n, 0.0);
  std::copy(cg.gN.begin(), cg.gN.end(), r);
  cg.cgIterations = 0;
  if (project_r(ctx, b, r, y, cg.lambdaLS.data()) != 0) {
    cg.cgExit = BAR_CG_BAD_START;
    return 0;
  }
  double rho = dot(n, r, y);
  if (rho < 0.0) {
    cg.projectionSuspect = true;
    if (rho < -1e-8 && cg.aug.sys.settings.pivotTol <= 0.5) cg.raisePivot = true;
  }
  if (rho >= 1e20) cg.projectionSuspect = true;
  // A gradient under 1e-10 in the model's units is zero; the objective's
  // scale factor can make a gradient the stop test still needs that small.
  if (rho < 0.0 || rho >= 1e100 || std::sqrt(rho) < 1e-10 * std::min(1.0, b.objScale)) {
    if (rho >= 1e100) cg.raisePivot = true;
    cg.cgExit = BAR_CG_BAD_START;
    return 0;
  }
  const double tol = ctx->opt.cg_stoptol * std::sqrt(rho);
  for (int i = 0; i < n; ++i) p[i] = -y[i];
  for (int it = 1;; ++it) {
    cg.cgIterations = it;
    if (const int rc = barCGHv(ctx, b, p, Hp)) return rc;
    const double curv = dot(n, p, Hp);
    if (curv <= 0.0) {
      const double tau = barBoundaryRoot(ctx, t, p, n, radiusSq);
      for (int i = 0; i < n; ++i) t[i] += tau * p[i];
      cg.cgExit = BAR_CG_NEG_CURVATURE;
      return 0;
    }
    const double alpha = rho / curv;
    double tt = 0.0;
    for (int i = 0; i < n; ++i) tt += (t[i] + alpha * p[i]) * (t[i] + alpha * p[i]);
    if (tt >= radiusSq) {
      const double tau = barBoundaryRoot(ctx, t, p, n, radiusSq);
      for (int i = 0; i < n; ++i) t[i] += tau * p[i];
      cg.cgExit = BAR_CG_BOUNDARY;
      return 0;
    }
    for (int i = 0; i < n; ++i) t[i] += alpha * p[i];
    if (it == 1) std::copy(t, t + n, cg.tFirst.begin());
    for (int i = 0; i < n; ++i) r[i] += alpha * Hp[i];
    if (project_r(ctx, b, r, y, cg.lambdaLS.data()) != 0) {
      cg.projectionSuspect = true;
      cg.cgExit = BAR_CG_BLOWUP;
      return 0;
    }
    double rhoNew = dot(n, r, y);
    if (rhoNew < 0.0) {
      cg.projectionSuspect = true;
      rhoNew = 0.0;
    }
    if (rhoNew >= 1e20) {
      cg.projectionSuspect = true;
      std::copy(cg.tFirst.begin(), cg.tFirst.end(), t);
      cg.cgExit = BAR_CG_BLOWUP;
      return 0;
    }
    if (std::sqrt(rhoNew) <= tol) {
      cg.cgExit = BAR_CG_CONVERGED;
      return 0;
    }
    if (it > cg.cgMaxit) {
      if (it > b.nFull - b.mFull) cg.projectionSuspect = true;
      cg.cgExit = BAR_CG_LIMIT;
      return 0;
    }
    // A long CG run on a large model must not overrun the time limit by
    // more than a few iterations: the step so far is a valid truncated one,
    // and the stop test reports the limit after it. The clock is read every
    // eighth iteration, since reading the CPU time is a system call that
    // would rival a whole iteration on a small model.
    if ((it & 7) == 0 && barTimeUp(ctx)) {
      cg.cgExit = BAR_CG_TIME;
      return 0;
    }
    const double beta = rhoNew / rho;
    for (int i = 0; i < n; ++i) p[i] = -y[i] + beta * p[i];
    rho = rhoNew;
  }
}

namespace {

// q(v) = gradPhi'v + v'Wv/2 with Wv given.
double barModel(const BarrierState &b, const double *v, const double *Wv) {
  double q = 0.0;
  for (int i = 0; i < b.nFull; ++i) q += b.gradPhi[i] * v[i] + 0.5 * v[i] * Wv[i];
  return q;
}

}  // namespace

int tangentialStep(MXL_context *ctx, BarrierState &b) {
  BarCG &cg = b.cg;
  cg.tangentRadiusSq = b.delta * b.delta - cg.normalNormSq;
  if (cg.tangentRadiusSq < 0.0) {
    if (ctx->opt.debug > 0) mxl_printf(ctx, "ERROR: negative trust region radius for tangential step!\n");
    cg.tangentRadiusSq = 0.0;
  }
  if (const int rc = projectedCG(ctx, b, cg.tangentRadiusSq)) return rc;
  if (cg.cgExit == BAR_CG_BAD_START) std::fill(cg.tangent.begin(), cg.tangent.end(), 0.0);
  int bad = 0;
  for (double &v : cg.tangent)
    if (!std::isfinite(v)) ++bad, v = 0.0;
  if (bad && ctx->opt.debug > 0) mxl_printf(ctx, "WARNING: Zustep undefined (%d components)\n", bad);
  // Fraction to the boundary of the composite slack step, then the best
  // multiple of t by the model.
  const double cut = barSlackFractionFrom(b, cg.normal.data(), cg.tangent.data(), b.rho);
  std::vector<double> &v = cg.work, Wv(b.nFull);
  double best = 0.0, bestQ = 0.0;
  for (double m : {0.0, cut, 1.0}) {
    if (m > cut) continue;
    for (int i = 0; i < b.nFull; ++i) v[i] = cg.normal[i] + m * cg.tangent[i];
    if (const int rc = barCGHv(ctx, b, v.data(), Wv.data())) return rc;
    const double q = barModel(b, v.data(), Wv.data());
    if (m == 0.0 || q < bestQ) best = m, bestQ = q;
  }
  cg.tangentScale = best;
  return 0;
}

// ---- The step ----

void barrierInitializeCG(MXL_context *ctx, BarrierState &b) {
  BarCG &cg = b.cg;
  if (cg.allocated) return;
  for (auto *v : {&cg.normal, &cg.tangent, &cg.gN, &cg.r, &cg.y, &cg.p, &cg.Hp, &cg.tFirst, &cg.work})
    v->assign(b.nFull, 0.0);
  for (auto *v : {&cg.An, &cg.workRows, &cg.lambdaLS}) v->assign(b.mFull, 0.0);
  cg.allocated = true;
  cg.freeNormalStep = ctx->resolvedAlgorithm == 2;
  cg.projectionSuspect = cg.raisePivot = false;
  cg.normalNormSq = 0.0;
  barrierAUGinit(ctx, b);
  if (ctx->opt.cg_precond == 1) barrierEqPrecAUGinit(ctx, b);
}

namespace {

int barCGLimit(MXL_context *ctx, const BarrierState &b) {
  const int dof = std::max(b.nFull - b.mFull, 0);
  const int k = ctx->opt.cg_maxit;
  if (ctx->resolvedAlgorithm == 2) return k <= 0 ? 2 * dof : std::min(k - 1, 2 * dof);
  if (k > 0) return std::min(k - 1, dof);
  return std::min(dof, b.convexModel ? 10 : 100);
}

// Multipliers of the step: the least-squares estimates of the last
// projection. Slack rows keep positive values, through the primal value
// mu / s at the trial point where the estimate is not.
void barCGMultipliers(MXL_context *ctx, BarrierState &b) {
  int bad = 0;
  for (int r = 0; r < b.mFull; ++r) {
    double w = b.cg.lambdaLS[r];
    if (!std::isfinite(w)) {
      ++bad;
      w = b.lambda[r];
    }
    b.dLambda[r] = w - b.lambda[r];
  }
  if (bad && ctx->opt.debug > 0) mxl_printf(ctx, "WARNING: dlambda[%d] undefined\n", bad);
  b.dualRepair = true;
}

}  // namespace

// Returns 0, 1 when the projection system stays singular (no step), or a
// negative code that ends the solve. On return d holds the composite step
// and dLambda the multiplier step.
int computeCGStep(MXL_context *ctx, BarrierState &b) {
  barrierInitializeCG(ctx, b);
  BarCG &cg = b.cg;
  b.directStepOk = false;
  b.deltaPrev = b.delta;
  if (!cg.factoredHere) {
    const int st = barrierAUGfactor(ctx, b);
    if (st == LIN_ERR_SINGULAR) return 1;
    if (st != 0) return MX_RC_LINEAR_SOLVER_ERR;
    if (ctx->opt.cg_precond == 1) formAndFactorPrecond(ctx, b);
    cg.factoredHere = true;
  }
  cg.cgMaxit = barCGLimit(ctx, b);
  const bool reuse = cg.lastKind == 1 && b.stepOutcome == BAR_STEP_REJECTED && !cg.freeNormalStep &&
                     cg.normalNormSq <= 0.64 * b.delta * b.delta && b.mFull > 0;
  cg.normalStepReused = reuse;
  if (reuse) {
    // The normal step of the rejected try still fits the smaller region.
  } else if (cg.freeNormalStep) {
    normalStepFree(ctx, b);
  } else {
    normalStepRestricted(ctx, b);
  }
  if (const int rc = barCGHv(ctx, b, cg.normal.data(), cg.gN.data())) return rc;
  for (int i = 0; i < b.nFull; ++i) cg.gN[i] += b.gradPhi[i];
  if (const int rc = tangentialStep(ctx, b)) return rc;
  int bad = 0;
  for (int i = 0; i < b.nFull; ++i) {
    b.d[i] = cg.normal[i] + cg.tangentScale * cg.tangent[i];
    if (!std::isfinite(b.d[i])) ++bad, b.d[i] = 0.0;
  }
  if (bad && ctx->opt.debug > 0) mxl_printf(ctx, "WARNING: Composite primal step undefined (%d components).\n", bad);
  b.alphaMaxPrimal = b.alphaMaxDual = b.alphaMax = 1.0;
  if (cg.freeNormalStep) normalStepFreeTruncate(b);
  barCGMultipliers(ctx, b);
  b.stepKind = cg.freeNormalStep ? 3 : 1;
  cg.lastKind = b.stepKind;
  cg.cgIterationsTotal += cg.cgIterations;
  return 0;
}

// A free normal step ignores the slack bounds: cut the composite step to
// the fraction to the boundary.
void normalStepFreeTruncate(BarrierState &b) {
  const double frac = barSlackFraction(b, b.d.data(), b.rho);
  if (frac >= 1.0) return;
  for (double &v : b.d) v *= frac;
  b.alphaMaxPrimal = frac;
}
