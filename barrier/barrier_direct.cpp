// The direct (primal-dual Newton) step: factorization with inertia
// correction, the predictor and its correctors, the quality-function search
// of the centring weight, and the decision whether the step can be used.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "interface/context.h"

void barrierStepLengths(const BarrierState &b, const double *d, const double *dLambda, double tau,
                        double *alphaP, double *alphaD) {
  double aP = 1.0, aD = 1.0;
  for (int j = 0; j < b.nSlacks; ++j) {
    const double ds = d[b.nX + j];
    if (ds < 0.0) aP = std::min(aP, -tau / ds);
    const int r = b.slackRow[j];
    if (dLambda[r] < 0.0) aD = std::min(aD, -tau * b.lambda[r] / dLambda[r]);
  }
  *alphaP = aP;
  *alphaD = aD;
}

namespace {

// Right-hand side of the Newton step towards the target mu:
// [-(gradPhi - A'lambda) with slack rows at target; -c].
void barStepRhs(BarrierState &b, double target, double *rhsX, double *rhsC) {
  barrierJacTransTimes(b, b.x.data(), b.lambda.data(), rhsX);
  for (int i = 0; i < b.nX; ++i) rhsX[i] -= b.gradPhi[i];
  for (int j = 0; j < b.nSlacks; ++j) rhsX[b.nX + j] += target;
  for (int r = 0; r < b.mFull; ++r) rhsC[r] = -b.c[r];
}

// Corrector: primal rows 0, slack rows the complementarity error of the
// (shortened) predictor against the target.
void rhs2ndsystem(BarrierState &b, double target, double stepP, double stepD, const double *d,
                  const double *dl, double *rhsX, double *rhsC) {
  std::fill(rhsX, rhsX + b.nFull, 0.0);
  std::fill(rhsC, rhsC + b.mFull, 0.0);
  const double *s = b.x.data() + b.nX;
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    const double sj = s[j] * (1.0 + stepP * d[b.nX + j]);
    const double lj = b.lambda[r] + stepD * dl[r];
    rhsX[b.nX + j] = target - lj * sj;
  }
}

// Unless the user limits them, shifts are tried until the inertia is right
// or the shift reaches 1e20: a direct step with a large shift still beats
// the trust-region step that would take over, on the models we measured.
int barMaxTries(MXL_context *ctx, const BarrierState &b) {
  const int opt = ctx->opt.bar_maxrefactor;
  if (opt < 0) return 60;
  const int interval = ctx->drv.resolvedDirectInterval;
  return interval >= 0 && b.consecutiveCG >= interval ? std::max(opt, 5) : opt;
}

double barNextPert(const BarrierState &b, int t, double prev) {
  if (t == 0) return b.pertHMin;
  double p;
  if (t == 1 && prev <= 0.0)
    p = b.pertHLast > 1e-15 ? std::max(1e-15, 0.4 * b.pertHLast) : 1e-4;
  else
    p = b.pertHLast > 1e-15 ? 8.0 * prev : 100.0 * prev;
  if (t == 1 && b.pertHReused && b.errCurrent < 0.001) p = std::max(std::min(p, b.errCurrent), 1e-15);
  return std::max(std::min(p, 1e20), b.pertHMin);
}

