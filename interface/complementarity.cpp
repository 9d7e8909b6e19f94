// Complementarity pairs x1 >= 0, x2 >= 0, x1 * x2 = 0.
//
// All pairs are declared in one call. The whole list is checked before
// anything is stored, since a failed call could not be repeated once some
// pairs existed.
#include <vector>

#include "interface/items.h"

namespace {

int mx_comp_fail(MXL_context *ctx, int code) {
  ctx->returnCode = code;
  return code;
}

int mx_check_comp_index(MXL_context *ctx, const char *fn, const char *which, int k, int v) {
  if (v < 0) {
    mxl_printf(ctx, "ERROR: A negative variable index was passed to %s().\n", fn);
    mxl_printf(ctx, "       %s[%d]=%d.\n", which, k, v);
    return mx_comp_fail(ctx, MX_RC_BAD_CON_INDEX);
  }
  if (v >= ctx->n) {
    mxl_printf(ctx, "ERROR: Variable index passed to %s() is out of bounds.\n", fn);
    mxl_printf(ctx, "       %s[%d]=%d (must be less than %d).\n", which, k, v, ctx->n);
    return mx_comp_fail(ctx, MX_RC_BAD_CON_INDEX);
  }
  return 0;
}

int mx_check_comp_list(MXL_context *ctx, const char *fn, int count, const int *types,
                       const int *idx1, const int *idx2) {
  for (int k = 0; k < count; ++k) {
    if (types[k] != MX_CCTYPE_VAR) {
      mxl_printf(ctx, "ERROR: The current version of Morvex only supports complementarity constraints\n");
      mxl_printf(ctx, "       of type MX_CCTYPE_VAR (two non-negative variables). ccTypes[%d] is\n", k);
      mxl_printf(ctx, "       marked as an invalid type.\n");
      return mx_comp_fail(ctx, MX_RC_BAD_CONSTRAINT);
    }
    if (const int rc = mx_check_comp_index(ctx, fn, "indexComps1", k, idx1[k])) return rc;
    if (const int rc = mx_check_comp_index(ctx, fn, "indexComps2", k, idx2[k])) return rc;
  }
  return 0;
}

}  // namespace

// Records the pairs; each variable may appear in at most one pair.
int MXL_addcompcons(MXL_context *ctx, int count, const int *idx1, const int *idx2) {
  std::vector<int> partner = ctx->comp.partner;
  partner.resize(static_cast<size_t>(ctx->n), -1);
  for (int k = 0; k < count; ++k) {
    const int a = idx1[k], b = idx2[k];
    const int twice = partner[a] != -1 || a == b ? a : partner[b] != -1 ? b : -1;
    if (twice != -1) {
      mxl_printf(ctx, "ERROR: Morvex only allows a variable to appear once in a complementarity constraint.\n");
      mxl_printf(ctx, "Variable %d appears more than once.  Please reformulate.\n", twice);
      return mx_comp_fail(ctx, MX_RC_BAD_CON_INDEX);
    }
    partner[a] = b;
    partner[b] = a;
  }
  ctx->comp.index1.assign(idx1, idx1 + count);
  ctx->comp.index2.assign(idx2, idx2 + count);
  ctx->comp.partner.swap(partner);
  ctx->comp.presolveRebuild = true;
  return 0;
}

extern "C" {

MX_EXPORT int MX_set_compcons(MX_context_ptr ctx, const int nCC, const int *ccTypes,
                              const int *indexComps1, const int *indexComps2) {
  const char *fn = "MX_set_compcons";
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_enter(ctx, fn, 1)) return rc;
    if (mx_restart_check(ctx, fn)) return int(MX_RC_ILLEGAL_CALL);
    if (!ctx->comp.index1.empty()) {
      mxl_printf(ctx, "ERROR: Can only call MX_set_compcons once to set all complementarities.\n");
      return mx_comp_fail(ctx, MX_RC_ILLEGAL_CALL);
    }
    if (nCC == 0) return 0;
    if (nCC < 0) mx_fatal(ctx, MX_RC_BAD_SIZE, mxCompKind.countMessage, fn);
    const char *missing = ccTypes == nullptr ? "ccTypes" : indexComps1 == nullptr ? "indexComps1"
                          : indexComps2 == nullptr ? "indexComps2" : nullptr;
    if (missing != nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n", missing, fn);
    MxLock lock(ctx->mutex);
    if (const int rc = mx_check_comp_list(ctx, fn, nCC, ccTypes, indexComps1, indexComps2)) return rc;
    return MXL_addcompcons(ctx, nCC, indexComps1, indexComps2);
  });
}

MX_EXPORT int MX_set_compcon_feastols(MX_context_ptr ctx, const int nCC, const int *indexCompCons,
                                      const double *ccFeasTols) {
  return mx_set_items(ctx, "MX_set_compcon_feastols", mxCompKind, MX_ANY_PHASE, nCC, indexCompCons,
                      ccFeasTols, "ccFeasTols", [&](int i, int k) {
                        const int p = static_cast<int>(ctx->comp.index1.size());
                        mx_ensure(ctx->comp.feasTol, p, 0.0);
                        ctx->comp.feasTol.given = true;
                        ctx->comp.feasTol.v[i] = ccFeasTols[k];
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_compcon_feastols_all, MX_set_compcon_feastol, MX_set_compcon_feastols,
                     mxCompKind, double)

MX_EXPORT int MX_set_compcon_scalings(MX_context_ptr ctx, const int nCC, const int *indexCompCons,
                                      const double *ccScaleFactors) {
  return mx_set_items(ctx, "MX_set_compcon_scalings", mxCompKind, MX_ANY_PHASE, nCC, indexCompCons,
                      ccScaleFactors, "ccScaleFactors", [&](int i, int k) {
                        const int p = static_cast<int>(ctx->comp.index1.size());
                        mx_ensure(ctx->comp.scaleFactor, p, 1.0);
                        ctx->comp.scaleFactor.given = true;
                        const double f = ccScaleFactors[k];
                        if (!(f > 0.0) || !mx_finite(f)) {
                          mxl_printf(ctx, "WARNING: ccScaleFactors[%d] corresponding to complementarity constraint %d\n", k, i);
                          mxl_printf(ctx, "         is non-positive.  The default scaling will be used.\n");
                          return;
                        }
                        ctx->comp.scaleFactor.v[i] = f;
                      });
}
MX_ALL_AND_ONE_FORMS(MX_set_compcon_scalings_all, MX_set_compcon_scaling, MX_set_compcon_scalings,
                     mxCompKind, double)

}  // extern "C"
