// Quasi-Newton Hessians of the Lagrangian for the barrier method.
//
// Dense BFGS and SR1 keep B as the values of a dense upper-triangle pattern,
// so that the step system reads it like an exact Hessian. Limited-memory
// BFGS keeps the compact form B = sigma I - W N^-1 W', W = [sigma S, Y],
// N = [sigma S'S, L; L', -D]; the step system holds sigma I and the
// low-rank part is applied by a Woodbury correction around its factor.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "interface/context.h"
#include "interface/evaluation.h"
#include "linalg/dense_bk.h"

namespace {

bool qnDense(int kind) { return kind == 2 || kind == 3; }

double qnDot(int n, const double *a, const double *b) {
  double s = 0.0;
  for (int i = 0; i < n; ++i) s += a[i] * b[i];
  return s;
}

// Entry (i, j), i <= j, of the dense pattern: rows of the upper triangle.
size_t qnAt(int n, int i, int j) {
  return static_cast<size_t>(i) * n - static_cast<size_t>(i) * (i - 1) / 2 + (j - i);
}

// Fixed variables keep a zero row and column and the diagonal 1e-15.
void qnFixVariables(const BarrierState &b, std::vector<double> &B) {
  const int n = b.n;
  for (int j = 0; j < n; ++j) {
    if (b.varFixedRow[j] < 0) continue;
    for (int i = 0; i < n; ++i) B[qnAt(n, std::min(i, j), std::max(i, j))] = 0.0;
    B[qnAt(n, j, j)] = 1e-15;
  }
}

void qnIdentity(const BarrierState &b, std::vector<double> &B, double scale) {
  std::fill(B.begin(), B.end(), 0.0);
  for (int i = 0; i < b.n; ++i) B[qnAt(b.n, i, i)] = scale;
  qnFixVariables(b, B);
}

void qnDenseTimes(int n, const std::vector<double> &B, const double *v, double *out) {
  std::fill(out, out + n, 0.0);
  size_t k = 0;
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j, ++k) {
      out[i] += B[k] * v[j];
      if (i != j) out[j] += B[k] * v[i];
    }
}

// B + a u u' + c v v', written only where finite.
void qnRankTwo(int n, std::vector<double> &B, const double *u, double a, const double *v, double c) {
  size_t k = 0;
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j, ++k) {
      const double t = B[k] + a * u[i] * u[j] + c * v[i] * v[j];
      if (std::isfinite(t)) B[k] = t;
    }
}

void qnBFGS(MXL_context *ctx, BarrierState &b, BarQN &q) {
  const int n = b.n;
  const double sTy = qnDot(n, q.s.data(), q.y.data()), yTy = qnDot(n, q.y.data(), q.y.data());
  const double sTs = qnDot(n, q.s.data(), q.s.data());
  const double ns = std::sqrt(sTs), ny = std::sqrt(yTy);
  if (!q.started) {
    q.started = true;
    if (sTy > 1e-8 * ns * ny) {
      const double sc = ctx->opt.bfgs_scaling == 1 ? std::min(yTy / sTy, 1.0) : std::min(sTy / sTs, 1.0);
      qnIdentity(b, b.hessVals, sc);
    }
  }
  qnDenseTimes(n, b.hessVals, q.s.data(), q.Bs.data());
  const double sBs = std::max(qnDot(n, q.s.data(), q.Bs.data()), 2.220446049250313e-16);
  if (!(sBs > 0.0) || !(ny > 0.0) || !(ns > 0.0)) return;
  // Curvature near zero: dividing by y'y keeps the update bounded.
  const double denom = sTy > 2.220446049250313e-16 * ny * ns ? sTy : yTy;
  qnRankTwo(n, b.hessVals, q.Bs.data(), -1.0 / sBs, q.y.data(), 1.0 / denom);
}

void qnSR1(BarrierState &b, BarQN &q) {
  const int n = b.n;
  q.started = true;
  qnDenseTimes(n, b.hessVals, q.s.data(), q.Bs.data());
  for (int i = 0; i < n; ++i) q.Bs[i] = q.y[i] - q.Bs[i];  // v = y - B s
  const double vTs = qnDot(n, q.Bs.data(), q.s.data());
  const double nv = std::sqrt(qnDot(n, q.Bs.data(), q.Bs.data())), ns = std::sqrt(qnDot(n, q.s.data(), q.s.data()));
  if (std::fabs(vTs) < 1e-4 * nv * ns || std::fabs(vTs) < 1e-15) return;
  qnRankTwo(n, b.hessVals, q.Bs.data(), 1.0 / vTs, q.Bs.data(), 0.0);
}

}  // namespace

