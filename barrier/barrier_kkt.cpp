// The step (KKT) system of the barrier method in its eliminated forms.
//
// Full system, with W the Hessian of the Lagrangian and A the Jacobian of
// the full rows (slack columns relative):
//   [ W + pertH      A'      ] [d]   [rx]
//   [ A          -regKKT I   ] [y] = [rc]
// Slack columns are always eliminated: a row r with slack s and
// Sigma = lambda s + pertH keeps  a'd - D_r y_r = rc_r + s rs / Sigma  with
// D_r = s^2 / Sigma + regKKT. Form 2 also eliminates the bound rows, form 3
// the general inequalities: such a row adds a a' / D_r to the primal block.
// The pattern and the positions of every contribution are fixed once per
// form; forming is one pass over the nonzeros.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "barrier/barrier.h"
#include "barrier/barrier_pattern.h"
#include "driver/debug_options.h"
#include "driver/print.h"
#include "interface/context.h"

namespace {

bool barRowInMatrix(int form, const BarRow &row) {
  if (row.kind >= BAR_ROW_BOUND_LO) return form == 1;
  if (row.kind == BAR_ROW_INEQ_LO || row.kind == BAR_ROW_INEQ_UP) return form != 3;
  return true;
}

void barKKTrows(BarrierState &b, BarKKT &k) {
  k.rowPos.assign(b.mFull, -1);
  k.nRowsIn = 0;
  for (int r = 0; r < b.mFull; ++r)
    if (barRowInMatrix(k.form, b.rows[r])) k.rowPos[r] = b.nX + k.nRowsIn++;
  k.dim = b.nX + k.nRowsIn;
}

void barKKTpattern(BarrierState &b, BarKKT &k, BarPatternBuilder &pb) {
  pb.dim = k.dim;
  k.hessPos.assign(static_cast<size_t>(b.nnzH), 0);
  for (int64_t e = 0; e < b.nnzH; ++e) k.hessPos[e] = pb.add(b.hessI[e], b.hessJ[e]);
  k.diagPos.assign(k.dim, 0);
  for (int i = 0; i < k.dim; ++i) k.diagPos[i] = pb.add(i, i);
  k.jacPos.clear();
  k.jacRow.clear();
  k.jacEntry.clear();
  k.varRowPos.assign(b.mFull, -1);
  k.penPos.assign(2 * static_cast<size_t>(b.mFull), -1);
  k.ineqPairA.clear();
  k.ineqPairB.clear();
  k.ineqPairRow.clear();
  k.ineqPos.clear();
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (row.onVariable()) {
      if (k.rowPos[r] >= 0) k.varRowPos[r] = pb.add(k.rowPos[r], row.item);
      continue;
    }
    for (int q = 0; q < 2 && k.rowPos[r] >= 0; ++q)
      if (row.pen[q] >= 0) k.penPos[2 * r + q] = pb.add(k.rowPos[r], row.pen[q]);
    const int64_t k0 = b.jacRowPtr[row.item], k1 = b.jacRowPtr[row.item + 1];
    for (int64_t e = k0; e < k1; ++e) {
      if (k.rowPos[r] < 0) break;
      k.jacPos.push_back(pb.add(k.rowPos[r], b.jacVars[e]));
      k.jacRow.push_back(r);
      k.jacEntry.push_back(static_cast<int>(e));
    }
    if (k.rowPos[r] >= 0) continue;
    for (int64_t e1 = k0; e1 < k1; ++e1)
      for (int64_t e2 = k0; e2 <= e1; ++e2) {
        k.ineqPairA.push_back(static_cast<int>(e1));
        k.ineqPairB.push_back(static_cast<int>(e2));
        k.ineqPairRow.push_back(r);
        k.ineqPos.push_back(pb.add(b.jacVars[e1], b.jacVars[e2]));
      }
  }
}

// Merges equal coordinates and turns contribution ids into value positions.
void barKKTcompress(BarKKT &k, BarPatternBuilder &pb) {
  const std::vector<int64_t> where = pb.compress(k.irn, k.jcn);
  for (auto *v : {&k.hessPos, &k.diagPos, &k.jacPos, &k.ineqPos, &k.varRowPos, &k.penPos}) barRemap(where, *v);
  k.val.assign(k.irn.size(), 0.0);
}