// Forms and factors until the inertia is right. Returns true on success.
bool barFactorWithInertia(MXL_context *ctx, BarrierState &b) {
  const int maxTries = barMaxTries(ctx, b);
  double prev = 0.0;
  // Once the largest row shift has left the matrix singular, the larger
  // Hessian shifts that follow start from it: running the whole escalation
  // again for each of them cost hundreds of factorizations per step.
  int repStart = 0;
  for (int t = 0; t <= maxTries; ++t) {
    b.pertH = barNextPert(b, t, prev);
    if (t > 0 && b.pertH <= prev) b.pertH = prev > 0.0 ? 8.0 * prev : 1e-4;
    prev = b.pertH;
    for (int rep = repStart; rep < 6; ++rep) {
      barrierKKTform(ctx, b, 1);
      // Repeated singular factors: the automatic regularisation is below
      // what the engine can tell from rounding, so both shifts grow.
      if (rep >= 2) {
        const double esc = 1e-10 * std::pow(100.0, rep - 2);
        b.regKKT = std::max(b.regKKT, esc);
        b.pertH = std::max(b.pertH, esc);
        barrierKKTform(ctx, b, 0);
      }
      if (barrierKKTfactor(ctx, b) != 0) return false;
      if (!b.kkt.singular) break;
      // A singular matrix: regularise the rows and factor again.
      ++b.singularCount;
      ++b.regKKTLevel;
      b.regKKTFlag = true;
      if (ctx->opt.debug > 0)
        mxl_printf(ctx, "*** Singular KKT matrix: pivot = %e, regularize_kkt = %d\n", 0.0, b.regKKTLevel);
    }
    if (b.kkt.singular) {
      repStart = 5;
      continue;
    }
    if (b.kkt.negEig <= barrierExpectedNeg(b)) {
      b.pertHLast = b.pertH;
      b.pertHReused = b.pertH > 0.0;
      if (b.pertH > 0.0) ++b.numPerturbations;
      return true;
    }
    if (b.pertH >= 1e20) break;
  }
  b.pertHLast = b.pertH;
  b.pertHReused = false;
  if (b.convexModel && ctx->opt.debug > 0) mxl_printf(ctx, "WARNING: Model marked as CONVEX has wrong inertia!\n");
  return false;
}

// Shortened step lengths of the predictor for the damped corrector.
void barCorrectorSteps(const MXL_context *ctx, const BarrierState &b, double aP, double aD, double *stepP,
                       double *stepD) {
  if (b.murule == 5) {
    *stepP = *stepD = 1.0;
    return;
  }
  const bool qcqp = ctx->drv.cls.isQCQP;
  const double k1 = qcqp ? 1.4 : 1.5, k0 = qcqp ? 0.2 : 0.3;
  *stepP = std::min(k1 * aP + k0, 1.0);
  *stepD = std::min(k1 * aD + k0, 1.0);
}

// Correctors on the predictor in dAff; the composite ends in d.
void barCorrectors(MXL_context *ctx, BarrierState &b, double aP, double aD) {
  double *rx = b.rhsX.data(), *rc = b.rhsC.data();
  std::copy(b.dAff.begin(), b.dAff.end(), b.d.begin());
  std::copy(b.dLambdaAff.begin(), b.dLambdaAff.end(), b.dLambda.begin());
  double aOld = std::min(aP, aD), aPOld = aP;
  b.correctorsUsed = 0;
  for (int k = 0; k < b.maxCorrectors; ++k) {
    double stepP, stepD;
    barCorrectorSteps(ctx, b, aPOld, std::max(aOld, 0.0), &stepP, &stepD);
    if (k > 0) stepP = stepD = 1.0;
    rhs2ndsystem(b, b.muTarget, stepP, stepD, k == 0 ? b.dAff.data() : b.d.data(),
                 k == 0 ? b.dLambdaAff.data() : b.dLambda.data(), rx, rc);
    if (barrierKKTsolve(ctx, b, rx, rc, b.dCorr.data(), b.dLambdaCorr.data(), 0) != 0) break;
    for (int i = 0; i < b.nFull; ++i) b.dSave[i] = b.d[i] + b.dCorr[i];
    for (int r = 0; r < b.mFull; ++r) b.dLambdaSave[r] = b.dLambda[r] + b.dLambdaCorr[r];
    double nP, nD;
    barrierStepLengths(b, b.dSave.data(), b.dLambdaSave.data(), 1.0, &nP, &nD);
    const double aNew = std::min(nP, nD);
    if (aNew < 0.9 * aOld || nP < 0.1 * aPOld) break;  // rejected
    b.d.swap(b.dSave);
    b.dLambda.swap(b.dLambdaSave);
    ++b.correctorsUsed;
    const bool better = aNew >= 1.01 * aOld;
    aOld = aNew;
    aPOld = nP;
    if (!better || b.murule == 3) break;
  }
}

