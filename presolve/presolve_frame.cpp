// The presolve framework with an empty stack of reductions: Pre is the App
// model in the sense of minimisation.
#include <algorithm>
#include <cmath>

#include "interface/context.h"
#include "presolve/presolve.h"

namespace {

void presolve_identity_maps(PreModel &p, int n, int m) {
  p.varPreToApp.resize(n);
  p.varAppToPre.resize(n);
  p.conPreToApp.resize(m);
  p.conAppToPre.resize(m);
  for (int j = 0; j < n; ++j) p.varPreToApp[j] = p.varAppToPre[j] = j;
  for (int i = 0; i < m; ++i) p.conPreToApp[i] = p.conAppToPre[i] = i;
}

}  // namespace

void presolveSetStructure(MXL_context *ctx) {
  PreModel &p = ctx->pre;
  p.stack.clear();
  p.n = ctx->n;
  p.m = ctx->m;
  presolve_identity_maps(p, ctx->n, ctx->m);
  p.xLo = ctx->var.lo;
  p.xUp = ctx->var.up;
  p.cLo = ctx->con.lo;
  p.cUp = ctx->con.up;
  p.conType = ctx->con.type;
  p.nnzJ = ctx->pat.jac.nnz;
  p.objSign = ctx->obj.goal == MX_OBJGOAL_MAXIMIZE ? -1.0 : 1.0;
}

void presolveHess(MXL_context *ctx) { ctx->pre.nnzH = ctx->pat.hess.nnz; }

int presolveAnalyze(MXL_context *ctx) {
  presolveSetStructure(ctx);
  presolveHess(ctx);
  ctx->pre.done = true;
  return 1;
}

void presolveXPreToApp(const MXL_context *ctx, const double *xPre, double *xApp) {
  const PreModel &p = ctx->pre;
  for (int j = 0; j < p.n; ++j) xApp[p.varPreToApp[j]] = xPre[j];
}

void presolveXAppToPre(const MXL_context *ctx, const double *xApp, double *xPre) {
  const PreModel &p = ctx->pre;
  for (int j = 0; j < p.n; ++j) xPre[j] = xApp[p.varPreToApp[j]];
}

void presolveCAppToPre(const MXL_context *ctx, const double *cApp, double *cPre) {
  const PreModel &p = ctx->pre;
  for (int i = 0; i < p.m; ++i) cPre[i] = cApp[p.conPreToApp[i]];
}

void presolveCPreToApp(const MXL_context *ctx, const double *cPre, double *cApp) {
  const PreModel &p = ctx->pre;
  for (int i = 0; i < p.m; ++i) cApp[p.conPreToApp[i]] = cPre[i];
}

double presolveObjPreToApp(const MXL_context *ctx, double v) { return ctx->pre.objSign * v / ctx->pre.objScale; }
double presolveObjAppToPre(const MXL_context *ctx, double v) { return ctx->pre.objSign * ctx->pre.objScale * v; }

namespace {

constexpr double kScaleTiny = 4.440892098500626e-16;

// The factor that brings a largest derivative v down to 100, never below
// 1e-8; 1 when v is at most 100 or too small to tell.
double presolveFactorFor(double v) { return v >= kScaleTiny ? std::max(1e-8, std::min(1.0, 100.0 / v)) : 1.0; }

// Under scale 1 and 2 a usable user factor replaces the computed one.
double presolveUserFactor(int scale, double computed, bool given, double user) {
  const double s = (scale == 1 || scale == 2) && given && user >= kScaleTiny ? user : computed;
  return std::isfinite(s) ? s : 1.0;
}

}  // namespace

void presolveSetObjScale(MXL_context *ctx, const double *gradApp) {
  const int scale = ctx->opt.scale;
  double s = 1.0;
  if ((scale == 1 || scale == 3) && ctx->resolvedHessopt != 7) {
    double v = 0.0;
    for (int j = 0; j < ctx->n; ++j) v = std::max(v, std::fabs(gradApp[j]));
    s = presolveFactorFor(v);
  }
  ctx->pre.objScale = presolveUserFactor(scale, s, ctx->obj.scaleGiven, ctx->obj.scaleFactor);
}

void presolveSetConScale(MXL_context *ctx, const double *jacApp) {
  PreModel &p = ctx->pre;
  const int scale = ctx->opt.scale;
  std::vector<double> big(static_cast<size_t>(p.m), 0.0);
  if (scale == 1 || scale == 3) {
    const MxJacobian &jac = ctx->pat.jac;
    const int mApp = static_cast<int>(p.conAppToPre.size());
    for (nnzint k = 0; k < jac.nnz; ++k) {
      const int a = jac.indexCons[k];
      const int i = a < mApp ? p.conAppToPre[a] : -1;
      if (i >= 0) big[i] = std::max(big[i], std::fabs(jacApp[k]));
    }
  }
  p.conScale.assign(static_cast<size_t>(p.m), 1.0);
  const MxOptArray<double> &user = ctx->con.scaleFactor;
  for (int i = 0; i < p.m; ++i) {
    double s = presolveFactorFor(big[i]);
    // Mild factors barely change the conditioning but move nonconvex
    // models to other paths: only rows at least ten times too steep are
    // scaled.
    if (s > 0.1) s = 1.0;
    const int a = p.conPreToApp[i];
    const bool given = a < static_cast<int>(user.v.size());
    p.conScale[i] = presolveUserFactor(scale, s, given, given ? user.v[a] : 0.0);
  }
}

void presolveLambdaPreToApp(const MXL_context *ctx, const double *lPre, double *lApp) {
  const PreModel &p = ctx->pre;
  const int mApp = ctx->m, nApp = ctx->n;
  std::fill(lApp, lApp + mApp + nApp, 0.0);
  // Multipliers of a minimisation of -f are those of f with the sign turned.
  // Those of a scaled objective carry its factor.
  const double f = p.objSign / p.objScale;
  for (int i = 0; i < p.m; ++i) lApp[p.conPreToApp[i]] = f * lPre[i];
  for (int j = 0; j < p.n; ++j) lApp[mApp + p.varPreToApp[j]] = f * lPre[p.m + j];
}

void presolveTransform(MXL_context *) {}
void presolveUntransform(MXL_context *) {}
