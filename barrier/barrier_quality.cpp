// The quality-function search of the centring weight: the step is the
// affine step plus sigma times the centring step, and sigma minimises a
// measure of the point the step reaches, by golden section.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "interface/context.h"

namespace {

struct BarQuality {
  double avg = 0.0;          // reference mu: mean complementarity
  double feas = 0.0, opt = 0.0, gradDotAff = 0.0, gradDotCen = 0.0;
  int kind = 1;
};

// The trial step dAff + sigma dCen into d, dLambda.
void barTrialStep(BarrierState &b, double sigma) {
  for (int i = 0; i < b.nFull; ++i) b.d[i] = b.dAff[i] + sigma * b.dCorr[i];
  for (int r = 0; r < b.mFull; ++r) b.dLambda[r] = b.dLambdaAff[r] + sigma * b.dLambdaCorr[r];
}

double barMeanComplementarity(const BarrierState &b, double aP, double aD) {
  if (b.nSlacks == 0) return 0.0;
  double sum = 0.0;
  const double *s = b.x.data() + b.nX;
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    sum += s[j] * (1.0 + aP * b.d[b.nX + j]) * (b.lambda[r] + aD * b.dLambda[r]);
  }
  return sum / b.nSlacks;
}

double barQualityValue(BarrierState &b, const BarQuality &q, double sigma, double *aPout, double *aDout) {
  barTrialStep(b, sigma);
  double aP, aD;
  barrierStepLengths(b, b.d.data(), b.dLambda.data(), b.rho, &aP, &aD);
  *aPout = aP;
  *aDout = aD;
  if (q.kind == 3) {
    // Merit model: the predicted reduction of the objective part and of
    // the rows, taken with the opposite sign so that smaller is better.
    barrierHessTimes(b, b.d.data(), b.Hd.data());
    double gd = 0.0, dWd = 0.0;
    for (int i = 0; i < b.nFull; ++i) gd += b.gradPhi[i] * b.d[i], dWd += b.d[i] * b.Hd[i];
    const double objRed = -aP * gd - 0.5 * aP * aP * std::max(dWd, 0.0);
    return -(objRed + b.nu * aP * b.cNorm);
  }
  const double f = q.feas * (1.0 - aP) / b.feasScale;
  const double o = (1.0 - aD) * q.opt / b.optScaleInt;
  const double g = barMeanComplementarity(b, aP, aD) / b.optScaleInt;
  return f * f + o * o + g * g;
}

}  // namespace

int qualityFunctionSigmaSearch(MXL_context *ctx, BarrierState &b) {
  BarQuality q;
  q.kind = b.murule == 7 ? 3 : 1;
  getDualityGap(b, b.x.data(), b.lambda.data(), nullptr, nullptr, &q.avg);
  if (q.avg <= 0.0) q.avg = std::max(b.mu, 1e-16);
  q.feas = b.cErr;
  q.opt = b.dualInf;
  // The centring step: rows and primal part 0, slack rows at the mean.
  std::fill(b.rhsX.begin(), b.rhsX.end(), 0.0);
  std::fill(b.rhsC.begin(), b.rhsC.end(), 0.0);
  for (int j = 0; j < b.nSlacks; ++j) b.rhsX[b.nX + j] = q.avg;
  if (barrierKKTsolve(ctx, b, b.rhsX.data(), b.rhsC.data(), b.dCorr.data(), b.dLambdaCorr.data(), 0) != 0)
    return -1;
  double hi = std::min(ctx->opt.bar_maxmu / q.avg, 1000.0);
  // The merit form favours long centred steps without end: it may hold the
  // barrier parameter but never raise it.
  if (q.kind == 3) hi = std::min(hi, 1.0);
  double lo = std::min(std::max(enforceMinMu(ctx, b, b.muFloorRef) / q.avg, 1e-8), 0.1);
  lo = std::min(lo, 0.1 * hi);
  const int limit = q.kind == 3 ? 25 : 12;
  double aP, aD, best = 1e300, bestSigma = lo;
  auto trial = [&](double sigma) {
    const double v = barQualityValue(b, q, sigma, &aP, &aD);
    if (v < best) best = v, bestSigma = sigma;
    return v;
  };
  int trials = 0;
  if (hi > 1.0) {
    const double v1 = trial(1.0), v2 = trial(0.99);
    trials = 2;
    if (v1 < v2) lo = 1.0; else hi = std::min(0.99, hi);
  }
  double x1 = lo + 0.382 * (hi - lo), x2 = lo + 0.618 * (hi - lo);
  double f1 = trial(x1), f2 = trial(x2);
  trials += 2;
  while (hi - lo > 0.01 * hi && trials < limit) {
    if (f1 <= f2) {
      hi = x2, x2 = x1, f2 = f1;
      x1 = lo + 0.382 * (hi - lo);
      f1 = trial(x1);
    } else {
      lo = x1, x1 = x2, f1 = f2;
      x2 = lo + 0.618 * (hi - lo);
      f2 = trial(x2);
    }
    ++trials;
  }
  barQualityValue(b, q, bestSigma, &aP, &aD);
  b.muTarget = barrierLimitMu(ctx, b, enforceMinMu(ctx, b, q.avg * bestSigma));
  barrierUpdateRho(b, b.muTarget);
  return 0;
}
