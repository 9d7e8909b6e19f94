// Adding variables, constraints and residuals.
//
// Every per-item array grows to the exact new length. The growth is done in
// two passes, first reserving every array and then resizing, so that running
// out of memory part way leaves the model exactly as it was.
#include <string>
#include <vector>

#include "interface/items.h"
#include "interface/structures.h"

namespace {

// One pass over the arrays: reserve (may throw) or resize (cannot throw once
// reserved). Optional arrays that were never created stay absent.
struct MxGrowPass {
  size_t size;
  bool commit;
  template <class T>
  void operator()(std::vector<T> &a, const T &fill, bool always) const {
    if (!always && a.empty()) return;
    if (commit)
      a.resize(size, fill);
    else
      a.reserve(size);
  }
};

void mx_grow_vars(MXL_context *ctx, const MxGrowPass &g) {
  MxVarData &v = ctx->var;
  g(v.x, 0.0, true);
  g(v.type, int(MX_VARTYPE_CONTINUOUS), true);
  g(v.hasInitial, 0, true);
  g(v.lo, -MX_INF, true);
  g(v.up, MX_INF, true);
  g(v.objGrad, 0.0, true);
  g(v.savedBoundLambda, 0.0, true);
  g(v.origLo, -MX_INF, false);
  g(v.origUp, MX_INF, false);
  g(v.feasTol.v, 0.0, false);
  g(v.scaleFactor.v, 1.0, false);
  g(v.scaleCenter, 0.0, false);
  g(v.name.v, std::string(), false);
  g(v.hasName, char(0), false);
  g(v.property.v, 0, false);
  g(v.honorBnds.v, 0, false);
  g(v.mipInit, 0.0, false);
  g(v.priority, 0, false);
  g(v.intStrategy, -1, false);
  g(ctx->comp.partner, -1, true);
}

void mx_grow_cons(MXL_context *ctx, const MxGrowPass &g) {
  MxConData &c = ctx->con;
  g(c.c, 0.0, true);
  g(c.constant, 0.0, true);
  g(c.type, int(MX_CONTYPE_NONE), true);
  g(c.property, 0, true);
  g(c.lo, -MX_INF, true);
  g(c.up, MX_INF, true);
  g(c.feasTol.v, 0.0, false);
  g(c.scaleFactor.v, 1.0, false);
  g(c.name.v, std::string(), false);
  g(c.hasName, char(0), false);
  g(c.honorBnds.v, 0, false);
  MxConstantStore &k = ctx->model->constants;
  g(k.conPending, 0.0, false);
  g(k.conDelete, char(0), false);
}

void mx_grow_rsds(MXL_context *ctx, const MxGrowPass &g) {
  g(ctx->rsd.value, 0.0, true);
  g(ctx->rsd.constant, 0.0, true);
  g(ctx->rsd.type, -1, true);
}

// lambda holds the constraint multipliers first and the bound multipliers
// after them; a new block goes into its part with zeros.
std::vector<double> mx_lambda_with(const MXL_context *ctx, int newN, int newM) {
  std::vector<double> next(static_cast<size_t>(newN) + static_cast<size_t>(newM), 0.0);
  const size_t oldM = static_cast<size_t>(ctx->m);
  for (size_t i = 0; i < oldM && i < ctx->lambda.size(); ++i) next[i] = ctx->lambda[i];
  for (size_t j = 0; j < static_cast<size_t>(ctx->n); ++j)
    if (oldM + j < ctx->lambda.size()) next[static_cast<size_t>(newM) + j] = ctx->lambda[oldM + j];
  return next;
}

void mx_report_new_indices(int first, int count, int *indices) {
  if (indices == nullptr) return;
  for (int k = 0; k < count; ++k) indices[k] = first + k;
}

enum MxAddWhat { MX_ADD_VARS, MX_ADD_CONS, MX_ADD_RSDS };

void mx_add_block(MXL_context *ctx, MxAddWhat what, int count) {
  const int newN = ctx->n + (what == MX_ADD_VARS ? count : 0);
  const int newM = ctx->m + (what == MX_ADD_CONS ? count : 0);
  const int newSize = what == MX_ADD_VARS ? newN : what == MX_ADD_CONS ? newM : ctx->r + count;
  void (*grow)(MXL_context *, const MxGrowPass &) =
      what == MX_ADD_VARS ? mx_grow_vars : what == MX_ADD_CONS ? mx_grow_cons : mx_grow_rsds;
  // The BLAS choice is held at its neutral value while arrays move.
  const int savedBlas = ctx->resolvedBlasoption;
  ctx->resolvedBlasoption = 0;
  grow(ctx, MxGrowPass{static_cast<size_t>(newSize), false});
  std::vector<double> lambda;
  if (what != MX_ADD_RSDS) lambda = mx_lambda_with(ctx, newN, newM);
  mxStructuresGrow(ctx, newN, newM);
  grow(ctx, MxGrowPass{static_cast<size_t>(newSize), true});
  if (what != MX_ADD_RSDS) ctx->lambda.swap(lambda);
  ctx->resolvedBlasoption = savedBlas;
  if (what == MX_ADD_VARS) ctx->n = ctx->model->numVars = newN;
  if (what == MX_ADD_CONS) ctx->m = ctx->model->numCons = newM;
  if (what == MX_ADD_RSDS) ctx->r = ctx->model->numRsds = newSize;
}

const char *const mxAddSizeMessage[] = {
    "ERROR: MX_add_vars given a bad problem size.\n",
    "ERROR: MX_add_cons given a bad problem size.\n",
    "ERROR: MX_add_rsds given a bad problem size.\n"};

int mx_add_items(MXL_context *ctx, const char *fn, MxAddWhat what, int count, int *indices) {
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_enter(ctx, fn)) return rc;
    if (what == MX_ADD_RSDS && mx_restart_check(ctx, fn)) return int(MX_RC_ILLEGAL_CALL);
    MXMOD &mod = *ctx->model;
    int &added = what == MX_ADD_VARS ? mod.varsAdded : what == MX_ADD_CONS ? mod.consAdded : mod.rsdsAdded;
    const int first = what == MX_ADD_VARS ? ctx->n : what == MX_ADD_CONS ? ctx->m : ctx->r;
    if (count < 0 || count > INT32_MAX - first) mx_fatal(ctx, MX_RC_BAD_SIZE, "%s", mxAddSizeMessage[what]);
    MxLock lock(ctx->mutex);
    if (count > 0) mx_add_block(ctx, what, count);
    added = 1;
    mx_report_new_indices(first, count, indices);
    return 0;
  });
}

}  // namespace

