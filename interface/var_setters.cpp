// Per-variable setters: bounds, types, properties, initial values,
// tolerances, scalings and honor-bound flags.
#include "interface/items.h"

namespace {

void mx_require_finite(MXL_context *ctx, double v, int code, const char *msg, int index) {
  if (!mx_finite(v)) mx_fatal(ctx, code, msg, index);
}

int mx_set_var_bounds(MXL_context *ctx, const char *fn, int nV, const int *idx,
                      const double *vals, const char *valueName, bool lower, bool upper) {
  const char *msg = lower && upper ? "ERROR: The fixed bound specified for variable index %d is undefined.\n"
                    : lower        ? "ERROR: The lower bound specified for variable index %d is undefined.\n"
                                   : "ERROR: The upper bound specified for variable index %d is undefined.\n";
  return mx_set_items(ctx, fn, mxVarKind, MX_ANY_PHASE, nV, idx, vals, valueName, [&](int i, int k) {
    mx_require_finite(ctx, vals[k], MX_RC_BAD_VAR_BOUND, msg, i);
    if (lower) ctx->var.lo[i] = vals[k];
    if (upper) ctx->var.up[i] = vals[k];
  });
}

// Values of an enumerated per-item field read as unsigned: a negative value
// is as bad as one above the range.
bool mx_in_range(int v, int limit) { return static_cast<unsigned>(v) < static_cast<unsigned>(limit); }

}  // namespace

