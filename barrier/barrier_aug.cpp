// The projection system of the trust-region step,
//   [ I   A'      ] [y]   [rx]
//   [ A  -regAUG I] [w] = [rc],
// over the full iterate with relative slack columns. Its solutions give the
// minimum-norm normal step (rx = 0, rc = -c) and the projection of a vector
// onto the null space of A with the least-squares multipliers (rc = 0).
// Slack columns are eliminated: a row with slack s keeps the diagonal
// -(s^2 + regAUG) and the right-hand side rc + s rx_s. The matrix depends on
// the point only through the slacks and the Jacobian, so one factor serves
// every rejected step at a point.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "barrier/barrier_pattern.h"
#include "driver/print.h"
#include "interface/context.h"

namespace {

void augPattern(const BarrierState &b, BarAUG &a, BarPatternBuilder &pb) {
  pb.dim = a.dim;
  a.diagPos.resize(a.dim);
  for (int i = 0; i < a.dim; ++i) a.diagPos[i] = pb.add(i, i);
  a.jacPos.clear();
  a.jacRow.clear();
  a.jacEntry.clear();
  a.varRowPos.assign(b.mFull, -1);
  a.penPos.assign(2 * static_cast<size_t>(b.mFull), -1);
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    for (int q = 0; q < 2; ++q)
      if (row.pen[q] >= 0) a.penPos[2 * r + q] = pb.add(b.nX + r, row.pen[q]);
    if (row.onVariable()) {
      a.varRowPos[r] = pb.add(b.nX + r, row.item);
      continue;
    }
    for (int64_t e = b.jacRowPtr[row.item]; e < b.jacRowPtr[row.item + 1]; ++e) {
      a.jacPos.push_back(pb.add(b.nX + r, b.jacVars[e]));
      a.jacRow.push_back(r);
      a.jacEntry.push_back(static_cast<int>(e));
    }
  }
}

void augCompress(BarAUG &a, BarPatternBuilder &pb) {
  const std::vector<int64_t> where = pb.compress(a.irn, a.jcn);
  for (auto *v : {&a.diagPos, &a.jacPos, &a.varRowPos, &a.penPos}) barRemap(where, *v);
  a.val.assign(a.irn.size(), 0.0);
}

void augForm(const BarrierState &b, BarAUG &a) {
  std::fill(a.val.begin(), a.val.end(), 0.0);
  const bool scaled = !a.diag.empty();
  for (int i = 0; i < b.nX; ++i) a.val[a.diagPos[i]] = scaled ? a.diag[i] : 1.0;
  for (size_t q = 0; q < a.jacPos.size(); ++q)
    a.val[a.jacPos[q]] += b.rows[a.jacRow[q]].coef() * b.jacVals[a.jacEntry[q]];
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (a.varRowPos[r] >= 0) a.val[a.varRowPos[r]] += row.sign();
    for (int q = 0; q < 2; ++q)
      if (a.penPos[2 * r + q] >= 0) a.val[a.penPos[2 * r + q]] += row.penCoef[q];
    double d = a.regAUG;
    if (row.slack >= 0) {
      const double s = b.x[b.nX + row.slack];
      d += s * s / (scaled ? a.diag[b.nX + row.slack] : 1.0);
    }
    a.val[a.diagPos[b.nX + r]] = -d;
  }
}

// The shift of the row block: only after repeated trouble, and then tied
// to the size of the errors so that it vanishes near a solution.
double augRegularization(const BarrierState &b, const BarAUG &a, bool flag) {
  if (a.regAUGLevel <= 2 && !flag) return 0.0;
  double err = std::max(b.feasErr, b.optErr);
  if (b.mu > 0.0) err = std::min(err, b.mu);
  double v = 1e-8 * err;
  if ((b.iterCount == 0 || flag) && v <= 5e-16) v = 1e-8;
  // A singular factor that stays singular needs a growing shift.
  if (flag && a.regAUGLevel > 3) v = 1e-8 * std::pow(100.0, a.regAUGLevel - 3);
  if (flag) return std::min(v, 1e-2);
  // Without a singular factor the shift stays a hundredth below the
  // smallest squared slack: larger, it relaxes the row of a closing slack
  // more than the slack does, and at a cusp the projected steps then leave
  // that row and the bound it touches, where the Hessian's curvature is
  // false.
  double smin = 1.7976931348623157e308;
  for (int j = 0; j < b.nSlacks; ++j) smin = std::min(smin, b.x[b.nX + j]);
  if (b.nSlacks > 0) v = std::min(v, 1e-2 * smin * smin);
  return std::min(v, 1e-8);
}

