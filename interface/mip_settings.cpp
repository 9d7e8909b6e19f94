// Mixed-integer settings per variable: start values, branching priorities
// and integer strategies.
#include "interface/items.h"

namespace {

bool mx_is_integer_type(int t) { return t == MX_VARTYPE_INTEGER || t == MX_VARTYPE_BINARY; }

void mx_recount_mip_settings(MXL_context *ctx) {
  MxVarData &v = ctx->var;
  v.numPriorities = 0;
  for (int p : v.priority) v.numPriorities += p != 0;
  v.numRelaxStrategies = v.numMpecStrategies = 0;
  for (int s : v.intStrategy) {
    v.numRelaxStrategies += s == MX_MIP_INTVAR_STRATEGY_RELAX;
    v.numMpecStrategies += s == MX_MIP_INTVAR_STRATEGY_MPEC;
  }
}

}  // namespace

extern "C" {

MX_EXPORT int MX_set_mip_var_primal_init_values(MX_context_ptr ctx, const int nV, const int *indexVars,
                                                const double *xInitVals) {
  return mx_set_items(ctx, "MX_set_mip_var_primal_init_values", mxVarKind, MX_ANY_PHASE, nV, indexVars,
                      xInitVals, "xInitVals", [&](int i, int k) {
                        if (!mx_finite(xInitVals[k])) {
                          mxl_printf(ctx, "WARNING: Initial primal value x[%d] is undefined.\n", i);
                          mxl_printf(ctx, "         Skip initializing this variable.\n");
                          return;
                        }
                        mx_ensure(ctx->var.mipInit, ctx->n, 0.0);
                        ctx->var.mipInit[i] = xInitVals[k];
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_mip_var_primal_init_values_all, MX_set_mip_var_primal_init_value,
                     MX_set_mip_var_primal_init_values, mxVarKind, double)

MX_EXPORT int MX_set_mip_branching_priorities(MX_context_ptr ctx, const int nV, const int *indexVars,
                                              const int *xPriorities) {
  const int rc = mx_set_items(ctx, "MX_set_mip_branching_priorities", mxVarKind, MX_ANY_PHASE, nV,
                              indexVars, xPriorities, "xPriorities", [&](int i, int k) {
                                mx_ensure(ctx->var.priority, ctx->n, 0);
                                const int t = ctx->var.type[i];
                                const int p = xPriorities[k];
                                const bool valid = (t == MX_VARTYPE_INTEGER && p >= 1) ||
                                                   (t == MX_VARTYPE_BINARY && p > 0);
                                ctx->var.priority[i] = valid ? p : 0;
                              });
  if (rc == 0 && nV > 0) mx_recount_mip_settings(ctx);
  return rc;
}
MX_ALL_AND_ONE_FORMS(MX_set_mip_branching_priorities_all, MX_set_mip_branching_priority,
                     MX_set_mip_branching_priorities, mxVarKind, int)

MX_EXPORT int MX_set_mip_intvar_strategies(MX_context_ptr ctx, const int nV, const int *indexVars,
                                           const int *xStrategies) {
  const char *fn = "MX_set_mip_intvar_strategies";
  const int rc = mx_set_items(ctx, fn, mxVarKind, MX_ANY_PHASE, nV, indexVars, xStrategies,
                              "xStrategies", [&](int i, int k) {
                                if (!mx_is_integer_type(ctx->var.type[i])) {
                                  mxl_printf(ctx, "WARNING: Variable index %d passed to %s() does not\n", i, fn);
                                  mxl_printf(ctx, "         correspond to an integer variable, ignoring.\n");
                                  return;
                                }
                                mx_ensure(ctx->var.intStrategy, ctx->n, -1);
                                ctx->var.intStrategy[i] = xStrategies[k];
                              });
  if (rc == 0 && nV > 0) mx_recount_mip_settings(ctx);
  return rc;
}
MX_ALL_AND_ONE_FORMS(MX_set_mip_intvar_strategies_all, MX_set_mip_intvar_strategy,
                     MX_set_mip_intvar_strategies, mxVarKind, int)

}  // extern "C"