// Sigma and D of a row with a slack.
inline double barSigma(const BarrierState &b, int r) {
  const BarRow &row = b.rows[r];
  return b.lambda[r] * b.x[b.nX + row.slack] + b.pertH;
}

// The row shift in the model's units: a row scaled by f carries f^2 of it,
// so that scaling leaves the regularised system, and the Hessian shift its
// inertia asks for, as they were.
inline double barRowReg(const BarrierState &b, int r) {
  const double f = b.rows[r].scale;
  return b.regKKT * f * f;
}

inline double barRowD(const BarrierState &b, int r) {
  const BarRow &row = b.rows[r];
  if (row.slack < 0) return barRowReg(b, r);
  const double s = b.x[b.nX + row.slack];
  return s * s / barSigma(b, r) + barRowReg(b, r);
}

}  // namespace

int barrierExpectedNeg(const BarrierState &b) { return b.kkt.nRowsIn; }

LinEngineKind barrierEngineFor(MXL_context *ctx, int dim) {
  int engine = ctx->resolvedLinsolver;
  if (engine == 2) engine = 5;
  LinEngineKind kind = LIN_ENGINE_DENSE;
  linEngineForSystem(ctx, engine, dim, &kind);
  // The debug options file may move the switch between the dense and the
  // sparse engine ({"linsolver": {"dense_max_rows": N}}), to run small
  // models through the sparse engine.
  const int denseMax = getDebugOptionIntValue2(ctx->drv.debugOptions, "linsolver", "dense_max_rows", -1);
  if (denseMax >= 0 && engine != 3) kind = dim <= denseMax ? LIN_ENGINE_DENSE : LIN_ENGINE_MUMPS;
  return kind;
}

void barrierKKTfree(BarrierState &b) {
  linRelease(b.kkt.sys);
  b.kkt.analysed = b.kkt.factored = false;
}

void barrierKKTinit(MXL_context *ctx, BarrierState &b, int form) {
  BarKKT &k = b.kkt;
  barrierKKTfree(b);
  k.form = form;
  barKKTrows(b, k);
  BarPatternBuilder pb;
  barKKTpattern(b, k, pb);
  barKKTcompress(k, pb);
  const int st = barrierAnalyzeSystem(ctx, k.sys, k.dim, k.irn, k.jcn, &b.engineKind, nullptr);
  if (st != LIN_OK) mxl_printf(ctx, "*** KKT analyze failed with status %d (barrierKKTfactor))\n", st);
  k.analysed = st == LIN_OK;
  b.workRhs.assign(k.dim, 0.0);
  b.workSol.assign(k.dim, 0.0);
  b.workRes.assign(k.dim, 0.0);
}

int barrierAnalyzeSystem(MXL_context *ctx, LinSystem &sys, int dim, const std::vector<int> &irn,
                         const std::vector<int> &jcn, LinEngineKind *kind, double *pivotTol) {
  LinSettings s = linSettingsFromContext(ctx);
  s.maxRefine = 0;  // the refinement loop of the step decides
  // The rows carry a deliberate diagonal (down to 1e-15): only pivots at
  // rounding level count as null.
  s.nullPivotTol = 1e-14;
  if (pivotTol != nullptr) *pivotTol = s.pivotTol;
  *kind = barrierEngineFor(ctx, dim);
  return linAnalyze(sys, *kind, s, dim, static_cast<nnzint>(irn.size()), irn.data(), jcn.data());
}

void barrierKKTswitchForm(MXL_context *ctx, BarrierState &b, int form) {
  if (ctx->opt.debug > 0) mxl_printf(ctx, "***Updated KKT linear system...\n");
  barrierKKTinit(ctx, b, form);
}

static void barKKTregularization(BarrierState &b) {
  const double err = std::max(b.feasErr, b.optErr);
  double e = 0.01 * err;
  if (b.nSlacks > 0) e = std::min(e, b.mu);
  if (b.regKKTLevel > 2 || b.singularCount >= 3 || b.regKKTFlag) {
    b.regKKT = std::max(std::min(e, 1e-8), 1e-15);
    b.pertH = std::max(b.pertH, 1e-15);
  } else {
    b.regKKT = 0.0;
  }
}