// A pure Newton step towards target.
int barNewtonStep(MXL_context *ctx, BarrierState &b, double target, double *d, double *dl) {
  barStepRhs(b, target, b.rhsX.data(), b.rhsC.data());
  return barrierKKTsolve(ctx, b, b.rhsX.data(), b.rhsC.data(), d, dl, 0);
}

// Overrides of the predictor's target from the recent step lengths.
void barTargetOverrides(BarrierState &b, double alphaAff, double maxmu) {
  if (alphaAff > 0.8 && b.muTarget > b.muPrevious) b.muTarget = b.muPrevious;
  if (b.muTarget < 0.001 && b.iterCount >= 26) {
    const double avg3 = (b.lastStepAlphas[0] + b.lastStepAlphas[1] + b.lastStepAlphas[2]) / 3.0;
    double avg10 = 0.0;
    for (double a : b.lastStepAlphas) avg10 += a / 10.0;
    if (b.smallStepCount > 2)
      b.muTarget = std::min(b.muTarget / std::max(std::min(10.0 * avg3, 1.0), 0.001), maxmu);
    else if (avg10 > 0.99)
      b.muTarget = std::max(0.01 * b.muTarget, 3e-16);
    else if (avg3 > 0.99)
      b.muTarget = std::max(0.1 * b.muTarget, 3e-16);
  }
}

// The probing rules: predictor at mu 0, the target, then the correctors or
// the centred step.
int barProbingStep(MXL_context *ctx, BarrierState &b) {
  if (barNewtonStep(ctx, b, 0.0, b.dAff.data(), b.dLambdaAff.data()) != 0) return -1;
  double aP, aD;
  barrierStepLengths(b, b.dAff.data(), b.dLambdaAff.data(), 1.0, &aP, &aD);
  if (b.murule == 6 || b.murule == 7) return qualityFunctionSigmaSearch(ctx, b);
  b.muTarget = computeDynamicMu(ctx, b, aP, aD);
  barTargetOverrides(b, std::max(aP, aD), ctx->opt.bar_maxmu);
  barrierUpdateRho(b, b.muTarget);
  if (b.murule == 3 || b.noCorrectors || b.maxCorrectors <= 0) {
    return barNewtonStep(ctx, b, b.muTarget, b.d.data(), b.dLambda.data()) != 0 ? -1 : 0;
  }
  barCorrectors(ctx, b, aP, aD);
  if (b.correctorsUsed == 0)  // the predictor alone aims at mu 0: centre it instead
    return barNewtonStep(ctx, b, b.muTarget, b.d.data(), b.dLambda.data()) != 0 ? -1 : 0;
  return 0;
}

bool barStepDefined(MXL_context *ctx, BarrierState &b) {
  int badP = 0, badD = 0;
  for (double &v : b.d)
    if (!std::isfinite(v)) ++badP, v = 0.0;
  for (double &v : b.dLambda)
    if (!std::isfinite(v)) ++badD, v = 0.0;
  if (badP && ctx->opt.debug > 0) mxl_printf(ctx, "WARNING: primal step undefined (%d components)\n", badP);
  if (badD && ctx->opt.debug > 0) mxl_printf(ctx, "WARNING: dual step undefined (%d components)\n", badD);
  return badP == 0 && badD == 0;
}

bool barKeepStep(MXL_context *ctx, const BarrierState &b, double a) {
  const int interval = ctx->drv.resolvedDirectInterval;
  const bool reached = interval >= 0 && b.consecutiveCG >= interval;
  if (ctx->opt.bar_maxrefactor >= 0 && a >= 1e-10) return true;
  if (reached && a >= 1e-10) return true;
  if (b.pertHLast <= 1e-6) return a >= 1e-10;
  return a >= 0.01;
}