// ---- Limited memory ----

// Adds the pair (s, y), dropping the oldest beyond lmsize, and factors the
// middle matrix. Returns the Cholesky status of sigma S'S + L D^-1 L' (the
// pairs stay as they were when it is not positive definite).
int updateb(MXL_context *ctx, BarrierState &b) {
  BarQN &q = b.qn;
  const int n = b.n, m = q.lmsize;
  std::vector<double> S(q.S), Y(q.Y);
  int k = q.count;
  if (k == m) {
    S.erase(S.begin(), S.begin() + n);
    Y.erase(Y.begin(), Y.begin() + n);
    --k;
  }
  S.insert(S.end(), q.s.begin(), q.s.end());
  Y.insert(Y.end(), q.y.begin(), q.y.end());
  ++k;
  const double sigma = qnDot(n, q.y.data(), q.y.data()) / qnDot(n, q.s.data(), q.y.data());
  std::vector<double> N(4 * k * k, 0.0), C(k * k, 0.0);
  const int k2 = 2 * k;
  for (int i = 0; i < k; ++i)
    for (int j = 0; j < k; ++j) {
      const double sij = qnDot(n, &S[i * n], &S[j * n]), syij = qnDot(n, &S[i * n], &Y[j * n]);
      N[i + j * k2] = sigma * sij;
      if (i > j) N[(k + j) + i * k2] = N[i + (k + j) * k2] = syij;  // L: s_i'y_j, i > j
      if (i == j) N[(k + i) + (k + i) * k2] = -syij;
      C[i + j * k] = sigma * sij;
    }
  // sigma S'S + L D^-1 L' must be positive definite for a valid update.
  for (int i = 0; i < k; ++i)
    for (int j = 0; j < k; ++j)
      for (int l = 0; l < std::min(i, j); ++l)
        C[i + j * k] += N[i + (k + l) * k2] * N[j + (k + l) * k2] / -N[(k + l) + (k + l) * k2];
  int info = 0;
  info = denseCholFactor(k, C.data(), k);
  if (info != 0) {
    if (ctx->opt.debug > 0) mxl_printf(ctx, "Cholesky info = %d\n", info);
    return info;
  }
  std::vector<int> piv(k2);
  info = denseBKFactor(k2, N.data(), k2, piv.data());
  if (info != 0) return info;
  q.S.swap(S);
  q.Y.swap(Y);
  q.count = k;
  q.sigma = sigma;
  q.N.swap(N);
  q.Npiv.swap(piv);
  q.Nok = true;
  return 0;
}

// t (2k) := N^-1 t.
static void qnMiddleSolve(BarQN &q, double *t) {
  const int k2 = 2 * q.count;
  denseBKSolve(k2, q.N.data(), k2, q.Npiv.data(), t);
}

// out (2k) := W' v with W = [sigma S, Y].
void getbv(const BarrierState &b, const double *v, double *out) {
  const BarQN &q = b.qn;
  for (int i = 0; i < q.count; ++i) {
    out[i] = q.sigma * qnDot(b.n, &q.S[i * b.n], v);
    out[q.count + i] = qnDot(b.n, &q.Y[i * b.n], v);
  }
}

// out := B v for the compact form.
void mmv(const BarrierState &b, const double *v, double *out) {
  BarQN &q = const_cast<BarQN &>(b.qn);
  const int n = b.n, k = q.count;
  for (int i = 0; i < n; ++i) out[i] = q.sigma * v[i];
  if (k == 0 || !q.Nok) return;
  std::vector<double> t(2 * k);
  getbv(b, v, t.data());
  qnMiddleSolve(q, t.data());
  for (int i = 0; i < k; ++i)
    for (int j = 0; j < n; ++j) out[j] -= q.sigma * q.S[i * n + j] * t[i] + q.Y[i * n + j] * t[k + i];
}

