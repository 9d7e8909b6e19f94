// Dispatch of the engine operations, iterative refinement, and the mapping of
// engine numbers onto the engines that exist here.
#include "linalg/engine.h"

#include <algorithm>
#include <cmath>

#include "driver/print.h"
#include "interface/context.h"

LinSystem::LinSystem() = default;
LinSystem::~LinSystem() { linRelease(*this); }

static bool linPatternValid(int n, nnzint nnz, const int *row, const int *col) {
  if (n < 0 || nnz < 0) return false;
  if (nnz > 0 && (row == nullptr || col == nullptr)) return false;
  for (nnzint k = 0; k < nnz; ++k)
    if (row[k] < 0 || row[k] >= n || col[k] < 0 || col[k] >= n) return false;
  return true;
}

int linAnalyze(LinSystem &sys, LinEngineKind kind, const LinSettings &s, int n, nnzint nnz,
               const int *row, const int *col) {
  linRelease(sys);
  if (!linPatternValid(n, nnz, row, col)) return LIN_ERR_INPUT;
  sys.kind = kind;
  sys.settings = s;
  sys.n = n;
  sys.row.assign(row, row + nnz);
  sys.col.assign(col, col + nnz);
  sys.val.assign(static_cast<size_t>(nnz), 0.0);
  int st;
  if (kind == LIN_ENGINE_MUMPS)
    st = mumpsAnalyze(sys);
  else if (kind == LIN_ENGINE_LDL)
    st = ldlAnalyze(sys);
  else
    st = denseAnalyze(sys);
  if (st != LIN_OK) {
    linRelease(sys);
    return st;
  }
  sys.stage = 1;
  return LIN_OK;
}

LinFactorInfo linFactor(LinSystem &sys, const double *val) {
  LinFactorInfo bad;
  if (sys.stage < 1) {
    bad.status = LIN_ERR_ORDER;
    return bad;
  }
  const size_t nnz = sys.val.size();
  if (nnz > 0 && val == nullptr) {
    bad.status = LIN_ERR_INPUT;
    return bad;
  }
  std::copy(val, val + nnz, sys.val.begin());
  double mx = 0.0;
  for (double v : sys.val) mx = std::max(mx, std::fabs(v));
  sys.maxAbs = mx;
  LinFactorInfo info;
  if (sys.kind == LIN_ENGINE_MUMPS)
    info = mumpsFactor(sys);
  else if (sys.kind == LIN_ENGINE_LDL)
    info = ldlFactor(sys);
  else
    info = denseFactor(sys);
  sys.info = info;
  if (info.status != LIN_OK)
    sys.stage = 1;
  else
    sys.stage = info.singular() ? 3 : 2;
  return info;
}

void linMultiply(const LinSystem &sys, const double *x, double *y) {
  std::fill(y, y + sys.n, 0.0);
  for (size_t k = 0; k < sys.val.size(); ++k) {
    const int i = sys.row[k], j = sys.col[k];
    const double a = sys.val[k];
    y[i] += a * x[j];
    if (i != j) y[j] += a * x[i];
  }
}

double linResidualInf(const LinSystem &sys, const double *x, const double *b) {
  std::vector<double> y(static_cast<size_t>(sys.n));
  linMultiply(sys, x, y.data());
  double r = 0.0;
  for (int i = 0; i < sys.n; ++i) r = std::max(r, std::fabs(b[i] - y[i]));
  return r;
}

static int linSolveOnce(LinSystem &sys, double *rhs) {
  if (sys.kind == LIN_ENGINE_MUMPS) return mumpsSolve(sys, rhs);
  return sys.kind == LIN_ENGINE_LDL ? ldlSolve(sys, rhs) : denseSolve(sys, rhs);
}

