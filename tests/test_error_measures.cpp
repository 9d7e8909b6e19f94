// Error measures on crafted points with hand-computed values, and the best
// point store.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "capture_context.h"
#include "driver/error_measures.h"

namespace {

// Three variables: x0 in [0, 1], x1 <= 2, x2 free (its bounds at or beyond
// bndrange); two constraints: c0 = 1, c1 <= 5; one complementarity pair.
void craftModel(MXL_context *ctx) {
  ctx->n = 3;
  ctx->m = 2;
  ctx->var.lo = {0.0, -MX_INF, -1e21};
  ctx->var.up = {1.0, 2.0, 1e20};
  ctx->con.lo = {1.0, -MX_INF};
  ctx->con.up = {1.0, 5.0};
  ctx->comp.index1 = {0};
  ctx->comp.index2 = {1};
  errPrepareApp(ctx);
}

}  // namespace

TEST(ErrorMeasures, FeasibilityOfCraftedPoint) {
  CaptureContext cc;
  craftModel(cc.ctx);
  const ErrModel &md = errModelApp(cc.ctx);
  EXPECT_EQ(md.varBndType[2], 0);
  EXPECT_EQ(md.conBndType[0], 4);
  const double x[] = {1.5, 2.25, 1e30}, c[] = {0.7, 6.0};
  double ce = -1, ve = -1, pe = -1;
  EXPECT_DOUBLE_EQ(getFeasErrApp(cc.ctx, x, c, &ce, &ve, &pe), 1.5);
  EXPECT_DOUBLE_EQ(ce, 1.0);
  EXPECT_DOUBLE_EQ(ve, 0.5);
  EXPECT_DOUBLE_EQ(pe, 1.5);
  double cs = 0, vs = 0;
  EXPECT_DOUBLE_EQ(getFeaserr1(cc.ctx, md, x, c, &cs, &vs), 2.05);
  EXPECT_DOUBLE_EQ(cs, 1.3);
  EXPECT_DOUBLE_EQ(vs, 0.75);
  // Without presolve the presolved view is the model as given.
  EXPECT_DOUBLE_EQ(getFeasErrPre(cc.ctx, x, c, nullptr, nullptr, nullptr), 1.5);

  // A non-finite constraint value counts as no violation; inside the bounds
  // everything is 0.
  const double xin[] = {0.5, -3.0, -1e30}, cnan[] = {std::numeric_limits<double>::quiet_NaN(), 5.0};
  EXPECT_EQ(getFeasErrApp(cc.ctx, xin, cnan, &ce, &ve, &pe), 0.0);

  // Without constraints only the bounds count.
  cc.ctx->m = 0;
  cc.ctx->con.lo.clear();
  cc.ctx->con.up.clear();
  EXPECT_DOUBLE_EQ(getFeasErrApp(cc.ctx, x, nullptr, &ce, &ve, nullptr), 1.5);
  EXPECT_EQ(ce, 0.0);
}

TEST(ErrorMeasures, FeasibilityWithUserTolerances) {
  CaptureContext cc;
  craftModel(cc.ctx);
  const double x[] = {1.05, -1.0, 0.0}, c[] = {0.7, 6.0};
  const ErrModel *md = &errModelApp(cc.ctx);
  const double err = getFeasErr(*md, x, c, nullptr, nullptr, nullptr);
  EXPECT_DOUBLE_EQ(err, 1.0);
  EXPECT_FALSE(isFeasible(cc.ctx, *md, x, c, err, 0.5));
  // c1 may be violated by 2, c0's entry 0 falls back to tol (0.5 > 0.3).
  cc.ctx->con.feasTol.v = {0.0, 2.0};
  cc.ctx->con.feasTol.given = true;
  errPrepareApp(cc.ctx);
  md = &errModelApp(cc.ctx);
  EXPECT_TRUE(isFeasible(cc.ctx, *md, x, c, err, 0.5));
  EXPECT_FALSE(isFeasible(cc.ctx, *md, x, c, err, 0.2));
  cc.ctx->errState.feasScale = 10.0;
  cc.ctx->opt.feastol = 1e-6;
  cc.ctx->opt.feastol_abs = 1e-3;
  EXPECT_DOUBLE_EQ(getConFeasTol(cc.ctx, *md, 0), 1e-5);
  EXPECT_DOUBLE_EQ(getConFeasTol(cc.ctx, *md, 1), 2.0);
  EXPECT_DOUBLE_EQ(getVarFeasTol(cc.ctx, *md, 0), 1e-5);
  // Inside the bounds, the pair (x0, x1) alone decides: min(0.5, 0.75).
  const double xpair[] = {0.5, 0.75, 0.0};
  EXPECT_FALSE(isFeasible(cc.ctx, *md, xpair, c, err, 0.4));
  EXPECT_TRUE(isFeasible(cc.ctx, *md, xpair, c, err, 0.5));
}

