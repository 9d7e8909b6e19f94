// Slacks and multipliers of the barrier method: start values, the slack
// reset of a trial point, the safeguards after a step, and the bound
// multipliers after a direct step.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "interface/context.h"

namespace {

// The value of a row with its slack taken out: what the slack should be.
inline double barRowTarget(const BarrierState &b, int r, const double *xs, const double *c) {
  return c[r] + xs[b.nX + b.rows[r].slack];
}

}  // namespace

void initializeSlacks(BarrierState &b, double push) {
  for (int j = 0; j < b.nSlacks; ++j) {
    const BarRow &row = b.rows[b.slackRow[j]];
    const double v = row.onVariable() ? b.x[row.item] : row.scale * b.cModel[row.item];
    b.x[b.nX + j] = std::max(push, row.sign() * (v - row.bound) + row.penTimes(b.x.data()));
  }
}

void initializeLambdaIneq(BarrierState &b, double floor) {
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    // With no floor given, start on the central path of the current mu.
    const double f = floor > 0.0 ? floor : std::max(b.mu, 1e-15) / b.x[b.nX + j];
    b.lambda[r] = std::min(std::max(b.lambda[r], f), 1e10);
  }
}

void resetSlacks(BarrierState &b, double *xs, double *c) {
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    const double t = barRowTarget(b, r, xs, c);
    // A larger slack lowers the barrier term and closes the row at once.
    if (t > xs[b.nX + j]) {
      xs[b.nX + j] = t;
      c[r] = 0.0;
    }
  }
}

void safeguardMultipliers(BarrierState &b, double *lambda) {
  for (int r = 0; r < b.mFull; ++r) lambda[r] = std::min(std::max(lambda[r], -1e20), 1e20);
  if (b.murule != 1) return;
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    const double s = b.x[b.nX + j];
    const double u = std::max(1.0, 1e16 / s);
    const double v = std::min(u, lambda[r]);
    lambda[r] = s > v ? std::max(std::max(std::min(1.0, 3e-16 / s), 1e-20), v) : v;
  }
}

void replaceNegByZero(BarrierState &b, double *lambda) {
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    if (lambda[r] < 0.0) lambda[r] = 0.0;
  }
}

double getMinSlackVal(const BarrierState &b, const double *xs) {
  double v = 1e300;
  for (int j = 0; j < b.nSlacks; ++j) v = std::min(v, xs[b.nX + j]);
  return v;
}

double getMaxLambdaVal(const BarrierState &b, const double *lambda) { return normInf(b.mFull, lambda); }

// After a direct step the bound multipliers may be moved so that the
// stationarity residual of their variable falls without worsening the
// complementarity of the pair.
void resetBndMultipliers(BarrierState &b) {
  if (b.nBoundRows == 0 || b.mu <= 0.0) return;
  std::vector<double> &r = b.workFull;
  barrierDualResidual(b, b.x.data(), b.lambda.data(), r.data());
  for (int side = 0; side < 2; ++side) {
    for (int i = 0; i < b.n; ++i) {
      const int row = b.varBoundRows[side][i];
      if (row < 0) continue;
      const double s = b.x[b.nX + b.rows[row].slack];
      const double lam = b.lambda[row];
      // r_i = g_i - ... - sign * lam: the share of this multiplier removed.
      const double sign = b.rows[row].sign();
      const double rNew = sign * r[i] + lam;  // residual with this multiplier at 0, seen from its side
      const double cand = std::min(rNew, b.mu / s);
      if (cand > lam && cand > 0.0) {
        b.lambda[row] = cand;
        r[i] -= sign * (cand - lam);
      }
    }
  }
}

void replaceNegByPrimal(BarrierState &b, double *lambda, const double *xs) {
  const double *s = xs + b.nX;
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    const double primal = std::max(b.mu, 1e-15) / s[j];
    const double floor = b.initPointPhase ? 1e-15 : std::max(1e-15, 1e-5 * primal);
    if (lambda[r] < floor) lambda[r] = primal;
  }
}

// The convex start (bar_initpt 1): the first direct step is taken whole,
// and the slacks and multipliers of the slack rows it drove through zero
// are shifted back in the manner of a Mehrotra starting point. First every
// entry moves by 1.5 times the most negative one, then by half the
// complementarity over the other vector's sum, so that no product starts
// far from the others. A shift under bar_initshifttol is not applied.
bool computeshift(MXL_context *ctx, BarrierState &b, double *s, double *lambda) {
  if (b.nSlacks == 0) return false;
  double minS = INFINITY, minL = INFINITY;
  for (int j = 0; j < b.nSlacks; ++j) {
    minS = std::min(minS, s[j]);
    minL = std::min(minL, lambda[b.slackRow[j]]);
  }
  const double tol = ctx->opt.bar_initshifttol;
  const double shiftS = std::max(-1.5 * minS, 0.0), shiftL = std::max(-1.5 * minL, 0.0);
  for (int j = 0; j < b.nSlacks; ++j) {
    if (shiftS > tol) s[j] += shiftS;
    if (shiftL > tol) lambda[b.slackRow[j]] += shiftL;
  }
  double comp = 0.0, sumS = 0.0, sumL = 0.0;
  for (int j = 0; j < b.nSlacks; ++j) {
    const double l = lambda[b.slackRow[j]];
    comp += s[j] * l;
    sumS += s[j];
    sumL += l;
  }
  const double centreS = sumL > 0.0 ? 0.5 * comp / sumL : 0.0, centreL = sumS > 0.0 ? 0.5 * comp / sumS : 0.0;
  for (int j = 0; j < b.nSlacks; ++j) {
    if (centreS > tol) s[j] += centreS;
    if (centreL > tol) lambda[b.slackRow[j]] += centreL;
    // A slack or multiplier left at zero (no shift needed it) keeps the
    // smallest positive start the method uses elsewhere.
    s[j] = std::max(s[j], 1e-8);
    double &l = lambda[b.slackRow[j]];
    l = std::max(l, 1e-8);
  }
  return shiftS > tol || shiftL > tol || centreS > tol || centreL > tol;
}
