// The barrier parameter: start, the update rules between steps, the
// Mehrotra rule of the predictor, the floor and the limits.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "interface/context.h"

namespace {

constexpr double kMuMin = 3e-16;

bool barPlainFloor(const MXL_context *ctx, const BarrierState &b) {
  (void)ctx;
  return b.murule == 1 || b.safeguardMode || b.tinyStepDrops >= 2;
}

}  // namespace

double enforceMinMu(MXL_context *ctx, const BarrierState &b, double mu) {
  if (barPlainFloor(ctx, b)) return std::max(mu, kMuMin);
  const double q = std::max(b.dualInf / b.optScaleInt, b.cErr / b.feasScale);
  const double r = std::max(b.dualInf, b.cErr);
  double f;
  if (b.refinements == 0 && !(b.nearSolution && b.ftolRun >= 3)) {
    f = 1e-8;
    if (r <= 0.01) f = std::min(1e-8, 1e-6 * r);
  } else {
    f = std::min(1e-8, 1e-10 * r);
  }
  return std::max(mu, std::max(std::min(f, 0.01 * q), kMuMin));
}

double barrierLimitMu(MXL_context *ctx, const BarrierState &b, double mu) {
  mu = std::min(mu, ctx->opt.bar_maxmu);
  return std::max(mu, b.muFloorRef);
}

void barrierUpdateRho(BarrierState &b, double mu) {
  b.rho = std::max(0.995, std::min(1.0 - mu, 1.0 - b.errCurrent));
}

double getDualityGap(const BarrierState &b, const double *x, const double *lambda, double *minComp,
                     double *maxComp, double *avgComp) {
  double gap = 0.0, mn = 1e300, mx = 0.0;
  const double *s = x + b.nX;
  for (int j = 0; j < b.nSlacks; ++j) {
    const double p = s[j] * lambda[b.slackRow[j]];
    gap += p;
    mn = std::min(mn, p);
    mx = std::max(mx, p);
  }
  const int count = std::max(b.nSlacks, 1);
  if (b.nSlacks == 0) mn = 0.0;
  if (minComp) *minComp = mn;
  if (maxComp) *maxComp = mx;
  if (avgComp) *avgComp = gap / count;
  return gap;
}

void initmutol(MXL_context *ctx, BarrierState &b) {
  if (b.nSlacks == 0) {
    b.mu = 0.0;
    b.muTol = std::min(ctx->opt.feastol, ctx->opt.opttol);
  } else {
    b.mu = ctx->drv.resolvedInitMu > 0.0 ? ctx->drv.resolvedInitMu : 0.1;
    b.muTol = b.mu;
  }
  b.muPrevious = b.mu;
  b.muTarget = b.mu;
  b.muPow = std::pow(b.mu, 0.4);
}

// Rule 2: the adaptive formula from the spread of the complementarity.
static double barAdaptiveCandidate(const BarrierState &b, double m) {
  double mn = 0.0, mx = 0.0, avg = 0.0;
  getDualityGap(b, b.x.data(), b.lambda.data(), &mn, &mx, &avg);
  const double xi = std::fabs(avg) < 1e-15 ? 1.0 : std::fabs(mn / avg);
  const double sigma = xi < 1e-15 ? 2.0 : std::min(0.05 * (1.0 - xi) / xi, 2.0);
  double mu = 0.1 * sigma * sigma * sigma * avg;
  const double lo = std::max(kMuMin, std::min(1e-8 * m, m * m));
  const double hi = std::min(std::max(std::sqrt(m), 1e8 * m), 1e16);
  return std::min(std::max(mu, lo), hi);
}

void adaptivemu(MXL_context *ctx, BarrierState &b) {
  b.muPrevious = b.mu;
  double mu = barAdaptiveCandidate(b, b.mu);
  mu = barrierLimitMu(ctx, b, enforceMinMu(ctx, b, mu));
  b.mu = mu;
  b.muTol = mu;
}

void updatemutol(MXL_context *ctx, BarrierState &b) {
  if (b.nSlacks == 0) return;
  double mu = b.mu;
  bool floorNow = false;
  if (b.tinyStepDrops >= 2 || b.refinements > 0 || (b.nearSolution && b.ftolRun >= 3)) {
    mu = kMuMin;
    floorNow = true;
  } else if ((b.safeguardMode && b.safeguardCount > 1) || b.murule == 1) {
    b.muPrevious = mu;
    if (b.muIterCount > 2) {
      mu *= 0.2;
      b.fastDropFlag = false;
    } else {
      mu *= 0.01;
      b.fastDropFlag = true;
    }
  } else if (b.safeguardMode && b.safeguardCount == 1) {
    double mn = 0.0, mx = 0.0, avg = 0.0;
    getDualityGap(b, b.x.data(), b.lambda.data(), &mn, &mx, &avg);
    b.muPrevious = mu;
    mu = std::min(std::max(0.8 * std::min(avg, b.compErr), kMuMin), 1e16);
  } else if (b.murule == 2) {
    b.muPrevious = mu;
    mu = barAdaptiveCandidate(b, mu);
  }
  (void)floorNow;
  mu = barrierLimitMu(ctx, b, enforceMinMu(ctx, b, mu));
  b.mu = mu;
  b.muTol = mu;
  b.muPow = std::pow(mu, 0.4);
  barrierUpdateRho(b, mu);
}

double computeDynamicMu(MXL_context *ctx, BarrierState &b, double alphaP, double alphaD) {
  if (b.nSlacks == 0) return 0.0;
  const double gap = getDualityGap(b, b.x.data(), b.lambda.data(), nullptr, nullptr, nullptr);
  if (gap <= 0.0) return 0.0;
  double gapAff = 0.0;
  const double *s = b.x.data() + b.nX;
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    const double sj = std::max(s[j] * (1.0 + alphaP * b.dAff[b.nX + j]), 0.0);
    const double lj = std::max(b.lambda[r] + alphaD * b.dLambdaAff[r], 0.0);
    gapAff += sj * lj;
  }
  const double ratio = gapAff / gap;
  double mu = gap * ratio * ratio * ratio / b.nSlacks;
  const double m = b.mu;
  const double lo = std::max(kMuMin, std::min(1e-8 * m, m * m));
  const double hi = std::min(std::max(std::sqrt(m), 1e8 * m), 1e16);
  mu = std::min(std::max(mu, lo), hi);
  return barrierLimitMu(ctx, b, enforceMinMu(ctx, b, mu));
}