// r = g + J' lambda = (2.5, -2.5) before the repair of the bound multipliers.
TEST(ErrorMeasures, OptimalityErrorRepairsBoundMultipliers) {
  CaptureContext cc;
  MXL_context *ctx = cc.ctx;
  ctx->n = 2;
  ctx->m = 1;
  ctx->var.lo = {0.0, -MX_INF};
  ctx->var.up = {MX_INF, 1.0};
  ctx->con.lo = {-MX_INF};
  ctx->con.up = {3.0};
  errPrepareApp(ctx);
  const ErrModel &md = errModelApp(ctx);
  const int jr[] = {0, 0}, jc[] = {0, 1};
  const double jv[] = {1.0, 1.0};
  ErrJacobian jac{2, jr, jc, jv};
  const double g[] = {2.0, -3.0}, x[] = {0.0, 0.5}, c[] = {0.5};
  double r[2], oe = -1, ce = -1;

  // x0 at its lower bound (d = 0): b := -r. x1 is 0.5 away from its upper
  // bound with |b| = 0.3 < d: b stays, r1 = -2.5 + 0.3.
  double lambda[] = {0.5, -1.0, 0.3};
  const double err = getOpterr(ctx, md, 1.0, x, c, g, lambda, jac, r, &oe, &ce);
  EXPECT_DOUBLE_EQ(lambda[1], -2.5);
  EXPECT_DOUBLE_EQ(lambda[2], 0.3);
  EXPECT_DOUBLE_EQ(oe, 2.2);
  // Complementarity: x1 gives min(0.3 * 0.5, 0.3), c0 gives min(0.5*2.5, 0.5).
  EXPECT_DOUBLE_EQ(ce, 0.5);
  EXPECT_DOUBLE_EQ(err, 2.2);

  // Residual of the wrong sign at the lower bound (r0 = -1 < 0): a
  // multiplier on the same side as r is dropped.
  const double g2[] = {-1.5, -3.0};
  double lambda2[] = {0.5, -0.4, 0.0};
  getOpterr(ctx, md, 1.0, x, c, g2, lambda2, jac, r, &oe, &ce);
  EXPECT_EQ(lambda2[1], 0.0);
  EXPECT_DOUBLE_EQ(oe, 2.5);

  // Maximising swaps the sides: the same data keeps b0 = -0.4 now.
  double lambda3[] = {0.5, -0.4, 0.0};
  getOpterr(ctx, md, -1.0, x, c, g2, lambda3, jac, r, &oe, &ce);
  EXPECT_DOUBLE_EQ(lambda3[1], 1.0);

  // Away from the bound (d = 2 > |b| = 1.5) b stays; the dual
  // infeasibility repairs nothing.
  const double xfar[] = {2.0, 0.5};
  double lambda4[] = {0.5, -1.5, 0.3};
  getOpterr(ctx, md, 1.0, xfar, c, g, lambda4, jac, r, &oe, &ce);
  EXPECT_DOUBLE_EQ(lambda4[1], -1.5);
  const double lambda5[] = {0.5, -1.5, 0.3};
  EXPECT_DOUBLE_EQ(getAppDualFeas(ctx, g, lambda5, jac, r), 2.2);
  EXPECT_DOUBLE_EQ(r[0], 1.0);
}

