// Feasibility, optimality and complementarity errors of a point.
#include "driver/error_measures.h"

#include <algorithm>
#include <cmath>

#include "interface/context.h"
#include "linalg/blas_table.h"

namespace {

constexpr double kEqualBoundsTol = 4.440892098500626e-16;

bool hasLower(int type) { return type == 1 || type == 3 || type == 4; }
bool hasUpper(int type) { return type == 2 || type == 3 || type == 4; }

// Largest violation over items with the given bound types; a non-finite
// value compares false and counts as no violation.
double errViolation(int count, const int *type, const double *lo, const double *up,
                    const double *v) {
  double err = 0.0;
  for (int i = 0; i < count; ++i) {
    const int t = type[i];
    if (hasLower(t) && lo[i] - v[i] > err) err = lo[i] - v[i];
    if (hasUpper(t) && v[i] - up[i] > err) err = v[i] - up[i];
  }
  return err;
}

// Complementarity pairs: the larger the smaller member, the larger the error.
double errCompFeas(const ErrModel &md, const double *x) {
  double err = 0.0;
  for (int p = 0; p < md.numCompPairs; ++p) {
    const double v = std::min(x[md.compFirst[p]], x[md.compSecond[p]]);
    if (v > err) err = v;
  }
  return err;
}

double errSum(int count, const int *type, const double *lo, const double *up, const double *v) {
  double s = 0.0;
  for (int i = 0; i < count; ++i) {
    if (hasLower(type[i])) s += std::max(0.0, lo[i] - v[i]);
    if (hasUpper(type[i])) s += std::max(0.0, v[i] - up[i]);
  }
  return s;
}

// r := g + J' lambda over rows whose type is not 5 or 6.
void errLagrangianGradient(const ErrModel &md, const double *g, const double *lambda,
                           const ErrJacobian &jac, double *r) {
  cdcopy(nullptr, md.n, g, 1, r, 1);
  for (int64_t k = 0; k < jac.nnz; ++k) {
    const int row = jac.row[k];
    const int t = md.conBndType[row];
    if (t == 5 || t == 6) continue;
    r[jac.col[k]] += lambda[row] * jac.val[k];
  }
}

// The repair of one bound multiplier b on its side s (see getOpterr).
double errRepairMultiplier(double b, double ri, double s, double d) {
  const double t = s * ri;
  if (t > 0.0) return s * b > 0.0 ? 0.0 : b;
  const double ab = std::fabs(b);
  if (ab > std::fabs(ri)) return -ri;
  if (ab < d) return b;
  if (ab * d >= d) return -ri;
  if (std::fabs(b + ri) > ab * d) return -ri / (d + 1.0);
  return b;
}

// Side of the active bound for the repair: -1 lower, +1 upper, 0 none.
int errActiveSide(int type, double x, double lo, double up, double b) {
  if (type == 1) return -1;
  if (type == 2) return 1;
  if (type != 3) return 0;
  const double dl = std::fabs(x - lo), du = std::fabs(up - x);
  if (dl < du && b <= 0.0) return -1;
  if (du < dl && b >= 0.0) return 1;
  return 0;
}

double errCompItem(int type, double v, double lo, double up, double b) {
  const double ab = std::fabs(b);
  if (type == 1 || type == 2) {
    const double d = type == 1 ? std::fabs(v - lo) : std::fabs(up - v);
    return std::min(std::fabs(b * d), std::min(d, ab));
  }
  if (type == 3) {
    const double d = std::min(std::fabs(v - lo), std::fabs(up - v));
    return std::min(ab * d, std::min(d, ab));
  }
  return 0.0;
}

double errSignFix(int type, double v, double lo, double up, double b) {
  switch (type) {
    case 0: return 0.0;
    case 1: return std::min(0.0, b);
    case 2: return std::max(0.0, b);
    case 3: return std::fabs(up - v) >= std::fabs(v - lo) ? std::min(0.0, b) : std::max(0.0, b);
    default: return b;
  }
}

}  // namespace

int errBoundType(double lo, double up, double bndrange) {
  const bool l = lo > -bndrange, u = up < bndrange;
  if (l && u) return equalFloats(lo, up, kEqualBoundsTol) ? 4 : 3;
  return l ? 1 : (u ? 2 : 0);
}