extern "C" {

MX_EXPORT int MX_add_vars(MX_context_ptr ctx, const int nV, int *const indexVars) {
  return mx_add_items(ctx, "MX_add_vars", MX_ADD_VARS, nV, indexVars);
}
MX_EXPORT int MX_add_var(MX_context_ptr ctx, int *const indexVar) {
  return mx_add_items(ctx, "MX_add_var", MX_ADD_VARS, 1, indexVar);
}
MX_EXPORT int MX_add_cons(MX_context_ptr ctx, const int nC, int *const indexCons) {
  return mx_add_items(ctx, "MX_add_cons", MX_ADD_CONS, nC, indexCons);
}
MX_EXPORT int MX_add_con(MX_context_ptr ctx, int *const indexCon) {
  return mx_add_items(ctx, "MX_add_con", MX_ADD_CONS, 1, indexCon);
}
MX_EXPORT int MX_add_rsds(MX_context_ptr ctx, const int nR, int *const indexRsds) {
  return mx_add_items(ctx, "MX_add_rsds", MX_ADD_RSDS, nR, indexRsds);
}
MX_EXPORT int MX_add_rsd(MX_context_ptr ctx, int *const indexRsd) {
  return mx_add_items(ctx, "MX_add_rsd", MX_ADD_RSDS, 1, indexRsd);
}

}  // extern "C"