int linSolve(LinSystem &sys, double *rhs) {
  if (sys.stage == 3) return LIN_ERR_SINGULAR;
  if (sys.stage != 2) return LIN_ERR_ORDER;
  const size_t n = static_cast<size_t>(sys.n);
  std::vector<double> b(rhs, rhs + n), r(n), kx(n);
  double bnorm = 0.0;
  for (double v : b) bnorm = std::max(bnorm, std::fabs(v));
  int st = linSolveOnce(sys, rhs);
  for (int it = 0; st == LIN_OK && it < sys.settings.maxRefine; ++it) {
    linMultiply(sys, rhs, kx.data());
    double rnorm = 0.0;
    for (size_t i = 0; i < n; ++i) {
      r[i] = b[i] - kx[i];
      rnorm = std::max(rnorm, std::fabs(r[i]));
    }
    if (rnorm <= sys.settings.refineTol * bnorm) break;
    st = linSolveOnce(sys, r.data());
    for (size_t i = 0; i < n && st == LIN_OK; ++i) rhs[i] += r[i];
  }
  return st;
}

void linRelease(LinSystem &sys) {
  if (sys.mumps) mumpsRelease(sys);
  if (sys.dense) denseRelease(sys);
  if (sys.ldl) ldlRelease(sys);
  sys.stage = 0;
  sys.n = 0;
  sys.info = LinFactorInfo();
  sys.userOrder.clear();
  std::vector<int>().swap(sys.row);
  std::vector<int>().swap(sys.col);
  std::vector<double>().swap(sys.val);
}

LinSettings linSettingsFromContext(const MXL_context *ctx) {
  LinSettings s;
  const MxOptionBlock &o = ctx->opt;
  s.pivotTol = std::min(std::max(o.linsolver_pivottol, 0.0), 0.5);
  s.scaling = o.linsolver_scaling;
  s.ordering = o.linsolver_ordering;
  s.nodeAmalg = o.linsolver_nodeamalg;
  s.ooc = o.linsolver_ooc;
  s.maxRefine = std::max(o.linsolver_maxitref, 0);
  return s;
}

int linResolveAuto(MXL_context *ctx, int linsolver, int algorithm, int nPlusM, bool mipSubproblem) {
  if (linsolver != 0 && linsolver != 1) return linsolver;
  int chosen = 5;
  if (algorithm == 1) {
    if (mipSubproblem && nPlusM < 2000)
      chosen = 4;
    else if (nPlusM >= 5000)
      chosen = 5;
    else
      chosen = 2;
  } else if (algorithm >= 2 && algorithm <= 4) {
    chosen = 4;
  }
  if (ctx != nullptr && ctx->opt.outlev >= 4) {
    if (linsolver == 0)
      mxl_printf(ctx, "Morvex changing linsolver from AUTO to %d.\n", chosen);
    else
      mxl_printf(ctx, "Morvex changing linsolver from INTERNAL to %d.\n", chosen);
  }
  return chosen;
}

void linResolveHybrid(int nPlusRows, int *projectionEngine, int *stepEngine) {
  *projectionEngine = nPlusRows < 10000 ? 4 : 5;
  *stepEngine = 5;
}

int linEngineForSystem(MXL_context *ctx, int linsolver, int n, LinEngineKind *kind) {
  if (linsolver == -1) return 0;
  if (linsolver >= 6 && linsolver <= 8) {
    if (ctx != nullptr) {
      mxl_printf(ctx, "WARNING: linsolver=%d is not available in this build.\n", linsolver);
      mxl_printf(ctx, "         Changing linsolver to %d.\n", 5);
    }
    linsolver = 5;
  }
  // Dense QR serves the Jacobian (see qr_dense.cpp); its symmetric systems,
  // such as the reduced Hessian, are small and dense by construction.
  if (linsolver == 3) {
    *kind = LIN_ENGINE_DENSE;
    return 3;
  }
  *kind = n <= LIN_LDL_MIN_ROWS ? LIN_ENGINE_DENSE : LIN_ENGINE_LDL;
  return linsolver;
}