void errPrepareApp(MXL_context *ctx) {
  MxErrorState &st = ctx->errState;
  const double br = ctx->opt.bndrange;
  st.appVarBndType.resize(static_cast<size_t>(ctx->n));
  st.appConBndType.resize(static_cast<size_t>(ctx->m));
  for (int j = 0; j < ctx->n; ++j)
    st.appVarBndType[j] = errBoundType(ctx->var.lo[j], ctx->var.up[j], br);
  for (int i = 0; i < ctx->m; ++i)
    st.appConBndType[i] = errBoundType(ctx->con.lo[i], ctx->con.up[i], br);
  ErrModel &md = st.app;
  md = ErrModel();
  md.n = ctx->n;
  md.m = ctx->m;
  md.xLo = ctx->var.lo.data();
  md.xUp = ctx->var.up.data();
  md.cLo = ctx->con.lo.data();
  md.cUp = ctx->con.up.data();
  md.varBndType = st.appVarBndType.data();
  md.conBndType = st.appConBndType.data();
  md.numCompPairs = static_cast<int>(ctx->comp.index1.size());
  md.compFirst = ctx->comp.index1.data();
  md.compSecond = ctx->comp.index2.data();
  md.varFeasTol = ctx->var.feasTol.given ? ctx->var.feasTol.v.data() : nullptr;
  md.conFeasTol = ctx->con.feasTol.given ? ctx->con.feasTol.v.data() : nullptr;
  md.compFeasTol = ctx->comp.feasTol.given ? ctx->comp.feasTol.v.data() : nullptr;
  md.bndrange = br;
}

const ErrModel &errModelApp(MXL_context *ctx) {
  const ErrModel &md = ctx->errState.app;
  if (md.n != ctx->n || md.m != ctx->m || md.varBndType == nullptr) errPrepareApp(ctx);
  return ctx->errState.app;
}

const ErrModel &errModelPre(MXL_context *ctx) {
  return ctx->errState.preSet ? ctx->errState.pre : errModelApp(ctx);
}

static double errItemTol(MXL_context *ctx, const double *user, int i) {
  if (user != nullptr && user[i] > 0.0) return user[i];
  return std::min(ctx->errState.feasScale * ctx->opt.feastol, ctx->opt.feastol_abs);
}

double getConFeasTol(MXL_context *ctx, const ErrModel &md, int i) {
  return errItemTol(ctx, md.conFeasTol, i);
}

double getVarFeasTol(MXL_context *ctx, const ErrModel &md, int j) {
  return errItemTol(ctx, md.varFeasTol, j);
}

double getFeasErr(const ErrModel &md, const double *x, const double *c, double *conErr,
                  double *varErr, double *compErr) {
  const double ce = errViolation(md.m, md.conBndType, md.cLo, md.cUp, c);
  const double ve = errViolation(md.n, md.varBndType, md.xLo, md.xUp, x);
  const double pe = errCompFeas(md, x);
  if (conErr) *conErr = ce;
  if (varErr) *varErr = ve;
  if (compErr) *compErr = pe;
  return std::max(ce, std::max(ve, pe));
}

double getFeasErrApp(MXL_context *ctx, const double *x, const double *c, double *conErr,
                     double *varErr, double *compErr) {
  return getFeasErr(errModelApp(ctx), x, c, conErr, varErr, compErr);
}

double getFeasErrPre(MXL_context *ctx, const double *x, const double *c, double *conErr,
                     double *varErr, double *compErr) {
  return getFeasErr(errModelPre(ctx), x, c, conErr, varErr, compErr);
}

double getFeaserr1(MXL_context *, const ErrModel &md, const double *x, const double *c,
                   double *conSum, double *varSum) {
  const double cs = errSum(md.m, md.conBndType, md.cLo, md.cUp, c);
  const double vs = errSum(md.n, md.varBndType, md.xLo, md.xUp, x);
  if (conSum) *conSum = cs;
  if (varSum) *varSum = vs;
  return cs + vs;
}

double getOpterr(MXL_context *, const ErrModel &md, double sign, const double *x,
                 const double *c, const double *g, double *lambda, const ErrJacobian &jac,
                 double *r, double *optErr, double *compErr) {
  errLagrangianGradient(md, g, lambda, jac, r);
  double err = 0.0;
  for (int j = 0; j < md.n; ++j) {
    double &b = lambda[md.m + j];
    const int side = errActiveSide(md.varBndType[j], x[j], md.xLo[j], md.xUp[j], b);
    if (side != 0) {
      const double s = side < 0 ? -sign : sign;
      const double d = side < 0 ? std::fabs(x[j] - md.xLo[j]) : std::fabs(md.xUp[j] - x[j]);
      b = errRepairMultiplier(b, r[j], s, d);
    }
    r[j] += b;
    err = std::max(err, std::fabs(r[j]));
  }
  const double ce = getCompError(md, x, c, lambda);
  if (optErr) *optErr = err;
  if (compErr) *compErr = ce;
  return std::max(err, ce);
}