// Null pivots are judged against the identity and the Jacobian: slacks of
// far bounds put s^2 on the row diagonal, many orders above the rest.
void augNullPivotTol(const BarrierState &b, BarAUG &a) {
  double all = 0.0, ref = 1.0;
  for (size_t q = 0; q < a.val.size(); ++q) {
    const double v = std::fabs(a.val[q]);
    all = std::max(all, v);
    if (a.irn[q] < b.nX || a.irn[q] != a.jcn[q]) ref = std::max(ref, v);
  }
  a.sys.settings.nullPivotTol = all > 0.0 ? 1e-14 * ref / all : 1e-14;
}

bool augBoundsOnly(const BarrierState &b) {
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (!row.onVariable() || row.slack < 0 || row.pen[0] >= 0 || row.pen[1] >= 0) return false;
  }
  return true;
}

// The per-variable blocks of a bound-rows-only system: row k on variable i
// gives w_k = (a_k y_i - rc_k) / d_k, so y_i (D_i + sum a_k^2 / d_k) =
// rx_i + sum a_k rc_k / d_k with a_k = +-1. False when a row diagonal
// vanishes (a slack at zero without a shift).
bool augFactorBounds(const BarrierState &b, BarAUG &a) {
  const bool scaled = !a.diag.empty();
  a.rowD.resize(b.mFull);
  a.varDen.resize(b.nX);
  for (int i = 0; i < b.nX; ++i) a.varDen[i] = scaled ? a.diag[i] : 1.0;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    const double s = b.x[b.nX + row.slack];
    const double d = a.regAUG + s * s / (scaled ? a.diag[b.nX + row.slack] : 1.0);
    if (!(d > 1e-300) || !std::isfinite(d)) return false;
    a.rowD[r] = d;
    a.varDen[row.item] += 1.0 / d;
  }
  return true;
}

void augSolveBounds(const BarrierState &b, BarAUG &a) {
  for (int i = 0; i < b.nX; ++i) a.sol[i] = a.rhs[i];
  for (int r = 0; r < b.mFull; ++r) a.sol[b.rows[r].item] += b.rows[r].sign() * a.rhs[b.nX + r] / a.rowD[r];
  for (int i = 0; i < b.nX; ++i) a.sol[i] /= a.varDen[i];
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    a.sol[b.nX + r] = (row.sign() * a.sol[row.item] - a.rhs[b.nX + r]) / a.rowD[r];
  }
}

}  // namespace

int barrierAUGinitSystem(MXL_context *ctx, BarrierState &b, BarAUG &a) {
  a.regAUGLevel = 0;
  a.regAUG = 0.0;
  linRelease(a.sys);
  a.analysed = a.factored = false;
  a.dim = b.nX + b.mFull;
  a.rhs.assign(a.dim, 0.0);
  a.sol.assign(a.dim, 0.0);
  a.res.assign(a.dim, 0.0);
  a.boundsOnly = augBoundsOnly(b);
  if (a.boundsOnly) {
    a.analysed = true;
    return 0;
  }
  BarPatternBuilder pb;
  augPattern(b, a, pb);
  augCompress(a, pb);
  LinEngineKind kind;
  const int st = barrierAnalyzeSystem(ctx, a.sys, a.dim, a.irn, a.jcn, &kind, &a.pivotTol);
  if (st != LIN_OK) mxl_printf(ctx, "*** AUG analyze failed with status %d (barrierAUGfactor)\n", st);
  a.analysed = st == LIN_OK;
  return a.analysed ? 0 : MX_RC_LINEAR_SOLVER_ERR;
}

// Forms and factors at the current point. A singular matrix (dependent
// rows) or a wrong inertia is regularised on the row diagonal, growing
// until the factor is usable. Returns 0 or a negative engine status.
int barrierAUGfactorSystem(MXL_context *ctx, BarrierState &b, BarAUG &a) {
  if (!a.analysed) return LIN_ERR_ORDER;
  if (b.cg.raisePivot) {
    a.sys.settings.pivotTol = std::min(0.5, std::max(10.0 * a.sys.settings.pivotTol, 0.01));
    b.cg.raisePivot = false;
  }
  if (b.cg.projectionSuspect) {
    ++a.regAUGLevel;
    b.cg.projectionSuspect = false;
  }
  bool flag = false;
  for (int rep = 0; rep < 6; ++rep) {
    a.regAUG = augRegularization(b, a, flag);
    if (a.boundsOnly) {
      a.factored = augFactorBounds(b, a);
      a.negEig = b.mFull;
      if (a.factored) return 0;
      ++a.regAUGLevel;
      flag = true;
      continue;
    }
    augForm(b, a);
    augNullPivotTol(b, a);
    const LinFactorInfo info = linFactor(a.sys, a.val.data());
    ++b.numFactorizations;
    if (info.status != LIN_OK) {
      mxl_printf(ctx, "*** AUG factorization failed with status %d (barrierAUGfactor)\n", info.status);
      a.factored = false;
      return info.status;
    }
    a.negEig = info.negEig;
    a.factored = !info.singular() && info.negEig == b.mFull;
    if (a.factored) return 0;
    ++a.regAUGLevel;
    flag = true;
    if (ctx->opt.debug > 0)
      mxl_printf(ctx, "*** Singular AUG matrix: pivot = %e, regularize_aug = %d\n", 0.0, a.regAUGLevel);
  }
  return LIN_ERR_SINGULAR;
}

