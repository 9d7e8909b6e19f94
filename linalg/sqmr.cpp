// SQMR without look-ahead (Freund and Nachtigal), right preconditioned:
// a Lanczos process on A M^{-1} with the quasi-minimal residual iterate.
#include "linalg/sqmr.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "driver/print.h"
#include "linalg/blas_table.h"

void sqmr_set_defaults(SqmrParams *p) {
  p->printLevel = 0;
  p->maxit = 1000;
  p->rtol = -1e-6;
  p->atol = 1e-6;
  p->rho_tiny = 1e-20;
  p->sigma_tiny = 1e-20;
  p->stopMode = 3;
  p->breakdownMode = 3;
}

namespace {

struct SqmrWork {
  int n;
  std::vector<double> r, q, t, d, u;
  explicit SqmrWork(int size)
      : n(size), r(static_cast<size_t>(size)), q(r), t(r), d(r), u(r) {}
};

double sqmrTrueResidual(MXL_context *ctx, int n, SqmrOperator A, void *user, const double *b,
                        const double *x, std::vector<double> &tmp) {
  A(user, x, tmp.data());
  for (int i = 0; i < n; ++i) tmp[i] = b[i] - tmp[i];
  return cdnrm2(ctx, n, tmp.data(), 1);
}

void sqmrPrintVectors(MXL_context *ctx, const SqmrParams &p, const SqmrWork &w, const double *x) {
  if (p.printLevel < 3) return;
  for (int i = 0; i < w.n; ++i) mxl_printf(ctx, "SQMR r[%d] = %23.16e\n", i, w.r[i]);
  for (int i = 0; i < w.n; ++i) mxl_printf(ctx, "SQMR x[%d] = %23.16e\n", i, x[i]);
}

// Mode 1 hands back the start point, modes 2 and 3 the last iterate.
int sqmrBreakdown(MXL_context *ctx, const SqmrParams &p, bool rho, double value,
                  const std::vector<double> &x0, double *x) {
  if (p.breakdownMode <= 1) std::copy(x0.begin(), x0.end(), x);
  if (p.breakdownMode >= 3) {
    if (rho)
      mxl_printf(ctx, "SQMR: rho = %e below rho_tiny = %e\n", value, p.rho_tiny);
    else
      mxl_printf(ctx, "SQMR: sigma = %e below sigma_tiny = %e\n", value, p.sigma_tiny);
  }
  return rho ? SQMR_RHO_BREAKDOWN : SQMR_SIGMA_BREAKDOWN;
}

void sqmrPrecond(SqmrOperator precond, void *user, const std::vector<double> &in,
                 std::vector<double> &out) {
  if (precond != nullptr)
    precond(user, in.data(), out.data());
  else
    out = in;
}

}  // namespace

int sqmr_solve(MXL_context *ctx, const SqmrParams &p, int n, SqmrOperator A,
               SqmrOperator precond, void *user, const double *b, double *x, SqmrInfo *info) {
  SqmrWork w(n);
  std::vector<double> x0(x, x + n);
  const double bnorm = cdnrm2(ctx, n, b, 1);
  const double tol = std::max(p.atol > 0 ? p.atol : 0.0, p.rtol > 0 ? p.rtol * bnorm : 0.0);
  double tau = sqmrTrueResidual(ctx, n, A, user, b, x, w.r);
  if (p.printLevel >= 1) mxl_printf(ctx, "SQMR: rnorm = tnorm = %e\n", tau);
  SqmrInfo local;
  SqmrInfo &out = info ? *info : local;
  out.iterations = 0;
  out.residual = tau;
  if (tau <= tol) return SQMR_CONVERGED;
  sqmrPrecond(precond, user, w.r, w.q);
  double rho = cddot(ctx, n, w.r.data(), 1, w.q.data(), 1), theta = 0.0;
  if (std::fabs(rho) < p.rho_tiny) return sqmrBreakdown(ctx, p, true, rho, x0, x);
  for (int k = 1; k <= p.maxit; ++k) {
    A(user, w.q.data(), w.t.data());
    const double sigma = cddot(ctx, n, w.q.data(), 1, w.t.data(), 1);
    if (std::fabs(sigma) < p.sigma_tiny) {
      // The thresholds are absolute: near the solution they may be crossed
      // by a tiny residual rather than by a breakdown.
      out.residual = sqmrTrueResidual(ctx, n, A, user, b, x, w.u);
      if (k > 1 && out.residual <= tol) return SQMR_CONVERGED;
      return sqmrBreakdown(ctx, p, false, sigma, x0, x);
    }
    const double alpha = rho / sigma;
    cdaxpy(ctx, n, -alpha, w.t.data(), 1, w.r.data(), 1);
    const double thetaOld = theta, rnorm = cdnrm2(ctx, n, w.r.data(), 1);
    theta = rnorm / tau;
    const double c2 = 1.0 / (1.0 + theta * theta);
    tau *= theta * std::sqrt(c2);
    cdscal(ctx, n, c2 * thetaOld * thetaOld, w.d.data(), 1);
    cdaxpy(ctx, n, c2 * alpha, w.q.data(), 1, w.d.data(), 1);
    cdaxpy(ctx, n, 1.0, w.d.data(), 1, x, 1);
    const double tnorm = tau * std::sqrt(static_cast<double>(k + 1));
    out.iterations = k;
    sqmrPrintVectors(ctx, p, w, x);
    bool done = p.stopMode == 2 || tnorm <= tol;
    if (done && p.stopMode != 1) {
      out.residual = sqmrTrueResidual(ctx, n, A, user, b, x, w.u);
      done = out.residual <= tol;
    }
    sqmrPrecond(precond, user, w.r, w.u);
    const double rhoNew = cddot(ctx, n, w.r.data(), 1, w.u.data(), 1);
    const double beta = rhoNew / rho;
    if (p.printLevel >= 2)
      mxl_printf(ctx, "SQMR: iter=%4d tau=%9.2e rho=%9.2e sigma=%9.2e alpha=%9.2e beta=%9.2e theta=%9.2e rnorm=%9.2e tnorm=%9.2e\n",
                 k, tau, rho, sigma, alpha, beta, theta, rnorm, tnorm);
    if (done) return SQMR_CONVERGED;
    if (std::fabs(rhoNew) < p.rho_tiny) return sqmrBreakdown(ctx, p, true, rhoNew, x0, x);
    for (int i = 0; i < n; ++i) w.q[i] = w.u[i] + beta * w.q[i];
    rho = rhoNew;
  }
  out.residual = sqmrTrueResidual(ctx, n, A, user, b, x, w.u);
  return SQMR_ITERATION_LIMIT;
}
