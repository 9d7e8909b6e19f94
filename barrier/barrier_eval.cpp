// Functions and derivatives of the barrier problem: the model's values
// through the evaluation layer, the full rows, the barrier objective, and
// the products with the Jacobian and the Hessian of the full rows.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "interface/context.h"
#include "interface/evaluation.h"

double norm2(int n, const double *v) {
  double s = 0.0;
  for (int i = 0; i < n; ++i) s += v[i] * v[i];
  return std::sqrt(s);
}

double normInf(int n, const double *v) {
  double s = 0.0;
  for (int i = 0; i < n; ++i) s = std::max(s, std::fabs(v[i]));
  return s;
}

void barrierFormRows(const BarrierState &b, const double *xs, const double *cModel, double *c) {
  const double *s = xs + b.nX;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    const double v = row.onVariable() ? xs[row.item] : row.scale * cModel[row.item];
    double value = row.sign() * (v - row.bound);
    if (row.slack >= 0) value -= s[row.slack];
    c[r] = value + row.penTimes(xs);
  }
}

double barrierPhi(const BarrierState &b, const double *xs, double fTilde) {
  double phi = fTilde;
  if (b.mu <= 0.0) return phi;
  const double *s = xs + b.nX;
  for (int j = 0; j < b.nSlacks; ++j)
    if (s[j] > 0.0) phi -= b.mu * std::log(s[j]);
  return phi;
}

void barrierUpdateFG(BarrierState &b) {
  for (int i = 0; i < b.n; ++i) b.gradPhi[i] = b.objWeight * b.gModel[i];
  for (int i = b.n; i < b.nX; ++i) b.gradPhi[i] = b.pen.pi;
  for (int j = 0; j < b.nSlacks; ++j) b.gradPhi[b.nX + j] = -b.mu;
  b.phi = barrierPhi(b, b.x.data(), b.fTilde);
  b.cNorm = norm2(b.mFull, b.c.data());
}

int barrierComputeFC(MXL_context *ctx, BarrierState &b, const double *xs, double *fObj, double *fTilde,
                     double *cModel, double *c) {
  presolveXPreToApp(ctx, xs, b.xApp.data());
  double obj = 0.0;
  const int rc = callbackForFC(ctx, 1, b.xApp.data(), &obj, b.cApp.data(), nullptr, nullptr);
  if (rc != 0) return rc;
  presolveCAppToPre(ctx, b.cApp.data(), cModel);
  *fObj = presolveObjAppToPre(ctx, obj);
  *fTilde = penaltyBarObjective(b, xs, *fObj);
  barrierFormRows(b, xs, cModel, c);
  return 0;
}

int barrierComputeGA(MXL_context *ctx, BarrierState &b, const double *xs, bool fatal) {
  presolveXPreToApp(ctx, xs, b.xApp.data());
  const int rc = callbackForGA(ctx, b.xApp.data(), b.gModel.data(), b.jacVals.data());
  if (rc == MX_RC_EVAL_ERR && fatal) {
    mxl_printf(ctx, "\nERROR: Jacobian undefined at current point.\n");
    mxl_printf(ctx, "       No further progress can be made.\n");
  }
  if (rc != 0) return rc;
  barrierUpdateFG(b);
  return 0;
}

// The multipliers of the model's constraints in the convention of the
// evaluation layer: W = sigma Hess f + sum_i lambda_i Hess c_i.
static void barHessianMultipliers(const BarrierState &b, double *lh) {
  std::fill(lh, lh + b.m + b.n, 0.0);
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (!row.onVariable()) lh[row.item] -= row.coef() * b.lambda[r];
  }
}