// After each factor of the step system: Z = K^-1 U with U = [W; 0], and
// the factor of G = W'Z_x - N, so that (K - U N^-1 U')^-1 is at hand.
int lmKKTupdate(MXL_context *, BarrierState &b) {
  BarQN &q = b.qn;
  q.lmReady = false;
  const int k = q.count, k2 = 2 * k, dim = b.kkt.dim, n = b.n;
  if (k == 0 || !q.Nok) return 0;
  q.Z.assign(static_cast<size_t>(dim) * k2, 0.0);
  for (int c = 0; c < k2; ++c) {
    double *z = &q.Z[static_cast<size_t>(c) * dim];
    const double *col = c < k ? &q.S[c * n] : &q.Y[(c - k) * n];
    const double f = c < k ? q.sigma : 1.0;
    for (int i = 0; i < n; ++i) z[i] = f * col[i];
    if (linSolve(b.kkt.sys, z) != LIN_OK) return -1;
  }
  q.G.assign(static_cast<size_t>(k2) * k2, 0.0);
  std::vector<double> wz(k2);
  for (int c = 0; c < k2; ++c) {
    getbv(b, &q.Z[static_cast<size_t>(c) * dim], wz.data());
    for (int r = 0; r < k2; ++r) q.G[r + c * k2] = wz[r];
  }
  // G := W'Z_x - N; N holds its factor, so rebuild N's entries.
  for (int i = 0; i < k; ++i)
    for (int j = 0; j < k; ++j) {
      q.G[i + j * k2] -= q.sigma * qnDot(n, &q.S[i * n], &q.S[j * n]);
      const double syij = qnDot(n, &q.S[i * n], &q.Y[j * n]);
      if (i > j) {
        q.G[i + (k + j) * k2] -= syij;
        q.G[(k + j) + i * k2] -= syij;
      }
      if (i == j) q.G[(k + i) + (k + i) * k2] += syij;
    }
  q.Gpiv.assign(k2, 0);
  const int info = denseBKFactor(k2, q.G.data(), k2, q.Gpiv.data());
  q.lmDim = dim;
  q.lmCols = k2;
  q.lmReady = info == 0;
  return info;
}

// x := (K + U C U')^-1 r given x = K^-1 r: t = U'x; solve G t; x -= Z t.
void lmKKTsolve(BarrierState &b, double *x) {
  BarQN &q = b.qn;
  if (!q.lmReady || q.lmDim != b.kkt.dim) return;
  const int k2 = q.lmCols;
  std::vector<double> t(k2);
  getbv(b, x, t.data());
  denseBKSolve(k2, q.G.data(), k2, q.Gpiv.data(), t.data());
  for (int c = 0; c < k2; ++c) {
    const double *z = &q.Z[static_cast<size_t>(c) * q.lmDim];
    for (int i = 0; i < q.lmDim; ++i) x[i] -= z[i] * t[c];
  }
}

// ---- Setup and update ----

// The Hessian pattern the barrier reads: the dense upper triangle for
// hessopt 2 and 3, the diagonal (sigma I) for 6, none for products only.
void barrierQNSetup(MXL_context *ctx, BarrierState &b) {
  BarQN &q = b.qn;
  q = BarQN();
  q.kind = ctx->resolvedHessopt;
  q.n = b.n;
  if (q.kind == 1 || q.kind == 0 || q.kind == 7) return;
  q.lmsize = std::max(ctx->opt.lmsize, 1);
  if (qnDense(q.kind)) {
    for (int i = 0; i < b.n; ++i)
      for (int j = i; j < b.n; ++j) q.patI.push_back(i), q.patJ.push_back(j);
  } else if (q.kind == 6) {
    for (int i = 0; i < b.n; ++i) q.patI.push_back(i), q.patJ.push_back(i);
  }
  b.nnzH = static_cast<int64_t>(q.patI.size());
  b.hessI = q.patI.data();
  b.hessJ = q.patJ.data();
  for (auto *v : {&q.xPrev, &q.gPrev, &q.s, &q.y, &q.Bs}) v->assign(b.n, 0.0);
}

bool barrierUsesQN(const BarrierState &b) { return b.qn.kind == 2 || b.qn.kind == 3 || b.qn.kind == 6; }

// Before an accepted step replaces the point: keep what the update needs.
void barrierQNStore(BarrierState &b) {
  BarQN &q = b.qn;
  if (!barrierUsesQN(b)) return;
  std::copy(b.x.begin(), b.x.begin() + b.n, q.xPrev.begin());
  std::copy(b.gModel.begin(), b.gModel.end(), q.gPrev.begin());
  q.jPrev.assign(b.jacVals.begin(), b.jacVals.end());
  q.havePrev = true;
}

// y = grad L(x_new) - grad L(x_old), both with the new multipliers.
void qnPair(BarrierState &b) {
  BarQN &q = b.qn;
  const int n = b.n;
  std::vector<double> &a = b.workFull;
  for (int i = 0; i < n; ++i) {
    q.s[i] = b.x[i] - q.xPrev[i];
    q.y[i] = b.objWeight * (b.gModel[i] - q.gPrev[i]);
  }
  barrierJacTransTimes(b, b.x.data(), b.lambda.data(), a.data());
  for (int i = 0; i < n; ++i) q.y[i] -= a[i];
  b.jacVals.swap(q.jPrev);
  barrierJacTransTimes(b, b.x.data(), b.lambda.data(), a.data());
  b.jacVals.swap(q.jPrev);
  for (int i = 0; i < n; ++i) q.y[i] += a[i];
}

