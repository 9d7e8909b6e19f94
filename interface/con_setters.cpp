// Per-constraint setters: bounds, initial multipliers, tolerances, scalings,
// honor-bound flags and properties.
#include "interface/items.h"

namespace {

int mx_set_con_bounds(MXL_context *ctx, const char *fn, int nC, const int *idx,
                      const double *vals, const char *valueName, bool lower, bool upper) {
  const char *msg = lower && upper ? "ERROR: The equality bound specified for constraint index %d is undefined.\n"
                    : lower        ? "ERROR: The lower bound specified for constraint index %d is undefined.\n"
                                   : "ERROR: The upper bound specified for constraint index %d is undefined.\n";
  return mx_set_items(ctx, fn, mxConKind, MX_ANY_PHASE, nC, idx, vals, valueName, [&](int i, int k) {
    if (!mx_finite(vals[k])) mx_fatal(ctx, MX_RC_BAD_CON_BOUND, msg, i);
    if (lower) ctx->con.lo[i] = vals[k];
    if (upper) ctx->con.up[i] = vals[k];
  });
}

}  // namespace

extern "C" {

MX_EXPORT int MX_set_con_lobnds(MX_context_ptr ctx, const int nC, const int *indexCons,
                                const double *cLoBnds) {
  return mx_set_con_bounds(ctx, "MX_set_con_lobnds", nC, indexCons, cLoBnds, "cLoBnds", true, false);
}
MX_ALL_AND_ONE_FORMS(MX_set_con_lobnds_all, MX_set_con_lobnd, MX_set_con_lobnds, mxConKind, double)

MX_EXPORT int MX_set_con_upbnds(MX_context_ptr ctx, const int nC, const int *indexCons,
                                const double *cUpBnds) {
  return mx_set_con_bounds(ctx, "MX_set_con_upbnds", nC, indexCons, cUpBnds, "cUpBnds", false, true);
}
MX_ALL_AND_ONE_FORMS(MX_set_con_upbnds_all, MX_set_con_upbnd, MX_set_con_upbnds, mxConKind, double)

MX_EXPORT int MX_set_con_eqbnds(MX_context_ptr ctx, const int nC, const int *indexCons,
                                const double *cEqBnds) {
  return mx_set_con_bounds(ctx, "MX_set_con_eqbnds", nC, indexCons, cEqBnds, "cEqBnds", true, true);
}
MX_ALL_AND_ONE_FORMS(MX_set_con_eqbnds_all, MX_set_con_eqbnd, MX_set_con_eqbnds, mxConKind, double)

MX_EXPORT int MX_set_con_dual_init_values(MX_context_ptr ctx, const int nC, const int *indexCons,
                                          const double *lambdaInitVals) {
  return mx_set_items(ctx, "MX_set_con_dual_init_values", mxConKind, MX_ANY_PHASE, nC, indexCons,
                      lambdaInitVals, "lambdaInitVals", [&](int i, int k) {
                        if (!mx_finite(lambdaInitVals[k])) {
                          mxl_printf(ctx, "WARNING: Initial dual value corresponding to constraint c[%d] is undefined.\n", i);
                          mxl_printf(ctx, "         Skip initializing this dual variable.\n");
                          return;
                        }
                        ctx->lambda[i] = lambdaInitVals[k];
                        ctx->noInitialLambda = 0;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_con_dual_init_values_all, MX_set_con_dual_init_value,
                     MX_set_con_dual_init_values, mxConKind, double)

MX_EXPORT int MX_set_con_feastols(MX_context_ptr ctx, const int nC, const int *indexCons,
                                  const double *cFeasTols) {
  return mx_set_items(ctx, "MX_set_con_feastols", mxConKind, MX_ANY_PHASE, nC, indexCons, cFeasTols,
                      "cFeasTols", [&](int i, int k) {
                        mx_ensure(ctx->con.feasTol, ctx->m, 0.0);
                        ctx->con.feasTol.given = true;
                        ctx->con.feasTol.v[i] = cFeasTols[k];
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_con_feastols_all, MX_set_con_feastol, MX_set_con_feastols, mxConKind, double)

MX_EXPORT int MX_set_con_scalings(MX_context_ptr ctx, const int nC, const int *indexCons,
                                  const double *cScaleFactors) {
  return mx_set_items(ctx, "MX_set_con_scalings", mxConKind, MX_ANY_PHASE, nC, indexCons, cScaleFactors,
                      "cScaleFactors", [&](int i, int k) {
                        mx_ensure(ctx->con.scaleFactor, ctx->m, 1.0);
                        ctx->con.scaleFactor.given = true;
                        const double f = cScaleFactors[k];
                        if (!(f > 0.0) || !mx_finite(f)) {
                          // Unlike a variable factor, the earlier value stays.
                          mxl_printf(ctx, "WARNING: cScaleFactors[%d] corresponding to constraint %d\n", k, i);
                          mxl_printf(ctx, "         is non-positive.  The default scaling will be used.\n");
                          return;
                        }
                        ctx->con.scaleFactor.v[i] = f;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_con_scalings_all, MX_set_con_scaling, MX_set_con_scalings, mxConKind, double)

MX_EXPORT int MX_set_con_honorbnds(MX_context_ptr ctx, const int nC, const int *indexCons,
                                   const int *honorBnds) {
  return mx_set_items(ctx, "MX_set_con_honorbnds", mxConKind, MX_ANY_PHASE, nC, indexCons, honorBnds,
                      "honorBnds", [&](int i, int k) {
                        mx_ensure(ctx->con.honorBnds, ctx->m, 0);
                        ctx->con.honorBnds.given = true;
                        int h = honorBnds[k];
                        if (static_cast<unsigned>(h) >= 2u) {
                          mxl_printf(ctx, "ERROR: A bad honorbnds value was specified for honorBnds[%d] corresponding to constraint %d.\n", k, i);
                          mxl_printf(ctx, "       This constraint will be marked as MX_HONORBNDS_NO.\n");
                          h = MX_HONORBNDS_NO;
                        }
                        ctx->con.honorBnds.v[i] = h;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_con_honorbnds_all, MX_set_con_honorbnd, MX_set_con_honorbnds, mxConKind, int)

MX_EXPORT int MX_set_con_properties(MX_context_ptr ctx, const int nC, const int *indexCons,
                                    const int *cProperties) {
  const char *fn = "MX_set_con_properties";
  return mx_set_items(ctx, fn, mxConKind, MX_BEFORE_SOLVE_ONLY, nC, indexCons, cProperties,
                      "cProperties", [&](int i, int k) {
                        const unsigned bits = static_cast<unsigned>(cProperties[k]);
                        if (bits > 127u) {
                          mxl_printf(ctx, "ERROR: Bad value for parameter cProperties passed to %s().\n", fn);
                          mx_fatal(ctx, MX_RC_BAD_CONSTRAINT,
                                   "       The value of cProperties[%d] should be less than 127 and non-negative.\n", k);
                        }
                        ctx->con.propertiesGiven = true;
                        if (bits & 1u)
                          ctx->con.property[i] = 1;
                        else if (bits & 2u)
                          ctx->con.property[i] = -1;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_con_properties_all, MX_set_con_property, MX_set_con_properties, mxConKind, int)

}  // extern "C"