extern "C" {

MX_EXPORT int MX_set_var_lobnds(MX_context_ptr ctx, const int nV, const int *indexVars,
                                const double *xLoBnds) {
  return mx_set_var_bounds(ctx, "MX_set_var_lobnds", nV, indexVars, xLoBnds, "xLoBnds", true, false);
}
MX_ALL_AND_ONE_FORMS(MX_set_var_lobnds_all, MX_set_var_lobnd, MX_set_var_lobnds, mxVarKind, double)

MX_EXPORT int MX_set_var_upbnds(MX_context_ptr ctx, const int nV, const int *indexVars,
                                const double *xUpBnds) {
  return mx_set_var_bounds(ctx, "MX_set_var_upbnds", nV, indexVars, xUpBnds, "xUpBnds", false, true);
}
MX_ALL_AND_ONE_FORMS(MX_set_var_upbnds_all, MX_set_var_upbnd, MX_set_var_upbnds, mxVarKind, double)

MX_EXPORT int MX_set_var_fxbnds(MX_context_ptr ctx, const int nV, const int *indexVars,
                                const double *xFxBnds) {
  return mx_set_var_bounds(ctx, "MX_set_var_fxbnds", nV, indexVars, xFxBnds, "xFxBnds", true, true);
}
MX_ALL_AND_ONE_FORMS(MX_set_var_fxbnds_all, MX_set_var_fxbnd, MX_set_var_fxbnds, mxVarKind, double)

MX_EXPORT int MX_set_var_types(MX_context_ptr ctx, const int nV, const int *indexVars,
                               const int *xTypes) {
  return mx_set_items(ctx, "MX_set_var_types", mxVarKind, MX_ANY_PHASE, nV, indexVars, xTypes,
                      "xTypes", [&](int i, int k) {
                        const int t = xTypes[k];
                        if (!mx_in_range(t, 3))
                          mx_fatal(ctx, MX_RC_BAD_VARIABLE, "ERROR: Bad value %d for variable type (x[%d]).\n", t, i);
                        ctx->var.type[i] = t;
                        if (t == MX_VARTYPE_BINARY) {
                          ctx->var.lo[i] = 0.0;
                          ctx->var.up[i] = 1.0;
                        }
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_var_types_all, MX_set_var_type, MX_set_var_types, mxVarKind, int)

MX_EXPORT int MX_set_var_properties(MX_context_ptr ctx, const int nV, const int *indexVars,
                                    const int *varProperties) {
  return mx_set_items(ctx, "MX_set_var_properties", mxVarKind, MX_BEFORE_SOLVE_ONLY, nV, indexVars,
                      varProperties, "varProperties", [&](int i, int k) {
                        mx_ensure(ctx->var.property, ctx->n, 0);
                        ctx->var.property.given = true;
                        int p = varProperties[k];
                        if (!mx_in_range(p, 2)) {
                          mxl_printf(ctx, "ERROR: A bad varProperties value was specified for variable %d.\n", i);
                          mxl_printf(ctx, "       This variable will use default properties.\n");
                          p = 0;
                        }
                        ctx->var.property.v[i] = p;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_var_properties_all, MX_set_var_property, MX_set_var_properties, mxVarKind, int)

MX_EXPORT int MX_set_var_primal_init_values(MX_context_ptr ctx, const int nV, const int *indexVars,
                                            const double *xInitVals) {
  return mx_set_items(ctx, "MX_set_var_primal_init_values", mxVarKind, MX_ANY_PHASE, nV, indexVars,
                      xInitVals, "xInitVals", [&](int i, int k) {
                        if (!mx_finite(xInitVals[k])) {
                          mxl_printf(ctx, "WARNING: Initial primal value x[%d] is undefined.\n", i);
                          mxl_printf(ctx, "         Skip initializing this variable.\n");
                          return;
                        }
                        ctx->var.x[i] = xInitVals[k];
                        ctx->var.hasInitial[i] = 1;
                        ctx->noInitialX = 0;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_var_primal_init_values_all, MX_set_var_primal_init_value,
                     MX_set_var_primal_init_values, mxVarKind, double)

MX_EXPORT int MX_set_var_dual_init_values(MX_context_ptr ctx, const int nV, const int *indexVars,
                                          const double *lambdaInitVals) {
  return mx_set_items(ctx, "MX_set_var_dual_init_values", mxVarKind, MX_ANY_PHASE, nV, indexVars,
                      lambdaInitVals, "lambdaInitVals", [&](int i, int k) {
                        if (!mx_finite(lambdaInitVals[k])) {
                          mxl_printf(ctx, "WARNING: Initial dual value corresponding to variable x[%d] is undefined.\n", i);
                          mxl_printf(ctx, "         Skip initializing this dual variable.\n");
                          return;
                        }
                        ctx->lambda[static_cast<size_t>(ctx->m) + i] = lambdaInitVals[k];
                        ctx->var.savedBoundLambda[i] = lambdaInitVals[k];
                        ctx->noInitialLambda = 0;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_var_dual_init_values_all, MX_set_var_dual_init_value,
                     MX_set_var_dual_init_values, mxVarKind, double)

MX_EXPORT int MX_set_var_feastols(MX_context_ptr ctx, const int nV, const int *indexVars,
                                  const double *xFeasTols) {
  return mx_set_items(ctx, "MX_set_var_feastols", mxVarKind, MX_ANY_PHASE, nV, indexVars, xFeasTols,
                      "xFeasTols", [&](int i, int k) {
                        mx_ensure(ctx->var.feasTol, ctx->n, 0.0);
                        ctx->var.feasTol.given = true;
                        ctx->var.feasTol.v[i] = xFeasTols[k];
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_var_feastols_all, MX_set_var_feastol, MX_set_var_feastols, mxVarKind, double)

MX_EXPORT int MX_set_var_honorbnds(MX_context_ptr ctx, const int nV, const int *indexVars,
                                   const int *honorBnds) {
  return mx_set_items(ctx, "MX_set_var_honorbnds", mxVarKind, MX_ANY_PHASE, nV, indexVars, honorBnds,
                      "honorBnds", [&](int i, int k) {
                        mx_ensure(ctx->var.honorBnds, ctx->n, 0);
                        ctx->var.honorBnds.given = true;
                        int h = honorBnds[k];
                        if (!mx_in_range(h, 3)) {
                          mxl_printf(ctx, "ERROR: A bad honorbnds value was specified for honorBnds[%d] corresponding to variable %d.\n", k, i);
                          mxl_printf(ctx, "       This variable will be marked as MX_HONORBNDS_NO.\n");
                          h = MX_HONORBNDS_NO;
                        }
                        ctx->var.honorBnds.v[i] = h;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_var_honorbnds_all, MX_set_var_honorbnd, MX_set_var_honorbnds, mxVarKind, int)

// Scalings take two value arrays, either of which may be null.
MX_EXPORT int MX_set_var_scalings(MX_context_ptr ctx, const int nV, const int *indexVars,
                                  const double *xScaleFactors, const double *xScaleCenters) {
  const char *fn = "MX_set_var_scalings";
  return mx_guard(ctx, [&]() {
    if (nV != 0 && xScaleFactors == nullptr && xScaleCenters == nullptr &&
        mxl_magic_check(ctx, 1, fn) == 0 && !ctx->fatalError && ctx->modelLayerActive)
      mx_fatal(ctx, MX_RC_NULL_POINTER,
               "ERROR: Both parameters xScaleFactors and xScaleCenters passed to %s() are NULL.\n", fn);
    return mx_set_items(ctx, fn, mxVarKind, MX_ANY_PHASE, nV, indexVars, nullptr, nullptr, [&](int i, int k) {
      if (xScaleFactors != nullptr) {
        mx_ensure(ctx->var.scaleFactor, ctx->n, 1.0);
        ctx->var.scaleFactor.given = true;
        double f = xScaleFactors[k];
        if (!(f > 0.0) || !mx_finite(f)) {
          mxl_printf(ctx, "WARNING: xScaleFactors[%d] corresponding to variable %d\n", k, i);
          mxl_printf(ctx, "         is non-positive.  The default scaling will be used.\n");
          f = 1.0;
        }
        ctx->var.scaleFactor.v[i] = f;
      }
      if (xScaleCenters != nullptr) {
        mx_ensure(ctx->var.scaleCenter, ctx->n, 0.0);
        ctx->var.scaleCenter[i] = xScaleCenters[k];
      }
    });
  });
}
MX_EXPORT int MX_set_var_scalings_all(MX_context_ptr ctx, const double *xScaleFactors,
                                      const double *xScaleCenters) {
  return mx_call_all(ctx, mxVarKind, [&](int count, const int *idx) {
    return MX_set_var_scalings(ctx, count, idx, xScaleFactors, xScaleCenters);
  });
}
MX_EXPORT int MX_set_var_scaling(MX_context_ptr ctx, const int indexVar, const double xScaleFactor,
                                 const double xScaleCenter) {
  return MX_set_var_scalings(ctx, 1, &indexVar, &xScaleFactor, &xScaleCenter);
}

}  // extern "C"