TEST(ErrorMeasures, ComplementarityAndMultiplierSigns) {
  CaptureContext cc;
  MXL_context *ctx = cc.ctx;
  ctx->n = 4;
  ctx->m = 2;
  ctx->var.lo = {0.0, 0.0, -MX_INF, 2.0};
  ctx->var.up = {MX_INF, 1.0, MX_INF, 2.0};
  ctx->con.lo = {-MX_INF, 1.0};
  ctx->con.up = {5.0, 1.0};
  errPrepareApp(ctx);
  const ErrModel &md = errModelApp(ctx);
  const double x[] = {0.2, 0.9, 7.0, 2.0}, c[] = {4.5, 1.0};
  // x0: min(|-3 * 0.2|, 0.2); x1: d = 0.1, min(0.05*0.1, 0.05); c0:
  // min(2*0.5, 0.5); c1 fixed and x3 fixed are skipped.
  double lambda[] = {2.0, 100.0, -3.0, 0.05, 4.0, 100.0};
  EXPECT_DOUBLE_EQ(getAppCompErr(ctx, x, c, lambda), 0.5);
  lambda[0] = 0.1;
  EXPECT_DOUBLE_EQ(getAppCompErr(ctx, x, c, lambda), 0.2);

  // Signs: c0 upper only keeps >= 0, x0 lower only <= 0, x1 nearer its
  // upper bound >= 0, x2 free becomes 0, fixed items stay.
  double l2[] = {-1.0, -7.0, 3.0, -0.5, 4.0, 9.0};
  EXPECT_EQ(getAppNbViolatedDualsSigns(ctx, 1.0, x, c, l2, 1e-9), 4);
  checkLambdaSign(md, x, c, l2);
  const double want[] = {0.0, -7.0, 0.0, 0.0, 0.0, 9.0};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(l2[i], want[i]) << i;
  EXPECT_EQ(getAppNbViolatedDualsSigns(ctx, 1.0, x, c, l2, 1e-9), 0);
}

// A store keeps what it is given and leaves the rest of the earlier store.
TEST(BestPoint, LaterStoresReplaceOnlyWhatTheyAreGiven) {
  CaptureContext cc;
  MXL_context *ctx = cc.ctx;
  ctx->n = 2;
  ctx->m = 1;
  const double x[] = {1, 2}, lambda[] = {3, 4, 5}, c[] = {6}, jac[] = {7, 8, 9};
  storeBestSolution(ctx, x, lambda, c, nullptr, jac, 3, 0.1, 0.2, 42.0);
  double x2[] = {0, 0}, l2[] = {0, 0, 0}, c2[] = {0}, g2[] = {-1, -1}, j2[] = {0, 0, 0};
  double fe = 0, oe = 0, obj = 0;
  restoreBestSolution(ctx, x2, nullptr, nullptr, g2, nullptr, &fe, nullptr, nullptr);
  EXPECT_EQ(g2[0], -1.0);  // never stored: left alone
  const double x3[] = {10, 20}, g3[] = {30, 40};
  storeBestSolution(ctx, x3, nullptr, nullptr, g3, nullptr, 0, 0.01, 0.02, 41.0);
  restoreBestSolution(ctx, x2, l2, c2, g2, j2, &fe, &oe, &obj);
  EXPECT_EQ(std::vector<double>(x2, x2 + 2), std::vector<double>(x3, x3 + 2));
  EXPECT_EQ(std::vector<double>(l2, l2 + 3), std::vector<double>(lambda, lambda + 3));
  EXPECT_EQ(c2[0], 6.0);
  EXPECT_EQ(g2[1], 40.0);
  EXPECT_EQ(std::vector<double>(j2, j2 + 3), std::vector<double>(jac, jac + 3));
  EXPECT_EQ(fe, 0.01);
  EXPECT_EQ(oe, 0.02);
  EXPECT_EQ(obj, 41.0);
}
