// Elastic variables of the barrier method (bar_penaltycons): a row that
// cannot be met yet is relaxed by a column p >= 0 that the objective
// charges with the weight pi,
//   min  piObjFactor f(x) + pi sum p   s.t.  row(x) + coef p = 0.
// The weight grows while the elastic values stop falling; at its cap the
// model's objective is scaled down instead, so that the effective weight
// pi / piObjFactor has no upper limit short of machine precision. With
// bounded row multipliers (at most pi) the method also copes with models
// whose solutions have none, and an infeasible model ends at a minimiser
// of the violation.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "interface/context.h"

namespace {

constexpr double kEps = 2.220446049250313e-16;

bool penRowWanted(int mode, const BarRow &row) {
  if (row.onVariable()) return false;
  return mode == 2 || (mode == 3 && row.kind == BAR_ROW_EQ);
}

void penAddColumn(BarrierState &b, int r, double coef, std::vector<BarRow> &boundRows) {
  const int col = b.n + b.pen.count++;
  b.pen.row.push_back(r);
  BarRow &row = b.rows[r];
  const int q = row.pen[0] < 0 ? 0 : 1;
  row.pen[q] = col;
  row.penCoef[q] = coef;
  BarRow bound;
  bound.kind = BAR_ROW_BOUND_LO;
  bound.item = col;
  bound.bound = 0.0;
  boundRows.push_back(bound);
}

// The effective weight's history decides a raise: the largest of the last
// `window` sums, shrunk by `factor`, still under the current one.
bool penStalled(const BarPenalty &p, size_t window, double factor, double current) {
  if (p.sumHistory.size() < window) return false;
  double worst = 0.0;
  for (size_t k = p.sumHistory.size() - window; k < p.sumHistory.size(); ++k) worst = std::max(worst, p.sumHistory[k]);
  return factor * worst < current;
}

// One raise: pi grows tenfold up to its cap, then the objective's factor
// falls tenfold down to machine precision.
void penRaise(BarPenalty &p) {
  if (p.pi < p.piCap) p.pi = std::min(10.0 * p.pi, p.piCap);
  else p.piObjFactor = std::max(0.1 * p.piObjFactor, kEps);
}

// The barrier values after a change of the weights.
void penApply(MXL_context *ctx, BarrierState &b, double sum) {
  BarPenalty &p = b.pen;
  b.objWeight = b.objFactor * p.piObjFactor;
  b.fTilde = penaltyBarObjective(b, b.x.data(), b.fObj);
  barrierUpdateFG(b);
  // The history belongs to the old weight.
  p.sumHistory.clear();
  if (ctx->opt.debug > 0)
    mxl_printf(ctx, "Elastic weight changed: pi = %g, objective factor = %g, sum = %g\n", p.pi, p.piObjFactor, sum);
}

}  // namespace

void penaltyBarSetup(MXL_context *ctx, BarrierState &b) {
  b.pen = BarPenalty();
  const int mode = ctx->resolvedPenaltyCons;
  b.nX = b.n;
  if (mode != 2 && mode != 3) return;
  std::vector<BarRow> boundRows;
  const int rows = static_cast<int>(b.rows.size());
  for (int r = 0; r < rows; ++r) {
    const BarRow &row = b.rows[r];
    if (!penRowWanted(mode, row)) continue;
    if (row.kind == BAR_ROW_EQ) {
      penAddColumn(b, r, -1.0, boundRows);
      penAddColumn(b, r, 1.0, boundRows);
    } else {
      penAddColumn(b, r, 1.0, boundRows);
    }
  }
  b.rows.insert(b.rows.end(), boundRows.begin(), boundRows.end());
  b.nX = b.n + b.pen.count;
}

void penaltyBarInitPi(MXL_context *ctx, BarrierState &b) {
  BarPenalty &p = b.pen;
  const bool switching = b.resto.active;
  p.pi = switching ? 1.0 : 10.0;
  p.piObjFactor = 1.0;
  p.piCap = switching ? 1.0 : 1e6;
  if (p.count > 0) {
    const double g = b.objScale * normInf(b.n, b.gModel.data());
    const double start = std::min(std::max(p.pi, 5.0 * g), 1e10);
    if (start <= p.piCap) {
      p.pi = start;
    } else {
      p.pi = p.piCap;
      p.piObjFactor = std::max(p.piCap / start, kEps);
    }
  }
  b.objWeight = b.objFactor * p.piObjFactor;
  if (p.count > 0 && ctx->opt.debug > 0)
    mxl_printf(ctx, "Elastic variables: %d, pi = %g, objective factor = %g\n", p.count, p.pi, p.piObjFactor);
}

void penaltyBarInitVars(BarrierState &b, double shift) {
  for (int e = 0; e < b.pen.count; ++e) b.x[b.n + e] = 0.0;
  for (int r = 0; r < b.mFull; ++r) {
    const BarRow &row = b.rows[r];
    if (row.pen[0] < 0) continue;
    const double v = row.sign() * (row.scale * b.cModel[row.item] - row.bound);
    if (row.kind == BAR_ROW_EQ) {
      // c - b - p+ + p- = 0
      b.x[row.pen[0]] = v >= 0.0 ? v + shift : shift;
      b.x[row.pen[1]] = v >= 0.0 ? shift : shift - v;
    } else {
      b.x[row.pen[0]] = v >= 0.0 ? shift : shift - v;
    }
  }
}

double penaltyBarSum(const BarrierState &b, const double *xs, double *maxElastic) {
  double sum = 0.0, big = 0.0;
  for (int e = 0; e < b.pen.count; ++e) {
    const double v = std::max(xs[b.n + e], 0.0);
    sum += v;
    big = std::max(big, v);
  }
  if (maxElastic != nullptr) *maxElastic = big;
  return sum;
}

double penaltyBarObjective(const BarrierState &b, const double *xs, double fObj) {
  if (b.pen.count == 0) return fObj;
  double sum = 0.0;
  for (int e = 0; e < b.pen.count; ++e) sum += xs[b.n + e];
  return b.pen.piObjFactor * fObj + b.pen.pi * sum;
}

bool penaltyBarAtLimit(const BarrierState &b) {
  return b.pen.pi >= b.pen.piCap && b.pen.piObjFactor <= kEps;
}

bool penaltyBarUpdatePi(MXL_context *ctx, BarrierState &b, bool force) {
  BarPenalty &p = b.pen;
  if (p.count == 0) return false;
  double maxElastic = 0.0;
  const double sum = penaltyBarSum(b, b.x.data(), &maxElastic);
  const double tol = b.feasScale * b.muTol;
  bool raise = false;
  if (!penaltyBarAtLimit(b) && (force || (!b.feasibleNow && maxElastic > tol))) {
    raise = force;
    // The elastic sum must fall by a tenth over three steps, and by
    // anything at all over a hundred.
    if (b.iterCount > 3 && penStalled(p, 3, 0.9, sum)) raise = true;
    if (b.iterCount > 100 && penStalled(p, 100, 0.999999, sum)) raise = true;
  }
  p.sumHistory.push_back(sum);
  if (p.sumHistory.size() > 100) p.sumHistory.erase(p.sumHistory.begin());
  if (!raise) return false;
  penRaise(p);
  penApply(ctx, b, sum);
  return true;
}
