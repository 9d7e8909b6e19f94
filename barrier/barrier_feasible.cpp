// Feasible mode of the barrier method: once the point is strictly inside
// the inequalities and the bounds, every later iterate stays inside. The
// slacks then equal their rows exactly, so the barrier acts on the
// constraint values themselves, and a trial that leaves the region counts
// as an undefined point, which makes the search step back.
//
// Asked for with bar_feasible 1 (stay) or 3 (get and stay). Models whose
// functions are undefined outside the region need it, and so do rows
// without constraint qualification (a cusp), which penalties cannot keep
// the iterates from crossing.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "interface/context.h"

namespace {

bool barStayModeWanted(const MXL_context *ctx) {
  const int f = ctx->resolvedFeasible;
  return f == 1 || f == 3;
}

// Whether a slack row of the point is more than tol inside its bound; the
// model's row, without the elastic values that relax it.
bool barRowInside(const BarrierState &b, int j, const double *xs, const double *c, double tolX, double tolC) {
  const int r = b.slackRow[j];
  const double t = c[r] + xs[b.nX + j] - b.rows[r].penTimes(xs);
  return t > (b.rows[r].onVariable() ? tolX : tolC);
}

// Calls f(i, room, sign) for each finite bound of variable i of xs, room
// being the distance inside the bound and sign its side.
template <class F>
void barForEachBound(const BarrierState &b, const double *xs, F f) {
  for (int side = 0; side < 2; ++side) {
    for (int i = 0; i < b.n; ++i) {
      const int r = b.varBoundRows[side][i];
      if (r < 0) continue;
      const BarRow &row = b.rows[r];
      f(i, row.sign() * (xs[i] - row.bound), row.sign());
    }
  }
}

}  // namespace

bool checkFeasibility(const BarrierState &b, const double *xs, const double *c, double tolX, double tolC) {
  for (int j = 0; j < b.nSlacks; ++j)
    if (!barRowInside(b, j, xs, c, tolX, tolC)) return false;
  return true;
}

bool checkBounds(const BarrierState &b, const double *xs) {
  bool inside = true;
  barForEachBound(b, xs, [&](int, double room, double) { inside = inside && room > 0.0; });
  return inside;
}

// In feasible mode the step is also cut so that each variable keeps the
// fraction rho of its distance to a bound: the slack of a bound row follows
// its variable only as far as the projection is exact, and at a distance
// of 1e-10 rounding alone would cross the bound.
void barrierFeasibleCut(BarrierState &b) {
  if (!b.feasibleMode) return;
  double frac = 1.0;
  barForEachBound(b, b.x.data(), [&](int i, double room, double sign) {
    const double move = sign * b.d[i];
    if (move < 0.0 && room + move < (1.0 - b.rho) * room) frac = std::min(frac, b.rho * room / -move);
  });
  if (frac >= 1.0) return;
  for (double &v : b.d) v *= frac;
  b.alphaMaxPrimal *= frac;
}

void barrierFeasibleSlacks(BarrierState &b, double *xs, double *c) {
  for (int j = 0; j < b.nSlacks; ++j) {
    const int r = b.slackRow[j];
    xs[b.nX + j] = c[r] + xs[b.nX + j];
    c[r] = 0.0;
  }
}

// Enters feasible mode at the current point when it is asked for and the
// point is at least bar_feasmodetol inside its constraints: the slacks are
// set to their rows and the barrier values follow without an evaluation.
void barrierFeasibleModeCheck(MXL_context *ctx, BarrierState &b) {
  if (b.feasibleMode || !barStayModeWanted(ctx) || b.nSlacks == 0) return;
  if (!checkFeasibility(b, b.x.data(), b.c.data(), 0.0, ctx->opt.bar_feasmodetol)) return;
  b.feasibleMode = true;
  if (ctx->opt.outlev > 0 && !ctx->quietSubsolve) mxl_printf(ctx, "Starting feasible mode...\n");
  b.cg.freeNormalStep = false;
  barrierFeasibleSlacks(b, b.x.data(), b.c.data());
  barrierUpdateFG(b);
  b.cNorm = norm2(b.mFull, b.c.data());
}