// Solves AUG [y; w] = [rx; rc] with refinement; y over the full iterate,
// w over the rows.
int barrierAUGsolveSystem(BarrierState &b, BarAUG &a, const double *rx, const double *rc, double *y, double *w) {
  const bool scaled = !a.diag.empty();
  if (!a.factored) return LIN_ERR_SINGULAR;
  const double *s = b.x.data() + b.nX;
  std::copy(rx, rx + b.nX, a.rhs.begin());
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    const double ds = row.slack >= 0 && scaled ? a.diag[b.nX + row.slack] : 1.0;
    a.rhs[b.nX + r] = rc[r] + (row.slack >= 0 ? s[row.slack] * rx[b.nX + row.slack] / ds : 0.0);
  }
  std::copy(a.rhs.begin(), a.rhs.end(), a.sol.begin());
  if (a.boundsOnly) augSolveBounds(b, a);
  else if (const int st = linSolve(a.sys, a.sol.data())) return st;
  const double nrm = std::max(normInf(a.dim, a.rhs.data()), 1e-300);
  for (int it = 0; it < 3 && !a.boundsOnly; ++it) {
    linMultiply(a.sys, a.sol.data(), a.res.data());
    for (int i = 0; i < a.dim; ++i) a.res[i] = a.rhs[i] - a.res[i];
    if (normInf(a.dim, a.res.data()) <= 1e-14 * nrm) break;
    if (linSolve(a.sys, a.res.data()) != LIN_OK) break;
    for (int i = 0; i < a.dim; ++i) a.sol[i] += a.res[i];
  }
  std::copy(a.sol.begin(), a.sol.begin() + b.nX, y);
  for (int r = 0; r < b.mFull; ++r) {
    w[r] = a.sol[b.nX + r];
    const BarRow &row = b.rows[r];
    if (row.slack < 0) continue;
    const double ds = scaled ? a.diag[b.nX + row.slack] : 1.0;
    y[b.nX + row.slack] = (rx[b.nX + row.slack] + s[row.slack] * w[r]) / ds;
  }
  return 0;
}

int barrierAUGinit(MXL_context *ctx, BarrierState &b) { return barrierAUGinitSystem(ctx, b, b.cg.aug); }
int barrierAUGfactor(MXL_context *ctx, BarrierState &b) { return barrierAUGfactorSystem(ctx, b, b.cg.aug); }
int barrierAUGsolve(MXL_context *, BarrierState &b, const double *rx, const double *rc, double *y, double *w) {
  return barrierAUGsolveSystem(b, b.cg.aug, rx, rc, y, w);
}

// ---- The preconditioned projection (cg_precond 1) ----
// The same system with the diagonal of the barrier Hessian in place of the
// identity: projections in that metric make the CG iterations scale-free.

int barrierEqPrecAUGinit(MXL_context *ctx, BarrierState &b) {
  b.cg.prec.diag.assign(b.nFull, 1.0);
  return barrierAUGinitSystem(ctx, b, b.cg.prec);
}

// The diagonal of W, kept away from zero relative to its largest entry.
void formAndFactorPrecond(MXL_context *ctx, BarrierState &b) {
  std::vector<double> &D = b.cg.prec.diag;
  std::fill(D.begin(), D.end(), 0.0);
  for (int64_t k = 0; k < b.nnzH; ++k)
    if (b.hessI[k] == b.hessJ[k]) D[b.hessI[k]] += std::fabs(b.hessVals[k]);
  for (int j = 0; j < b.nSlacks; ++j) D[b.nX + j] = b.lambda[b.slackRow[j]] * b.x[b.nX + j];
  double big = 0.0;
  for (double v : D) big = std::max(big, std::fabs(v));
  const double floor = std::max(1e-4 * big, 1e-8);
  for (double &v : D) v = std::max(std::fabs(v), floor);
  b.cg.precOk = barrierAUGfactorSystem(ctx, b, b.cg.prec) == 0;
}

int barrierEqPrecAUGsolve(BarrierState &b, const double *rx, const double *rc, double *y, double *w) {
  return barrierAUGsolveSystem(b, b.cg.prec, rx, rc, y, w);
}

void barrierAUGfree(BarrierState &b) {
  for (BarAUG *a : {&b.cg.aug, &b.cg.prec}) {
    linRelease(a->sys);
    a->analysed = a->factored = false;
  }
}