int barrierComputeH(MXL_context *ctx, BarrierState &b, int request) {
  b.evalRequest = request;
  const int kind = b.qn.kind;
  if (kind == 4 || kind == 5) return 0;  // products only
  if (barrierUsesQN(b)) {
    formQN(ctx, b);
    return 0;
  }
  if (b.nnzH == 0) return 0;
  barHessianMultipliers(b, b.lambdaUser.data());
  presolveXPreToApp(ctx, b.x.data(), b.xApp.data());
  const int rc = callbackForH(ctx, request, b.xApp.data(), b.objWeight, b.lambdaUser.data(), nullptr,
                              b.hessVals.data(), nullptr);
  if (rc == MX_RC_EVAL_ERR) {
    // An undefined Hessian only warns: its entries count as zero.
    for (int64_t k = 0; k < b.nnzH; ++k) {
      if (std::isfinite(b.hessVals[k])) continue;
      mxl_printf(ctx, "\nWARNING: Hessian element hess[%lld] corresponding to\n", static_cast<long long>(k));
      mxl_printf(ctx, "       Setting this Hessian component to 0.\n");
      b.hessVals[k] = 0.0;
    }
    return 0;
  }
  return rc;
}

void updateIterate(BarrierState &b, const double *x, const double *step, double alpha, double *xTrial) {
  for (int i = 0; i < b.nX; ++i) xTrial[i] = x[i] + alpha * step[i];
  for (int j = b.nX; j < b.nFull; ++j) xTrial[j] = std::max((alpha * step[j] + 1.0) * x[j], b.barSlackFloor);
}

void barrierJacTimes(const BarrierState &b, const double *xs, const double *v, double *y) {
  std::fill(y, y + b.mFull, 0.0);
  const double *s = xs + b.nX;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    double sum = 0.0;
    if (row.onVariable()) {
      sum = v[row.item];
    } else {
      for (int64_t k = b.jacRowPtr[row.item]; k < b.jacRowPtr[row.item + 1]; ++k)
        sum += b.jacVals[k] * v[b.jacVars[k]];
    }
    y[r] = row.coef() * sum + row.penTimes(v);
    if (row.slack >= 0) y[r] -= s[row.slack] * v[b.nX + row.slack];
  }
}

void barrierJacTransTimes(const BarrierState &b, const double *xs, const double *w, double *y) {
  std::fill(y, y + b.nFull, 0.0);
  const double *s = xs + b.nX;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    const double wr = row.coef() * w[r];
    if (row.onVariable()) {
      y[row.item] += wr;
    } else {
      for (int64_t k = b.jacRowPtr[row.item]; k < b.jacRowPtr[row.item + 1]; ++k)
        y[b.jacVars[k]] += b.jacVals[k] * wr;
    }
    if (row.slack >= 0) y[b.nX + row.slack] -= s[row.slack] * w[r];
    row.penAdd(w[r], y);
  }
}

void barrierHessTimes(const BarrierState &b, const double *v, double *y) {
  std::fill(y, y + b.nFull, 0.0);
  for (int64_t k = 0; k < b.nnzH; ++k) {
    const int i = b.hessI[k], j = b.hessJ[k];
    const double h = b.hessVals[k];
    y[i] += h * v[j];
    if (i != j) y[j] += h * v[i];
  }
  if (b.qn.kind == 6) mmv(b, v, y);  // the compact form replaces the diagonal
  const double *s = b.x.data() + b.nX;
  for (int j = 0; j < b.nSlacks; ++j)
    y[b.nX + j] = b.lambda[b.slackRow[j]] * s[j] * v[b.nX + j];
}

double barrierDualResidual(const BarrierState &b, const double *xs, const double *lambda, double *r) {
  barrierJacTransTimes(b, xs, lambda, r);
  for (int i = 0; i < b.nFull; ++i) r[i] = b.gradPhi[i] - r[i];
  return normInf(b.nX, r);
}

// The objective's factor of the elastic mode scales the multipliers too.
void barrierLambdaToUser(const BarrierState &b, const double *lambda, double *user) {
  std::fill(user, user + b.m + b.n, 0.0);
  const double scale = 1.0 / b.pen.piObjFactor;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (barElasticBound(b, row)) continue;
    const int at = row.onVariable() ? b.m + row.item : row.item;
    user[at] -= row.coef() * lambda[r] * scale;
  }
}