double getCompError(const ErrModel &md, const double *x, const double *c, const double *lambda) {
  double err = 0.0;
  for (int j = 0; j < md.n; ++j)
    err = std::max(err, errCompItem(md.varBndType[j], x[j], md.xLo[j], md.xUp[j], lambda[md.m + j]));
  for (int i = 0; i < md.m; ++i)
    err = std::max(err, errCompItem(md.conBndType[i], c[i], md.cLo[i], md.cUp[i], lambda[i]));
  return err;
}

double getAppCompErr(MXL_context *ctx, const double *x, const double *c, const double *lambda) {
  return getCompError(errModelApp(ctx), x, c, lambda);
}

double getDualFeas(const ErrModel &md, const double *g, const double *lambda,
                   const ErrJacobian &jac, double *r) {
  errLagrangianGradient(md, g, lambda, jac, r);
  double err = 0.0;
  for (int j = 0; j < md.n; ++j) {
    r[j] += lambda[md.m + j];
    err = std::max(err, std::fabs(r[j]));
  }
  return err;
}

double getAppDualFeas(MXL_context *ctx, const double *g, const double *lambda,
                      const ErrJacobian &jac, double *r) {
  return getDualFeas(errModelApp(ctx), g, lambda, jac, r);
}

void checkLambdaSign(const ErrModel &md, const double *x, const double *c, double *lambda) {
  for (int i = 0; i < md.m; ++i)
    lambda[i] = errSignFix(md.conBndType[i], c[i], md.cLo[i], md.cUp[i], lambda[i]);
  for (int j = 0; j < md.n; ++j)
    lambda[md.m + j] = errSignFix(md.varBndType[j], x[j], md.xLo[j], md.xUp[j], lambda[md.m + j]);
}

int getNbViolatedDualsSigns(const ErrModel &md, double sign, const double *x, const double *c,
                            const double *lambda, double tol) {
  // Under maximisation the admissible sides are reversed.
  auto wrong = [&](int type, double v, double lo, double up, double b) {
    const double fixed = errSignFix(type, v, lo, up, sign * b);
    return std::fabs(fixed - sign * b) > tol;
  };
  int count = 0;
  for (int i = 0; i < md.m; ++i)
    count += wrong(md.conBndType[i], c[i], md.cLo[i], md.cUp[i], lambda[i]);
  for (int j = 0; j < md.n; ++j)
    count += wrong(md.varBndType[j], x[j], md.xLo[j], md.xUp[j], lambda[md.m + j]);
  return count;
}

int getAppNbViolatedDualsSigns(MXL_context *ctx, double sign, const double *x, const double *c,
                               const double *lambda, double tol) {
  return getNbViolatedDualsSigns(errModelApp(ctx), sign, x, c, lambda, tol);
}

static bool errItemsWithin(int count, const int *type, const double *lo, const double *up,
                           const double *v, const double *user, double tol) {
  for (int i = 0; i < count; ++i) {
    const double t = user != nullptr && user[i] > 0.0 ? user[i] : tol;
    if (hasLower(type[i]) && lo[i] - v[i] > t) return false;
    if (hasUpper(type[i]) && v[i] - up[i] > t) return false;
  }
  return true;
}

bool isFeasible(MXL_context *, const ErrModel &md, const double *x, const double *c,
                double feasErr, double tol) {
  const bool user = md.conFeasTol || md.varFeasTol || md.compFeasTol;
  if (!user) return feasErr <= tol;
  if (!errItemsWithin(md.m, md.conBndType, md.cLo, md.cUp, c, md.conFeasTol, tol)) return false;
  if (!errItemsWithin(md.n, md.varBndType, md.xLo, md.xUp, x, md.varFeasTol, tol)) return false;
  for (int p = 0; p < md.numCompPairs; ++p) {
    const double t = md.compFeasTol != nullptr && md.compFeasTol[p] > 0.0 ? md.compFeasTol[p] : tol;
    if (std::min(x[md.compFirst[p]], x[md.compSecond[p]]) > t) return false;
  }
  return true;
}