// Rows that are dependent (or vanish) get their multiplier step from the
// regularisation alone, of the size |c| / regKKT: keep such multipliers
// within a multiple of the gradient so that they cannot swamp the Hessian.
void barCapRegularizedMultipliers(BarrierState &b) {
  const double cap = 1e4 * std::max(1.0, b.objScale * normInf(b.n, b.gModel.data()));
  for (int r = 0; r < b.mFull; ++r) {
    if (b.rows[r].slack >= 0) continue;
    const double t = b.lambda[r] + b.dLambda[r];
    if (std::fabs(t) > cap) b.dLambda[r] = std::copysign(std::max(cap, std::fabs(b.lambda[r])), t) - b.lambda[r];
  }
}

// A shift large enough to give the right inertia can leave a step below
// rounding: taking it only stalls the solve, where the trust-region step
// still moves.
bool barShiftSwampsStep(const BarrierState &b) {
  if (b.pertH < 1e8) return false;
  return norm2(b.nX, b.d.data()) <= 1e-10 * (1.0 + b.xNorm);
}

}  // namespace

void computeDirectStep(MXL_context *ctx, BarrierState &b) {
  b.directStepOk = false;
  b.rhsX.resize(b.nFull);
  b.rhsC.resize(b.mFull);
  const bool inertiaOk = barFactorWithInertia(ctx, b);
  const int h = ctx->resolvedHessopt;
  const bool ignoreInertia = h == 2 || b.modelIsLP || (b.modelIsQP && b.convexModel && b.iterCount == 0);
  if (!b.kkt.factored || (!inertiaOk && !ignoreInertia)) {
    b.directResult = BAR_REJ_INERT;
    return;
  }
  b.probing = b.murule >= 3 && b.murule <= 7 && !b.safeguardMode && b.nSlacks > 0;
  int st = b.probing ? barProbingStep(ctx, b) : barNewtonStep(ctx, b, b.mu, b.d.data(), b.dLambda.data());
  if (st != 0 || !barStepDefined(ctx, b) || barShiftSwampsStep(b)) {
    b.directResult = BAR_REJ_INERT;
    return;
  }
  barrierStepLengths(b, b.d.data(), b.dLambda.data(), b.rho, &b.alphaMaxPrimal, &b.alphaMaxDual);
  // Multipliers of rows that the step leaves would turn negative and block
  // the dual step: move them with the primal fraction and repair the signs
  // with their primal values mu / s afterwards.
  b.dualRepair = b.alphaMaxDual < 0.1 * b.alphaMaxPrimal && b.nSlacks > 0;
  if (b.dualRepair) b.alphaMaxDual = b.alphaMaxPrimal;
  b.alphaMax = std::min(b.alphaMaxPrimal, b.alphaMaxDual);
  if (!barKeepStep(ctx, b, b.alphaMax)) {
    b.directResult = b.alphaMaxPrimal <= b.alphaMaxDual ? BAR_REJ_CUT_S : BAR_REJ_CUT_L;
    if (b.probing) {
      // The step that follows is judged with the new parameter: the barrier
      // objective at the point must carry it too, or the ratio compares
      // merits of two different functions.
      adaptivemu(ctx, b);
      b.phi = barrierPhi(b, b.x.data(), b.fTilde);
    }
    return;
  }
  b.directResult = b.alphaMax >= 1.0 ? BAR_TRY_FULL : (b.alphaMaxPrimal < 1.0 ? BAR_TRY_CUT_S : BAR_TRY_CUT_L);
  if (b.alphaMaxPrimal < 1.0)
    for (double &v : b.d) v *= b.alphaMaxPrimal;
  if (b.alphaMaxDual < 1.0)
    for (double &v : b.dLambda) v *= b.alphaMaxDual;
  if (b.regKKT > 0.0) barCapRegularizedMultipliers(b);
  b.directStepOk = true;
  if (b.probing) {
    b.muPrevious = b.mu;
    b.mu = b.muTarget;
    b.muTol = b.mu;
    b.muPow = std::pow(b.mu, 0.4);
    barrierUpdateRho(b, b.mu);
    barrierUpdateFG(b);
    b.muIterCount = 0;
  }
}
