// The best point of a solve: kept at each improvement, restored on fallback.
#include "driver/error_measures.h"
#include "interface/context.h"
#include "linalg/blas_table.h"

namespace {

// Copies a vector into its store (sized on first use); null skips it.
void bestKeep(MXL_context *ctx, std::vector<double> &store, const double *v, int64_t n) {
  if (v == nullptr) return;
  store.resize(static_cast<size_t>(n));
  cdcopy(ctx, static_cast<int>(n), v, 1, store.data(), 1);
}

void bestGive(MXL_context *ctx, const std::vector<double> &store, double *v) {
  if (v == nullptr || store.empty()) return;
  cdcopy(ctx, static_cast<int>(store.size()), store.data(), 1, v, 1);
}

}  // namespace

void storeBestSolution(MXL_context *ctx, const double *x, const double *lambda, const double *c,
                       const double *g, const double *jac, int64_t nnzJac, double feasErr,
                       double optErr, double obj) {
  MxBestPoint &b = ctx->errState.best;
  bestKeep(ctx, b.bestX, x, ctx->n);
  bestKeep(ctx, b.bestLambda, lambda, static_cast<int64_t>(ctx->m) + ctx->n);
  bestKeep(ctx, b.bestC, c, ctx->m);
  bestKeep(ctx, b.bestG, g, ctx->n);
  bestKeep(ctx, b.bestJac, jac, nnzJac);
  b.bestFeasErr = feasErr;
  b.bestOptErr = optErr;
  b.bestObj = obj;
  b.stored = true;
}

void restoreBestSolution(MXL_context *ctx, double *x, double *lambda, double *c, double *g,
                         double *jac, double *feasErr, double *optErr, double *obj) {
  const MxBestPoint &b = ctx->errState.best;
  bestGive(ctx, b.bestJac, jac);
  bestGive(ctx, b.bestG, g);
  bestGive(ctx, b.bestC, c);
  bestGive(ctx, b.bestLambda, lambda);
  bestGive(ctx, b.bestX, x);
  if (feasErr) *feasErr = b.bestFeasErr;
  if (optErr) *optErr = b.bestOptErr;
  if (obj) *obj = b.bestObj;
}