void barrierKKTform(MXL_context *, BarrierState &b, int recompute) {
  BarKKT &k = b.kkt;
  if (recompute) barKKTregularization(b);
  std::fill(k.val.begin(), k.val.end(), 0.0);
  for (int64_t e = 0; e < b.nnzH; ++e) k.val[k.hessPos[e]] += b.hessVals[e];
  for (int i = 0; i < b.nX; ++i) k.val[k.diagPos[i]] += b.pertH;
  for (size_t q = 0; q < k.jacPos.size(); ++q)
    k.val[k.jacPos[q]] += b.rows[k.jacRow[q]].coef() * b.jacVals[k.jacEntry[q]];
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    const double D = barRowD(b, r);
    if (k.rowPos[r] >= 0) {
      k.val[k.diagPos[k.rowPos[r]]] -= D;
      if (k.varRowPos[r] >= 0) k.val[k.varRowPos[r]] += row.sign();
      for (int q = 0; q < 2; ++q)
        if (k.penPos[2 * r + q] >= 0) k.val[k.penPos[2 * r + q]] += row.penCoef[q];
    } else if (row.onVariable()) {
      k.val[k.diagPos[row.item]] += 1.0 / D;
    }
  }
  for (size_t q = 0; q < k.ineqPos.size(); ++q) {
    const int r = k.ineqPairRow[q];
    const double f = b.rows[r].scale;
    k.val[k.ineqPos[q]] += f * f * b.jacVals[k.ineqPairA[q]] * b.jacVals[k.ineqPairB[q]] / barRowD(b, r);
  }
}

int barrierKKTfactor(MXL_context *ctx, BarrierState &b) {
  BarKKT &k = b.kkt;
  if (!k.analysed) return LIN_ERR_ORDER;
  // Null pivots are judged against the Hessian and the Jacobian, not
  // against the row diagonals: inactive bounds put s / lambda there, many
  // orders of magnitude above the rest.
  double all = 0.0, rows = 0.0;
  for (double v : k.val) all = std::max(all, std::fabs(v));
  for (int r = 0; r < b.mFull; ++r)
    if (k.rowPos[r] >= 0) rows = std::max(rows, std::fabs(k.val[k.diagPos[k.rowPos[r]]]));
  double ref = 0.0;
  for (size_t q = 0; q < k.val.size(); ++q)
    if (k.irn[q] < b.nX || k.irn[q] != k.jcn[q]) ref = std::max(ref, std::fabs(k.val[q]));
  if (rows <= ref) ref = all;
  k.sys.settings.nullPivotTol = all > 0.0 ? 1e-14 * std::max(ref, 1e-300) / all : 1e-14;
  const LinFactorInfo info = linFactor(k.sys, k.val.data());
  ++b.numFactorizations;
  k.factored = info.status == LIN_OK && !info.singular();
  k.singular = info.status == LIN_OK && info.singular();
  k.negEig = info.negEig;
  if (info.status != LIN_OK) {
    mxl_printf(ctx, "*** KKT factorization failed with status %d (barrierKKTfactor)\n", info.status);
    return info.status;
  }
  if (k.factored && b.qn.kind == 6) lmKKTupdate(ctx, b);
  return 0;
}