// The approximation at the current point, in hessVals (formQN).
void formQN(MXL_context *ctx, BarrierState &b) {
  BarQN &q = b.qn;
  if (!barrierUsesQN(b)) {
    if (ctx->opt.debug > 0 && q.kind != 4 && q.kind != 5) mxl_printf(ctx, "ERROR: undefined Quasi-Newton method!\n");
    return;
  }
  if (!q.havePrev) {
    if (qnDense(q.kind)) qnIdentity(b, b.hessVals, 1.0);
    else std::fill(b.hessVals.begin(), b.hessVals.end(), q.count > 0 ? q.sigma : 1.0);
    return;
  }
  qnPair(b);
  q.havePrev = false;
  const double ns = std::sqrt(qnDot(b.n, q.s.data(), q.s.data())), ny = std::sqrt(qnDot(b.n, q.y.data(), q.y.data()));
  if (q.kind == 2) qnBFGS(ctx, b, q);
  else if (q.kind == 3) qnSR1(b, q);
  else if (ns > 0.0 && ny > 0.0 && qnDot(b.n, q.s.data(), q.y.data()) > 0.0) {
    const int st = updateb(ctx, b);
    if (st != 0 && ctx->opt.debug > 0) mxl_printf(ctx, "Skipping L-BFGS update: Cholesky=%d\n", st);
  }
  if (qnDense(q.kind)) qnFixVariables(b, b.hessVals);
  else std::fill(b.hessVals.begin(), b.hessVals.end(), q.count > 0 ? q.sigma : 1.0);
}

// ---- Products ----

namespace {

// W v by finite differences of the Lagrangian's gradient along v.
int qnFiniteDifferenceHv(MXL_context *ctx, BarrierState &b, const double *v, double *y) {
  const int n = b.n;
  const double nv = norm2(n, v);
  std::fill(y, y + n, 0.0);
  if (nv == 0.0) return 0;
  const double h = std::sqrt(2.220446049250313e-16) * std::max(1.0, norm2(n, b.x.data())) / nv;
  std::vector<double> xs(b.x), g(n), jac(static_cast<size_t>(b.nnzJ)), a(b.nFull), a0(b.nFull);
  for (int i = 0; i < n; ++i) xs[i] += h * v[i];
  presolveXPreToApp(ctx, xs.data(), b.xApp.data());
  if (const int rc = callbackForGA(ctx, b.xApp.data(), g.data(), jac.data())) return rc;
  barrierJacTransTimes(b, b.x.data(), b.lambda.data(), a0.data());
  b.jacVals.swap(jac);
  barrierJacTransTimes(b, b.x.data(), b.lambda.data(), a.data());
  b.jacVals.swap(jac);
  for (int i = 0; i < n; ++i) y[i] = (b.objWeight * (g[i] - b.gModel[i]) - (a[i] - a0[i])) / h;
  return 0;
}

// W v by the user's Hessian-vector routine.
int qnUserHv(MXL_context *ctx, BarrierState &b, const double *v, double *y) {
  std::vector<double> lh(static_cast<size_t>(b.m + b.n)), va(b.n), ya(b.n);
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (!row.onVariable()) lh[row.item] -= row.coef() * b.lambda[r];
  }
  presolveXPreToApp(ctx, b.x.data(), b.xApp.data());
  std::copy(v, v + b.n, va.begin());
  const int rc = callbackForH(ctx, MX_EVALTYPE_HV, b.xApp.data(), b.objWeight, lh.data(), va.data(), nullptr, ya.data());
  if (rc != 0) return rc;
  std::copy(ya.begin(), ya.end(), y);
  return 0;
}

}  // namespace

int barrierComputeHv(MXL_context *ctx, BarrierState &b, const double *v, double *y) {
  const int kind = b.qn.kind;
  if (kind != 4 && kind != 5) {
    barrierHessTimes(b, v, y);
    return 0;
  }
  const int rc = kind == 4 ? qnFiniteDifferenceHv(ctx, b, v, y) : qnUserHv(ctx, b, v, y);
  if (rc != 0) return rc;
  const double *s = b.x.data() + b.nX;
  for (int j = 0; j < b.nSlacks; ++j) y[b.nX + j] = b.lambda[b.slackRow[j]] * s[j] * v[b.nX + j];
  return 0;
}