namespace {

// The row's a'd for the primal block.
double barRowTimes(const BarrierState &b, int r, const double *dx) {
  const BarRow &row = b.rows[r];
  double sum = 0.0;
  if (row.onVariable()) {
    sum = dx[row.item];
  } else {
    for (int64_t e = b.jacRowPtr[row.item]; e < b.jacRowPtr[row.item + 1]; ++e)
      sum += b.jacVals[e] * dx[b.jacVars[e]];
  }
  return row.coef() * sum + row.penTimes(dx);
}

// The right-hand side of a row after its slack left: rc + s rs / Sigma.
double barRowRhs(const BarrierState &b, int r, const double *rhsX, const double *rhsC) {
  const BarRow &row = b.rows[r];
  if (row.slack < 0) return rhsC[r];
  const double s = b.x[b.nX + row.slack];
  return rhsC[r] + s * rhsX[b.nX + row.slack] / barSigma(b, r);
}

void barAddRowToPrimal(const BarrierState &b, int r, double w, double *top) {
  const BarRow &row = b.rows[r];
  if (row.onVariable()) {
    top[row.item] += row.sign() * w;
    return;
  }
  for (int64_t e = b.jacRowPtr[row.item]; e < b.jacRowPtr[row.item + 1]; ++e)
    top[b.jacVars[e]] += row.coef() * b.jacVals[e] * w;
  row.penAdd(w, top);
}

void formCompactRHS(const BarrierState &b, const double *rhsX, const double *rhsC, double *rhs) {
  const BarKKT &k = b.kkt;
  std::copy(rhsX, rhsX + b.nX, rhs);
  for (int r = 0; r < b.mFull; ++r) {
    const double rr = barRowRhs(b, r, rhsX, rhsC);
    if (k.rowPos[r] >= 0)
      rhs[k.rowPos[r]] = rr;
    else
      barAddRowToPrimal(b, r, rr / barRowD(b, r), rhs);
  }
}

void recoverFullSolution(const BarrierState &b, const double *rhsX, const double *rhsC, const double *sol,
                         double *d, double *dLambda) {
  const BarKKT &k = b.kkt;
  std::copy(sol, sol + b.nX, d);
  for (int r = 0; r < b.mFull; ++r) {
    double y;
    if (k.rowPos[r] >= 0)
      y = sol[k.rowPos[r]];
    else
      y = (barRowTimes(b, r, sol) - barRowRhs(b, r, rhsX, rhsC)) / barRowD(b, r);
    dLambda[r] = -y;
    const BarRow &row = b.rows[r];
    if (row.slack < 0) continue;
    const double s = b.x[b.nX + row.slack];
    d[b.nX + row.slack] = (rhsX[b.nX + row.slack] + s * y) / barSigma(b, r);
  }
}

double barMaxAbs(int n, const double *v) { return normInf(n, v); }

// res = rhs - K sol for the matrix without the row shift regKKT: the
// refinement then removes the shift's bias from the rows' steps, which
// would otherwise keep a degenerate row from ever being satisfied.
void barKKTresidual(const BarrierState &b, const double *rhs, const double *sol, double *res) {
  const BarKKT &k = b.kkt;
  linMultiply(k.sys, sol, res);
  for (int i = 0; i < k.dim; ++i) res[i] = rhs[i] - res[i];
  if (b.regKKT <= 0.0 || k.form != 1) return;
  for (int r = 0; r < b.mFull; ++r)
    if (k.rowPos[r] >= 0) res[k.rowPos[r]] -= barRowReg(b, r) * sol[k.rowPos[r]];
}

}  // namespace

int barrierKKTsolve(MXL_context *ctx, BarrierState &b, const double *rhsX, const double *rhsC, double *d,
                    double *dLambda, int refineMin) {
  BarKKT &k = b.kkt;
  if (!k.factored) return LIN_ERR_SINGULAR;
  const int dim = k.dim;
  double *rhs = b.workRhs.data(), *sol = b.workSol.data(), *res = b.workRes.data();
  formCompactRHS(b, rhsX, rhsC, rhs);
  const double nrm = std::max(barMaxAbs(dim, rhs), 1e-300);
  std::copy(rhs, rhs + dim, sol);
  int st = linSolve(k.sys, sol);
  if (st != LIN_OK) return st;
  const int limit = std::max(refineMin, ctx->opt.linsolver_maxitref);
  std::vector<double> &best = b.workBest;
  best.assign(sol, sol + dim);
  double bestRel = 1e20;
  for (int it = 1;; ++it) {
    barKKTresidual(b, rhs, sol, res);
    const double rel = barMaxAbs(dim, res) / nrm;
    if (it != 1 && rel >= bestRel) break;  // refinement made it worse: keep the best
    std::copy(sol, sol + dim, best.begin());
    bestRel = rel;
    if (rel <= 1e-10 || it > limit) break;
    if (linSolve(k.sys, res) != LIN_OK) break;
    bool finite = true;
    for (int i = 0; i < dim; ++i) finite = finite && std::isfinite(res[i]);
    if (!finite) break;
    for (int i = 0; i < dim; ++i) sol[i] += res[i];
  }
  b.lastSolveResidual = bestRel;
  if (bestRel > 1e-4 && k.form != 1) b.wantFormChange = true;
  if (b.qn.kind == 6) lmKKTsolve(b, best.data());
  recoverFullSolution(b, rhsX, rhsC, best.data(), d, dLambda);
  return 0;
}
